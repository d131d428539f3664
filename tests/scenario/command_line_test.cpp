// tspec-sim's command line: options, exit statuses, what is printed.
#include "sim/scenario/step_table.h"
#include "sim_command.h"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>

namespace tspec::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string good = "name: a good one\nsteps:\n  - expect.streams: []\n";
const std::string failing = "name: a failing one\nsteps:\n  - expect.streams: {count: 1}\n";
const std::string wrong = "name: a wrong one\nsteps:\n  - no.such.step:\n";

TEST(CommandLine, PlaysTheScenarioAfterSayingWhere)
{
    ScenarioFile file(good);

    CommandResult result = run_sim({"run", file.path()});

    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, AllOf(StartsWith("Runs "), HasSubstr("a good one"),
                                     HasSubstr("ok  the daemon holds 0 streams"),
                                     HasSubstr("1 of 1 expectations")));
}

TEST(CommandLine, QuietTellsTheResultOnly)
{
    ScenarioFile file(good);

    CommandResult result = run_sim({"run", "--quiet", file.path()});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "held    " + file.path() + ": 1 of 1 expectations\n");
}

TEST(CommandLine, QuietTellsFailures)
{
    ScenarioFile file(failing);

    CommandResult result = run_sim({"run", "--quiet", file.path()});

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, AllOf(StartsWith("  FAILED  "), HasSubstr("test.yaml:3:5: "),
                                     HasSubstr("<-- differs")));
}

TEST(CommandLine, OneFailingScenarioDecidesTheStatus)
{
    ScenarioFile first(failing);
    ScenarioFile second(good);

    CommandResult result = run_sim({"run", "--quiet", first.path(), second.path()});

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("FAILED  " + first.path()), HasSubstr("held    " + second.path())));
}

// It ends within a turn of which the timeline says nothing.
TEST(CommandLine, TellsAScenarioAfterOneThatBreaksOff)
{
    ScenarioFile first("name: a broken one\nsteps:\n  - repeat:\n      times: 3\n      steps:\n"
                       "        - daemon.stop: SIGKILL\n");
    ScenarioFile second("name: a good one\nsteps:\n  - note: Once upon a time.\n");

    CommandResult result = run_sim({"run", first.path(), second.path()});

    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("the daemon does not run"), HasSubstr("Once upon a time.")));
}

TEST(CommandLine, PlaysNothingWhenOneScenarioIsWrong)
{
    ScenarioFile first(good);
    ScenarioFile second(wrong, "wrong.yaml");

    CommandResult result = run_sim({"run", first.path(), second.path()});

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, second.path() + ":3:5: there is no step \"no.such.step\"\n");
}

TEST(CommandLine, RefusesAMissingFile)
{
    CommandResult result = run_sim({"run", "/nowhere/at-all.yaml"});

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "/nowhere/at-all.yaml: cannot be read\n");
}

TEST(CommandLine, RefusesWrongUse)
{
    EXPECT_EQ(run_sim({}).status, 2);
    EXPECT_EQ(run_sim({"run"}).status, 2);
    EXPECT_EQ(run_sim({"dance"}).status, 2);
    EXPECT_EQ(run_sim({"run", "--loud", "x.yaml"}).status, 2);
}

TEST(CommandLine, ReportsADaemonThatCannotBeRun)
{
    ScenarioFile file(good);

    CommandResult result = run_sim({"run", "--daemon", "/nowhere/tspec-daemon", file.path()});

    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.output, HasSubstr("/nowhere/tspec-daemon"));
}

TEST(CommandLine, TellsItsVersion)
{
    CommandResult result = run_sim({"--version"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "tspec-sim " TSPEC_VERSION "\n");
}

TEST(CommandLine, ListsTheSteps)
{
    CommandResult result = run_sim({"run", "--list-steps"});

    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, sim::scenario::describe_steps());
}

TEST(CommandLine, UsesNoColourWhereThereIsNoTerminal)
{
    ScenarioFile file(good);

    EXPECT_THAT(run_sim({"run", file.path()}).output, Not(HasSubstr("\033[")));
}

// script gives the command a terminal.
class OnATerminal : public testing::Test {
  protected:
    static std::string play(const std::string &environment, const std::string &option)
    {
        ScenarioFile file(good);
        std::string command = environment + " " TSPEC_SIM " run " + option + " " + file.path();
        std::FILE *pipe = popen(("script -qec '" + command + "' /dev/null 2>&1").c_str(), "r");
        std::string output;
        char buffer[4096];
        while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
            output.append(buffer, count);
        }
        pclose(pipe);
        return output;
    }

    void SetUp() override
    {
        if (std::system("command -v script >/dev/null") != 0) {
            GTEST_SKIP() << "no program to make a terminal with";
        }
    }
};

TEST_F(OnATerminal, UsesColours)
{
    EXPECT_THAT(play("env -u NO_COLOR", ""), HasSubstr("\033[32mok\033[0m"));
}

TEST_F(OnATerminal, UsesNoneWhenAskedSo)
{
    EXPECT_THAT(play("env -u NO_COLOR", "--no-colour"),
                AllOf(HasSubstr("ok  the daemon"), Not(HasSubstr("\033["))));
}

TEST_F(OnATerminal, UsesNoneWithNoColorSet)
{
    EXPECT_THAT(play("env NO_COLOR=1", ""),
                AllOf(HasSubstr("ok  the daemon"), Not(HasSubstr("\033["))));
}

struct Cause {
    const char *name;
    const char *steps;
    const char *why;
};

void PrintTo(const Cause &cause, std::ostream *out)
{
    *out << cause.name;
}

class WhyRefused : public testing::TestWithParam<Cause> {};

// The only line of its kind.
TEST_P(WhyRefused, IsToldInTheStory)
{
    CommandResult result = play_steps(GetParam().steps);

    EXPECT_THAT(result.output, HasSubstr("          why  " + std::string(GetParam().why) + "\n"));
    EXPECT_EQ(result.output.find("why  "), result.output.rfind("why  ")) << result.output;
}

#define STATION_1 "station 02:00:00:00:00:01, TID 6"
#define STATION_2 "station 02:00:00:00:00:02, TID 6"
#define THERE "- driver.station: {status: [associated]}\n"
#define LIMIT "- dman.config: {radio: wlan0, mandatory: [voice], limit: {voice: 3}}\n"
#define CALL "- hostapd.addts: {sta: station 1}\n"

const Cause causes[] = {
    {"not_associated", CALL,
     "dropped: " STATION_1 ": the driver does not say that it is associated; hostapd gets no "
     "answer"},
    {"driver_fails", "- driver.fails: {}\n" CALL,
     "dropped: " STATION_1 ": the driver does not say that it is associated; hostapd gets no "
     "answer"},
    {"no_radio", THERE "- hostapd.addts: {sta: station 1, radio: unit 3}\n",
     "dropped: " STATION_1 ": the message names no radio of this access point; hostapd gets no "
     "answer"},
    {"pending", THERE "- mapd.ap_state: managed\n" CALL CALL,
     "dropped: " STATION_1 " has an earlier request that is still pending; hostapd gets no "
     "answer"},
    {"other_tid", THERE "- hostapd.addts: {sta: station 1, tid: 6, ts_info_tid: 5}\n",
     "dropped: " STATION_1 ": its TS Info names another TID; hostapd gets no answer"},
    {"no_frame_duration", THERE LIMIT "- hostapd.frame_duration: {answer: none}\n" CALL,
     "result 3: " STATION_1 ": hostapd gave no frame duration in 2 s"},
    {"wrong_frame_duration", THERE LIMIT "- hostapd.frame_duration: {answer: wrong-marker}\n" CALL,
     "result 3: " STATION_1 ": hostapd's answer was no frame duration"},
    {"limit_or_count", THERE LIMIT CALL "- hostapd.addts: {sta: station 2}\n",
     "result 3: " STATION_2 ": limit or count"},
    {"limit_as_traced",
     THERE LIMIT CALL "- operator.debug: [1]\n- hostapd.addts: {sta: station 2}\n",
     "result 3: " STATION_2 ": limit: 1250 units would be admitted, 937 may be"},
    {"other_category", THERE CALL "- hostapd.addts: {sta: station 1, tid: 6, up: 5}\n",
     "result 1: " STATION_1 ": other category: the TID has a stream on another one"},
    {"no_airtime", THERE LIMIT "- hostapd.addts: {sta: station 1, mean_data_rate: 0}\n",
     "result 1: " STATION_1 ": no airtime: it comes to a medium time of 0"},
    {"mapd", THERE "- mapd.ap_state: managed\n- mapd.answers: refused\n" CALL,
     "result 3: " STATION_1 ": mapd says so"},
};

INSTANTIATE_TEST_SUITE_P(By, WhyRefused, testing::ValuesIn(causes),
                         [](const auto &cause) { return std::string(cause.param.name); });

TEST(Manual, NamesEveryOption)
{
    std::ifstream file(TSPEC_SIM_MANUAL);
    const std::string manual{std::istreambuf_iterator<char>(file), {}};
    for (const char *command : {"run", "serve", "apply", "capacity"}) {
        const std::string help = run_sim({command, "--help"}).output;
        const std::regex option("\n  --([a-z-]+)");
        for (std::sregex_iterator at(help.begin(), help.end(), option), end; at != end; ++at) {
            EXPECT_THAT(manual, testing::ContainsRegex("[FO]l -" + (*at)[1].str() + "|, -" +
                                                       (*at)[1].str()))
                << command;
        }
    }
}

} // namespace
} // namespace tspec::tests
