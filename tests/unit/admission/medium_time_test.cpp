// Medium time of a stream: the arithmetic, the question to hostapd, and every
// way in which that fails.
#include "admission/medium_time.h"
#include "hostapd/room_test.h"

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::test {
namespace {

constexpr uint16_t UNTOUCHED = 0xbeef;

tspec_ie_t element(const Tspec &tspec)
{
    return as_struct<tspec_ie_t>(tspec_element(tspec));
}

// 208 bytes 50 times a second, 400 microseconds each: 20000 microseconds.
Tspec voice(uint16_t surplus)
{
    return {.nominal_msdu_size = 0x80d0, .mean_data_rate = 83200, .surplus = surplus};
}

// One packet a second.
Tspec one_packet(uint16_t surplus = 0x2000)
{
    return {.nominal_msdu_size = 100, .mean_data_rate = 8, .surplus = surplus};
}

struct Worked {
    const char *name;
    uint32_t duration;
    Tspec tspec;
    uint16_t medium_time;
};

std::ostream &operator<<(std::ostream &out, const Worked &worked)
{
    return out << worked.name;
}

class MediumTimeValue : public RoomTest, public testing::WithParamInterface<Worked> {};

TEST_P(MediumTimeValue, FollowsFromTheTspecAndTheFrameDuration)
{
    const Worked &worked = GetParam();
    platform().answer_frame_duration(worked.duration);
    const tspec_ie_t tspec = element(worked.tspec);
    uint16_t medium_time = UNTOUCHED;
    EXPECT_EQ(0, tspec_ts_medium_time_calc(&tspec, 1, 0, CLIENT_A.data(), &medium_time));
    EXPECT_EQ(worked.medium_time, medium_time);
    EXPECT_EQ(bytes_of(tspec), tspec_element(worked.tspec)) << "the element is read only";
}

const Worked WORKED[] = {
    {"Allowance1", 400, voice(0x2000), 625},
    {"Allowance1_5", 400, voice(0x3000), 937},
    {"AllowanceBelow1CountsAs1", 400, voice(0x1000), 625},
    {"AllowanceJustBelow1CountsAs1", 400, voice(0x1fff), 625},
    {"NoAllowanceCountsAs1", 400, voice(0), 625},
    {"AllowanceJustBelow2", 400, voice(0x3fff), 1249},
    {"Allowance2", 400, voice(0x4000), 1250},
    {"Allowance7", 400, voice(0xe000), 4375},
    // 32 + 32 * 8160 / 8192 = 63.9, cut to 63 before the shift to units.
    {"TheFractionIsCut", 32, one_packet(0x3fe0), 1},
    // 1000000 * 8191 wraps to 3896032704.
    {"TheProductWithTheFractionWraps", 20000, voice(0x3fff), 46112},
    {"TheProductWithTheIntegerPartWraps", 0x80000000, one_packet(0x4000), 0},
    {"ThePacketsAndTheDurationWrap",
     0x80000040,
     {.nominal_msdu_size = 100, .mean_data_rate = 1600, .surplus = 0x2000},
     4},

    {"MicrosecondsAreCutToUnits", 31, one_packet(), 0},
    {"OneUnit", 32, one_packet(), 1},
    {"JustBelowTheLargest", 65535 * 32 - 1, one_packet(), 65534},
    {"TheLargest", 65535 * 32, one_packet(), 65535},
    {"StillTheLargest", 65536 * 32 - 1, one_packet(), 65535},
    {"OneAboveTheLargestSaturates", 65536 * 32, one_packet(), 65535},
    {"WrapsNowhereNear", 65537 * 32, one_packet(), 65535},
    {"TheLongestDurationSaturates", 0xffffffff, one_packet(), 65535},
    {"NoDuration", 0, one_packet(), 0},

    {"NoRateNoPackets", 3200, {.nominal_msdu_size = 208, .mean_data_rate = 0}, 0},
    {"OneBitIsAPacket", 3200, {.nominal_msdu_size = 208, .mean_data_rate = 1}, 100},
    {"AFullPacket", 3200, {.nominal_msdu_size = 208, .mean_data_rate = 1664}, 100},
    {"OneBitMoreIsAnother", 3200, {.nominal_msdu_size = 208, .mean_data_rate = 1665}, 200},
    {"AByteSizedPacket", 3200, {.nominal_msdu_size = 1, .mean_data_rate = 17}, 300},
    {"MorePacketsThanSixteenBits", 8, {.nominal_msdu_size = 1, .mean_data_rate = 560000}, 17500},
    {"TheFixedFlagIsNoSize", 3200, {.nominal_msdu_size = 0x8001, .mean_data_rate = 17}, 300},
    {"TheLargestSize", 3200, {.nominal_msdu_size = 0x7fff, .mean_data_rate = 262144}, 200},
    {"TheHighestRate", 32, {.nominal_msdu_size = 0x7fff, .mean_data_rate = 0xfffffff8}, 16385},
    {"ARateBeyondItWraps", 32, {.nominal_msdu_size = 0x7fff, .mean_data_rate = 0xfffffff9}, 0},
};

INSTANTIATE_TEST_SUITE_P(Worked, MediumTimeValue, testing::ValuesIn(WORKED),
                         [](const auto &tested) { return std::string(tested.param.name); });

class MediumTimeTest : public RoomTest {
  protected:
    const tspec_ie_t voice_ = element(voice(0x2000));
    uint16_t medium_time_ = UNTOUCHED;

    int32_t calculate()
    {
        return tspec_ts_medium_time_calc(&voice_, 2, 9, CLIENT_B.data(), &medium_time_);
    }

    void expect_failure()
    {
        EXPECT_EQ(-1, calculate());
        EXPECT_EQ(UNTOUCHED, medium_time_);
        EXPECT_EQ(std::vector<int>({UDP_SOCKET, DMAN_SOCKET, CLI_SOCKET}),
                  platform().open_descriptors());
    }

    void expect_failure_trace(const Action &arrange)
    {
        expect_traces(
            "tspec_ts_medium_time_calc",
            {{2, "tspec_ts_medium_time_calc: Error receiving frame duration from port "
                 "55301.\n"}},
            [this] { calculate(); }, arrange);
    }
};

TEST_F(MediumTimeTest, HostapdIsAskedOnceFromAPortOfItsOwn)
{
    platform().answer_frame_duration(400);
    platform().journal.clear();
    EXPECT_EQ(0, calculate());

    Bytes query(28, 0);
    put8(query, 0, 0x24);
    put32(query, 4, 55301);
    put8(query, 8, 2);
    put(query, 9, CLIENT_B);
    put32(query, 16, 6'000'000);
    put32(query, 20, 0x80d0);
    put8(query, 24, 9);
    ASSERT_EQ(1U, platform().sent.size());
    EXPECT_TRUE(same_bytes(platform().sent[0].bytes, query));
    EXPECT_EQ(HOSTAPD_PORT, platform().sent[0].port);
    EXPECT_THAT(platform().journal, testing::Contains("bind(6, 0.0.0.0:55301, 16)"));
    ASSERT_EQ(1U, platform().reads.size());
    EXPECT_EQ(8U, platform().reads[0].size);
    ASSERT_EQ(1U, platform().selects.size());
    EXPECT_EQ(2, platform().selects[0].seconds);
    EXPECT_EQ(0, platform().selects[0].microseconds);
}

TEST_F(MediumTimeTest, ASizeWithAllBitsTravelsAsSixteen)
{
    platform().answer_frame_duration(1);
    const tspec_ie_t tspec = element({.nominal_msdu_size = 0xffff, .min_phy_rate = 0xfedcba98});
    EXPECT_EQ(0, tspec_ts_medium_time_calc(&tspec, 1, 255, CLIENT_A.data(), &medium_time_));
    const std::vector<Bytes> queries = frame_duration_queries();
    ASSERT_EQ(1U, queries.size());
    EXPECT_EQ(0xfedcba98U, get32(queries[0], 16));
    EXPECT_EQ(0x0000ffffU, get32(queries[0], 20));
    EXPECT_EQ(255, get8(queries[0], 24));
}

TEST_F(MediumTimeTest, TheResultIsTraced)
{
    expect_traces(
        "MED_CALC",
        {{1, "MED_CALC: nom_msdu=208 mean_dr=83200 min_phy=6000000 pps=50 dur=400 "
             "med_time=625 med_time_result=625\r\n"}},
        [this] { EXPECT_EQ(0, calculate()); }, [this] { platform().answer_frame_duration(400); });
}

TEST_F(MediumTimeTest, TheTraceShowsBothTheWholeAndTheSaturatedValue)
{
    const tspec_ie_t tspec = element(one_packet());
    expect_traces(
        "MED_CALC",
        {{1, "MED_CALC: nom_msdu=100 mean_dr=8 min_phy=6000000 pps=1 dur=4294967295 "
             "med_time=134217727 med_time_result=65535\r\n"}},
        [&] { tspec_ts_medium_time_calc(&tspec, 1, 0, CLIENT_A.data(), &medium_time_); },
        [this] { platform().answer_frame_duration(0xffffffff); });
}

TEST_F(MediumTimeTest, AMissingElementOrPlaceIsRefusedWithoutAskingOrTracing)
{
    set_trace(ALL_LEVELS);
    EXPECT_EQ(-1, tspec_ts_medium_time_calc(nullptr, 1, 0, CLIENT_A.data(), &medium_time_));
    EXPECT_EQ(-1, tspec_ts_medium_time_calc(&voice_, 1, 0, CLIENT_A.data(), nullptr));
    EXPECT_EQ(UNTOUCHED, medium_time_);
    EXPECT_THAT(console(), testing::IsEmpty());
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(MediumTimeTest, ASilentHostapdCostsTwoSeconds)
{
    const time_t begin = platform().now;
    expect_failure();
    EXPECT_EQ(begin + 2, platform().now);
    expect_failure_trace({});
}

struct FailedCall {
    const char *name;
    Call call;
};

class MediumTimeFailure : public MediumTimeTest, public testing::WithParamInterface<FailedCall> {};

TEST_P(MediumTimeFailure, LeavesTheResultUntouched)
{
    platform().answer_frame_duration(400);
    platform().fail({.call = GetParam().call, .error = EINVAL});
    expect_failure();
}

TEST_P(MediumTimeFailure, IsTraced)
{
    expect_failure_trace([this] {
        platform().answer_frame_duration(400);
        platform().fail({.call = GetParam().call, .error = EINVAL});
    });
}

INSTANTIATE_TEST_SUITE_P(Calls, MediumTimeFailure,
                         testing::Values(FailedCall{"socket", Call::socket},
                                         FailedCall{"bind", Call::bind},
                                         FailedCall{"sendto", Call::sendto},
                                         FailedCall{"select", Call::select},
                                         FailedCall{"recvfrom", Call::recvfrom}),
                         [](const auto &tested) { return std::string(tested.param.name); });

TEST_F(MediumTimeTest, ADescriptorThatSelectCannotWaitForIsAFailedSocket)
{
    platform().answer_frame_duration(400);
    platform().next_descriptors = {FD_SETSIZE};
    expect_failure();
    EXPECT_EQ(0U, platform().count(Call::select));
}

TEST_F(MediumTimeTest, AFailureToReuseThePortIsNoFailure)
{
    platform().answer_frame_duration(400);
    platform().fail({.call = Call::setsockopt, .error = EINVAL});
    EXPECT_EQ(0, calculate());
    EXPECT_EQ(625, medium_time_);
}

TEST_F(MediumTimeTest, AnAnswerWithoutTheMarkerIsRejected)
{
    for (const uint8_t marker : each<uint8_t>(0x00, 0x23, 0x25, 0xff)) {
        restart();
        Bytes answer = frame_duration_answer(400);
        put8(answer, 0, marker);
        platform().answer_frame_duration(answer);
        expect_failure();
    }
    expect_failure_trace([this] { platform().answer_frame_duration(Bytes(8, 0x23)); });
}

TEST_F(MediumTimeTest, AnEmptyAnswerHasNoMarker)
{
    platform().answer_frame_duration(Bytes());
    expect_failure();
    expect_failure_trace([this] { platform().answer_frame_duration(Bytes()); });
}

TEST_F(MediumTimeTest, TheReservedBytesOfTheAnswerAreIgnored)
{
    Bytes answer = frame_duration_answer(400);
    put(answer, 1, Bytes{0xff, 0xff, 0xff});
    platform().answer_frame_duration(answer);
    EXPECT_EQ(0, calculate());
    EXPECT_EQ(625, medium_time_);
}

TEST_F(MediumTimeTest, WhatAShortAnswerDoesNotHoldIsZero)
{
    platform().answer_frame_duration(Bytes{0x24});
    EXPECT_EQ(0, calculate());
    EXPECT_EQ(0, medium_time_);
}

TEST_F(MediumTimeTest, ALongAnswerIsCut)
{
    Bytes answer = frame_duration_answer(400);
    answer.resize(100, 0xff);
    platform().answer_frame_duration(answer);
    EXPECT_EQ(0, calculate());
    EXPECT_EQ(625, medium_time_);
}

// The signal that ends a process in which the action is run, or 0.
int ending_signal(const std::function<void()> &action)
{
    const pid_t child = fork();
    if (child == 0) {
        action();
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

TEST_F(MediumTimeTest, ANominalSizeOfZeroEndsTheProcessBeforeHostapdIsAsked)
{
    for (const uint16_t size : each<uint16_t>(0x0000, 0x8000)) {
        for (const uint32_t rate : {83200U, 0U}) {
            const tspec_ie_t tspec = element({.nominal_msdu_size = size, .mean_data_rate = rate});
            platform().answer_frame_duration(400);
            platform().on_send = [](const Sent &) { _exit(1); };
            EXPECT_EQ(SIGFPE, ending_signal([&] {
                          tspec_ts_medium_time_calc(&tspec, 1, 0, CLIENT_A.data(), &medium_time_);
                      }));
        }
    }
}

TEST_F(MediumTimeTest, NeitherAHandlerNorAMaskKeepsTheProcessAlive)
{
    const tspec_ie_t tspec = element({.nominal_msdu_size = 0});
    EXPECT_EQ(SIGFPE, ending_signal([&] {
                  sigset_t all;
                  sigfillset(&all);
                  sigprocmask(SIG_BLOCK, &all, nullptr);
                  signal(SIGFPE, SIG_IGN);
                  tspec_ts_medium_time_calc(&tspec, 1, 0, CLIENT_A.data(), &medium_time_);
              }));
}

} // namespace
TEST(MediumTime, OnlyBidirectionalStreamsCountTwice)
{
    for (uint32_t time = 0; time < 65536; time++) {
        const auto medium_time = static_cast<uint16_t>(time);
        ASSERT_EQ(tspec_medium_time_both_ways(medium_time, 0), time);
        ASSERT_EQ(tspec_medium_time_both_ways(medium_time, 1), time);
        ASSERT_EQ(tspec_medium_time_both_ways(medium_time, 2), time);
        ASSERT_EQ(tspec_medium_time_both_ways(medium_time, 3), 2 * time) << "does not wrap";
    }
}

} // namespace tspec::test
