// The daemon's timers: the interval of the violation reports on the simulated
// clock, and the two time-outs of select in real time.
#include "datagram.h"
#include "stimulus.h"

namespace tspec::e2e {
namespace {

using namespace std::chrono_literals;

class Schedule : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        offend();
    }

    // A stream to report, so that each run of the reports can be seen.
    void offend()
    {
        associate_all(ap());
        request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD));
        request(ap(), from_hostapd(TSPEC_TS_EXCEED_TIME_CMD));
    }

    size_t reports_within(Duration duration)
    {
        ap().settle();
        ap().advance(duration);
        return log_texts(ap().settle()).size();
    }

    void set_interval(uint32_t seconds)
    {
        ap().dman().send(ViolationInterval{.seconds = seconds}.bytes());
        ap().settle();
    }
};

TEST_F(Schedule, RunsFirstAfterFiveMinutes)
{
    EXPECT_EQ(reports_within(299s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, RunsEveryFiveMinutes)
{
    for (int i = 0; i < 3; i++) {
        EXPECT_EQ(reports_within(299s), 0U);
        EXPECT_EQ(reports_within(1s), 1U);
    }
    EXPECT_EQ(reports_within(3000s), 10U);
}

TEST_F(Schedule, TakesANewIntervalAtOnce)
{
    EXPECT_EQ(reports_within(100s), 0U);
    // The 100 seconds count.
    ap().dman().send(ViolationInterval{.seconds = 100}.bytes());
    EXPECT_EQ(log_texts(ap().settle()).size(), 1U);
    EXPECT_EQ(reports_within(99s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
    set_interval(1000);
    EXPECT_EQ(reports_within(999s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, RunsOnEveryTurnThatTakesASecond)
{
    set_interval(1);
    EXPECT_EQ(reports_within(10s), 10U);
}

TEST_F(Schedule, IsOffAtIntervalZero)
{
    set_interval(0);
    EXPECT_EQ(reports_within(24h), 0U);
    // The time meanwhile counts once it is on again.
    ap().dman().send(ViolationInterval{.seconds = 3600}.bytes());
    EXPECT_EQ(log_texts(ap().settle()).size(), 1U);
}

TEST_F(Schedule, TakesTheLongestInterval)
{
    set_interval(0xffffffff);
    EXPECT_EQ(reports_within(24h), 0U);
}

TEST_F(Schedule, IsLookedAtWheneverADatagramCame)
{
    EXPECT_EQ(reports_within(299500ms), 0U);
    ap().step_clock(1s);
    EXPECT_TRUE(log_texts(ap().settle()).empty());
    ap().cli().send(Bytes{0});
    EXPECT_EQ(log_texts(ap().settle()).size(), 1U);
}

TEST_F(Schedule, StartsAnewWithEveryChangeOfTheState)
{
    EXPECT_EQ(reports_within(299s), 0U);
    manage(ap(), false); // the state that it is in already
    EXPECT_EQ(reports_within(299s), 0U);
    manage(ap(), true);
    EXPECT_EQ(reports_within(1000s), 0U);
    manage(ap(), false);
    EXPECT_EQ(reports_within(299s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, DoesNotStartAnewWithAWrongState)
{
    EXPECT_EQ(reports_within(299s), 0U);
    ap().mapd().send(ApState{.managed_mode = 2}.bytes());
    ap().mapd().send(Bytes{6, 1});
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, RunsAtOnceWhenTheClockWasSetForth)
{
    ap().step_clock(1h);
    EXPECT_EQ(reports_within(1s), 1U);
    EXPECT_EQ(reports_within(299s), 0U);
}

// The seconds since the last run wrap at 32 bits, so they are many.
TEST_F(Schedule, RunsAtOnceWhenTheClockWasSetBack)
{
    set_trace_mask(ap(), info);
    ap().step_clock(-1h);
    EXPECT_EQ(console_during(ap(), [&] { ap().cli().send(Bytes{0}); }),
              console_lines(
                  {"tspec_main_loop:Processing TSPEC violation reports (interval=300, "
                   "elapsed=4294963696)\r\n",
                   "tspec_violation_report_notify:Entry\r\n",
                   "tspec_violation_report_notify:Client 02:00:00:00:00:01 has exceeded bandwidth "
                   "usage 1 times for access category voice on tid 6 (medium_time=0 "
                   "dir=uplink)\r\n",
                   "tspec_violation_report_notify:Exit\r\n"}));
    EXPECT_EQ(reports_within(299s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, SaysHowLongItHasBeen)
{
    set_interval(7);
    set_trace_mask(ap(), info);
    ap().step_clock(20s);
    EXPECT_THAT(console_during(ap(), [&] { ap().cli().send(Bytes{0}); }),
                ::testing::HasSubstr("(interval=7, elapsed=20)\r\n"));
}

TEST_F(Schedule, TakesTheTimeOfTheStartForTheFirstRun)
{
    boot({.start_time = Time{std::chrono::seconds(4294967295 - 100)}});
    offend();
    // The clock passes the end of 32 bits meanwhile.
    EXPECT_EQ(reports_within(299s), 0U);
    EXPECT_EQ(reports_within(1s), 1U);
}

TEST_F(Schedule, RunsOncePerTurnHoweverLongItWasLate)
{
    ap().step_clock(3600s);
    ap().cli().send(Bytes{0});
    EXPECT_EQ(log_texts(ap().settle()).size(), 1U);
}

// ---- real time ---------------------------------------------------------

class RealTime : public DaemonTest {
  protected:
    void SetUp() override { boot({.clock = Clock::real}); }
};

// The status that was lost is sent again on the next turn, and what brings the
// next turn is the time-out alone.
TEST_F(RealTime, TheLoopTurnsWithoutDatagrams)
{
    manage(ap());
    break_sends(ap(), TSPEC_MAPD_PORT);
    associate(ap());
    request(ap(), from_hostapd(TSPEC_FBT_ADDTS_CMD));
    Events all = ap().history();
    std::vector<Bytes> arrived;
    for (int i = 0; i < 100 && arrived.empty(); i++) {
        ap().advance(100ms);
        for (const Event &event : with_peer(ap().settle(), Peer::mapd, Kind::from_daemon)) {
            if (event.delivered) {
                arrived.push_back(event.data);
            }
        }
    }
    ASSERT_EQ(arrived.size(), 1U);
    EXPECT_EQ(arrived[0].size(), 984U);
    Events lost = with_peer(all, Peer::mapd, Kind::from_daemon);
    ASSERT_EQ(lost.size(), 1U);
    EXPECT_TRUE(same_bytes(lost[0].data, arrived[0]));
}

TEST_F(RealTime, TheWaitForAFrameDurationEndsWithoutAnAnswer)
{
    associate(ap());
    configure_voice_and_video(ap());
    ap().hostapd().answer_frame_duration(frame_duration::none());
    ap().hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD).bytes());
    ap().cli().send(cli_ping());
    std::vector<std::pair<Peer, size_t>> sent;
    for (const Event &event : of_kind(ap().settle(), Kind::from_daemon)) {
        sent.emplace_back(event.peer, event.data.size());
        if (event.data.size() == 148) {
            EXPECT_EQ(u32_at(event.data, 132), 3U);
        }
    }
    EXPECT_THAT(sent, ::testing::ElementsAre(std::pair<Peer, size_t>{Peer::hostapd, 28},
                                             std::pair<Peer, size_t>{Peer::hostapd, 148},
                                             std::pair<Peer, size_t>{Peer::cli, 4}));
}

TEST_F(RealTime, AnAnswerWithinTheWaitIsTaken)
{
    associate(ap());
    configure_voice_and_video(ap());
    ap().hostapd().answer_frame_duration(frame_duration::late(400, 200ms));
    std::vector<Bytes> sent =
        sent_to(request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD)), Peer::hostapd);
    ASSERT_EQ(sent.size(), 2U);
    EXPECT_EQ(u32_at(sent[1], 132), 0U);
    EXPECT_EQ(u16_at(sent[1], 126), 625);
}

} // namespace
} // namespace tspec::e2e
