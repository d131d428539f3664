// Arguments of tspec-cli: what is taken for a number, an address and a level.
#include "tspec-cli/args.h"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace {

using ::testing::ElementsAre;

constexpr uint8_t untouched = 99;

TEST(ToolNumber, TakesEveryValueUpToTheLargest)
{
    for (const auto &[text, expected] :
         std::vector<std::pair<std::string, int>>{{"0", 0}, {"7", 7}, {"15", 15}, {"007", 7}}) {
        uint8_t value = untouched;
        EXPECT_TRUE(tspec_tool_parse_number(text.c_str(), 15, &value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(ToolNumber, RefusesAnythingElseAndLeavesTheValueAlone)
{
    for (const std::string text : {"", "16", "-1", "+1", " 1", "1 ", "1x", "0x1", "1.0",
                                   "4294967296", "18446744073709551616"}) {
        uint8_t value = untouched;
        EXPECT_FALSE(tspec_tool_parse_number(text.c_str(), 15, &value)) << text;
        EXPECT_EQ(value, untouched) << text;
    }
}

TEST(ToolNumber, TakesTheLargestByte)
{
    uint8_t value = 0;
    EXPECT_TRUE(tspec_tool_parse_number("255", 255, &value));
    EXPECT_EQ(value, 255);
    EXPECT_FALSE(tspec_tool_parse_number("256", 255, &value));
}

TEST(ToolMac, TakesSixPairsOfEitherCase)
{
    std::array<uint8_t, TSPEC_MAC_LEN> mac{};
    EXPECT_TRUE(tspec_tool_parse_mac("00:1A:2b:3C:4d:fF", mac.data()));
    EXPECT_THAT(mac, ElementsAre(0x00, 0x1a, 0x2b, 0x3c, 0x4d, 0xff));
}

TEST(ToolMac, RefusesAnythingElseAndLeavesTheAddressAlone)
{
    for (const std::string text :
         {"", "02:00:00:00:00", "02:00:00:00:00:", "02:00:00:00:00:1", "02:00:00:00:00:01:",
          "02:00:00:00:00:01:02", "02-00-00-00-00-01", "020000000001", "02:00:00:00:00:0g",
          "2:00:00:00:00:001", " 2:00:00:00:00:01", "02:00:00:00:00:01 ", "02 00:00:00:00:01"}) {
        std::array<uint8_t, TSPEC_MAC_LEN> mac{1, 2, 3, 4, 5, 6};
        EXPECT_FALSE(tspec_tool_parse_mac(text.c_str(), mac.data())) << text;
        EXPECT_THAT(mac, ElementsAre(1, 2, 3, 4, 5, 6)) << text;
    }
}

TEST(ToolLevel, TakesNumbersAndNames)
{
    for (const auto &[text, expected] : std::vector<std::pair<std::string, int>>{{"0", 0},
                                                                                 {"6", 6},
                                                                                 {"7", 7},
                                                                                 {"off", 0},
                                                                                 {"info", 1},
                                                                                 {"error", 2},
                                                                                 {"hostapd", 3},
                                                                                 {"mapd", 4},
                                                                                 {"dman", 5},
                                                                                 {"func", 7}}) {
        uint8_t level = untouched;
        EXPECT_TRUE(tspec_tool_parse_level(text.c_str(), &level)) << text;
        EXPECT_EQ(level, expected) << text;
    }
}

TEST(ToolLevel, RefusesMaskValuesAndOtherNames)
{
    for (const std::string text : {"", "8", "16", "64", "-1", "Info", "infos", "inf", "all"}) {
        uint8_t level = untouched;
        EXPECT_FALSE(tspec_tool_parse_level(text.c_str(), &level)) << text;
        EXPECT_EQ(level, untouched) << text;
    }
}

TEST(ToolRadio, TakesItsNumberOrItsInterface)
{
    for (const auto &[text, expected] :
         std::vector<std::pair<std::string, int>>{{"0", 0}, {"1", 1}, {"wlan0", 0}, {"wlan1", 1}}) {
        uint8_t radio = untouched;
        EXPECT_TRUE(tspec_tool_parse_radio(text.c_str(), &radio)) << text;
        EXPECT_EQ(radio, expected) << text;
    }
    for (const std::string text : {"", "2", "-1", "wlan", "wlan2", "wlan0vap0", "eth0", "wlan 0"}) {
        uint8_t radio = untouched;
        EXPECT_FALSE(tspec_tool_parse_radio(text.c_str(), &radio)) << text;
        EXPECT_EQ(radio, untouched) << text;
    }
}

TEST(ToolVap, TakesRadioAndNumberOrItsInterface)
{
    struct Vap {
        std::string text;
        int radio;
        int vap;
    };
    for (const Vap &expected : std::vector<Vap>{{"0.0", 0, 0},
                                                {"0.15", 0, 15},
                                                {"1.3", 1, 3},
                                                {"wlan0vap0", 0, 0},
                                                {"wlan1vap15", 1, 15}}) {
        uint8_t radio = untouched;
        uint8_t vap = untouched;
        EXPECT_TRUE(tspec_tool_parse_vap(expected.text.c_str(), &radio, &vap)) << expected.text;
        EXPECT_EQ(radio, expected.radio) << expected.text;
        EXPECT_EQ(vap, expected.vap) << expected.text;
    }
    for (const std::string text : {"", "0", "0.", ".0", "0.16", "2.0", "0.-1", "0.1x", "wlan0",
                                   "wlan0vap", "wlan0vap16", "wlan2vap0", "0vap1", "wlan0.1"}) {
        uint8_t radio = untouched;
        uint8_t vap = untouched;
        EXPECT_FALSE(tspec_tool_parse_vap(text.c_str(), &radio, &vap)) << text;
        EXPECT_EQ(radio, untouched) << text;
        EXPECT_EQ(vap, untouched) << text;
    }
}

TEST(ToolWord, TakesTheWholeWidth)
{
    uint32_t value = untouched;
    EXPECT_TRUE(tspec_tool_parse_word("4294967295", UINT32_MAX, &value));
    EXPECT_EQ(value, 4294967295U);
    EXPECT_FALSE(tspec_tool_parse_word("4294967296", UINT32_MAX, &value));
    EXPECT_FALSE(tspec_tool_parse_word("18446744073709551617", UINT32_MAX, &value));
    EXPECT_EQ(value, 4294967295U);
}

} // namespace
