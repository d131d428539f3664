#include "sim/capture/capture.h"

#include "sim/capture/packets.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace tspec::sim::capture {

namespace {

bool is_datagram(const Event &event)
{
    return event.kind == Kind::to_daemon || event.kind == Kind::from_daemon;
}

bool is_local(const Event &event)
{
    return event.kind == Kind::to_daemon ? event.door == Door::dman || event.door == Door::cli
                                         : event.destination_port == 0;
}

const char *dissector_of(const Event &event)
{
    if (event.kind == Kind::from_daemon) {
        return "tspec_cli_reply";
    }
    return event.door == Door::dman ? "tspec_dman" : "tspec_cli";
}

std::string fate(const Event &event)
{
    if (event.delivered) {
        return "";
    }
    return event.kind == Kind::to_daemon ? "The daemon did not read it." : "Nobody received it.";
}

std::string joined(const std::string &first, const std::string &second)
{
    return first.empty() || second.empty() ? first + second : first + "\n" + second;
}

} // namespace

Capture::Capture(std::ostream &out, std::string_view program)
    : writer_(out, program),
      loopback_(writer_.add_interface(LinkType::raw_ip, "lo", "UDP on the loopback interface")),
      local_(writer_.add_interface(LinkType::wireshark_upper_pdu, "local",
                                   "local datagram sockets of dman and the operator"))
{
}

void Capture::begin(const scenario::Scenario &scenario, const std::string &)
{
    scenario_ = fmt::format("Scenario: {} ({})", scenario.name, scenario.file);
}

void Capture::events(const Events &events, Time)
{
    for (const Event &event : events) {
        add(event);
    }
}

void Capture::add(const Event &event)
{
    if (!is_datagram(event) || event.error != 0) {
        return;
    }
    Packet packet;
    packet.time = event.time;
    packet.direction = event.kind == Kind::to_daemon ? Direction::inbound : Direction::outbound;
    packet.comment = joined(std::exchange(scenario_, ""), fate(event));
    size_t unknown = std::max(event.sent_size, event.data.size()) - event.data.size();
    if (is_local(event)) {
        packet.data = exported_pdu(dissector_of(event), event.data);
    } else {
        packet.data = udp_packet(event.source_port, event.destination_port, event.data,
                                 event.data.size() + unknown);
    }
    packet.original_size = packet.data.size() + unknown;
    writer_.add_packet(is_local(event) ? local_ : loopback_, packet);
}

} // namespace tspec::sim::capture
