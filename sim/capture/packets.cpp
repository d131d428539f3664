#include "sim/capture/packets.h"

#include <algorithm>

namespace tspec::sim::capture {

namespace {

constexpr uint8_t loopback[] = {127, 0, 0, 1};
constexpr uint8_t udp_protocol = 17;
constexpr size_t ip_header_size = 20;
constexpr size_t udp_header_size = 8;
static_assert(ip_header_size + udp_header_size == udp_overhead);

// Tags of Wireshark's exported PDUs.
constexpr uint16_t tag_end = 0;
constexpr uint16_t tag_dissector_name = 12;

// In network order.
void put16(Bytes &bytes, size_t number)
{
    bytes.push_back(static_cast<uint8_t>(number >> 8));
    bytes.push_back(static_cast<uint8_t>(number));
}

void put(Bytes &bytes, ByteView more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// The Internet checksum: the complement of the sum of 16-bit words.
uint16_t checksum(ByteView bytes)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < bytes.size(); i++) {
        sum += i % 2 == 0 ? uint32_t{bytes[i]} << 8 : bytes[i];
    }
    while (sum > 0xffff) {
        sum = (sum & 0xffff) + (sum >> 16);
    }
    return static_cast<uint16_t>(~sum);
}

void set_checksum(Bytes &bytes, size_t at, uint16_t value)
{
    bytes[at] = static_cast<uint8_t>(value >> 8);
    bytes[at + 1] = static_cast<uint8_t>(value);
}

Bytes ip_header(size_t payload_size)
{
    constexpr size_t checksum_at = 10;
    Bytes header = {0x45, 0};
    put16(header, ip_header_size + payload_size);
    put(header, Bytes{0, 0, 0x40, 0}); // no identification; not to be fragmented
    put(header, Bytes{64, udp_protocol, 0, 0});
    put(header, loopback);
    put(header, loopback);
    set_checksum(header, checksum_at, checksum(header));
    return header;
}

// The checksum covers addresses and protocol too. 0 would mean that there is
// none.
uint16_t udp_checksum(ByteView segment)
{
    Bytes covered;
    put(covered, loopback);
    put(covered, loopback);
    put(covered, Bytes{0, udp_protocol});
    put16(covered, segment.size());
    put(covered, segment);
    uint16_t sum = checksum(covered);
    return sum == 0 ? uint16_t{0xffff} : sum;
}

Bytes udp_segment(uint16_t source_port, uint16_t destination_port, ByteView datagram,
                  size_t original_size)
{
    constexpr size_t checksum_at = 6;
    Bytes segment;
    put16(segment, source_port);
    put16(segment, destination_port);
    put16(segment, udp_header_size + original_size);
    put16(segment, 0);
    put(segment, datagram);
    if (datagram.size() == original_size) {
        set_checksum(segment, checksum_at, udp_checksum(segment));
    }
    return segment;
}

} // namespace

Bytes udp_packet(uint16_t source_port, uint16_t destination_port, ByteView datagram,
                 size_t original_size)
{
    original_size = std::max(original_size, datagram.size());
    Bytes packet = ip_header(udp_header_size + original_size);
    put(packet, udp_segment(source_port, destination_port, datagram, original_size));
    return packet;
}

Bytes exported_pdu(std::string_view dissector, ByteView datagram)
{
    Bytes packet;
    Bytes name = bytes_of(dissector);
    name.resize((name.size() + 3) / 4 * 4);
    put16(packet, tag_dissector_name);
    put16(packet, name.size());
    put(packet, name);
    put16(packet, tag_end);
    put16(packet, 0);
    put(packet, datagram);
    return packet;
}

} // namespace tspec::sim::capture
