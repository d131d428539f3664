// Sends that fail: what standard error says, and what the daemon undoes.
#include "datagram.h"
#include "stimulus.h"

#include <cerrno>

namespace tspec::e2e {
namespace {

class SendFailure : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        associate_all(ap());
        configure_voice_and_video(ap());
    }

    void fail_next(uint16_t port, int cause)
    {
        ap().driver().inject(Fault{.call = Call::sendto, .error = cause, .port = port});
    }
};

std::string two_lines(const char *second, int cause)
{
    return perror_line("Error sending data to destination process.\n", cause) +
           perror_line(second, cause);
}

TEST_F(SendFailure, OfAResponseRemovesTheStream)
{
    for (int cause : {ENETUNREACH, ENOBUFS, EPERM}) {
        // The query before it goes to the same port.
        ap().driver().inject(
            Fault{.call = Call::sendto, .error = cause, .after = 1, .port = TSPEC_HOSTAPD_PORT});
        EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD)); }),
                  two_lines("Error sending data to hostapd.\n", cause));
        EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
    }
    // The count of streams has come down again.
    admit(ap());
}

TEST_F(SendFailure, OfAResponseKeepsTheFiguresOfTheStreamThatIsGone)
{
    ap().driver().inject(
        Fault{.call = Call::sendto, .error = ENETUNREACH, .after = 1, .port = TSPEC_HOSTAPD_PORT});
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    // No update of the figures follows this deletion.
    std::string answer = *ask(ap(), "tspec-ap-stats");
    EXPECT_EQ(value_of(answer, "ts-vo-num-active"), "1");
    EXPECT_EQ(value_of(answer, "tspec-vo-tot-accepted"), "1");
}

TEST_F(SendFailure, OfARejectIsSaidOnce)
{
    admit(ap());
    fail_next(TSPEC_HOSTAPD_PORT, EPERM);
    HostapdMessage moved = from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = up_best_effort});
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), moved); }),
              perror_line("Error sending data to destination process.\n", EPERM));
    EXPECT_EQ(value_of(*ask(ap(), "tspec-ap-stats"), "tspec-be-tot-rejected"), "1");
}

TEST_F(SendFailure, OfAnInactivityRemovesTheStreamAllTheSame)
{
    admit(ap());
    fail_next(TSPEC_HOSTAPD_PORT, ENETUNREACH);
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_TS_INACTIVE_CMD)); }),
              two_lines("Error sending data to hostapd.\n", ENETUNREACH));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("wlan0: vo=0/"));
}

TEST_F(SendFailure, OfAForwardedRequestRemovesTheStream)
{
    manage(ap());
    fail_next(TSPEC_MAPD_PORT, ENETUNREACH);
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD)); }),
              two_lines("Error sending data to mapd.\n", ENETUNREACH));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
    admit(ap());
}

TEST_F(SendFailure, OfAForwardedRenewalRemovesTheStreamToo)
{
    manage(ap());
    admit(ap());
    fail_next(TSPEC_MAPD_PORT, ENETUNREACH);
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

TEST_F(SendFailure, OfAForwardedDeletionHappensAfterTheDeletion)
{
    admit(ap());
    manage(ap());
    fail_next(TSPEC_MAPD_PORT, ENETUNREACH);
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_DELTS_REQ_CMD)); }),
              two_lines("Error sending data to mapd.\n", ENETUNREACH));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

TEST_F(SendFailure, OfAForwardedReportIsLost)
{
    manage(ap());
    fail_next(TSPEC_MAPD_PORT, ENETUNREACH);
    EXPECT_EQ(error_during(ap(), [&] { request(ap(), from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD)); }),
              two_lines("Error sending data to mapd.\n", ENETUNREACH));
    ap().advance(std::chrono::seconds(5));
    EXPECT_TRUE(sent_to(ap().settle(), Peer::mapd).empty());
}

TEST_F(SendFailure, OfAnOperatorsDeletionIsSaidThreeTimes)
{
    admit(ap());
    manage(ap());
    fail_next(TSPEC_MAPD_PORT, ENETUNREACH);
    EXPECT_EQ(error_during(ap(), [&] { ap().cli().send(cli_delete_stream(station_mac(1), 6)); }),
              two_lines("Error sending data to mapd.\n", ENETUNREACH) +
                  perror_line("Failed to send DELTS cmd to MAPD.\n", ENETUNREACH));
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("No TS records found."));
}

TEST_F(SendFailure, OfAStatusIsSaidOnEveryTurn)
{
    break_sends(ap(), TSPEC_MAPD_PORT, 8);
    std::string once = two_lines("Error sending TSPEC Status message to mapd.\n", ENETUNREACH);
    std::string all;
    for (int i = 0; i < 8; i++) {
        all += once;
    }
    Events events;
    EXPECT_EQ(error_during(ap(),
                           [&] {
                               manage(ap());
                               ap().advance(std::chrono::seconds(2));
                               events = ap().settle();
                           }),
              all);
    EXPECT_EQ(sent_to(events, Peer::mapd).size(), 8U); // four lost, four sent
}

TEST_F(SendFailure, OfStatisticsIsSaid)
{
    struct Case {
        const char *request;
        const char *text;
    };
    for (const Case &one :
         {Case{"tspec-ap-stats", "Error sending ap stats to dman.\n"},
          Case{"tspec-radio-wlan0", "Error sending radio stats to dman.\n"},
          Case{"tspec-vap-wlan0vap1", "Error sending vap stats to dman.\n"},
          Case{"tspec-client-ts-first", "Error sending client TS message to dman.\n"},
          Case{"tspec-client-ts-next", "Error sending client TS message to dman.\n"}}) {
        fail_next(TSPEC_DMAN_REPLY_PORT, ENETUNREACH);
        EXPECT_EQ(error_during(ap(), [&] { ap().dman().send(status_request(one.request)); }),
                  two_lines(one.text, ENETUNREACH));
    }
    EXPECT_TRUE(ask(ap(), "tspec-ap-stats").has_value());
}

TEST_F(SendFailure, OfTheWalkDoesNotTurnItBack)
{
    admit(ap());
    admit(ap(), {.station = 2});
    fail_next(TSPEC_DMAN_REPLY_PORT, ENETUNREACH);
    ap().dman().send(status_request("tspec-client-ts-first"));
    ap().settle();
    EXPECT_EQ(value_of(*ask(ap(), "tspec-client-ts-next"), "station-mac"), "02:00:00:00:00:02");
}

TEST_F(SendFailure, OfAPingIsShownOnTheConsole)
{
    ap().cli().turn_off();
    EXPECT_EQ(console_during(ap(), [&] { ap().cli().send(cli_ping()); }),
              console_line("tspec_process_cli_cmd: sendto error\r\n"));
    EXPECT_EQ(ap().standard_error(), "");
}

TEST_F(SendFailure, IsNoneWhenOnlyAPartWasSent)
{
    ap().driver().inject(
        Fault{.call = Call::sendto, .error = 0, .result = 1, .port = TSPEC_DMAN_REPLY_PORT});
    ap().dman().send(status_request("tspec-ap-stats"));
    ap().settle();
    EXPECT_EQ(ap().standard_error(), "");
    ap().driver().inject(
        Fault{.call = Call::sendto, .error = 0, .result = 0, .port = TSPEC_DMAN_REPLY_PORT});
    ap().dman().send(status_request("tspec-ap-stats"));
    ap().settle();
    EXPECT_EQ(ap().standard_error(), "");
}

TEST_F(SendFailure, IsNoneWhenNobodyListens)
{
    ap().hostapd().turn_off();
    ap().mapd().turn_off();
    ap().dman().turn_off();
    request(ap(), from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = up_best_effort}));
    manage(ap());
    ap().dman().send(status_request("tspec-ap-stats"));
    ap().settle();
    EXPECT_EQ(ap().standard_error(), "");
    EXPECT_THAT(show(ap()), ::testing::HasSubstr("state=1"));
}

} // namespace
} // namespace tspec::e2e
