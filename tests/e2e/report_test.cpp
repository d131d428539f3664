// Reports of violations: lines of the system log and records of the trap pipe.
#include "sim/lib/private_world.h"
#include "stimulus.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

using namespace std::chrono_literals;

constexpr int log_pid_and_cons = 0x01 | 0x02;
constexpr int user_info = 1 << 3 | 6;

class Report : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
        configure_voice_and_video(ap());
    }

    Events unauthorised(uint8_t user_priority)
    {
        return request(ap(), from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD,
                                          {.user_priority = user_priority, .station = 0x1234}));
    }

    Events after_the_interval()
    {
        ap().settle();
        ap().advance(300s);
        return ap().settle();
    }

    void exceed(const Stream &stream, int times)
    {
        for (int i = 0; i < times; i++) {
            request(ap(), from_hostapd(TSPEC_TS_EXCEED_TIME_CMD, stream));
        }
    }
};

using Strings = std::vector<std::string>;

TEST_F(Report, OfUnauthorisedTrafficNamesTheCategoryByNumberAndByName)
{
    ap().trap().open_reader();
    struct Case {
        uint8_t user_priority;
        int number;
        const char *name;
    };
    for (const Case &one :
         {Case{0, 0, "best-effort"}, Case{1, 1, "background"}, Case{2, 1, "background"},
          Case{3, 0, "best-effort"}, Case{4, 2, "video"}, Case{5, 2, "video"}, Case{6, 3, "voice"},
          Case{7, 3, "voice"}}) {
        Events events = unauthorised(one.user_priority);
        EXPECT_EQ(
            log_texts(events),
            Strings{fmt::format("Client 02:00:00:00:12:34 has sent unauthorized traffic on AC {}",
                                one.number)});
        EXPECT_EQ(
            trap_records(events),
            Strings{fmt::format("9,2,Unauthorized traffic sent,02:00:00:00:12:34,{}", one.name)});
    }
}

TEST_F(Report, IsLoggedWithIdentPidAndPriority)
{
    Events lines = of_kind(unauthorised(6), Kind::syslog);
    ASSERT_EQ(lines.size(), 1U);
    const SyslogLine *line = lines[0].as<SyslogLine>();
    EXPECT_EQ(line->ident, "tspec");
    EXPECT_EQ(line->option, log_pid_and_cons);
    EXPECT_EQ(line->priority, user_info);
    EXPECT_EQ(line->pid, ap().pid());
}

TEST_F(Report, ArrivesAtTheSystemLog)
{
    if (!PrivateWorld::current().isolated()) {
        GTEST_SKIP() << "/dev/log belongs to the host here";
    }
    Events lines = of_kind(unauthorised(5), Kind::syslog);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_TRUE(lines[0].delivered);
    // "<14>Nov 14 22:13:20 tspec[4711]: ..."
    EXPECT_THAT(text_of(lines[0].as<SyslogLine>()->raw),
                ::testing::MatchesRegex(fmt::format(
                    "<14>[A-Z][a-z][a-z] [ 0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9] "
                    "tspec.{}.: Client 02:00:00:00:12:34 has sent unauthorized traffic on AC 2.?",
                    ap().pid())));
}

TEST_F(Report, GoesOnWithoutASystemLog)
{
    if (!PrivateWorld::current().isolated()) {
        GTEST_SKIP() << "/dev/log belongs to the host here";
    }
    ap().system_log().turn_off();
    ap().trap().open_reader();
    EXPECT_EQ(trap_records(unauthorised(5)).size(), 1U);
    EXPECT_EQ(ap().standard_error(), "");
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(Report, LogsBeforeItWritesTheTrap)
{
    ap().trap().open_reader();
    std::vector<Kind> order;
    for (const Event &event : unauthorised(5)) {
        if (event.kind == Kind::syslog || event.kind == Kind::trap) {
            order.push_back(event.kind);
        }
    }
    EXPECT_EQ(order, (std::vector<Kind>{Kind::syslog, Kind::trap}));
}

TEST_F(Report, OfExcessNamesTheStream)
{
    ap().trap().open_reader();
    HostapdMessage message =
        from_hostapd(TSPEC_FBT_ADDTS_CMD, {.direction = bidirectional, .medium_time = 1000});
    message.sta = Mac{{0x00, 0x11, 0x22, 0x33, 0x44, 0x55}};
    request(ap(), message);
    message.cmd = TSPEC_TS_EXCEED_TIME_CMD;
    for (int i = 0; i < 3; i++) {
        request(ap(), message);
    }
    for (int interval = 0; interval < 2; interval++) {
        Events events = after_the_interval();
        EXPECT_EQ(log_texts(events),
                  Strings{"Client 00:11:22:33:44:55 has exceeded bandwidth usage 3 times for "
                          "access category voice on tid 6 (medium_time=1000 dir=bidirectional)"});
        EXPECT_EQ(trap_records(events),
                  Strings{"8,2,Client Bwidth excees usage,00:11:22:33:44:55,voice,bidirectional,"
                          "1000,6"});
    }
}

TEST_F(Report, OfExcessFollowsClientsCategoriesAndBanks)
{
    ap().trap().open_reader();
    const Stream first{.station = 9};
    const Stream background{.tid = 1, .user_priority = 1, .direction = 2};
    const Stream video{.tid = 5, .user_priority = 5};
    const Stream video_down{.tid = 4, .user_priority = 4, .direction = downlink};
    const Stream best_effort{.tid = 0, .user_priority = 0};
    for (const Stream &stream : {first, video, video_down, background, best_effort}) {
        admit(ap(), stream);
    }
    exceed(video_down, 2);
    exceed(video, 1);
    exceed(background, 4);
    exceed(first, 1);
    Events events = after_the_interval();
    EXPECT_EQ(log_texts(events),
              (Strings{"Client 02:00:00:00:00:09 has exceeded bandwidth usage 1 times for access "
                       "category voice on tid 6 (medium_time=625 dir=uplink)",
                       "Client 02:00:00:00:00:01 has exceeded bandwidth usage 4 times for access "
                       "category background on tid 1 (medium_time=0 dir=reserved)",
                       "Client 02:00:00:00:00:01 has exceeded bandwidth usage 1 times for access "
                       "category video on tid 5 (medium_time=625 dir=uplink)",
                       "Client 02:00:00:00:00:01 has exceeded bandwidth usage 2 times for access "
                       "category video on tid 4 (medium_time=625 dir=downlink)"}));
    EXPECT_EQ(trap_records(events),
              (Strings{"8,2,Client Bwidth excees usage,02:00:00:00:00:09,voice,uplink,625,6",
                       "8,2,Client Bwidth excees usage,02:00:00:00:00:01,background,reserved,0,1",
                       "8,2,Client Bwidth excees usage,02:00:00:00:00:01,video,uplink,625,5",
                       "8,2,Client Bwidth excees usage,02:00:00:00:00:01,video,downlink,625,4"}));
}

TEST_F(Report, OfExcessGoesWithTheStream)
{
    admit(ap());
    exceed({}, 1);
    request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD));
    EXPECT_TRUE(log_texts(after_the_interval()).empty());
    admit(ap());
    EXPECT_TRUE(log_texts(after_the_interval()).empty());
}

TEST_F(Report, OfExcessLeavesPendingStreamsOut)
{
    manage(ap());
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    exceed({}, 5);
    manage(ap(), false);
    EXPECT_TRUE(log_texts(after_the_interval()).empty());
}

TEST_F(Report, IsNotMadeWhileManaged)
{
    admit(ap());
    exceed({}, 5);
    manage(ap());
    EXPECT_TRUE(log_texts(unauthorised(6)).empty());
    EXPECT_TRUE(log_texts(after_the_interval()).empty());
}

TEST_F(Report, IsLostSilentlyWithoutAPipe)
{
    Events events = unauthorised(6);
    EXPECT_EQ(log_texts(events).size(), 1U);
    ASSERT_EQ(of_kind(events, Kind::trap).size(), 1U);
    EXPECT_EQ(of_kind(events, Kind::trap)[0].error, ENOENT);
    EXPECT_FALSE(std::filesystem::exists(SNMP_TRAP_TSPEC_FIFO_FILE));
    EXPECT_EQ(ap().standard_error(), "");
}

TEST_F(Report, IsLostSilentlyWithoutAReader)
{
    ap().trap().create();
    Events events = unauthorised(6);
    EXPECT_EQ(log_texts(events).size(), 1U);
    ASSERT_EQ(of_kind(events, Kind::trap).size(), 1U);
    EXPECT_EQ(of_kind(events, Kind::trap)[0].error, ENXIO);
    EXPECT_EQ(ap().standard_error(), "");
    // What was lost is not made up for.
    ap().trap().open_reader();
    EXPECT_EQ(trap_records(unauthorised(6)).size(), 1U);
    EXPECT_EQ(ap().trap().received(), "9,2,Unauthorized traffic sent,02:00:00:00:12:34,voice");
}

TEST_F(Report, ReachesAReaderWithoutAnyEndOfRecord)
{
    ap().trap().open_reader();
    unauthorised(6);
    unauthorised(1);
    EXPECT_EQ(ap().trap().received(), "9,2,Unauthorized traffic sent,02:00:00:00:12:34,voice"
                                      "9,2,Unauthorized traffic sent,02:00:00:00:12:34,background");
}

TEST_F(Report, SurvivesAReaderThatHasLeft)
{
    ap().trap().open_reader();
    unauthorised(6);
    ap().trap().close_reader();
    unauthorised(6);
    EXPECT_EQ(ap().standard_error(), "");
    ap().trap().open_reader();
    EXPECT_EQ(trap_records(unauthorised(5)).size(), 1U);
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(Report, SurvivesAReaderThatLeavesUnderTheWrite)
{
    ap().trap().open_reader();
    ap().trap().leave_after_next_open();
    Events events = unauthorised(6);
    ASSERT_EQ(of_kind(events, Kind::trap).size(), 1U);
    EXPECT_EQ(of_kind(events, Kind::trap)[0].error, EPIPE);
    EXPECT_EQ(ap().standard_error(), "");
    EXPECT_TRUE(is_alive(ap()));
}

TEST_F(Report, DoesNotWaitForAFullPipe)
{
    ap().trap().open_reader();
    ap().trap().fill();
    Events events = unauthorised(6);
    EXPECT_EQ(log_texts(events).size(), 1U);
    ASSERT_EQ(of_kind(events, Kind::trap).size(), 1U);
    EXPECT_EQ(of_kind(events, Kind::trap)[0].error, EAGAIN);
    EXPECT_EQ(ap().standard_error(), "");
    EXPECT_TRUE(is_alive(ap()));
    ap().trap().drain();
    EXPECT_EQ(trap_records(unauthorised(5)).size(), 1U);
}

TEST_F(Report, SaysOnceForEachRecordWhyThePipeCannotBeOpened)
{
    admit(ap());
    admit(ap(), {.station = 2});
    exceed({}, 1);
    exceed({.station = 2}, 1);
    ap().trap().put_directory();
    std::string one = perror_line("open[SNMP_TRAP_TSPEC_FIFO_FILE]", EISDIR);
    EXPECT_EQ(error_during(ap(), [&] { unauthorised(6); }), one);
    Events events;
    EXPECT_EQ(error_during(ap(), [&] { events = after_the_interval(); }), one + one);
    EXPECT_EQ(log_texts(events).size(), 2U);
}

TEST_F(Report, NamesTheCauseThatThePipeCannotBeOpenedFor)
{
    ap().trap().open_reader();
    for (int cause : {EACCES, EMFILE, EIO}) {
        ap().driver().inject(
            Fault{.call = Call::open, .error = cause, .path = SNMP_TRAP_TSPEC_FIFO_FILE});
        EXPECT_EQ(error_during(ap(), [&] { unauthorised(6); }),
                  perror_line("open[SNMP_TRAP_TSPEC_FIFO_FILE]", cause));
    }
}

TEST_F(Report, LeavesNoDescriptorOpen)
{
    ap().trap().open_reader();
    unauthorised(6);
    size_t before = open_descriptors(ap().pid()).size();
    for (int i = 0; i < 50; i++) {
        unauthorised(6);
    }
    ap().trap().close_reader();
    unauthorised(6);
    EXPECT_EQ(open_descriptors(ap().pid()).size(), before);
}

} // namespace
} // namespace tspec::e2e
