// Entries of the station table on the command line.
#include "sim/serve/station_option.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using sim::serve::station_option;

TEST(StationOption, IsAssociatedUnlessItSaysMore)
{
    auto option = station_option("02:00:00:00:00:2a");

    ASSERT_TRUE(option);
    EXPECT_EQ(option->mac.text(), "02:00:00:00:00:2a");
    EXPECT_EQ(option->flags, 0x01U);
}

TEST(StationOption, NamesItsState)
{
    EXPECT_EQ(station_option("02:00:00:00:00:01=associated")->flags, 0x01U);
    EXPECT_EQ(station_option("02:00:00:00:00:01=associated,roaming")->flags, 0x41U);
    EXPECT_EQ(station_option("02:00:00:00:00:01=none")->flags, 0U);
    EXPECT_EQ(station_option("station 1=none")->mac.text(), "02:00:00:00:00:01");
}

TEST(StationOption, RefusesEverythingElse)
{
    for (const char *word : {"", "02:00", "=associated", "02:00:00:00:00:01=",
                             "02:00:00:00:00:01=roaming", "02:00:00:00:00:01=asleep",
                             "02:00:00:00:00:01=associated,asleep", "02:00:00:00:00:01,"}) {
        EXPECT_FALSE(station_option(word)) << word;
    }
}

} // namespace
} // namespace tspec::tests
