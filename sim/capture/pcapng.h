// A capture file in the pcapng format, written as the packets come: one
// section, as many interfaces as there are link types, times in microseconds.
#pragma once

#include "sim/lib/bytes.h"
#include "sim/lib/event.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace tspec::sim::capture {

enum class LinkType : uint16_t {
    raw_ip = 101,              // packets begin with the IP header
    ieee802_11 = 105,          // packets begin with the MAC header
    wireshark_upper_pdu = 252, // "exported PDUs"
};

// As seen from the daemon.
enum class Direction : uint32_t { unknown = 0, inbound = 1, outbound = 2 };

struct Packet {
    Time time{};
    Direction direction = Direction::unknown;
    Bytes data;
    // Bytes on the wire, more than data holds when the rest is not known.
    size_t original_size = 0;
    std::string comment = {}; // shown beside the packet; may be empty
};

// The stream outlives it. Whether writing went well is the stream's to tell.
class PcapngWriter {
  public:
    PcapngWriter(std::ostream &out, std::string_view program);

    // Interfaces are numbered from 0 in the order in which they are added.
    uint32_t add_interface(LinkType type, std::string_view name, std::string_view description);
    void add_packet(uint32_t interface, const Packet &packet);

  private:
    void write_block(uint32_t type, const Bytes &body);

    std::ostream &out_;
    uint32_t interfaces_ = 0;
};

} // namespace tspec::sim::capture
