#include "sim/lib/event.h"

#include <algorithm>
#include <cstring>
#include <fmt/format.h>
#include <iterator>

namespace tspec::sim {

const char *kind_name(Kind kind)
{
    switch (kind) {
    case Kind::to_daemon:
        return "to_daemon";
    case Kind::from_daemon:
        return "from_daemon";
    case Kind::console:
        return "console";
    case Kind::standard_error:
        return "standard_error";
    case Kind::standard_output:
        return "standard_output";
    case Kind::syslog:
        return "syslog";
    case Kind::trap:
        return "trap";
    case Kind::driver_query:
        return "driver_query";
    case Kind::proc_read:
        return "proc_read";
    case Kind::fault:
        return "fault";
    case Kind::clock:
        return "clock";
    case Kind::process_end:
        return "process_end";
    }
    return "?";
}

const char *peer_name(Peer peer)
{
    switch (peer) {
    case Peer::none:
        return "none";
    case Peer::hostapd:
        return "hostapd";
    case Peer::mapd:
        return "mapd";
    case Peer::dman:
        return "dman";
    case Peer::cli:
        return "cli";
    case Peer::syslog:
        return "syslog";
    case Peer::trap:
        return "trap";
    case Peer::driver:
        return "driver";
    case Peer::console:
        return "console";
    case Peer::other:
        return "other";
    }
    return "?";
}

std::string ProcessEnd::text() const
{
    if (signalled) {
        return fmt::format("killed by signal {} ({})", signal, strsignal(signal));
    }
    return fmt::format("exit status {}", exit_status);
}

Events of_kind(const Events &events, Kind kind)
{
    Events chosen;
    std::copy_if(events.begin(), events.end(), std::back_inserter(chosen),
                 [kind](const Event &event) { return event.kind == kind; });
    return chosen;
}

Events with_peer(const Events &events, Peer peer, Kind kind)
{
    Events chosen;
    std::copy_if(events.begin(), events.end(), std::back_inserter(chosen),
                 [=](const Event &event) { return event.peer == peer && event.kind == kind; });
    return chosen;
}

std::vector<std::string> console_texts(const Events &events)
{
    constexpr std::string_view prefix = "Tspec(1,1): ";
    constexpr std::string_view suffix = "\n\r";
    std::vector<std::string> texts;
    for (const Event &event : events) {
        if (event.kind != Kind::console) {
            continue;
        }
        std::string line = event.text();
        if (line.starts_with(prefix)) {
            line.erase(0, prefix.size());
        }
        if (line.ends_with(suffix)) {
            line.resize(line.size() - suffix.size());
        }
        texts.push_back(std::move(line));
    }
    return texts;
}

} // namespace tspec::sim
