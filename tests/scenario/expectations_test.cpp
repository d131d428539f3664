// What expectations find and what they do not, on a running daemon.
#include "sim_command.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

// A stream of 625 units, asked for and admitted.
const std::string admitted_call =
    "  - driver.station: {status: [associated]}\n"
    "  - dman.config: {radio: wlan0, mandatory: [voice], limit: {voice: 50}}\n"
    "  - hostapd.addts: {sta: station 1, tid: 6}\n";

struct Case {
    const char *name;
    const char *steps; // after admitted_call
};

void PrintTo(const Case &test, std::ostream *out)
{
    *out << test.name;
}

class Holds : public testing::TestWithParam<Case> {};
class Fails : public testing::TestWithParam<Case> {};

TEST_P(Holds, WithStatusZero)
{
    CommandResult result = play_steps(admitted_call + GetParam().steps);

    EXPECT_EQ(result.status, 0) << result.output;
    EXPECT_THAT(result.output, Not(HasSubstr("FAILED")));
}

TEST_P(Fails, WithStatusOne)
{
    CommandResult result = play_steps(admitted_call + GetParam().steps);

    EXPECT_EQ(result.status, 1) << result.output;
    EXPECT_THAT(result.output, HasSubstr("FAILED"));
}

const Case true_steps[] = {
    {"hostapd_all_fields",
     "  - expect.hostapd: {cmd: addts-response, sta: station 1, radio: wlan0, tid: 6, direction: "
     "uplink, up: 6, ac: voice, result: accepted, medium_time: 625}\n"},
    {"hostapd_numbers_for_words",
     "  - expect.hostapd: {cmd: addts-response, radio: 1, direction: 0, ac: 3, result: 0}\n"},
    {"query_before_response", "  - expect.hostapd: {cmd: frame-duration-query}\n"
                              "  - expect.hostapd: {cmd: addts-response}\n"},
    {"a_response_without_name_is_no_query", "  - expect.hostapd: {sta: station 1, tid: 6}\n"},
    {"nothing_from_others", "  - expect.nothing: [mapd, dman, operator, syslog, trap, stderr]\n"},
    {"nothing_more_after_all_is_found",
     "  - expect.hostapd: {cmd: addts-response}\n  - expect.nothing: anybody\n"},
    {"older_messages_are_forgotten",
     "  - expect.streams: {count: 1}\n  - operator.ping:\n  - expect.nothing: hostapd\n"},
    {"status", "  - expect.status: {radio: wlan0, voice: {oper-status: up, num-active: 1, "
               "med-time-admitted: 625}}\n"},
    {"streams", "  - expect.streams: [{sta: station 1, interface: wlan0, tid: 6, ac: voice, "
                "direction: uplink, up: 6, medium_time: 625, excess: 0}]\n"},
    {"admitted", "  - expect.admitted: {voice: 625/15625, video: 0}\n"},
    {"process", "  - expect.process: alive\n  - expect.descriptors: {sockets: 3}\n"},
    {"failed_send", "  - send_failure: {to: hostapd, error: EPERM, after: 1}\n"
                    "  - hostapd.addts: {sta: station 2, tid: 6}\n"
                    "  - expect.hostapd: {cmd: addts-response, sta: station 2, failed: EPERM}\n"},
    {"end_that_is_expected", "  - daemon.stop: SIGTERM\n  - expect.process: {signal: SIGTERM}\n"},
    {"orderly_stop", "  - daemon.stop\n"},
    {"asking_disturbs_nothing", "  - expect.status: {voice: {num-active: 1}}\n"
                                "  - expect.admitted: {voice: 625}\n"
                                "  - expect.streams: {count: 1}\n"
                                "  - expect.nothing: [dman, console, operator]\n"
                                "  - expect.hostapd: {cmd: addts-response}\n"},
};

const Case false_steps[] = {
    {"one_wrong_field", "  - expect.hostapd: {cmd: addts-response, medium_time: 624}\n"},
    {"wrong_result", "  - expect.hostapd: {cmd: addts-response, result: refused}\n"},
    {"wrong_station", "  - expect.hostapd: {cmd: addts-response, sta: station 2}\n"},
    {"wrong_name", "  - expect.hostapd: {cmd: delts}\n"},
    {"field_of_another_message", "  - expect.hostapd: {cmd: addts-response, reply_port: 0}\n"},
    {"found_once_only",
     "  - expect.hostapd: {cmd: addts-response}\n  - expect.hostapd: {cmd: addts-response}\n"},
    {"too_few", "  - expect.hostapd: {cmd: addts-response, times: 2}\n"},
    {"wrong_order", "  - expect.hostapd: {cmd: addts-response}\n"
                    "  - expect.hostapd: {cmd: frame-duration-query}\n"},
    {"older_message", "  - expect.streams: {count: 1}\n  - operator.ping:\n"
                      "  - expect.hostapd: {cmd: addts-response}\n"},
    {"message_of_an_act_before_another", "  - operator.ping:\n  - expect.nothing: hostapd\n"},
    {"no_message_at_all", "  - expect.mapd: {cmd: status}\n"},
    {"unfound_message", "  - expect.nothing: hostapd\n"},
    {"unfound_message_of_anybody", "  - expect.nothing: anybody\n"},
    {"unfound_query", "  - expect.hostapd: {cmd: addts-response}\n"
                      "  - expect.nothing: frame-duration-query\n"},
    {"no_failed_send", "  - expect.hostapd: {cmd: addts-response, failed: EPERM}\n"},
    {"failed_send_did_not_arrive", "  - send_failure: {to: hostapd, error: EPERM, after: 1}\n"
                                   "  - hostapd.addts: {sta: station 2, tid: 6}\n"
                                   "  - expect.hostapd: {cmd: addts-response, sta: station 2}\n"},
    {"nobody_there", "  - peer.stop: dman\n  - dman.status: ap\n"
                     "  - expect.dman: {cmd: statistics}\n"},
    {"figure", "  - expect.status: {voice: {num-active: 2}}\n"},
    {"figure_word", "  - expect.status: {radio: wlan0, voice: {oper-status: down}}\n"},
    {"stream_field", "  - expect.streams: [{sta: station 1, tid: 5}]\n"},
    {"missing_stream", "  - expect.streams: [{sta: station 1}, {sta: station 2}]\n"},
    {"stream_too_many", "  - expect.streams: []\n"},
    {"stream_count", "  - expect.streams: {count: 0}\n"},
    {"admitted", "  - expect.admitted: {voice: 624}\n"},
    {"limit", "  - expect.admitted: {voice: 625/15624}\n"},
    {"console_line", "  - operator.show:\n  - expect.console: Admit Current/Limit\n"},
    {"console_piece", "  - operator.show:\n  - expect.console: {containing: no such words}\n"},
    {"console_order", "  - operator.show:\n"
                      "  - expect.console: {containing: [Admit Current, TS Totals]}\n"},
    {"pong", "  - expect.operator: PONG\n"},
    {"syslog", "  - expect.syslog: {containing: Client}\n"},
    {"trap", "  - expect.trap: {containing: Client}\n"},
    {"stderr", "  - expect.stderr: {containing: Error}\n"},
    {"process_end", "  - expect.process: {exit: 0}\n"},
    {"process_alive", "  - daemon.stop: SIGTERM\n  - expect.process: alive\n"},
    {"process_signal", "  - daemon.stop: SIGTERM\n  - expect.process: {signal: SIGKILL}\n"},
    {"descriptors", "  - expect.descriptors: {sockets: 4}\n"},
    {"unexpected_end", "  - hostapd.addts: {sta: station 2, tid: 6, nominal_msdu: 0}\n"},
    {"act_after_an_unexpected_end",
     "  - hostapd.addts: {sta: station 2, tid: 6, nominal_msdu: 0}\n  - operator.ping:\n"},
    {"act_after_a_stop", "  - daemon.stop\n  - operator.ping:\n"},
    {"answer_to_no_request", "  - mapd.addts_response: accepted\n"},
};

std::string name_of(const testing::TestParamInfo<Case> &info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Expectations, Holds, testing::ValuesIn(true_steps), name_of);
INSTANTIATE_TEST_SUITE_P(Expectations, Fails, testing::ValuesIn(false_steps), name_of);

TEST(FailedExpectation, ShowsBothSidesOfTheNearestMessage)
{
    CommandResult result =
        play_steps(admitted_call + "  - expect.hostapd: {cmd: addts-response, sta: station 1, "
                                   "result: refused, medium_time: 600}\n");

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                AllOf(ContainsRegex("test.yaml:6:5: expect.hostapd: hostapd got no such message"),
                      ContainsRegex("expected +actual"),
                      ContainsRegex("sta +02:00:00:00:00:01 \\(station 1\\) +02:00:00:00:00:01\n"),
                      ContainsRegex("result +3 \\(refused\\) +0 \\(accepted\\) +<-- differs"),
                      ContainsRegex("medium_time +600 +625 \\(2.00 %\\) +<-- differs"),
                      ContainsRegex("what came:\n +daemon -> hostapd")));
}

TEST(FailedExpectation, ShowsBothSidesOfFigures)
{
    CommandResult result =
        play_steps(admitted_call + "  - expect.status: {radio: wlan0, voice: {num-active: 1, "
                                   "med-time-admitted: 600}}\n");

    EXPECT_THAT(result.output,
                AllOf(ContainsRegex("voice num-active +1 +1\n"),
                      ContainsRegex("voice med-time-admitted +600 +625 +<-- differs")));
}

TEST(FailedExpectation, DoesNotEndTheRun)
{
    CommandResult result = play_steps(admitted_call + "  - expect.streams: []\n"
                                                      "  - expect.streams: {count: 1}\n");

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, AllOf(HasSubstr("ok  the daemon holds 1 stream"),
                                     HasSubstr("1 of 2 expectations did not hold")));
}

TEST(UnexpectedEnd, IsToldWithItsSignal)
{
    CommandResult result = play_steps(
        admitted_call + "  - hostapd.addts: {sta: station 2, tid: 6, nominal_msdu: 0}\n");

    EXPECT_THAT(result.output, HasSubstr("the daemon has ended, which no step expects: killed by "
                                         "signal 8"));
}

TEST(Loop, TellsFirstAndLastTurn)
{
    CommandResult result = play_steps("  - repeat:\n"
                                      "      times: 5\n"
                                      "      steps: [{note: turn $n}]\n");

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(HasSubstr("turn 1"), HasSubstr("... 3 more like that ..."),
                                     Not(HasSubstr("turn 3")), HasSubstr("turn 5")));
}

TEST(Loop, TellsFailuresOfEveryTurn)
{
    CommandResult result = play_steps("  - repeat:\n"
                                      "      times: 5\n"
                                      "      steps: [{expect.streams: {count: \"$(n / 3)\"}}]\n");

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("3 of 5 expectations did not hold"));
}

TEST(Timeline, ShowsHowFullTheAirIs)
{
    CommandResult result =
        play_steps("  - driver.station: {status: [associated]}\n"
                   "  - dman.config: {radio: wlan0, mandatory: [voice], limit: {voice: 4}}\n"
                   "  - hostapd.addts: {sta: station 1, tid: 6}\n");

    EXPECT_THAT(result.output,
                AllOf(HasSubstr("wlan0 voice        [..............................]  0 of 1250 "
                                "units"),
                      HasSubstr("wlan0 voice        [###############...............]  625 of 1250 "
                                "units  (2.00 of 4.00 % of the air)")));
}

} // namespace
} // namespace tspec::tests
