#include "sim/scenario/suggestion.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using sim::scenario::did_you_mean;
using sim::scenario::nearest;

const std::vector<std::string> words{"hostapd.addts", "hostapd.delts", "medium_time", "tid"};

TEST(Suggestion, IsTheNearestWord)
{
    EXPECT_EQ(nearest("hostapd.adts", words), "hostapd.addts");
    EXPECT_EQ(nearest("hostapd.delts", words), "hostapd.delts");
    EXPECT_EQ(nearest("tud", words), "tid");
    EXPECT_EQ(nearest("tdi", words), "tid");
    EXPECT_EQ(nearest("mediumtime", words), "medium_time");
}

TEST(Suggestion, IsAWordThatHoldsTheOther)
{
    EXPECT_EQ(nearest("addts", words), "hostapd.addts");
}

TEST(Suggestion, IsTheSameThingByItsNameHere)
{
    EXPECT_EQ(nearest("station", {"sta", "direction"}), "sta");
    EXPECT_EQ(nearest("station", {"statuses"}), "");
}

TEST(Suggestion, IsNoneWhenNothingIsNear)
{
    EXPECT_EQ(nearest("zebra", words), "");
    EXPECT_EQ(nearest("zebra", {}), "");
    EXPECT_EQ(did_you_mean("zebra", words), "");
}

TEST(Suggestion, IsPutAsAQuestion)
{
    EXPECT_EQ(did_you_mean("tidd", words), "; did you mean \"tid\"?");
}

} // namespace
} // namespace tspec::tests
