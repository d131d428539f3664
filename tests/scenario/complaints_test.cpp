// What a wrong scenario is told: place and text of each complaint.
#include "sim/scenario/scenario.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using sim::scenario::Complaint;
using sim::scenario::parse_scenario;
using sim::scenario::ScenarioError;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

std::vector<std::string> complaints_about(const std::string &text)
{
    std::vector<std::string> lines;
    try {
        parse_scenario(text, "a.yaml");
    } catch (const ScenarioError &error) {
        for (const Complaint &complaint : error.complaints()) {
            lines.push_back(complaint.line());
        }
    }
    return lines;
}

struct Wrong {
    const char *name;
    const char *text;
    const char *complaint; // how its line begins
};

void PrintTo(const Wrong &test, std::ostream *out)
{
    *out << test.name;
}

class OneComplaint : public testing::TestWithParam<Wrong> {};

TEST_P(OneComplaint, NamesPlaceAndWhatWasExpected)
{
    EXPECT_THAT(complaints_about(GetParam().text), ElementsAre(StartsWith(GetParam().complaint)));
}

const Wrong wrong_scenarios[] = {
    {"not_yaml", "name: [\n", "a.yaml:2:1: not YAML: "},
    {"not_a_map", "- note: x\n",
     "a.yaml:1:1: expected a scenario: a map with the keys name, "
     "about and steps, got a list"},
    {"empty_file", "", "a.yaml:1:1: expected a scenario: a map with the keys name"},
    {"no_name", "steps: []\n", "a.yaml:1:1: the scenario lacks the key \"name\""},
    {"no_steps", "name: x\n", "a.yaml:1:1: the scenario lacks the key \"steps\""},
    {"steps_no_list", "name: x\nsteps: 5\n", "a.yaml:2:8: expected a list of steps, got \"5\""},
    {"unknown_top_key", "name: x\nstep: []\nsteps: []\n",
     "a.yaml:2:1: a scenario has no key \"step\"; did you mean \"steps\"? (keys: name, about, "
     "steps)"},
    {"top_key_twice", "name: x\nname: y\nsteps: []\n",
     "a.yaml:2:1: the scenario: the key \"name\" is given twice"},
    {"unknown_step", "name: x\nsteps:\n  - hostapd.adts: {sta: station 1}\n",
     "a.yaml:3:5: there is no step \"hostapd.adts\"; did you mean \"hostapd.addts\"?"},
    {"unknown_step_of_another_name", "name: x\nsteps:\n  - hostapd.ft_addts: {sta: station 1}\n",
     "a.yaml:3:5: there is no step \"hostapd.ft_addts\"; did you mean "
     "\"hostapd.fast_transition_addts\"?"},
    {"unknown_step_without_likeness", "name: x\nsteps:\n  - qqqqqqqq: 1\n",
     "a.yaml:3:5: there is no step \"qqqqqqqq\""},
    {"two_steps_in_one", "name: x\nsteps:\n  - note: a\n    operator.ping:\n",
     "a.yaml:4:5: a step has one name; \"operator.ping\" looks like a second one"},
    {"key_beside_the_step", "name: x\nsteps:\n  - hostapd.delts:\n    sta: station 1\n",
     "a.yaml:4:5: a step has one name; \"sta\" looks like a second one"},
    {"step_is_a_list", "name: x\nsteps:\n  - [note, a]\n", "a.yaml:3:5: expected a step, such as"},
    {"unknown_key", "name: x\nsteps:\n  - hostapd.delts: {sta: station 1, tidd: 6}\n",
     "a.yaml:3:37: hostapd.delts has no key \"tidd\"; did you mean \"tid\"? (keys: sta, radio, "
     "vap, bssid, "},
    {"unknown_key_of_another_name", "name: x\nsteps:\n  - hostapd.delts: {station: station 1}\n",
     "a.yaml:3:21: hostapd.delts has no key \"station\"; did you mean \"sta\"?"},
    {"radio_that_is_not_there", "name: x\nsteps:\n  - dman.config: {radio: wlan2}\n",
     "a.yaml:3:26: dman.config.radio: expected wlan0 or wlan1, or \"unit 3\" for that number"},
    {"limit_above_the_whole_medium",
     "name: x\nsteps:\n  - dman.config: {radio: wlan0, limit: {voice: 110}}\n",
     "a.yaml:3:5: dman.config: a share is above 100 %; with \"unchecked: true\" it is sent"},
    {"roaming_but_not_associated",
     "name: x\nsteps:\n  - driver.station: {mac: station 1, status: [roaming]}\n",
     "a.yaml:3:46: driver.station.status: a station that is roaming alone is not associated"},
    {"key_twice", "name: x\nsteps:\n  - hostapd.delts: {sta: station 1, tid: 6, tid: 7}\n",
     "a.yaml:3:45: hostapd.delts: the key \"tid\" is given twice"},
    {"missing_key", "name: x\nsteps:\n  - hostapd.delts: {tid: 6}\n",
     "a.yaml:3:5: hostapd.delts lacks the key \"sta\" (the station, a MAC address such as"},
    {"value_where_a_map_is_needed", "name: x\nsteps:\n  - hostapd.delts: 5\n",
     "a.yaml:3:20: expected a map (keys: sta, radio, "},
    {"value_for_a_step_without_keys", "name: x\nsteps:\n  - operator.ping: 5\n",
     "a.yaml:3:20: operator.ping takes nothing"},
    {"bad_mac", "name: x\nsteps:\n  - hostapd.delts: {sta: 02:00:00}\n",
     "a.yaml:3:26: hostapd.delts.sta: expected a MAC address such as 02:00:00:00:00:01, or "
     "\"station 1\" for that, got \"02:00:00\""},
    {"number_too_large", "name: x\nsteps:\n  - hostapd.delts: {sta: station 1, vap: 256}\n",
     "a.yaml:3:42: hostapd.delts.vap: expected a number 0 to 255, got \"256\""},
    {"no_number", "name: x\nsteps:\n  - hostapd.delts: {sta: station 1, tid: six}\n",
     "a.yaml:3:42: hostapd.delts.tid: expected a number 0 to 255, got \"six\""},
    {"list_for_a_word", "name: x\nsteps:\n  - hostapd.delts: {sta: [station 1]}\n",
     "a.yaml:3:26: hostapd.delts.sta: expected a MAC address such as 02:00:00:00:00:01, or "
     "\"station 1\" for that, got a list"},
    {"priority_too_large", "name: x\nsteps:\n  - hostapd.addts: {sta: station 1, up: 8}\n",
     "a.yaml:3:41: hostapd.addts.up: expected a user priority 0 to 7, got \"8\""},
    {"unknown_direction", "name: x\nsteps:\n  - hostapd.addts: {sta: station 1, direction: up}\n",
     "a.yaml:3:48: hostapd.addts.direction: expected uplink, downlink, bidirectional or "
     "direct-link, got \"up\""},
    {"time_without_unit", "name: x\nsteps:\n  - clock.advance: 5\n",
     "a.yaml:3:20: clock.advance.by: expected a time above zero with its unit (us, ms, s, min, h, "
     "d), such as 400us or 1h30min, got \"5\""},
    {"no_time_at_all", "name: x\nsteps:\n  - clock.advance: 0s\n",
     "a.yaml:3:20: clock.advance.by: expected a time above zero"},
    {"half_seconds", "name: x\nsteps:\n  - dman.violation_interval: 1500ms\n",
     "a.yaml:3:30: dman.violation_interval.interval: expected a time of whole seconds"},
    {"frame_duration_without_unit", "name: x\nsteps:\n  - hostapd.frame_duration: 400\n",
     "a.yaml:3:29: hostapd.frame_duration.time: expected a time with its unit"},
    {"surplus_too_large", "name: x\nsteps:\n  - hostapd.addts: {sta: station 1, surplus: 8}\n",
     "a.yaml:3:46: hostapd.addts.surplus: expected a factor 0 to 7.99, such as 1.5, got \"8\""},
    {"unknown_category", "name: x\nsteps:\n  - dman.config: {radio: wlan0, mandatory: [vioce]}\n",
     "a.yaml:3:45: dman.config.mandatory: expected voice, video, best-effort or background, got "
     "\"vioce\"; did you mean \"voice\"?"},
    {"limit_of_unknown_category",
     "name: x\nsteps:\n  - dman.config: {radio: wlan0, limit: {voise: 3}}\n",
     "a.yaml:3:41: dman.config.limit: expected voice, video, best-effort or background, got "
     "\"voise\"; did you mean \"voice\"?"},
    {"limit_in_another_unit",
     "name: x\nsteps:\n  - dman.config: {radio: wlan0, limit: {voice: 3ms}}\n",
     "a.yaml:3:48: dman.config.limit: expected a percentage of airtime such as 50 or 50%, got "
     "\"3ms\""},
    {"limit_no_map", "name: x\nsteps:\n  - dman.config: {radio: wlan0, limit: 3}\n",
     "a.yaml:3:40: dman.config.limit: expected percentages by access category, such as {voice: "
     "50, video: 25}, got \"3\""},
    {"fast_transition_of_best_effort",
     "name: x\nsteps:\n  - dman.config: {radio: wlan0, fast_transition: {best-effort: 3}}\n",
     "a.yaml:3:5: dman.config: only voice and video have a fast-transition share"},
    {"bad_radio", "name: x\nsteps:\n  - dman.config: {radio: eth0}\n",
     "a.yaml:3:26: dman.config.radio: expected wlan0 or wlan1, or \"unit 3\""},
    {"bad_interface", "name: x\nsteps:\n  - dman.status: wlan0vap\n",
     "a.yaml:3:18: dman.status.of: expected an interface such as wlan0 or wlan1vap3, got "
     "\"wlan0vap\""},
    {"station_without_state", "name: x\nsteps:\n  - driver.station: {mac: station 1}\n",
     "a.yaml:3:5: driver.station: give either status or text"},
    {"station_with_both",
     "name: x\nsteps:\n  - driver.station: {mac: station 1, status: [], text: x}\n",
     "a.yaml:3:5: driver.station: give either status or text"},
    {"unknown_state", "name: x\nsteps:\n  - driver.station: {status: [asociated]}\n",
     "a.yaml:3:31: driver.station.status: expected associated or roaming, got \"asociated\"; did "
     "you mean \"associated\"?"},
    {"unknown_error", "name: x\nsteps:\n  - send_failure: {to: mapd, error: EWHAT}\n",
     "a.yaml:3:37: send_failure.error: expected an error name such as EPERM, got \"EWHAT\""},
    {"odd_hex", "name: x\nsteps:\n  - hostapd.raw: \"03 1\"\n",
     "a.yaml:3:18: hostapd.raw.hex: expected bytes in hexadecimal, such as \"03 01 ff\", got \"03 "
     "1\""},
    {"field_of_no_message",
     "name: x\nsteps:\n  - expect.hostapd: {cmd: addts-response, mediumtime: 625}\n",
     "a.yaml:3:43: expect.hostapd has no key \"mediumtime\"; did you mean \"medium_time\"?"},
    {"unknown_message", "name: x\nsteps:\n  - expect.hostapd: {cmd: adts-response}\n",
     "a.yaml:3:27: expect.hostapd.cmd: expected addts-response, delts or frame-duration-query, "
     "got \"adts-response\"; did you mean \"addts-response\"?"},
    {"word_for_a_number", "name: x\nsteps:\n  - expect.hostapd: {medium_time: much}\n",
     "a.yaml:3:35: expect.hostapd.medium_time: expected a number, got \"much\""},
    {"unknown_result", "name: x\nsteps:\n  - expect.hostapd: {result: yes}\n",
     "a.yaml:3:30: expect.hostapd.result: expected accepted, invalid-parameters or refused, or a "
     "number, got \"yes\""},
    {"expecting_no_field", "name: x\nsteps:\n  - expect.hostapd: {times: 2}\n",
     "a.yaml:3:5: expect.hostapd: name at least one field"},
    {"status_field_of_no_radio",
     "name: x\nsteps:\n  - expect.mapd: {cmd: status, wlan2.num_active: 1}\n",
     "a.yaml:3:32: expect.mapd.wlan2.num_active: no message here has a field "
     "\"wlan2.num_active\""},
    {"unknown_figure", "name: x\nsteps:\n  - expect.status: {voice: {num-activ: 1}}\n",
     "a.yaml:3:29: expect.status.voice: there is no figure \"num-activ\"; did you mean "
     "\"num-active\"?"},
    {"figure_of_a_radio_asked_of_the_whole",
     "name: x\nsteps:\n  - expect.status: {voice: {med-time-admitted: 1}}\n",
     "a.yaml:3:5: expect.status: the statistics of the whole access point have no figure "
     "\"med-time-admitted\""},
    {"figure_of_the_whole_asked_of_a_radio",
     "name: x\nsteps:\n  - expect.status: {radio: wlan0, voice: {tot-accepted: 1}}\n",
     "a.yaml:3:5: expect.status: the statistics of a radio or VAP have no figure "
     "\"tot-accepted\""},
    {"status_of_both",
     "name: x\nsteps:\n  - expect.status: {radio: wlan0, vap: wlan0vap1, voice: "
     "{num-active: 1}}\n",
     "a.yaml:3:5: expect.status: give radio or vap, not both"},
    {"status_of_nothing", "name: x\nsteps:\n  - expect.status: {radio: wlan0}\n",
     "a.yaml:3:5: expect.status: name at least one figure of a category"},
    {"unknown_stream_key", "name: x\nsteps:\n  - expect.streams: [{mac: station 1}]\n",
     "a.yaml:3:23: expect.streams.list: a stream has no key \"mac\"; did you mean \"sta\"? (keys: "
     "sta, interface, tid"},
    {"streams_no_list", "name: x\nsteps:\n  - expect.streams: {count: 1, list: []}\n",
     "a.yaml:3:5: expect.streams: give either list or count"},
    {"bad_share", "name: x\nsteps:\n  - expect.admitted: {voice: 625 of 937}\n",
     "a.yaml:3:30: expect.admitted.voice: expected medium time admitted, or admitted/limit, such "
     "as 625/937, got \"625 of 937\""},
    {"admitted_on_no_radio", "name: x\nsteps:\n  - expect.admitted: {radio: unit 3, voice: 0}\n",
     "a.yaml:3:5: expect.admitted: radio is wlan0 or wlan1"},
    {"unknown_receiver", "name: x\nsteps:\n  - expect.nothing: [hostap]\n",
     "a.yaml:3:22: expect.nothing.from: expected hostapd, frame-duration-query, mapd, dman, "
     "operator, console, syslog, trap, stderr, driver or anybody, got \"hostap\"; did you mean "
     "\"hostapd\"?"},
    {"two_ends", "name: x\nsteps:\n  - expect.process: {signal: SIGFPE, exit: 0}\n",
     "a.yaml:3:5: expect.process: give one of alive, signal and exit"},
    {"unknown_signal", "name: x\nsteps:\n  - expect.process: {signal: FPE}\n",
     "a.yaml:3:30: expect.process.signal: expected a signal name such as SIGFPE, got \"FPE\""},
    {"lines_of_neither_kind", "name: x\nsteps:\n  - expect.console: {}\n",
     "a.yaml:3:5: expect.console: give text or containing"},
    {"loop_without_steps", "name: x\nsteps:\n  - repeat: {times: 3}\n",
     "a.yaml:3:13: repeat lacks the key \"steps\" (a list of steps)"},
    {"loop_without_end", "name: x\nsteps:\n  - repeat: {times: 0, steps: []}\n",
     "a.yaml:3:21: repeat.times: expected a number 1 to 100000, got \"0\""},
    {"unknown_variable", "name: x\nsteps:\n  - note: turn $n\n",
     "a.yaml:3:11: note.text: there is no loop variable \"n\" here"},
    {"bad_expression", "name: x\nsteps:\n  - repeat: {times: 2, steps: [{note: \"$(n +)\"}]}\n",
     "a.yaml:3:39: note.text: \"$(n +)\" is not an expression"},
    {"same_variable_twice",
     "name: x\nsteps:\n  - repeat: {times: 2, steps: [{repeat: {times: 2, steps: []}}]}\n",
     "a.yaml:3:41: the loop variable \"n\" belongs to a loop around this one"},
    {"wrong_in_the_last_turn_only",
     "name: x\nsteps:\n  - repeat: {times: 9, steps: [{hostapd.delts: {sta: station 1, tid: "
     "\"$(247 + n)\"}}]}\n",
     "a.yaml:3:70: hostapd.delts.tid: expected a number 0 to 255, got \"256\""},
};

INSTANTIATE_TEST_SUITE_P(Scenarios, OneComplaint, testing::ValuesIn(wrong_scenarios),
                         [](const auto &test) { return std::string(test.param.name); });

TEST(Complaints, ComeAllAtOnce)
{
    EXPECT_THAT(complaints_about("name: x\n"
                                 "steps:\n"
                                 "  - clock.advance: 5\n"
                                 "  - hostapd.delts: {sta: nobody, tid: 999}\n"
                                 "  - nothing.at.all: 1\n"),
                ElementsAre(StartsWith("a.yaml:3:20: "), StartsWith("a.yaml:4:26: "),
                            StartsWith("a.yaml:4:39: "), StartsWith("a.yaml:5:5: ")));
}

TEST(Complaints, OfALoopComeOnce)
{
    EXPECT_THAT(complaints_about("name: x\n"
                                 "steps:\n"
                                 "  - repeat: {times: 50, steps: [{clock.advance: 5}]}\n"),
                SizeIs(1));
}

TEST(Complaints, NameEveryKeyThatThereIs)
{
    EXPECT_THAT(complaints_about("name: x\nsteps:\n  - send_failure: {whom: mapd}\n"),
                ElementsAre(AllOf(HasSubstr("send_failure has no key \"whom\""),
                                  HasSubstr("(keys: to, error, count, after)"))));
}

TEST(Reading, AcceptsTheWholeLanguage)
{
    auto scenario = parse_scenario("name: all forms\n"
                                   "about: text\n"
                                   "steps:\n"
                                   "  - operator.ping\n"
                                   "  - operator.ping:\n"
                                   "  - clock.advance: 1h30min\n"
                                   "  - clock.advance: {by: 90min}\n"
                                   "  - expect.streams: []\n"
                                   "  - hostapd.delts:\n"
                                   "      sta: station 258\n"
                                   "      vap: 0x0f\n",
                                   "a.yaml");

    EXPECT_EQ(scenario.name, "all forms");
    EXPECT_EQ(scenario.about, "text");
    ASSERT_EQ(scenario.steps.size(), 6u);
    EXPECT_EQ(scenario.steps[2].args.duration("by"), std::chrono::minutes(90));
    EXPECT_EQ(scenario.steps[3].args.duration("by"), std::chrono::minutes(90));
    EXPECT_EQ(scenario.steps[5].args.mac("sta").text(), "02:00:00:00:01:02");
    EXPECT_EQ(scenario.steps[5].args.number("vap"), 15);
    EXPECT_EQ(scenario.steps[5].args.number("tid"), 6) << "the default";
    EXPECT_EQ(scenario.steps[5].place.line, 9);
}

TEST(Reading, ReplacesLoopVariables)
{
    auto scenario =
        parse_scenario("name: x\n"
                       "steps:\n"
                       "  - repeat:\n"
                       "      times: 2\n"
                       "      as: client\n"
                       "      from: 7\n"
                       "      steps:\n"
                       "        - repeat:\n"
                       "            times: 2\n"
                       "            steps:\n"
                       "              - hostapd.delts: {sta: station $client, tid: \"$(n * 2)\"}\n",
                       "a.yaml");

    const auto &turns = scenario.steps.at(0).turns;
    ASSERT_EQ(turns.size(), 2u);
    const auto &step = turns[1].at(0).turns.at(1).at(0);
    EXPECT_EQ(step.args.mac("sta").text(), "02:00:00:00:00:08");
    EXPECT_EQ(step.args.number("tid"), 4);
}

} // namespace
} // namespace tspec::tests
