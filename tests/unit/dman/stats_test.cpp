// dman's status requests and the reports on access point, radio and VAP.
#include "dman/stats.h"
#include "support/daemon_test.h"

#include <cerrno>

using testing::ElementsAre;
using testing::IsEmpty;
using namespace tspec::test;

namespace {

// A report as dman gets it: the text and its NUL.
Bytes report(const std::string &text)
{
    Bytes bytes = text_bytes(text);
    bytes.push_back(0);
    return bytes;
}

const std::string ZERO_AP_REPORT = "ts-vo-num-active=0\n"
                                   "ts-vo-num-clients=0\n"
                                   "ts-vo-num-roam-clients=0\n"
                                   "tspec-vo-tot-accepted=0\n"
                                   "tspec-vo-tot-rejected=0\n"
                                   "tspec-vo-tot-roam-accepted=0\n"
                                   "tspec-vo-tot-roam-rejected=0\n"
                                   "ts-vi-num-active=0\n"
                                   "ts-vi-num-clients=0\n"
                                   "ts-vi-num-roam-clients=0\n"
                                   "tspec-vi-tot-accepted=0\n"
                                   "tspec-vi-tot-rejected=0\n"
                                   "tspec-vi-tot-roam-accepted=0\n"
                                   "tspec-vi-tot-roam-rejected=0\n"
                                   "ts-be-num-active=0\n"
                                   "ts-be-num-clients=0\n"
                                   "ts-be-num-roam-clients=0\n"
                                   "tspec-be-tot-accepted=0\n"
                                   "tspec-be-tot-rejected=0\n"
                                   "tspec-be-tot-roam-accepted=0\n"
                                   "tspec-be-tot-roam-rejected=0\n"
                                   "ts-bk-num-active=0\n"
                                   "ts-bk-num-clients=0\n"
                                   "ts-bk-num-roam-clients=0\n"
                                   "tspec-bk-tot-accepted=0\n"
                                   "tspec-bk-tot-rejected=0\n"
                                   "tspec-bk-tot-roam-accepted=0\n"
                                   "tspec-bk-tot-roam-rejected=0\n";

// Each figure is 100 times the number of its line of 28.
const std::string NUMBERED_AP_REPORT = "ts-vo-num-active=100\n"
                                       "ts-vo-num-clients=200\n"
                                       "ts-vo-num-roam-clients=300\n"
                                       "tspec-vo-tot-accepted=400\n"
                                       "tspec-vo-tot-rejected=500\n"
                                       "tspec-vo-tot-roam-accepted=600\n"
                                       "tspec-vo-tot-roam-rejected=700\n"
                                       "ts-vi-num-active=800\n"
                                       "ts-vi-num-clients=900\n"
                                       "ts-vi-num-roam-clients=1000\n"
                                       "tspec-vi-tot-accepted=1100\n"
                                       "tspec-vi-tot-rejected=1200\n"
                                       "tspec-vi-tot-roam-accepted=1300\n"
                                       "tspec-vi-tot-roam-rejected=1400\n"
                                       "ts-be-num-active=1500\n"
                                       "ts-be-num-clients=1600\n"
                                       "ts-be-num-roam-clients=1700\n"
                                       "tspec-be-tot-accepted=1800\n"
                                       "tspec-be-tot-rejected=1900\n"
                                       "tspec-be-tot-roam-accepted=2000\n"
                                       "tspec-be-tot-roam-rejected=2100\n"
                                       "ts-bk-num-active=2200\n"
                                       "ts-bk-num-clients=2300\n"
                                       "ts-bk-num-roam-clients=2400\n"
                                       "tspec-bk-tot-accepted=2500\n"
                                       "tspec-bk-tot-rejected=2600\n"
                                       "tspec-bk-tot-roam-accepted=2700\n"
                                       "tspec-bk-tot-roam-rejected=2800\n";

const std::string ZERO_ENTRY_REPORT = "ts-vo-oper-status=down\n"
                                      "ts-vo-num-active=0\n"
                                      "ts-vo-num-clients=0\n"
                                      "ts-vo-num-roam-clients=0\n"
                                      "ts-vo-med-time-admitted=0\n"
                                      "ts-vo-med-time-unalloc=0\n"
                                      "ts-vo-med-time-roam-unalloc=0\n"
                                      "ts-vi-oper-status=down\n"
                                      "ts-vi-num-active=0\n"
                                      "ts-vi-num-clients=0\n"
                                      "ts-vi-num-roam-clients=0\n"
                                      "ts-vi-med-time-admitted=0\n"
                                      "ts-vi-med-time-unalloc=0\n"
                                      "ts-vi-med-time-roam-unalloc=0\n"
                                      "ts-be-oper-status=down\n"
                                      "ts-be-num-active=0\n"
                                      "ts-be-num-clients=0\n"
                                      "ts-be-num-roam-clients=0\n"
                                      "ts-be-med-time-admitted=0\n"
                                      "ts-be-med-time-unalloc=0\n"
                                      "ts-be-med-time-roam-unalloc=0\n"
                                      "ts-bk-oper-status=down\n"
                                      "ts-bk-num-active=0\n"
                                      "ts-bk-num-clients=0\n"
                                      "ts-bk-num-roam-clients=0\n"
                                      "ts-bk-med-time-admitted=0\n"
                                      "ts-bk-med-time-unalloc=0\n"
                                      "ts-bk-med-time-roam-unalloc=0\n";

// Each figure is 100 times the number of its line of 28; voice and background
// are up.
const std::string NUMBERED_ENTRY_REPORT = "ts-vo-oper-status=up\n"
                                          "ts-vo-num-active=200\n"
                                          "ts-vo-num-clients=300\n"
                                          "ts-vo-num-roam-clients=400\n"
                                          "ts-vo-med-time-admitted=500\n"
                                          "ts-vo-med-time-unalloc=600\n"
                                          "ts-vo-med-time-roam-unalloc=700\n"
                                          "ts-vi-oper-status=down\n"
                                          "ts-vi-num-active=900\n"
                                          "ts-vi-num-clients=1000\n"
                                          "ts-vi-num-roam-clients=1100\n"
                                          "ts-vi-med-time-admitted=1200\n"
                                          "ts-vi-med-time-unalloc=1300\n"
                                          "ts-vi-med-time-roam-unalloc=1400\n"
                                          "ts-be-oper-status=down\n"
                                          "ts-be-num-active=1600\n"
                                          "ts-be-num-clients=1700\n"
                                          "ts-be-num-roam-clients=1800\n"
                                          "ts-be-med-time-admitted=1900\n"
                                          "ts-be-med-time-unalloc=2000\n"
                                          "ts-be-med-time-roam-unalloc=2100\n"
                                          "ts-bk-oper-status=up\n"
                                          "ts-bk-num-active=2300\n"
                                          "ts-bk-num-clients=2400\n"
                                          "ts-bk-num-roam-clients=2500\n"
                                          "ts-bk-med-time-admitted=2600\n"
                                          "ts-bk-med-time-unalloc=2700\n"
                                          "ts-bk-med-time-roam-unalloc=2800\n";

// Access categories in the order of the reports: VO, VI, BE, BK.
constexpr size_t REPORTED[] = {3, 2, 0, 1};

void number_ap_figures()
{
    uint32_t value = 0;
    for (const size_t ac : REPORTED) {
        tspec_ac_stats_t &stats = tspec_cb->ac_stats[ac];
        tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac];
        for (uint32_t *figure :
             {&stats.num_active, &stats.num_clients, &stats.num_roam_clients, &totals.tot_accepted,
              &totals.tot_rejected, &totals.tot_roam_accepted, &totals.tot_roam_rejected}) {
            *figure = value += 100;
        }
    }
}

// entries: those of one radio or VAP, by access category.
void number_entries(const std::function<tspec_stats_entry_t &(size_t)> &entry_of)
{
    uint32_t value = 0;
    for (const size_t ac : REPORTED) {
        tspec_stats_entry_t &entry = entry_of(ac);
        entry.oper_status = ac == 3 ? 1 : ac == 1 ? 255 : 0;
        value += 100;
        for (uint32_t *figure :
             {&entry.num_active, &entry.num_clients, &entry.num_roam_clients,
              &entry.med_time_admitted, &entry.med_time_unalloc, &entry.med_time_roam_unalloc}) {
            *figure = value += 100;
        }
    }
}

class Statistics : public DaemonTest {
  protected:
    // As the dispatcher hands over a request that came with its NUL.
    int32_t request(const std::string &command) { return request_without_nul(command + '\0'); }

    int32_t request_without_nul(const std::string &text)
    {
        const Bytes buffer = receive_buffer(text_bytes("\2" + text), 'x');
        return tspec_process_dman_stats_msg(buffer.data() + 1,
                                            static_cast<uint32_t>(text.size() + 1));
    }

    testing::AssertionResult answered(const std::string &command, const std::string &expected)
    {
        if (request(command) != 0) {
            return testing::AssertionFailure() << command << " failed";
        }
        const auto result = sent_next(DMAN_PORT, report(expected));
        return result ? nothing_more_sent() : result;
    }

    testing::AssertionResult not_answered(const std::string &command)
    {
        if (request(command) != -1) {
            return testing::AssertionFailure() << command << " did not fail";
        }
        return nothing_more_sent();
    }
};

// ---- access point

TEST_F(Statistics, OfAFreshDaemonAreAll0)
{
    EXPECT_TRUE(answered("tspec-ap-stats", ZERO_AP_REPORT));
    EXPECT_TRUE(answered("tspec-radio-wlan0", ZERO_ENTRY_REPORT));
    EXPECT_TRUE(answered("tspec-vap-wlan0", ZERO_ENTRY_REPORT));
}

TEST_F(Statistics, OfTheAccessPointShowEveryFigureInItsPlace)
{
    number_ap_figures();
    EXPECT_TRUE(answered("tspec-ap-stats", NUMBERED_AP_REPORT));
    EXPECT_EQ(fill_and_send_ap_tspec_stats(), 0);
    EXPECT_TRUE(sent_next(DMAN_PORT, report(NUMBERED_AP_REPORT)));
}

TEST_F(Statistics, ChangeNothing)
{
    number_ap_figures();
    const Bytes before = snapshot();
    request("tspec-ap-stats");
    request("tspec-radio-wlan1");
    request("tspec-vap-wlan1vap3");
    request("tspec-none");
    EXPECT_TRUE(same_bytes(snapshot(), before));
}

TEST_F(Statistics, AreShownSigned)
{
    tspec_cb->ac_stats[3].num_active = 0x7fffffff;
    tspec_cb->ac_stats[3].num_clients = 0x80000000;
    tspec_cb->ac_totals[3].tot_accepted = 0xffffffff;
    std::string expected = ZERO_AP_REPORT;
    expected.replace(expected.find("ts-vo-num-active=0"), 18, "ts-vo-num-active=2147483647");
    expected.replace(expected.find("ts-vo-num-clients=0"), 19, "ts-vo-num-clients=-2147483648");
    expected.replace(expected.find("tspec-vo-tot-accepted=0"), 23, "tspec-vo-tot-accepted=-1");
    EXPECT_TRUE(answered("tspec-ap-stats", expected));
}

TEST_F(Statistics, AreShownWithAllTheirDigits)
{
    for (const uint32_t figure : {1U, 9U, 10U, 11U, 99U, 100U}) {
        tspec_cb->ac_stats[3].num_active = figure;
        EXPECT_EQ(request("tspec-ap-stats"), 0);
        const Bytes report = sent().back().bytes;
        const std::string begin = "ts-vo-num-active=" + std::to_string(figure) + "\n";
        EXPECT_EQ(std::string(report.begin(), report.end()).substr(0, begin.size()), begin);
    }
}

TEST_F(Statistics, TheLongestReportsAreSentWhole)
{
    for (size_t ac = 0; ac < 4; ac++) {
        tspec_ac_stats_t &stats = tspec_cb->ac_stats[ac];
        stats.num_active = stats.num_clients = stats.num_roam_clients = 0x80000000;
        tspec_cb->ac_totals[ac] = {0x80000000, 0x80000000, 0x80000000, 0x80000000};
        stats.radio[1] = {0x80000000, 0x80000000, 0x80000000, 0,
                          0x80000000, 0x80000000, 0x80000000};
        stats.vap[1][15] = stats.radio[1];
    }
    request("tspec-ap-stats");
    request("tspec-radio-wlan1");
    request("tspec-vap-wlan1vap15");
    const std::vector<Sent> reports = sent();
    ASSERT_EQ(reports.size(), 3U);
    EXPECT_EQ(reports[0].bytes.size(), 961U);
    EXPECT_EQ(reports[1].bytes.size(), 913U);
    EXPECT_EQ(reports[2].bytes.size(), 913U);
    EXPECT_EQ(reports[0].bytes.back(), 0);
}

// ---- radio

TEST_F(Statistics, OfARadioShowEveryFigureInItsPlace)
{
    for (const uint32_t radio : {0U, 1U}) {
        restart();
        number_entries([=](size_t ac) -> tspec_stats_entry_t & {
            return tspec_cb->ac_stats[ac].radio[radio];
        });
        const std::string command = "tspec-radio-wlan" + std::to_string(radio);
        EXPECT_TRUE(answered(command, NUMBERED_ENTRY_REPORT));
        EXPECT_EQ(fill_and_send_radio_tspec_stats(radio), 0);
        EXPECT_TRUE(sent_next(DMAN_PORT, report(NUMBERED_ENTRY_REPORT)));
        EXPECT_TRUE(answered("tspec-radio-wlan" + std::to_string(1 - radio), ZERO_ENTRY_REPORT));
    }
}

TEST_F(Statistics, OfARadioAreAskedForByAPrefix)
{
    EXPECT_TRUE(answered("tspec-radio-wlan1-extra", ZERO_ENTRY_REPORT));
    EXPECT_TRUE(answered("tspec-radio-wlan0vap9", ZERO_ENTRY_REPORT));
    EXPECT_TRUE(answered("tspec-radio-wlan01", ZERO_ENTRY_REPORT));
}

TEST_F(Statistics, OfARadioThatDoesNotExistAreNotAnswered)
{
    set_trace(ALL_LEVELS);
    EXPECT_TRUE(not_answered("tspec-radio-wlan2"));
    EXPECT_TRUE(not_answered("tspec-radio-wlan"));
    EXPECT_TRUE(not_answered("tspec-radio-wlanx-wlan1"));
    EXPECT_THAT(console(), IsEmpty());
    EXPECT_EQ(fill_and_send_radio_tspec_stats(2), -1);
    EXPECT_EQ(fill_and_send_radio_tspec_stats(0xffffffff), -1);
    EXPECT_TRUE(nothing_more_sent());
}

// ---- VAP

TEST_F(Statistics, OfAVapShowEveryFigureInItsPlace)
{
    for (const uint32_t radio : {0U, 1U}) {
        for (uint32_t vap = 0; vap < 16; vap++) {
            restart();
            number_entries([=](size_t ac) -> tspec_stats_entry_t & {
                return tspec_cb->ac_stats[ac].vap[radio][vap];
            });
            const std::string interface = "wlan" + std::to_string(radio);
            EXPECT_TRUE(answered("tspec-vap-" + interface + "vap" + std::to_string(vap),
                                 NUMBERED_ENTRY_REPORT));
            EXPECT_EQ(fill_and_send_vap_tspec_stats(radio, vap), 0);
            EXPECT_TRUE(sent_next(DMAN_PORT, report(NUMBERED_ENTRY_REPORT)));
        }
    }
}

TEST_F(Statistics, OfAVapWithoutNumberAreThoseOfVap0)
{
    number_entries(
        [](size_t ac) -> tspec_stats_entry_t & { return tspec_cb->ac_stats[ac].vap[1][0]; });
    EXPECT_TRUE(answered("tspec-vap-wlan1", NUMBERED_ENTRY_REPORT));
    EXPECT_TRUE(answered("tspec-vap-wlan1vapX", NUMBERED_ENTRY_REPORT));
    EXPECT_TRUE(answered("tspec-vap-wlan0", ZERO_ENTRY_REPORT));
}

TEST_F(Statistics, AVapsNumberBeyondAnIntIsReadAsTheLibraryReadsIt)
{
    number_entries(
        [](size_t ac) -> tspec_stats_entry_t & { return tspec_cb->ac_stats[ac].vap[0][3]; });
    if (sizeof(long) > sizeof(int)) {
        EXPECT_TRUE(answered("tspec-vap-wlan0vap4294967299", NUMBERED_ENTRY_REPORT));
    } else {
        EXPECT_TRUE(not_answered("tspec-vap-wlan0vap4294967299"));
    }
}

TEST_F(Statistics, OfAVapThatDoesNotExistAreNotAnswered)
{
    set_trace(ALL_LEVELS);
    for (const char *command :
         {"tspec-vap-wlan0vap16", "tspec-vap-wlan1vap16", "tspec-vap-wlan0vap-1",
          "tspec-vap-wlan0vap255", "tspec-vap-wlan0vap2147483647", "tspec-vap-wlan0vap-2147483648",
          "tspec-vap-wlan0vap99999999999999999999", "tspec-vap-wlan2", "tspec-vap-wlan2vap1",
          "tspec-vap-wlan"}) {
        EXPECT_TRUE(not_answered(command)) << command;
    }
    EXPECT_EQ(fill_and_send_vap_tspec_stats(2, 0), -1);
    EXPECT_EQ(fill_and_send_vap_tspec_stats(0, 16), -1);
    EXPECT_EQ(fill_and_send_vap_tspec_stats(1, 0xffffffff), -1);
    EXPECT_TRUE(nothing_more_sent());
    EXPECT_THAT(console(), IsEmpty());
}

// ---- the command word

TEST_F(Statistics, UnknownCommandsAreNotAnswered)
{
    for (const char *command :
         {"", "tspec", "tspec-ap-stat", "tspec-ap-stats ", "tspec-ap-stats-x", " tspec-ap-stats",
          "tspec-radio-wla", "tspec-radio-eth0", "tspec-vap-wla", "tspec-client-ts-firs",
          "tspec-client-ts-first ", "tspec-client-ts-next1", "TSPEC-AP-STATS"}) {
        EXPECT_TRUE(not_answered(command)) << command;
    }
}

TEST_F(Statistics, UnknownCommandsAreTraced)
{
    EXPECT_TRUE(traces_at(2,
                          "tspec_process_dman_stats_msg:Error in status message DMAN, unknown "
                          "command: tspec-ap-stats-x\r\n",
                          [this] { request("tspec-ap-stats-x"); }));
    EXPECT_TRUE(traces_at(2,
                          "tspec_process_dman_stats_msg:Error in status message DMAN, unknown "
                          "command: \r\n",
                          [this] { request(""); }));
    EXPECT_TRUE(traces_at(2,
                          "tspec_process_dman_stats_msg:Error in status message DMAN, unknown "
                          "command: 100%s%n\r\n",
                          [this] { request("100%s%n"); }));
}

TEST_F(Statistics, KnownCommandsAreNotTraced)
{
    set_trace(ALL_LEVELS);
    for (const char *command : {"tspec-ap-stats", "tspec-radio-wlan0", "tspec-vap-wlan0",
                                "tspec-client-ts-first", "tspec-client-ts-next"}) {
        EXPECT_EQ(request(command), 0);
    }
    EXPECT_THAT(console(), IsEmpty());
}

TEST_F(Statistics, ACommandEndsWithTheDatagram)
{
    EXPECT_EQ(request_without_nul("tspec-ap-stats"), 0);
    EXPECT_EQ(request_without_nul("tspec-client-ts-first"), 0);
    EXPECT_EQ(request_without_nul("tspec-ap-stat"), -1);
    EXPECT_EQ(sent().size(), 2U);
}

TEST_F(Statistics, ACommandEndsAtItsFirstNul)
{
    EXPECT_EQ(request_without_nul(std::string("tspec-ap-stats\0-x", 17)), 0);
    EXPECT_EQ(sent().size(), 1U);
}

TEST_F(Statistics, AnEmptyDatagramHasNoCommand)
{
    set_trace(2);
    const Bytes buffer = receive_buffer(text_bytes("\2tspec-ap-stats"));
    EXPECT_EQ(tspec_process_dman_stats_msg(buffer.data() + 1, 0), -1);
    EXPECT_EQ(tspec_process_dman_stats_msg(buffer.data() + 1, 1), -1);
    EXPECT_THAT(console(), testing::Each("tspec_process_dman_stats_msg:Error in status message "
                                         "DMAN, unknown command: \r\n"));
    EXPECT_TRUE(nothing_more_sent());
}

TEST_F(Statistics, AFullDatagramOfTextStaysWithinTheBuffer)
{
    set_trace(2);
    const Bytes text(1023, 'y'); // the memory ends here
    EXPECT_EQ(tspec_process_dman_stats_msg(text.data(), 1024), -1);
    EXPECT_THAT(console(), ElementsAre("tspec_process_dman_stats_msg:Error in status message DMAN, "
                                       "unknown command: " +
                                       as_text(text) + "\r\n"));
}

TEST_F(Statistics, ATextLongerThanTheReceiveBufferIsCut)
{
    set_trace(2);
    for (const uint32_t length : {1025U, 1026U, 2000U}) {
        const Bytes text(length - 1, 'y');
        EXPECT_EQ(tspec_process_dman_stats_msg(text.data(), length), -1);
        EXPECT_THAT(console(),
                    ElementsAre("tspec_process_dman_stats_msg:Error in status message DMAN, "
                                "unknown command: " +
                                std::string(1023, 'y') + "\r\n"));
    }
}

// A later message that comes short shows what this one left there.
TEST_F(Statistics, TheReceiveBufferIsNotWritten)
{
    const Bytes buffer = receive_buffer(text_bytes("\2tspec-ap-stats"), 'x');
    Bytes copy = buffer;
    tspec_process_dman_stats_msg(copy.data() + 1, 15);
    EXPECT_EQ(copy, buffer);
}

// ---- the walk over the streams

TEST_F(Statistics, TheStreamCommandsMoveTheDaemonsCursor)
{
    tspec_rec_t *a = add_client(CLIENT_A);
    add_stream(a, {.ac_idx = 1, .tid = 1});
    add_stream(a, {.ac_idx = 0, .tid = 6});
    const auto next_is = [this](const std::string &command, const std::string &tid_line) {
        EXPECT_EQ(request(command), 0);
        const std::vector<Sent> answers = sent();
        ASSERT_EQ(answers.size(), 1U);
        EXPECT_THAT(as_text(answers[0].bytes), testing::HasSubstr(tid_line));
    };
    next_is("tspec-client-ts-next", "ts-tid=1\n");
    next_is("tspec-client-ts-next", "ts-tid=6\n");
    next_is("tspec-client-ts-next", "end");
    next_is("tspec-client-ts-next", "ts-tid=1\n");
    next_is("tspec-client-ts-first", "ts-tid=1\n");
    next_is("tspec-client-ts-first", "ts-tid=1\n");
    EXPECT_EQ(tspec_cb->client_ts_cursor.rec, a);
    EXPECT_EQ(tspec_cb->client_ts_cursor.index, 1);
}

// ---- failed sends

struct FailedSend {
    const char *command, *trace, *perror_text;
};
constexpr FailedSend FAILED_SENDS[] = {
    {"tspec-ap-stats", "fill_and_send_ap_tspec_stats:Error sending ap stats to dman.\n",
     "Error sending ap stats to dman.\n: Connection refused"},
    {"tspec-radio-wlan0", "fill_and_send_radio_tspec_stats:Error sending radio stats to dman.\n",
     "Error sending radio stats to dman.\n: Connection refused"},
    {"tspec-vap-wlan0", "fill_and_send_vap_tspec_stats:Error sending vap stats to dman.\n",
     "Error sending vap stats to dman.\n: Connection refused"},
};

TEST_F(Statistics, AFailedSendIsReportedTwice)
{
    for (const FailedSend &one : FAILED_SENDS) {
        restart();
        platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
        EXPECT_EQ(request(one.command), -1);
        EXPECT_THAT(platform().perrors,
                    ElementsAre("Error sending data to destination process.\n: Connection refused",
                                one.perror_text));
        EXPECT_EQ(platform().count(Call::sendto), 1U);
        EXPECT_TRUE(traces_at(2, one.trace, [&] {
            platform().fail({.call = Call::sendto, .error = ECONNREFUSED});
            request(one.command);
        }));
    }
}

} // namespace
