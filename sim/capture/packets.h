/*
 * Datagrams wrapped up as a capture file holds them.
 */
#ifndef TSPEC_SIM_CAPTURE_PACKETS_H
#define TSPEC_SIM_CAPTURE_PACKETS_H

#include <cstdint>
#include <string_view>

#include "sim/lib/bytes.h"

namespace tspec::sim::capture {

/* IPv4 and UDP header in front of a datagram from 127.0.0.1 to 127.0.0.1, both
 * with their checksums. Original size: of the datagram as sent, when the rest
 * of it is not known; there is no UDP checksum then. */
Bytes udp_packet(std::uint16_t source_port, std::uint16_t destination_port, ByteView datagram,
                 std::size_t original_size);

/* Bytes in front of the datagram that udp_packet puts there. */
constexpr std::size_t udp_overhead = 28;

/* A datagram that no network protocol carried, with the name of the dissector
 * that Wireshark is to give it to. */
Bytes exported_pdu(std::string_view dissector, ByteView datagram);

} // namespace tspec::sim::capture

#endif
