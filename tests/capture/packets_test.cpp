// Packets around datagrams, with checksums worked out by hand.
#include "sim/capture/packets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using namespace tspec::sim::capture;

// IP: 4500 + 001f + 4000 + 4011 + 7f00 + 0001 + 7f00 + 0001 = 1c332, c333 with the
// carry, complement 3ccc. UDP: addresses, protocol, length, ports, length and data
// as 16-bit words, where the carry comes back in at the lower end.
TEST(Packets, UdpHasHeadersAndChecksums)
{
    Bytes packet = udp_packet(57774, 55263, Bytes{6, 1, 1}, 3);

    Bytes ip{0x45, 0, 0, 31, 0, 0, 0x40, 0, 64, 17, 0x3c, 0xcc, 127, 0, 0, 1, 127, 0, 0, 1};
    EXPECT_EQ(Bytes(packet.begin(), packet.begin() + 20), ip);
    Bytes ports_and_length{0xe1, 0xae, 0xd7, 0xdf, 0, 11};
    EXPECT_EQ(Bytes(packet.begin() + 20, packet.begin() + 26), ports_and_length);
    EXPECT_EQ(Bytes(packet.begin() + 28, packet.end()), (Bytes{6, 1, 1}));
    EXPECT_EQ(packet.size(), 3 + udp_overhead);
    unsigned sum =
        0x7f00 + 0x0001 + 0x7f00 + 0x0001 + 17 + 11 + 0xe1ae + 0xd7df + 11 + 0x0601 + 0x0100;
    EXPECT_EQ(packet[26] << 8 | packet[27], 0xffff - (sum % 0x10000 + sum / 0x10000));
}

TEST(Packets, AnEmptyDatagramIsTheHeadersAlone)
{
    Bytes packet = udp_packet(57773, 55263, {}, 0);

    EXPECT_EQ(packet.size(), 28U);
    EXPECT_EQ(packet[3], 28);
    EXPECT_EQ(packet[25], 8);
}

// The lengths are those of the whole, and the checksum cannot be known.
TEST(Packets, ADatagramCutShortHasNoChecksum)
{
    Bytes packet = udp_packet(1, 55263, Bytes(1024, 7), 1100);

    EXPECT_EQ(packet.size(), 1024 + udp_overhead);
    EXPECT_EQ(packet[2] << 8 | packet[3], 1128);
    EXPECT_EQ(packet[24] << 8 | packet[25], 1108);
    EXPECT_EQ(packet[26] << 8 | packet[27], 0);
}

// Tag 12, length 4, the name; tag 0, length 0; the datagram.
TEST(Packets, ExportedPduNamesItsDissector)
{
    EXPECT_EQ(exported_pdu("abcd", Bytes{1, 2}),
              (Bytes{0, 12, 0, 4, 'a', 'b', 'c', 'd', 0, 0, 0, 0, 1, 2}));
}

TEST(Packets, NamesArePaddedToFourBytes)
{
    EXPECT_EQ(exported_pdu("abcde", Bytes{9}),
              (Bytes{0, 12, 0, 8, 'a', 'b', 'c', 'd', 'e', 0, 0, 0, 0, 0, 0, 0, 9}));
}

} // namespace
} // namespace tspec::tests
