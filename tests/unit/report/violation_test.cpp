// Violation reports: what the system log and the trap pipe get.
#include "hostapd/room_test.h"
#include "report/violation.h"

#include <syslog.h>

namespace tspec::test {
namespace {

class ViolationTest : public RoomTest {
  protected:
    // Ident, options and facility of the system log.
    static std::string log_opened()
    {
        return "openlog(tspec, " + std::to_string(LOG_PID | LOG_CONS) + ", " +
               std::to_string(LOG_USER) + ")";
    }
    static std::string logged(const std::string &text)
    {
        return "syslog(" + std::to_string(LOG_INFO) + ", " + text + ")";
    }
    static std::vector<std::string> trapped(const std::string &text)
    {
        return {"open(/tmp/snmp_hostapd_trap, O_WRONLY|O_NONBLOCK) = 6", "write(6, " + text + ")",
                "close(6)"};
    }

    static std::vector<std::string> joined(const std::vector<std::vector<std::string>> &parts)
    {
        std::vector<std::string> all;
        for (const auto &part : parts) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }

    // A stream that exceeded its time three times.
    void add_offender(const Mac &mac = CLIENT_A)
    {
        add_stream(add_client(mac),
                   {.ac_idx = 3, .tid = 6, .direction = 3, .medium_time = 1000, .excess = 3});
    }

    static tspec_mapd_msg_t unauthorised(const Mac &mac = CLIENT_A)
    {
        return as_struct<tspec_mapd_msg_t>(mapd_message({.cmd = 7, .sta = mac, .ac_idx = 1}));
    }

    static const inline std::string EXCESS_TEXT =
        "Client 00:11:22:33:44:55 has exceeded bandwidth usage 3 times for access category voice "
        "on tid 6 (medium_time=1000 dir=bidirectional)";
    static const inline std::string EXCESS_TRAP =
        "8,2,Client Bwidth excees usage,00:11:22:33:44:55,voice,bidirectional,1000,6";
};

// ---- exceeded medium time

TEST_F(ViolationTest, AnExceededStreamIsLoggedAndTrapped)
{
    add_offender();
    platform().journal.clear();
    EXPECT_EQ(0U, tspec_violation_report_notify());
    EXPECT_EQ(joined({{log_opened(), logged(EXCESS_TEXT)}, trapped(EXCESS_TRAP), {"closelog()"}}),
              platform().journal);
}

TEST_F(ViolationTest, AReportChangesNothingSoTheStreamIsReportedAgain)
{
    add_offender();
    const Bytes before = snapshot();
    tspec_violation_report_notify();
    tspec_violation_report_notify();
    EXPECT_EQ(before, snapshot());
    EXPECT_THAT(platform().trap_writes, testing::ElementsAre(EXCESS_TRAP, EXCESS_TRAP));
    EXPECT_THAT(platform().syslog_texts, testing::ElementsAre(EXCESS_TEXT, EXCESS_TEXT));
}

TEST_F(ViolationTest, WithoutAnOffenderTheLogIsOpenedAndClosed)
{
    add_stream(add_client(CLIENT_A), {.ac_idx = 3, .tid = 6, .excess = 0});
    add_stream(clients()[0], {.ac_idx = 2, .tid = 4, .state = 2, .excess = 5});
    add_stream(clients()[0], {.ac_idx = 1, .tid = 1, .state = 3, .excess = 5});
    clients()[0]->streams[1][0].excess_usage_events = 9; // of an entry that is free
    platform().journal.clear();
    EXPECT_EQ(0U, tspec_violation_report_notify());
    EXPECT_THAT(platform().journal, testing::ElementsAre(log_opened(), "closelog()"));
}

TEST_F(ViolationTest, StreamsAreReportedByClientAccessCategoryAndBank)
{
    for (const Mac &mac : {CLIENT_B, CLIENT_A}) {
        tspec_rec_t *const client = add_client(mac);
        for (uint8_t ac_idx = 4; ac_idx-- > 0;) {
            for (const uint8_t bank : each<uint8_t>(1, 0)) {
                const auto number = static_cast<uint8_t>(2 * ac_idx + bank);
                add_stream(client, {.bank = bank,
                                    .ac_idx = ac_idx,
                                    .tid = number,
                                    .direction = static_cast<uint8_t>(number % 4),
                                    .medium_time = static_cast<uint16_t>(number + 10),
                                    .excess = number + 1U});
            }
        }
    }
    tspec_violation_report_notify();
    const char *const rest[] = {
        "best-effort,uplink,10,0",       "best-effort,downlink,11,1", "background,reserved,12,2",
        "background,bidirectional,13,3", "video,uplink,14,4",         "video,downlink,15,5",
        "voice,reserved,16,6",           "voice,bidirectional,17,7",
    };
    std::vector<std::string> expected;
    for (const char *mac : {"02:ab:0c:de:0f:f0", "00:11:22:33:44:55"}) {
        for (const char *stream : rest) {
            expected.push_back(std::string("8,2,Client Bwidth excees usage,") + mac + "," + stream);
        }
    }
    EXPECT_EQ(expected, platform().trap_writes);
    ASSERT_EQ(16U, platform().syslog_texts.size());
    EXPECT_EQ("Client 02:ab:0c:de:0f:f0 has exceeded bandwidth usage 1 times for access category "
              "best-effort on tid 0 (medium_time=10 dir=uplink)",
              platform().syslog_texts[0]);
    EXPECT_EQ("Client 00:11:22:33:44:55 has exceeded bandwidth usage 6 times for access category "
              "video on tid 5 (medium_time=15 dir=downlink)",
              platform().syslog_texts[13]);
}

TEST_F(ViolationTest, FiguresOfFullWidthAreReportedWhole)
{
    tspec_ts_rec_t *const entry = add_stream(
        add_client({0xff, 0xff, 0xff, 0xff, 0xff, 0xff}),
        {.ac_idx = 1, .tid = 255, .direction = 255, .medium_time = 65535, .excess = 0xffffffff});
    entry->ac_idx = 200;
    tspec_violation_report_notify();
    EXPECT_THAT(platform().syslog_texts,
                testing::ElementsAre("Client ff:ff:ff:ff:ff:ff has exceeded bandwidth usage "
                                     "4294967295 times for access category unknown on tid 255 "
                                     "(medium_time=65535 dir=reserved)"));
    EXPECT_THAT(platform().trap_writes,
                testing::ElementsAre("8,2,Client Bwidth excees usage,ff:ff:ff:ff:ff:ff,unknown,"
                                     "reserved,65535,255"));
}

TEST_F(ViolationTest, AnExcessReportIsTraced)
{
    const std::string name = "tspec_violation_report_notify";
    expect_traces(
        name,
        {{1, name + ":Entry\r\n"}, {1, name + ":" + EXCESS_TEXT + "\r\n"}, {1, name + ":Exit\r\n"}},
        [] { tspec_violation_report_notify(); }, [this] { add_offender(); });
}

TEST_F(ViolationTest, AProblemWithThePipeDoesNotStopTheReport)
{
    struct {
        Call call;
        int error;
        size_t complaints;
    } const cases[] = {{Call::open, ENOENT, 0},
                       {Call::open, ENXIO, 0},
                       {Call::open, EACCES, 2},
                       {Call::write, EAGAIN, 0}};
    for (const auto &failure : cases) {
        restart();
        add_offender(CLIENT_A);
        add_offender(CLIENT_B);
        platform().fail({.call = failure.call, .error = failure.error, .times = EVERY_TIME});
        EXPECT_EQ(0U, tspec_violation_report_notify());
        EXPECT_EQ(2U, platform().syslog_texts.size());
        EXPECT_EQ(failure.complaints, platform().perrors.size());
        EXPECT_EQ(0U, tspec_unauth_traffic_report_notify(unauthorised(), 1));
        EXPECT_EQ(3U, platform().syslog_texts.size());
    }
}

// ---- unauthorised traffic

TEST_F(ViolationTest, UnauthorisedTrafficIsLoggedByNumberAndTrappedByName)
{
    platform().journal.clear();
    EXPECT_EQ(0U, tspec_unauth_traffic_report_notify(unauthorised(), 2));
    EXPECT_EQ(joined({{log_opened(),
                       logged("Client 00:11:22:33:44:55 has sent unauthorized traffic on AC 2"),
                       "closelog()"},
                      trapped("9,2,Unauthorized traffic sent,00:11:22:33:44:55,video")}),
              platform().journal)
        << "the log is closed before the trap";
}

TEST_F(ViolationTest, EachAccessCategoryHasItsNumberAndName)
{
    const char *const names[] = {"best-effort", "background", "video", "voice", "unknown"};
    for (uint8_t ac_idx = 0; ac_idx < 5; ac_idx++) {
        restart();
        tspec_unauth_traffic_report_notify(unauthorised(CLIENT_B), ac_idx);
        EXPECT_THAT(platform().syslog_texts,
                    testing::ElementsAre("Client 02:ab:0c:de:0f:f0 has sent unauthorized traffic "
                                         "on AC " +
                                         std::to_string(ac_idx)));
        EXPECT_THAT(
            platform().trap_writes,
            testing::ElementsAre(std::string("9,2,Unauthorized traffic sent,02:ab:0c:de:0f:f0,") +
                                 names[ac_idx]));
    }
}

TEST_F(ViolationTest, AnUnauthorisedTrafficReportIsTraced)
{
    const std::string name = "tspec_unauth_traffic_report_notify";
    expect_traces(
        name,
        {{1, name + ":Entry\r\n"},
         {1, name + ":Client 00:11:22:33:44:55 has sent unauthorized traffic on AC 255\r\n"},
         {1, name + ":Exit\r\n"}},
        [] { tspec_unauth_traffic_report_notify(unauthorised(), 255); });
}

TEST_F(ViolationTest, UnauthorisedTrafficChangesNothing)
{
    add_offender();
    const Bytes before = snapshot();
    tspec_unauth_traffic_report_notify(unauthorised(), 3);
    EXPECT_EQ(before, snapshot());
}

} // namespace
} // namespace tspec::test
