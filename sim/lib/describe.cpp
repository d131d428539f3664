// Every kind of event in one line.
#include "sim/lib/decode.h"
#include "sim/lib/decode_fields.h"

#include <cstring>
#include <fmt/chrono.h>
#include <fmt/format.h>

namespace tspec::sim {

namespace {

// One printable line out of any text.
std::string visible(std::string_view text)
{
    std::string line;
    for (char c : text) {
        if (c == '\n') {
            line += "\\n";
        } else if (c == '\r') {
            line += "\\r";
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            line += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        } else {
            line += c;
        }
    }
    return line;
}

std::string_view without_line_end(std::string_view text)
{
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.remove_suffix(1);
    }
    return text;
}

std::string span_text(Duration span)
{
    double seconds = static_cast<double>(span.count()) / 1e6;
    return fmt::format("{:g} s", seconds);
}

std::string fate(const Event &event)
{
    if (event.error != 0) {
        return fmt::format("  [{}]", std::strerror(event.error));
    }
    return event.delivered ? "" : "  [not delivered]";
}

Decoded plain(const char *type, std::string title, std::string name, std::string summary)
{
    Decoded decoded;
    decoded.type = type;
    decoded.title = std::move(title);
    decoded.name = std::move(name);
    decoded.summary = std::move(summary);
    return decoded;
}

Decoded decode_text(const Event &event, const char *type)
{
    std::string text = event.text();
    Decoded decoded = plain(type, type, type, visible(without_line_end(text)));
    FieldList list;
    list.words("text", text);
    decoded.fields = list.take();
    return decoded;
}

Decoded decode_syslog(const Event &event)
{
    const SyslogLine &line = *event.as<SyslogLine>();
    Decoded decoded = plain("syslog", "system log line", "syslog",
                            fmt::format("{}: {}", line.ident, visible(line.text)));
    FieldList list;
    list.words("ident", line.ident);
    list.number("priority", static_cast<uint64_t>(line.priority));
    list.words("text", line.text);
    decoded.fields = list.take();
    return decoded;
}

std::string query_answer(const DriverQuery &query)
{
    if (query.error != 0) {
        return fmt::format("fails: {}", std::strerror(query.error));
    }
    return visible(without_line_end(query.reply));
}

Decoded decode_query(const Event &event)
{
    const DriverQuery &query = *event.as<DriverQuery>();
    Decoded decoded = plain("ioctl", "station status query", "station-query",
                            fmt::format("status of {} on {}?  {}", query.station.text(),
                                        query.interface, query_answer(query)));
    FieldList list;
    list.words("interface", query.interface);
    list.words("sta_mac", query.station.text());
    list.number("error", static_cast<uint64_t>(query.error));
    list.words("reply", query.reply);
    decoded.fields = list.take();
    return decoded;
}

Decoded decode_proc(const Event &event)
{
    const ProcRead &read = *event.as<ProcRead>();
    Decoded decoded =
        plain("proc", "channel utilisation", "proc-read",
              fmt::format("channel utilisation of {}?  {}", read.interface,
                          read.present ? visible(without_line_end(read.text)) : "no such file"));
    FieldList list;
    list.words("interface", read.interface);
    list.words("text", read.text);
    decoded.fields = list.take();
    return decoded;
}

Decoded decode_fault(const Event &event)
{
    const FaultHit &hit = *event.as<FaultHit>();
    std::string how = hit.error == 0 ? "gives another result" : std::strerror(hit.error);
    return plain("fault", "injected failure", "fault", fmt::format("{}: {}", hit.call, how));
}

Decoded decode_other(const Event &event)
{
    switch (event.kind) {
    case Kind::console:
        return decode_text(event, "console");
    case Kind::standard_error:
        return decode_text(event, "standard error");
    case Kind::standard_output:
        return decode_text(event, "standard output");
    case Kind::trap:
        return decode_text(event, "trap");
    case Kind::syslog:
        return decode_syslog(event);
    case Kind::driver_query:
        return decode_query(event);
    case Kind::proc_read:
        return decode_proc(event);
    case Kind::fault:
        return decode_fault(event);
    case Kind::clock: {
        const ClockStep &step = *event.as<ClockStep>();
        return plain("clock", "time passes", "clock", span_text(step.to - step.from));
    }
    default:
        return plain("process", "the daemon ends", "process-end", event.as<ProcessEnd>()->text());
    }
}

std::string route(const Event &event)
{
    switch (event.kind) {
    case Kind::to_daemon:
        return fmt::format("{} -> daemon", peer_name(event.peer));
    case Kind::from_daemon:
        return fmt::format("daemon -> {}", peer_name(event.peer));
    case Kind::console:
        return "console";
    case Kind::standard_error:
        return "standard error";
    case Kind::standard_output:
        return "standard output";
    case Kind::syslog:
        return "daemon -> system log";
    case Kind::trap:
        return "daemon -> trap pipe";
    case Kind::driver_query:
    case Kind::proc_read:
        return "daemon -> driver";
    case Kind::fault:
        return "failure";
    case Kind::clock:
        return "clock";
    case Kind::process_end:
        return "daemon ends";
    }
    return "";
}

} // namespace

Decoded decode(const Event &event)
{
    if (event.kind == Kind::to_daemon || event.kind == Kind::from_daemon) {
        bool is_command = event.kind == Kind::to_daemon && event.door == Door::cli;
        return decode_datagram(event.kind, is_command ? Peer::cli : event.peer, event.data);
    }
    return decode_other(event);
}

std::string describe(const Event &event)
{
    Decoded decoded = decode(event);
    std::string remark = decoded.remark.empty() ? "" : fmt::format("  ({})", decoded.remark);
    return fmt::format("{}  {}{}{}", route(event), decoded.summary, remark, fate(event));
}

} // namespace tspec::sim
