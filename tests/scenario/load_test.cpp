#include "sim/scenario/load.h"
#include "tspec/message.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using sim::scenario::Admitted;
using sim::scenario::load_bar;
using sim::scenario::parse_load;

TEST(Load, IsReadFromTheOperatorsLine)
{
    auto load = parse_load("Admit Current/Limit:  wlan0: vo=1/2 vi=3/4 be=5/6 bk=7/8  "
                           "wlan1: vo=9/10 vi=11/12 be=13/14 bk=15/16");

    ASSERT_TRUE(load);
    EXPECT_EQ((*load)[0][TSPEC_AC_VO], (Admitted{1, 2}));
    EXPECT_EQ((*load)[0][TSPEC_AC_VI], (Admitted{3, 4}));
    EXPECT_EQ((*load)[0][TSPEC_AC_BE], (Admitted{5, 6}));
    EXPECT_EQ((*load)[0][TSPEC_AC_BK], (Admitted{7, 8}));
    EXPECT_EQ((*load)[1][TSPEC_AC_VO], (Admitted{9, 10}));
    EXPECT_EQ((*load)[1][TSPEC_AC_BK], (Admitted{15, 16}));
}

TEST(Load, IsInNoOtherLine)
{
    EXPECT_FALSE(parse_load("TS Totals:  clients=0 voice=0 video=0,best-effort=0,background=0"));
    EXPECT_FALSE(parse_load("Admit Current/Limit:  wlan0: vo=1/2"));
}

TEST(LoadBar, FillsWithTheShareOfTheLimit)
{
    EXPECT_EQ(load_bar("wlan0 voice", 0, 937),
              "wlan0 voice        [..............................]  0 of 937 units  (0.00 of 3.00 "
              "% of the air)");
    EXPECT_EQ(load_bar("wlan0 voice", 15625, 31250),
              "wlan0 voice        [###############...............]  15625 of 31250 units  (50.00 "
              "of 100.00 % of the air)");
}

TEST(LoadBar, ShowsTheLeastBitAndNoMoreThanAll)
{
    EXPECT_NE(load_bar("x", 1, 31250).find("[#....."), std::string::npos);
    EXPECT_NE(load_bar("x", 2000, 1000).find("[##############################]"),
              std::string::npos);
    EXPECT_NE(load_bar("x", 5, 0).find("[##############################]"), std::string::npos);
    EXPECT_NE(load_bar("x", 0, 0).find("[..............................]"), std::string::npos);
}

} // namespace
} // namespace tspec::tests
