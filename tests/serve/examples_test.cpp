// The example peers beside a served access point.
#include "command.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

const char *const addts = TSPEC_SOURCE_FOLDER "/examples/python/addts.py";

// A call of 208-byte MSDUs at 83200 bit/s, at least at 6 Mbit/s:
//   10400 bytes/s over 208 bytes are 50 packets per second.
//   On the air a packet is 24 + 2 + 208 + 4 = 238 bytes: 16 + 8 * 238 + 6 = 1926
//   bits in symbols of 24 bits, 81 symbols of 4 us, 324 us; with preamble and
//   SIGNAL field 16 + 4 + 324 = 344 us.
//   SIFS 16 us. ACK: 16 + 8 * 14 + 6 = 134 bits, 6 symbols, 16 + 4 + 24 = 44 us.
//   344 + 16 + 44 = 404 us.
//   50 * 404 us = 20200 us per second, 631 units of 32 us (and 8 us).
// It goes in both directions: 1262 units are taken, 4.04 % of 31250.
TEST(Examples, AskForACallAndAnswerForItsFrames)
{
    Serve serve({"--without", "hostapd"});
    Command durations({TSPEC_FRAME_DURATION});
    ASSERT_TRUE(durations.says("waiting for frame-duration queries"));

    Command request({TSPEC_PYTHON, addts});

    EXPECT_EQ(request.end(), 0) << request.output();
    EXPECT_EQ(request.output(), "ADDTS response: accepted, medium time 631\n");
    EXPECT_TRUE(durations.says("208 bytes at 6000000 bit/s: 404 us\n"));
    EXPECT_TRUE(serve.says("1262 of 15625 units  (4.04 of 50.00 % of the air)"));
}

// The daemon waits two seconds for the answer.
TEST(Examples, AreRefusedWhereNobodyKnowsTheFrameDuration)
{
    Serve serve({"--without", "hostapd"});

    Command request({TSPEC_PYTHON, addts});

    EXPECT_EQ(request.end(), 0) << request.output();
    EXPECT_EQ(request.output(), "ADDTS response: refused, medium time 0\n");
}

// hostapd_side with these lines as its input.
Command hostapd_side(const std::string &lines)
{
    return Command({"/bin/sh", "-c", "exec " TSPEC_HOSTAPD_SIDE " <<'END'\n" + lines + "END\n"});
}

// A frame of the same call: category, action, dialog token, status, element. 631 is
// 0x0277.
std::string frame(const std::string &fixed, const std::string &nominal_size,
                  const std::string &medium_time)
{
    return "02:00:00:00:00:01 " + fixed + "dd3d0050f2020201" + "6c3000" + nominal_size + "d000" +
           "0000000000000000000000000000000000000000" + "004501000045010000450100" +
           "0000000000000000" + "808d5b00" + "0020" + medium_time + "\n";
}

TEST(Examples, CarryACallFromFrameToFrame)
{
    Serve serve({"--without", "hostapd"});
    Command side = hostapd_side(frame("11002a00", "d080", "0000"));

    EXPECT_TRUE(side.says(frame("11012a00", "d080", "7702"))) << side.output();
    EXPECT_TRUE(serve.says("1262 of 15625 units"));
}

TEST(Examples, TellThatAStationLeft)
{
    Serve serve({"--without", "hostapd"});
    Command side = hostapd_side("02:00:00:00:00:01 left\n");

    EXPECT_TRUE(serve.says("station disassociated  sta 02:00:00:00:00:01 on wlan0"))
        << serve.output();
}

// The daemon, which it would end, is not asked.
TEST(Examples, AnswerARequestWithoutANominalSizeThemselves)
{
    Serve serve({"--without", "hostapd"});
    Command side = hostapd_side(frame("11002a00", "0080", "0000"));

    EXPECT_TRUE(side.says(frame("11012a01", "0080", "0000"))) << side.output();
}

TEST(Examples, DecideAsAMapd)
{
    Serve serve({"--without", "hostapd,mapd"});
    Command mapd({TSPEC_MAPD, "refuse"});
    ASSERT_TRUE(mapd.says("managing"));
    Command side = hostapd_side(frame("11002a00", "d080", "0000"));

    EXPECT_TRUE(mapd.says("request: refused"));
    EXPECT_TRUE(side.says(frame("11012a03", "d080", "0000"))) << side.output();
}

TEST(Examples, TellWhenThePortIsTaken)
{
    Serve serve;
    Command durations({TSPEC_FRAME_DURATION});

    EXPECT_EQ(durations.end(), 1);
    EXPECT_THAT(durations.output(), testing::HasSubstr("UDP port of hostapd: "));
}

} // namespace
} // namespace tspec::tests
