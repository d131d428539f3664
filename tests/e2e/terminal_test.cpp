// tspec-cli on a terminal: colours, and figures that are drawn again in place.
#include "stimulus.h"
#include "terminal.h"

#include <csignal>
#include <cstdio>
#include <sys/wait.h>

namespace tspec::e2e {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

const std::string escape = "\033";

int times(const std::string &all, const std::string &wanted)
{
    int count = 0;
    for (size_t at = 0; (at = all.find(wanted, at)) != std::string::npos; at++) {
        count++;
    }
    return count;
}

#define SKIP_WITHOUT_TERMINAL(run)                                                                 \
    if (!(run).is_there()) {                                                                       \
        GTEST_SKIP() << "this machine gives no pseudo-terminal";                                   \
    }

class TerminalTool : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        ap().dman().turn_off();
        associate_all(ap());
        configure_voice_and_video(ap());
        admit(ap());
    }

    // Everything that the tool wrote to a terminal until its end.
    static std::string output_of(const Words &arguments, const TerminalOptions &options = {})
    {
        TerminalRun run(arguments, options);
        EXPECT_EQ(run.finish(), 0);
        return run.output();
    }

    static bool gives_terminals() { return TerminalRun({"--version"}).is_there(); }
};

TEST_F(TerminalTool, ColoursATable)
{
    if (!gives_terminals()) {
        GTEST_SKIP() << "this machine gives no pseudo-terminal";
    }
    EXPECT_THAT(output_of({"stats"}), HasSubstr(escape + "[32m#"));
    EXPECT_THAT(output_of({"streams"}), HasSubstr(escape + "[1m"));
    EXPECT_THAT(output_of({"stats"}, {.environment = {{"NO_COLOR", ""}}}), HasSubstr(escape));
}

TEST_F(TerminalTool, ColoursNothingWhenAskedNotTo)
{
    if (!gives_terminals()) {
        GTEST_SKIP() << "this machine gives no pseudo-terminal";
    }
    for (const Words &arguments : {Words{"stats"}, Words{"streams"}}) {
        EXPECT_THAT(output_of(arguments, {.environment = {{"NO_COLOR", "1"}}}),
                    Not(HasSubstr(escape)));
        EXPECT_THAT(output_of(arguments, {.environment = {{"TERM", "dumb"}}}),
                    Not(HasSubstr(escape)));
    }
    EXPECT_THAT(output_of({"stats", "--json"}), Not(HasSubstr(escape)));
    EXPECT_THAT(output_of({"metrics"}), Not(HasSubstr(escape)));
    EXPECT_THAT(run_tool({"stats"}).output, Not(HasSubstr(escape)));
}

TEST_F(TerminalTool, BarsFitTheTerminal)
{
    TerminalRun run({"stats", "--units"}, {.rows = 30, .columns = 80});
    SKIP_WITHOUT_TERMINAL(run);
    EXPECT_EQ(run.finish(), 0);
    EXPECT_THAT(run.screen().lines(),
                ::testing::Contains("voice           up       1       1       0      625  15000"
                                    "     15000 [#........]"));
    EXPECT_EQ(run.screen().unknown(), "");
}

TEST_F(TerminalTool, WatchDrawsAgainInPlace)
{
    TerminalRun run({"stats", "--units", "--radio", "0", "--watch", "1"});
    SKIP_WITHOUT_TERMINAL(run);
    auto shows = [&](const std::string &text) {
        return run.wait_for([&] { return run.screen().text().find(text) != std::string::npos; });
    };
    ASSERT_TRUE(shows("      625  15000"));
    admit(ap(), {.station = 2});
    ASSERT_TRUE(shows("     1250  14375"));
    EXPECT_THAT(run.screen().text(), HasSubstr("wlan0 voice med-time-admitted +625"));
    ap().cli().send(cli_delete_stream(station_mac(1), 6));
    ap().cli().send(cli_delete_stream(station_mac(2), 6));
    ap().settle();
    ASSERT_TRUE(shows("        0  15625"));
    // Without what has changed, as nothing does any more.
    ASSERT_TRUE(run.wait_for([&] { return run.screen().lines().size() == 7; }));

    std::vector<std::string> lines = run.screen().lines();
    ASSERT_EQ(lines.size(), 7U) << run.screen().text();
    EXPECT_EQ(lines[0],
              "wlan0        state streams clients roaming admitted   free roam-free airtime");
    EXPECT_FALSE(run.screen().has_scrolled());
    EXPECT_EQ(run.screen().unknown(), "");
    // Cleared once: to clear at each picture would flicker.
    EXPECT_EQ(times(run.output(), escape + "[2J"), 1);

    run.type("\x03");
    int status = run.finish();
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT);
}

TEST_F(TerminalTool, WatchLeavesNothingOfLongerPictures)
{
    admit(ap(), {.station = 2});
    TerminalRun run({"streams", "--watch", "1"});
    SKIP_WITHOUT_TERMINAL(run);
    ASSERT_TRUE(run.wait_for(
        [&] { return run.screen().text().find("2 streams on") != std::string::npos; }));
    ap().cli().send(cli_delete_stream(station_mac(1), 6));
    ap().settle();
    ASSERT_TRUE(run.wait_for([&] {
        return run.screen().lines().size() == 4 &&
               run.screen().lines()[3].starts_with("1 stream on");
    })) << run.screen().text();
    EXPECT_THAT(run.screen().text(), Not(HasSubstr("02:00:00:00:00:01")));
}

TEST_F(TerminalTool, WatchLeavesOutWhatTheTerminalHasNoRoomFor)
{
    TerminalRun run({"stats", "--watch", "1"}, {.rows = 4, .columns = 40});
    SKIP_WITHOUT_TERMINAL(run);
    ASSERT_TRUE(run.wait_for([&] { return times(run.output(), escape + "[?7h") >= 2; }));
    std::vector<std::string> lines = run.screen().lines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_THAT(lines[0], ::testing::StartsWith("access-point streams clients roaming"));
    EXPECT_THAT(lines[1], ::testing::StartsWith("voice "));
    EXPECT_THAT(lines[2], ::testing::StartsWith("video "));
    EXPECT_EQ(lines[3], "...");
    EXPECT_FALSE(run.screen().has_scrolled());
}

TEST_F(TerminalTool, WatchOutlivesTheDaemon)
{
    TerminalRun run({"stats", "--units", "--radio", "0", "--watch", "1"});
    SKIP_WITHOUT_TERMINAL(run);
    auto shows = [&](const std::string &text) {
        return run.wait_for([&] { return run.screen().text().find(text) != std::string::npos; });
    };
    ASSERT_TRUE(shows("      625  15000"));
    ap().stop();
    ASSERT_TRUE(shows("no daemon takes messages"));
    EXPECT_EQ(run.screen().lines().size(), 1U) << run.screen().text();
    ap().start();
    ASSERT_TRUE(shows("voice         down"));
    EXPECT_THAT(run.screen().text(), Not(HasSubstr("no daemon")));
}

// The first lines that the tool writes into a pipe, whose reader then leaves.
std::string first_lines(const std::string &arguments, int count)
{
    std::FILE *pipe = popen(("'" + tool_path().string() + "' " + arguments).c_str(), "r");
    std::string text;
    for (int c = 0; times(text, "\n") < count && (c = std::fgetc(pipe)) != EOF;) {
        text += static_cast<char>(c);
    }
    int status = pclose(pipe);
    EXPECT_NE(status, 0) << "a watch does not end by itself";
    return text;
}

TEST_F(TerminalTool, WatchElsewhereGoesOnWithoutEscapes)
{
    std::string text = first_lines("stats --radio 0 --watch 1", 14);
    EXPECT_EQ(text.substr(0, text.size() / 2), text.substr(text.size() / 2));
    EXPECT_THAT(text, Not(HasSubstr(escape)));
    std::string json = first_lines("stats --radio 0 --watch 1 --json", 2);
    EXPECT_EQ(times(json, "{\"wlan0\":{\"voice\":{"), 2);
}

} // namespace
} // namespace tspec::e2e
