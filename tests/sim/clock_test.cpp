// The simulated clock, and how frame-duration answers and the passing of time
// go together.
#include "stand_in_test.h"

namespace tspec::tests {

using namespace std::chrono_literals;
using testing::ElementsAre;

Options starting_at(std::chrono::seconds since_epoch)
{
    return {.start_time = Time(since_epoch)};
}

class ClockTest : public StandInTest {
  protected:
    ClockTest() : StandInTest(starting_at(1000s)) {}
};

Duration passed(const Events &events)
{
    Duration sum{0};
    for (const Event &event : events) {
        if (const ClockStep *step = event.as<ClockStep>()) {
            sum += step->to - step->from;
        }
    }
    return sum;
}

TEST_F(ClockTest, StandsStillUntilItIsAdvanced)
{
    EXPECT_THAT(told("T"), ElementsAre("1000"));
    EXPECT_THAT(told("T"), ElementsAre("1000"));
    ap.advance(90s);
    EXPECT_THAT(told("T"), ElementsAre("1090"));
}

TEST_F(ClockTest, EveryTimeOutComesAtItsTime)
{
    tell("k");
    ap.settle();
    ap.advance(3s);
    std::vector<std::string> ticks;
    for (const Event &event : with_peer(ap.settle(), Peer::mapd, Kind::from_daemon)) {
        ticks.push_back(event.text());
    }
    EXPECT_THAT(ticks, ElementsAre("tick 1001", "tick 1002", "tick 1003"));
}

TEST_F(ClockTest, PartsOfASecondAddUp)
{
    tell("k");
    ap.settle();
    ap.advance(600ms);
    EXPECT_THAT(with_peer(ap.settle(), Peer::mapd, Kind::from_daemon), testing::IsEmpty());
    ap.advance(600ms);
    EXPECT_THAT(with_peer(ap.settle(), Peer::mapd, Kind::from_daemon), testing::SizeIs(1));
}

TEST_F(ClockTest, AWeekPasses)
{
    ap.advance(std::chrono::hours(7 * 24));
    EXPECT_THAT(told("T"), ElementsAre("605800"));
}

TEST_F(ClockTest, IsSetForthAndBack)
{
    ap.step_clock(-500s);
    EXPECT_THAT(told("T"), ElementsAre("500"));
    ap.step_clock(1000s);
    EXPECT_THAT(told("T"), ElementsAre("1500"));
    EXPECT_EQ(ap.now(), Time(1500s));
}

TEST_F(ClockTest, HostapdAnswersAtOnce)
{
    ap.hostapd().answer_frame_duration(frame_duration::normal(321));
    EXPECT_THAT(told("d"), ElementsAre("8 bytes, marker 36, duration 321"));
    EXPECT_EQ(ap.now(), Time(1000s));
}

TEST_F(ClockTest, SilentHostapdCostsTwoSeconds)
{
    ap.hostapd().answer_frame_duration(frame_duration::none());
    tell("d");
    Events events = ap.settle();
    EXPECT_THAT(console_texts(events), ElementsAre("time-out"));
    EXPECT_EQ(passed(events), 2s);
    EXPECT_EQ(ap.now(), Time(1002s));
}

TEST_F(ClockTest, AbsentHostapdCostsTwoSecondsToo)
{
    ap.hostapd().turn_off();
    EXPECT_THAT(told("d"), ElementsAre("time-out"));
    EXPECT_EQ(ap.now(), Time(1002s));
}

TEST_F(ClockTest, SlowHostapdIsWaitedFor)
{
    ap.hostapd().answer_frame_duration(frame_duration::late(321, 1500ms));
    EXPECT_THAT(told("d"), ElementsAre("8 bytes, marker 36, duration 321"));
    EXPECT_EQ(ap.now(), Time(1001500ms));
}

TEST_F(ClockTest, LateAnswerIsLost)
{
    ap.hostapd().answer_frame_duration(frame_duration::late(321, 3s));
    EXPECT_THAT(told("d"), ElementsAre("time-out"));
    ap.advance(1s);
    Events events = ap.settle();
    Events answers = with_peer(events, Peer::hostapd, Kind::to_daemon);
    ASSERT_THAT(answers, testing::SizeIs(1));
    EXPECT_FALSE(answers[0].delivered);
    EXPECT_EQ(answers[0].destination_port, TSPEC_FRAME_DUR_REPLY_PORT);
    EXPECT_EQ(ap.now(), Time(1003s));
}

TEST_F(ClockTest, OddAnswersReachTheDaemon)
{
    ap.hostapd().answer_frame_duration(frame_duration::empty());
    EXPECT_THAT(told("d"), ElementsAre("0 bytes, marker 0, duration 0"));
    ap.hostapd().answer_frame_duration(frame_duration::short_answer(3));
    EXPECT_THAT(told("d"), ElementsAre("3 bytes, marker 36, duration 0"));
    ap.hostapd().answer_frame_duration(frame_duration::wrong_marker(7));
    EXPECT_THAT(told("d"), ElementsAre("8 bytes, marker 35, duration 7"));
    ap.hostapd().answer_frame_duration([](const tspec_frame_dur_req_t &query) {
        return FrameDurationAnswer{.datagram = {query.marker, query.radio_unit}};
    });
    EXPECT_THAT(told("d"), ElementsAre("2 bytes, marker 36, duration 0"));
}

TEST_F(ClockTest, WaitsForAnswersWhileTimeIsAdvanced)
{
    ap.hostapd().answer_frame_duration(frame_duration::normal(5));
    bool asked = false;
    ap.mapd().react([&](const Event &event) {
        if (event.text() == "tick 1002" && !std::exchange(asked, true)) {
            ap.mapd().send(bytes_of("d"));
        }
    });
    tell("k");
    ap.advance(4s);
    EXPECT_THAT(console_texts(ap.settle()), ElementsAre("8 bytes, marker 36, duration 5"));
    EXPECT_EQ(ap.now(), Time(1004s));
}

TEST_F(ClockTest, GoesOnWhenTheDaemonIsStartedAgain)
{
    ap.advance(50s);
    ap.stop();
    ASSERT_TRUE(ap.start());
    ap.settle();
    EXPECT_THAT(told("T"), ElementsAre("1050"));
}

class RealClockTest : public StandInTest {
  protected:
    RealClockTest() : StandInTest(Options{.clock = Clock::real}) {}
};

TEST_F(RealClockTest, SilentHostapdIsWaitedForInRealTime)
{
    ap.hostapd().answer_frame_duration(frame_duration::none());
    auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(told("d"), ElementsAre("time-out"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 2s);
}

TEST_F(RealClockTest, SlowHostapdIsWaitedForInRealTime)
{
    ap.hostapd().answer_frame_duration(frame_duration::late(9, 300ms));
    auto begin = std::chrono::steady_clock::now();
    EXPECT_THAT(told("d"), ElementsAre("8 bytes, marker 36, duration 9"));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 300ms);
}

TEST_F(RealClockTest, SecondsTickByThemselves)
{
    tell("k");
    ap.settle();
    size_t ticks_at_once = with_peer(ap.history(), Peer::mapd, Kind::from_daemon).size();
    auto ticks = [&] { return with_peer(ap.history(), Peer::mapd, Kind::from_daemon).size(); };
    while (ticks() == ticks_at_once) {
        ap.advance(100ms);
    }
    EXPECT_TRUE(ap.running());
}

TEST_F(RealClockTest, GivesWayToTheSimulatedOneAndBack)
{
    ap.use_clock(Clock::simulated);
    Time begin = ap.now();
    ap.advance(100h);
    EXPECT_EQ(ap.now(), begin + 100h);
    ap.use_clock(Clock::real);
    EXPECT_LT(ap.now(), begin + 1h);
    EXPECT_THAT(told("cstill there"), ElementsAre("still there"));
}

} // namespace tspec::tests
