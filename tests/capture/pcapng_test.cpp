// Capture files, block by block.
#include "pcapng_file.h"
#include "sim/capture/pcapng.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using namespace tspec::sim::capture;
using testing::IsEmpty;
using testing::SizeIs;

TEST(Pcapng, NamesTheProgramAndTheInterfaces)
{
    std::ostringstream out;
    PcapngWriter writer(out, "a program 1.0");

    EXPECT_EQ(writer.add_interface(LinkType::raw_ip, "lo", "loopback"), 0U);
    EXPECT_EQ(writer.add_interface(LinkType::wireshark_upper_pdu, "local", ""), 1U);

    CaptureFile file = parse_capture(out.str());
    EXPECT_EQ(file.program, "a program 1.0");
    ASSERT_THAT(file.interfaces, SizeIs(2));
    EXPECT_EQ(file.interfaces[0].link_type, 101);
    EXPECT_EQ(file.interfaces[0].name, "lo");
    EXPECT_EQ(file.interfaces[1].link_type, 252);
    EXPECT_THAT(file.packets, IsEmpty());
}

// Sizes that need no padding, and each amount of it.
TEST(Pcapng, KeepsPacketsOfEverySize)
{
    std::ostringstream out;
    PcapngWriter writer(out, "p");
    writer.add_interface(LinkType::raw_ip, "lo", "");
    for (size_t size = 0; size <= 5; size++) {
        writer.add_packet(0, {.data = Bytes(size, 0xab), .comment = std::string(size, 'c')});
    }

    CaptureFile file = parse_capture(out.str());

    ASSERT_THAT(file.packets, SizeIs(6));
    for (size_t size = 0; size <= 5; size++) {
        EXPECT_EQ(file.packets[size].data, Bytes(size, 0xab));
        EXPECT_EQ(file.packets[size].original_size, size);
        EXPECT_EQ(file.packets[size].comment, std::string(size, 'c'));
    }
}

TEST(Pcapng, TellsTimeDirectionAndWhatIsMissing)
{
    std::ostringstream out;
    PcapngWriter writer(out, "p");
    writer.add_interface(LinkType::raw_ip, "a", "");
    uint32_t second = writer.add_interface(LinkType::raw_ip, "b", "");

    writer.add_packet(second, {.time = Time{std::chrono::microseconds(1'700'000'000'000'001)},
                               .direction = Direction::outbound,
                               .data = {1, 2, 3},
                               .original_size = 9,
                               .comment = "cut"});

    CaptureFile file = parse_capture(out.str());
    ASSERT_THAT(file.packets, SizeIs(1));
    EXPECT_EQ(file.packets[0].interface, 1U);
    EXPECT_EQ(file.packets[0].microseconds, 1'700'000'000'000'001U);
    EXPECT_EQ(file.packets[0].flags, 2U);
    EXPECT_EQ(file.packets[0].original_size, 9U);
    EXPECT_EQ(file.packets[0].comment, "cut");
}

} // namespace
} // namespace tspec::tests
