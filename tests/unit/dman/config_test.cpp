// dman's configuration messages.
#include "dman/config.h"
#include "support/daemon_test.h"

#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

class RadioConfiguration : public DaemonTest {
  protected:
    int32_t configure(const Bytes &message)
    {
        const Bytes buffer = receive_buffer(message, 0xee);
        return tspec_ts_config_msg_process(buffer.data(), static_cast<uint32_t>(message.size()));
    }

    int32_t set(const RadioConfig &config) { return configure(radio_config_message(config)); }
};

// Every field of the message has a value of its own.
constexpr RadioConfig ALL_DIFFERENT = {.radio_if = 1,
                                       .enabled = 0x01,
                                       .acm_be = 0x02,
                                       .acm_bk = 0x03,
                                       .acm_vo = 0x04,
                                       .acm_vi = 0x05,
                                       .limit_be = 11,
                                       .limit_bk = 12,
                                       .limit_vo = 40,
                                       .limit_vi = 30,
                                       .roam_reserve = 15,
                                       .dl_timeout = 5,
                                       .ul_timeout = 7,
                                       .radio_param = 0x99,
                                       .fbt_limit_vo = 10,
                                       .fbt_limit_vi = 3};

TEST_F(RadioConfiguration, FillsTheBlockOfTheRadio)
{
    for (const uint8_t radio_if : Bytes{1, 2}) {
        restart();
        RadioConfig config = ALL_DIFFERENT;
        config.radio_if = radio_if;
        EXPECT_EQ(set(config), 0);
        const tspec_radio_cfg_t &radio = tspec_cb->radio_cfg[radio_if - 1];
        EXPECT_EQ(radio.tspec_enabled, 1);
        EXPECT_THAT(radio.acm, ElementsAre(2, 3, 5, 4)) << "BE, BK, VI, VO";
        EXPECT_THAT(radio.limit_percent, ElementsAre(11, 12, 33, 50));
        EXPECT_THAT(radio.fbt_limit_percent, ElementsAre(0, 0, 3, 10));
        EXPECT_EQ(radio.roam_reserve_percent, 15);
        EXPECT_EQ(radio.dl_inactivity_timeout, 5'000'000U);
        EXPECT_EQ(radio.ul_inactivity_timeout, 7'000'000U);
        EXPECT_EQ(radio.radio_param, 0x99);

        const tspec_radio_cfg_t untouched = {};
        EXPECT_EQ(std::memcmp(&tspec_cb->radio_cfg[2 - radio_if], &untouched, sizeof(untouched)),
                  0);
    }
}

TEST_F(RadioConfiguration, KeepsTheLowPartOfEachWord)
{
    Bytes message = radio_config_message({});
    for (size_t offset = 4; offset < 64; offset += 4) {
        put32(message, offset, 0x10000U * 0xabcdU + 0x100U * 0x12U + static_cast<uint32_t>(offset));
    }
    EXPECT_EQ(configure(message), 0);
    const tspec_radio_cfg_t &radio = tspec_cb->radio_cfg[0];
    EXPECT_EQ(radio.tspec_enabled, 4);
    EXPECT_THAT(radio.acm, ElementsAre(8, 12, 20, 16));
    EXPECT_THAT(radio.limit_percent,
                ElementsAre(0x1200 + 24, 0x1200 + 28, 0x2400 + 36 + 60, 0x2400 + 32 + 56));
    EXPECT_THAT(radio.fbt_limit_percent, ElementsAre(0, 0, 0x1200 + 60, 0x1200 + 56));
    EXPECT_EQ(radio.roam_reserve_percent, 0x1200 + 40);
    EXPECT_EQ(radio.radio_param, 52);
}

TEST_F(RadioConfiguration, FlagsThatAre0InTheLowByteAreOff)
{
    EXPECT_EQ(set({.enabled = 0x100, .acm_be = 0xff00, .acm_vo = 0x80000000}), 0);
    EXPECT_EQ(tspec_cb->radio_cfg[0].tspec_enabled, 0);
    EXPECT_THAT(tspec_cb->radio_cfg[0].acm, ElementsAre(0, 0, 0, 0));
}

TEST_F(RadioConfiguration, SecondsWrapIn32BitsOfMicroseconds)
{
    struct Case {
        uint32_t seconds, microseconds;
    };
    for (const Case &one : std::vector<Case>{{0, 0},
                                             {1, 1'000'000},
                                             {4294, 4'294'000'000},
                                             {4295, 32'704},
                                             {0xffffffff, 4'293'967'296}}) {
        set({.dl_timeout = one.seconds, .ul_timeout = 0});
        EXPECT_EQ(tspec_cb->radio_cfg[0].dl_inactivity_timeout, one.microseconds);
        EXPECT_EQ(tspec_cb->radio_cfg[0].ul_inactivity_timeout, 0U);
        set({.dl_timeout = 0, .ul_timeout = one.seconds});
        EXPECT_EQ(tspec_cb->radio_cfg[0].ul_inactivity_timeout, one.microseconds);
        EXPECT_EQ(tspec_cb->radio_cfg[0].dl_inactivity_timeout, 0U);
    }
}

TEST_F(RadioConfiguration, LimitsWithTheirShareWrapIn16Bits)
{
    set({.limit_vo = 0xffff, .limit_vi = 0xfffe, .fbt_limit_vo = 2, .fbt_limit_vi = 0xffff});
    EXPECT_THAT(tspec_cb->radio_cfg[0].limit_percent, ElementsAre(0, 0, 0xfffd, 1));
}

// A share does not add up over messages.
TEST_F(RadioConfiguration, EachMessageReplacesTheOneBefore)
{
    set(ALL_DIFFERENT);
    set(ALL_DIFFERENT);
    EXPECT_THAT(tspec_cb->radio_cfg[0].limit_percent, ElementsAre(11, 12, 33, 50));
    set({});
    const tspec_radio_cfg_t zero = {};
    EXPECT_EQ(std::memcmp(&tspec_cb->radio_cfg[0], &zero, sizeof(zero)), 0);
}

TEST_F(RadioConfiguration, LeavesTheSharesOfBestEffortAndBackground)
{
    tspec_cb->radio_cfg[0].fbt_limit_percent[0] = 5;
    tspec_cb->radio_cfg[0].fbt_limit_percent[1] = 6;
    set(ALL_DIFFERENT);
    EXPECT_THAT(tspec_cb->radio_cfg[0].fbt_limit_percent, ElementsAre(5, 6, 3, 10));
    EXPECT_THAT(tspec_cb->radio_cfg[0].limit_percent, ElementsAre(11, 12, 33, 50));
}

TEST_F(RadioConfiguration, IgnoresReservedAndFurtherBytes)
{
    Bytes message = radio_config_message(ALL_DIFFERENT);
    configure(message);
    const tspec_radio_cfg_t expected = tspec_cb->radio_cfg[0];
    restart();
    put16(message, 2, 0xffff);
    message.resize(200, 0xee);
    EXPECT_EQ(configure(message), 0);
    EXPECT_EQ(std::memcmp(&tspec_cb->radio_cfg[0], &expected, sizeof(expected)), 0);
}

TEST_F(RadioConfiguration, RefreshesTheStatusOfAllAccessCategories)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .medium_time = 5000});
    EXPECT_EQ(set({.enabled = 1,
                   .acm_be = 1,
                   .acm_bk = 1,
                   .acm_vo = 1,
                   .acm_vi = 1,
                   .limit_be = 10,
                   .limit_bk = 20,
                   .limit_vo = 50,
                   .limit_vi = 30}),
              0);
    constexpr uint32_t UNALLOCATED[] = {3125, 6250, 9375, 15625 - 5000};
    for (size_t ac = 0; ac < 4; ac++) {
        const tspec_ac_stats_t &stats = tspec_cb->ac_stats[ac];
        EXPECT_EQ(stats.changed, 1U);
        EXPECT_EQ(stats.radio[0].oper_status, 1);
        EXPECT_EQ(stats.radio[0].med_time_unalloc, UNALLOCATED[ac]);
        EXPECT_EQ(stats.num_active, ac == 3 ? 1U : 0U);
    }
}

TEST_F(RadioConfiguration, AnswersNothing)
{
    set(ALL_DIFFERENT);
    EXPECT_TRUE(nothing_more_sent());
}

// ---- refused

TEST_F(RadioConfiguration, NullIsRefused)
{
    EXPECT_EQ(tspec_ts_config_msg_process(nullptr, 64), -1);
    EXPECT_TRUE(traces_at(2, "tspec_ts_config_msg_process:Invalid input parameter\r\n",
                          [] { tspec_ts_config_msg_process(nullptr, 64); }));
}

TEST_F(RadioConfiguration, AShortMessageIsIgnoredButNotAFailure)
{
    for (const size_t size : {0U, 1U, 2U, 63U}) {
        const Bytes before = snapshot();
        EXPECT_EQ(configure(slice(radio_config_message(ALL_DIFFERENT), 0, size)), 0);
        EXPECT_TRUE(same_bytes(snapshot(), before));
    }
    EXPECT_TRUE(traces_at(16,
                          "tspec_ts_config_msg_process:Error in config message from DMAN, length "
                          "mismatch: exp=64 act=63\r\n",
                          [this] { configure(slice(radio_config_message({}), 0, 63)); }));
}

TEST_F(RadioConfiguration, TheLengthIsCheckedBeforeTheRadio)
{
    EXPECT_EQ(configure(slice(radio_config_message({.radio_if = 9}), 0, 63)), 0);
}

TEST_F(RadioConfiguration, RadiosThatDoNotExistAreRefused)
{
    for (uint32_t radio_if = 0; radio_if < 256; radio_if++) {
        if (radio_if == 1 || radio_if == 2) {
            continue;
        }
        RadioConfig config = ALL_DIFFERENT;
        config.radio_if = static_cast<uint8_t>(radio_if);
        const Bytes before = snapshot();
        EXPECT_EQ(set(config), -1);
        EXPECT_TRUE(same_bytes(snapshot(), before));
    }
    EXPECT_TRUE(traces_at(2, "tspec_ts_config_msg_process:Invalid radio_if parameter: 3\r\n",
                          [this] { set({.radio_if = 3}); }));
    EXPECT_TRUE(traces_at(2, "tspec_ts_config_msg_process:Invalid radio_if parameter: 0\r\n",
                          [this] { set({.radio_if = 0}); }));
    EXPECT_TRUE(traces_at(2, "tspec_ts_config_msg_process:Invalid radio_if parameter: 255\r\n",
                          [this] { set({.radio_if = 255}); }));
}

TEST_F(RadioConfiguration, EntryIsTraced)
{
    EXPECT_TRUE(traces_at(16, "tspec_ts_config_msg_process:Entry\r\n", [this] { set({}); }));
    EXPECT_TRUE(traces_at(16, "tspec_ts_config_msg_process:Entry\r\n",
                          [] { tspec_ts_config_msg_process(nullptr, 0); }));
    set_trace(ALL_LEVELS);
    set({});
    EXPECT_THAT(console(), ElementsAre("tspec_ts_config_msg_process:Entry\r\n"));
}

class ViolationInterval : public DaemonTest {
  protected:
    int32_t configure(const Bytes &message)
    {
        const Bytes buffer = receive_buffer(message, 0xee);
        return tspec_ts_config_violation_interval_process(buffer.data(),
                                                          static_cast<uint32_t>(message.size()));
    }
};

TEST_F(ViolationInterval, IsStoredWhole)
{
    for (const uint32_t seconds : {1U, 0U, 0xffffffffU, 0x12345678U}) {
        EXPECT_EQ(configure(violation_interval_message(seconds)), 0);
        EXPECT_EQ(tspec_cb->violation_interval, seconds);
    }
}

TEST_F(ViolationInterval, NothingElseChanges)
{
    Bytes before = snapshot();
    const Bytes message = violation_interval_message(300); // what it is at the start
    EXPECT_EQ(configure(message), 0);
    EXPECT_TRUE(same_bytes(snapshot(), before));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(ViolationInterval, IgnoresReservedAndFurtherBytes)
{
    Bytes message = violation_interval_message(60);
    put8(message, 1, 0xff);
    put16(message, 2, 0xffff);
    message.resize(100, 0xee);
    EXPECT_EQ(configure(message), 0);
    EXPECT_EQ(tspec_cb->violation_interval, 60U);
}

TEST_F(ViolationInterval, AShortMessageIsIgnoredButNotAFailure)
{
    for (const size_t size : {0U, 1U, 7U}) {
        EXPECT_EQ(configure(slice(violation_interval_message(60), 0, size)), 0);
        EXPECT_EQ(tspec_cb->violation_interval, 300U);
    }
    EXPECT_TRUE(traces_at(16,
                          "tspec_ts_config_violation_interval_process:Error in config message from "
                          "DMAN, length mismatch: exp=8 act=7\r\n",
                          [this] { configure(Bytes(7)); }));
}

TEST_F(ViolationInterval, NullIsRefused)
{
    EXPECT_EQ(tspec_ts_config_violation_interval_process(nullptr, 8), -1);
    EXPECT_TRUE(traces_at(2,
                          "tspec_ts_config_violation_interval_process:Invalid input parameter\r\n",
                          [] { tspec_ts_config_violation_interval_process(nullptr, 8); }));
}

TEST_F(ViolationInterval, EntryIsTraced)
{
    EXPECT_TRUE(traces_at(16, "tspec_ts_config_violation_interval_process:Entry\r\n",
                          [this] { configure(violation_interval_message(60)); }));
}

} // namespace
