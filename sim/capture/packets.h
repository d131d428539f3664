// Datagrams wrapped up as a capture file holds them.
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <string_view>

namespace tspec::sim::capture {

// IPv4 and UDP header in front of a datagram from 127.0.0.1 to 127.0.0.1, both
// with their checksums. Original size: of the datagram as sent, when the rest
// of it is not known; there is no UDP checksum then.
Bytes udp_packet(uint16_t source_port, uint16_t destination_port, ByteView datagram,
                 size_t original_size);

// Bytes in front of the datagram that udp_packet puts there.
constexpr size_t udp_overhead = 28;

// A datagram that no network protocol carried, with the name of the dissector
// that Wireshark is to give it to.
Bytes exported_pdu(std::string_view dissector, ByteView datagram);

} // namespace tspec::sim::capture
