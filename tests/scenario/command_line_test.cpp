/*
 * tspec-sim's command line: options, exit statuses, what is printed.
 */
#include <fstream>
#include <iterator>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/scenario/step_table.h"
#include "sim_command.h"

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

/* It ends within a turn of which the timeline says nothing. */
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

/* script gives the command a terminal. */
class OnATerminal : public testing::Test {
  protected:
    static std::string play(const std::string &environment, const std::string &option)
    {
        ScenarioFile file(good);
        std::string command = environment + " " TSPEC_SIM " run " + option + " " + file.path();
        std::FILE *pipe = popen(("script -qec '" + command + "' /dev/null 2>&1").c_str(), "r");
        std::string output;
        char buffer[4096];
        while (std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
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
