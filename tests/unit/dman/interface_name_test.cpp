// Interface names in dman's requests.
#include "dman/stats.h"
#include "support/bytes.h"

#include <climits>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

using namespace tspec::test;

namespace {

TEST(FindRadio, LooksAtTheFirstWlanOnly)
{
    EXPECT_EQ(find_radio_string("tspec-radio-wlan1"), 1);
    EXPECT_EQ(find_radio_string("tspec-radio-wlan0"), 0);
    EXPECT_EQ(find_radio_string("tspec-radio-wlan2"), -1);
    EXPECT_EQ(find_radio_string("tspec-radio-eth0"), -1);
    EXPECT_EQ(find_radio_string("x-wlan2-wlan1"), -1);
    EXPECT_EQ(find_radio_string("x-wlan1-wlan2"), 1);
    EXPECT_EQ(find_radio_string("wlan"), -1);
    EXPECT_EQ(find_radio_string(""), -1);
    EXPECT_EQ(find_radio_string("wla"), -1);
    EXPECT_EQ(find_radio_string("WLAN1"), -1);
    EXPECT_EQ(find_radio_string("wlan01"), 0);
    EXPECT_EQ(find_radio_string("wlan10vap3"), 1);
    EXPECT_EQ(find_radio_string("wlawlan1"), 1);
    EXPECT_EQ(find_radio_string("wlan/"), -1);
}

TEST(FindVap, TakesTheNumberAfterTheFirstVapBehindWlan)
{
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0vap12"), 12);
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0"), 0) << "the vap before wlan does not count";
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0vapX"), 0);
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0vap"), 0);
    EXPECT_EQ(find_vap_string("tspec-vap-eth0vap3"), 0);
    EXPECT_EQ(find_vap_string("vap7"), 0);
    EXPECT_EQ(find_vap_string("wlan0vap3vap5"), 3);
    EXPECT_EQ(find_vap_string("wlan0vapvap5"), 0);
    EXPECT_EQ(find_vap_string("wlan0 vap -4x"), -4);
    EXPECT_EQ(find_vap_string("wlan0vap+15"), 15);
    EXPECT_EQ(find_vap_string("wlanvap2"), 2);
    EXPECT_EQ(find_vap_string("wlan0-other-vap9"), 9);
    EXPECT_EQ(find_vap_string(""), 0);
}

TEST(FindVap, IsAtoi)
{
    for (const char *tail :
         {"0",          "15",          "16",         "00016",       "-1",
          "2147483647", "-2147483648", "  8",        "\t\n9",       "1.5",
          "7vap",       "0x10",        "99999",      "+",           "-",
          " - 1",       "+ 1",         "4294967297", "-4294967296", "99999999999999999999"}) {
        const std::string text = std::string("tspec-vap-wlan1vap") + tail;
        EXPECT_EQ(find_vap_string(text.c_str()), std::atoi(tail)) << escaped(tail);
    }
    for (int32_t number = -1000; number < 1000; number++) {
        const std::string digits = std::to_string(number);
        ASSERT_EQ(find_vap_string(("wlan0vap" + digits).c_str()), number);
    }
}

// The library reads a long, which stops at its limits, and an int keeps the low bits.
TEST(FindVap, BeyondAnIntIsWhatALongLeaves)
{
    const bool wide = sizeof(long) > sizeof(int);
    EXPECT_EQ(find_vap_string("wlan0vap4294967297"), wide ? 1 : INT_MAX);
    EXPECT_EQ(find_vap_string("wlan0vap-4294967297"), wide ? -1 : INT_MIN);
    EXPECT_EQ(find_vap_string("wlan0vap99999999999999999999"), wide ? -1 : INT_MAX);
    EXPECT_EQ(find_vap_string("wlan0vap-99999999999999999999"), wide ? 0 : INT_MIN);
}

} // namespace
