// What the daemon writes for people: console, standard streams, system log.
#include "sim/lib/session.h"

#include <string_view>

namespace tspec::sim {

namespace {

constexpr std::string_view console_prefix = "Tspec(";
constexpr std::string_view console_end = "\n\r";

// The end of the first complete console line, or npos. Texts may themselves
// hold line ends, so a line ends where the next one begins.
size_t line_end(std::string_view text)
{
    size_t at = 0;
    while ((at = text.find(console_end, at)) != std::string_view::npos) {
        at += console_end.size();
        if (at == text.size() || text.substr(at).starts_with(console_prefix)) {
            return at;
        }
    }
    return std::string_view::npos;
}

} // namespace

void AccessPoint::Session::on_console(const control::Report &report)
{
    std::string text = text_of(data_of(report));
    ap_.console_ += text;
    console_rest_ += text;
    split_console(false);
}

void AccessPoint::Session::split_console(bool all)
{
    auto add_line = [this](size_t size) {
        Event event = new_event(Kind::console, Peer::console);
        event.data = bytes_of(std::string_view(console_rest_).substr(0, size));
        console_rest_.erase(0, size);
        add(std::move(event));
    };
    size_t end;
    while ((end = line_end(console_rest_)) != std::string::npos) {
        add_line(end);
    }
    if (all && !console_rest_.empty()) {
        add_line(console_rest_.size());
    }
}

void AccessPoint::Session::on_standard_error(const control::Report &report)
{
    take_streams(false);
    std::string text = text_of(data_of(report));
    auto add_text = [this](std::string_view part) {
        Event event = new_event(Kind::standard_error, Peer::none);
        event.data = bytes_of(part);
        add(std::move(event));
    };
    size_t at = error_rest_.find(text);
    if (at != std::string::npos) {
        // What went around the stream, such as a sanitizer's report.
        if (at > 0) {
            add_text(std::string_view(error_rest_).substr(0, at));
        }
        error_rest_.erase(0, at + text.size());
    }
    add_text(text);
}

// Reads the daemon's outputs that bypass the channel. What has no place in the
// order is put at the end, when everything is taken.
void AccessPoint::Session::take_streams(bool all)
{
    std::string error;
    read_available(child_->err(), error);
    ap_.standard_error_ += error;
    error_rest_ += error;
    std::string output;
    read_available(child_->out(), output);
    ap_.standard_output_ += output;
    std::string console;
    read_available(console_read_, console);
    ap_.console_ += console;
    console_rest_ += console;
    split_console(all);
    if (!output.empty()) {
        Event event = new_event(Kind::standard_output, Peer::none);
        event.data = bytes_of(output);
        add(std::move(event));
    }
    if (all && !error_rest_.empty()) {
        Event event = new_event(Kind::standard_error, Peer::none);
        event.data = bytes_of(error_rest_);
        error_rest_.clear();
        add(std::move(event));
    }
}

void AccessPoint::Session::on_system_log(const control::Report &report)
{
    SyslogLine line;
    line.ident = report.name;
    line.option = report.option;
    line.priority = report.priority;
    line.pid = static_cast<int>(report.value);
    line.text = text_of(data_of(report));
    Event event = new_event(Kind::syslog, Peer::syslog);
    event.delivered = ap_.system_log_.is_on();
    event.data = bytes_of(line.text);
    if (ap_.system_log_.socket_.is_open()) {
        std::optional<Received> received = receive_waiting(ap_.system_log_.socket_);
        event.delivered = received.has_value();
        line.raw = received ? received->data : Bytes{};
    }
    event.detail = std::move(line);
    add(std::move(event));
}

} // namespace tspec::sim
