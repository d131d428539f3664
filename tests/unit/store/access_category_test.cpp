// Access categories, inactivity time-outs and admission results.
#include "store/access_category.h"
#include "support/daemon_test.h"

using namespace tspec::test;

namespace {

TEST(AcConvert, StoresAndReturnsValidOnes)
{
    for (uint32_t ac = 0; ac < 4; ac++) {
        uint32_t out = 99;
        EXPECT_EQ(tspec_ac_convert(ac, &out), ac);
        EXPECT_EQ(out, ac);
    }
}

TEST(AcConvert, Returns4ForOthersAndStoresNothing)
{
    for (const uint32_t ac : {4U, 7U, 255U, 256U, 0xffffffffU}) {
        uint32_t out = 99;
        EXPECT_EQ(tspec_ac_convert(ac, &out), 4U);
        EXPECT_EQ(out, 99U);
    }
}

TEST(AcConvert, ReturnsAnythingWithoutAPlace)
{
    for (const uint32_t ac : {0U, 3U, 4U, 7U, 255U, 0xffffffffU}) {
        EXPECT_EQ(tspec_ac_convert(ac, nullptr), ac);
    }
}

class InactivityTimeout : public DaemonTest {
  protected:
    void configure(uint32_t radio, uint32_t downlink, uint32_t uplink)
    {
        tspec_cb->radio_cfg[radio].dl_inactivity_timeout = downlink;
        tspec_cb->radio_cfg[radio].ul_inactivity_timeout = uplink;
    }
};

TEST_F(InactivityTimeout, IsThatOfTheDirection)
{
    configure(0, 5'000'000, 7'000'000);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 1), 5'000'000U);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 0), 7'000'000U);
}

TEST_F(InactivityTimeout, OfABidirectionalStreamIsTheLonger)
{
    configure(0, 5, 7);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 7U);
    configure(0, 9, 7);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 9U);
    configure(0, 7, 7);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 7U);
    configure(0, 0xffffffff, 0x7fffffff);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 0xffffffffU);
}

TEST_F(InactivityTimeout, OfABidirectionalStreamIsNoneWhenEitherIs)
{
    configure(0, 5, 0);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 0U);
    configure(0, 0, 5);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 0U);
    configure(0, 0, 0);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 3), 0U);
}

TEST_F(InactivityTimeout, OfOtherDirectionsIsNone)
{
    configure(0, 5, 7);
    for (const uint8_t direction : Bytes{2, 4, 255}) {
        EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, direction), 0U);
    }
}

TEST_F(InactivityTimeout, IsThatOfTheRadio)
{
    configure(0, 1, 2);
    configure(1, 3, 4);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(0, 0), 2U);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(1, 0), 4U);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(1, 1), 3U);
    EXPECT_EQ(tspec_ts_inactivity_timeout_get(1, 3), 4U);
}

TEST(AddtsStatus, Is0OnlyForAccepted)
{
    for (uint32_t code = 0; code < 256; code++) {
        EXPECT_EQ(tspec_rec_addts_status_get(static_cast<uint8_t>(code)), code == 0 ? 0 : -1);
    }
}

} // namespace
