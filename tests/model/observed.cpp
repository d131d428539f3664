#include "observed.h"

#include "daemon.h"

#include <algorithm>
#include <optional>
#include <regex>
#include <syslog.h>

namespace tspec::lockstep {

using model::Bytes;
using model::Effect;
using model::Effects;
using model::text;

namespace {

std::string log_remark(const sim::SyslogLine &line)
{
    std::string remark;
    if (line.option != (LOG_PID | LOG_CONS)) {
        remark += text(" [options %d]", line.option);
    }
    if (line.priority != (LOG_USER | LOG_INFO)) {
        remark += text(" [priority %d]", line.priority);
    }
    return remark;
}

std::string query_remark(const sim::DriverQuery &query)
{
    const bool proper = query.sub_command == 0x41 && query.length == 4096 && query.flags == 0 &&
                        query.request_clean;
    return proper ? ""
                  : text(" [sub-command 0x%x, length %u, flags %u, clean %d]", query.sub_command,
                         query.length, query.flags, query.request_clean ? 1 : 0);
}

std::optional<Effect> effect_of(const sim::Event &event)
{
    switch (event.kind) {
    case sim::Kind::from_daemon:
        if (event.peer == sim::Peer::cli) {
            return model::SentToTool{"cli-tspec", event.data, event.error};
        }
        return model::Sent{event.source_port, event.destination_port, event.data, event.error};
    case sim::Kind::console:
        return model::ConsoleLine{event.text()};
    case sim::Kind::standard_error:
    case sim::Kind::standard_output:
        return model::StandardError{event.text()};
    case sim::Kind::syslog: {
        const auto &line = *event.as<sim::SyslogLine>();
        return model::LogLine{line.ident, LOG_INFO, line.text + log_remark(line)};
    }
    case sim::Kind::trap:
        if (event.data.empty() && event.error != 0) {
            return std::nullopt; // the pipe could not even be opened
        }
        return model::TrapRecord{event.text(), event.error};
    case sim::Kind::driver_query: {
        const auto &query = *event.as<sim::DriverQuery>();
        return model::DriverQuery{query.interface + query_remark(query), query.station.octets,
                                  query.error};
    }
    case sim::Kind::proc_read: {
        const auto &file = *event.as<sim::ProcRead>();
        return model::ProcFileOpened{
            "/proc/net/ieee80211/" + file.interface + "/iface/" + file.interface, file.present};
    }
    case sim::Kind::process_end: {
        const auto &end = *event.as<sim::ProcessEnd>();
        return model::Ended{end.signalled ? end.signal : -end.exit_status};
    }
    default:
        return std::nullopt;
    }
}

// Error output may come in any number of pieces.
void append(Effects &effects, const Effect &effect)
{
    const auto *piece = std::get_if<model::StandardError>(&effect);
    auto *last = effects.empty() ? nullptr : std::get_if<model::StandardError>(&effects.back());
    if (piece != nullptr && last != nullptr) {
        last->text += piece->text;
    } else {
        effects.push_back(effect);
    }
}

bool is_reported(const Effect &effect)
{
    return !std::holds_alternative<model::LogOpened>(effect) &&
           !std::holds_alternative<model::LogClosed>(effect) &&
           !std::holds_alternative<model::DescriptorLeaked>(effect) &&
           !std::holds_alternative<model::Blocked>(effect);
}

std::string byte_differences(const Effect &expected, const Effect &actual)
{
    const auto *wanted = std::get_if<model::Sent>(&expected);
    const auto *got = std::get_if<model::Sent>(&actual);
    if (wanted == nullptr || got == nullptr) {
        return "";
    }
    std::string result;
    for (size_t i = 0; i < std::max(wanted->bytes.size(), got->bytes.size()); i++) {
        const auto shown = [i](const Bytes &bytes) {
            return i < bytes.size() ? text("%02x", bytes[i]) : std::string("--");
        };
        if (shown(wanted->bytes) != shown(got->bytes)) {
            result += text("      byte %zu: expected %s, actual %s\n", i,
                           shown(wanted->bytes).c_str(), shown(got->bytes).c_str());
        }
    }
    return result;
}

} // namespace

Effects effects_of(const sim::Events &events)
{
    Effects effects;
    for (const sim::Event &event : events) {
        if (const std::optional<Effect> effect = effect_of(event)) {
            append(effects, *effect);
        }
    }
    return effects;
}

Effects reported(const Effects &effects)
{
    Effects result;
    for (const Effect &effect : effects) {
        if (is_reported(effect)) {
            append(result, effect);
        }
    }
    return result;
}

Effect without_unknown_errno(Effect actual, const Effect &expected)
{
    const auto *wanted = std::get_if<model::ConsoleLine>(&expected);
    auto *line = std::get_if<model::ConsoleLine>(&actual);
    if (wanted != nullptr && line != nullptr &&
        wanted->bytes.find(model::unknown_errno) != std::string::npos) {
        static const std::regex number("errno is -?[0-9]+");
        line->bytes = std::regex_replace(line->bytes, number,
                                         std::string("errno is ") + model::unknown_errno);
    }
    return actual;
}

std::string difference(const Effects &expected, const Effects &actual)
{
    size_t same = 0;
    while (same < expected.size() && same < actual.size() && expected[same] == actual[same]) {
        same++;
    }
    std::string result;
    for (size_t i = 0; i < same; i++) {
        result += "    both      " + model::describe(expected[i]) + "\n";
    }
    if (same < expected.size() && same < actual.size()) {
        result += byte_differences(expected[same], actual[same]);
    }
    for (size_t i = same; i < expected.size(); i++) {
        result += "    expected  " + model::describe(expected[i]) + "\n";
    }
    for (size_t i = same; i < actual.size(); i++) {
        result += "    actual    " + model::describe(actual[i]) + "\n";
    }
    return result;
}
} // namespace tspec::lockstep
