// The bits of TS Info, the map from priorities to access categories, and the
// doubling of bidirectional streams.
#include "core/ts_info.h"

#include <gtest/gtest.h>

namespace {

TEST(TsInfo, DecodesEveryCombinationOfTheFirstTwoOctets)
{
    for (uint32_t first = 0; first < 256; first++) {
        for (uint32_t second = 0; second < 256; second++) {
            const uint8_t octets[3] = {static_cast<uint8_t>(first), static_cast<uint8_t>(second),
                                       static_cast<uint8_t>(~second)};
            const tspec_ts_info_t info = tspec_ts_info_decode(octets);
            ASSERT_EQ(info.tid, first / 2 % 16);
            ASSERT_EQ(info.dir, first / 32 % 4);
            ASSERT_EQ(info.user_priority, second / 8 % 8);
        }
    }
}

TEST(TsInfo, MapsPrioritiesToAccessCategories)
{
    constexpr std::array<uint8_t, 8> EXPECTED = {0, 1, 1, 0, 2, 2, 3, 3};
    EXPECT_EQ(wme_prio2ac, EXPECTED);
}

} // namespace
