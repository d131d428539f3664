// Command lines of tspec-cli: the bytes that each one sends, and what is refused.
#include "tspec-cli/parse.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

using Bytes = std::vector<int>;
using CommandLine = std::vector<std::string>;

const std::string station = "02:00:00:00:00:0a";

tspec_tool_invocation_t parse(const CommandLine &words)
{
    std::vector<const char *> argv{"tspec-cli"};
    for (const std::string &word : words) {
        argv.push_back(word.c_str());
    }
    tspec_tool_invocation_t invocation;
    tspec_tool_parse(static_cast<int>(argv.size()), argv.data(), &invocation);
    return invocation;
}

Bytes datagram_of(const CommandLine &words)
{
    const tspec_tool_invocation_t invocation = parse(words);
    EXPECT_EQ(invocation.outcome, TSPEC_TOOL_RUN) << invocation.error.text;
    const uint8_t *bytes = invocation.job.request.bytes;
    return {bytes, bytes + invocation.job.request.length};
}

tspec_tool_view_t view_of(const CommandLine &words)
{
    const tspec_tool_invocation_t invocation = parse(words);
    EXPECT_EQ(invocation.outcome, TSPEC_TOOL_RUN) << invocation.error.text;
    return invocation.job.view;
}

void expect_rejected(const CommandLine &words, const std::string &reason)
{
    const tspec_tool_invocation_t invocation = parse(words);
    EXPECT_EQ(invocation.outcome, TSPEC_TOOL_REJECTED);
    EXPECT_THAT(invocation.error.text, HasSubstr(reason));
}

TEST(ToolCommandLine, PingIsOneByte)
{
    EXPECT_THAT(datagram_of({"ping"}), ElementsAre(1));
}

TEST(ToolCommandLine, DebugCarriesCountAndLevelsInOrder)
{
    EXPECT_THAT(datagram_of({"debug"}), ElementsAre(2, 0));
    EXPECT_THAT(datagram_of({"debug", "0", "3"}), ElementsAre(2, 2, 0, 3));
    EXPECT_THAT(datagram_of({"debug", "func", "off", "dman", "6"}), ElementsAre(2, 4, 7, 0, 5, 6));
}

TEST(ToolCommandLine, DebugFillsTheDaemonsBufferButNoMore)
{
    CommandLine words(63, "1");
    words.front() = "debug";
    const Bytes datagram = datagram_of(words);
    EXPECT_EQ(datagram.size(), 64u);
    EXPECT_EQ(datagram[1], 62);
    EXPECT_EQ(datagram.back(), 1);

    words.emplace_back("7");
    expect_rejected(words, "\"7\" is one argument too many for debug");
}

TEST(ToolCommandLine, DeleteClientCarriesTheAddressOnceForced)
{
    EXPECT_THAT(datagram_of({"delete-client", "--force", station}),
                ElementsAre(3, 2, 0, 0, 0, 0, 10));
    EXPECT_THAT(datagram_of({"delete-client", station, "--force"}),
                ElementsAre(3, 2, 0, 0, 0, 0, 10));
}

TEST(ToolCommandLine, DeleteClientWithoutForceIsHeldBack)
{
    const tspec_tool_invocation_t invocation = parse({"delete-client", station});
    EXPECT_EQ(invocation.outcome, TSPEC_TOOL_UNCONFIRMED);
    ASSERT_NE(invocation.command, nullptr);
    EXPECT_THAT(invocation.command->warning, HasSubstr("medium time"));
    EXPECT_THAT(invocation.command->warning, HasSubstr("stream count"));
    EXPECT_THAT(invocation.command->warning, HasSubstr("delete-stream"));
    EXPECT_STREQ(invocation.command->options[0].name, "--force");
}

TEST(ToolCommandLine, AWrongAddressIsRefusedBeforeForceIsAskedFor)
{
    expect_rejected({"delete-client", "02:00"}, "\"02:00\" is not a MAC address");
}

TEST(ToolCommandLine, DeleteStreamCarriesAddressAndTid)
{
    EXPECT_THAT(datagram_of({"delete-stream", station, "6"}), ElementsAre(4, 2, 0, 0, 0, 0, 10, 6));
    EXPECT_THAT(datagram_of({"delete-stream", station, "15"}),
                ElementsAre(4, 2, 0, 0, 0, 0, 10, 15));
}

TEST(ToolCommandLine, DisassociationModeIsSetOrAskedFor)
{
    EXPECT_THAT(datagram_of({"disassociation-mode", "0"}), ElementsAre(5, 0));
    EXPECT_THAT(datagram_of({"disassociation-mode", "1"}), ElementsAre(5, 1));
    EXPECT_THAT(datagram_of({"disassociation-mode"}), ElementsAre(5, 2));
}

TEST(ToolCommandLine, ShowCarriesTheAllFlag)
{
    EXPECT_THAT(datagram_of({"show"}), ElementsAre(6, 0));
    EXPECT_THAT(datagram_of({"show", "--all"}), ElementsAre(6, 1));
}

TEST(ToolCommandLine, WrongValuesAreNamed)
{
    expect_rejected({"debug", "1", "8"}, "\"8\" is not a trace level");
    expect_rejected({"debug", "-1"}, "\"-1\" is not a trace level");
    expect_rejected({"delete-stream", "0200", "6"}, "\"0200\" is not a MAC address");
    expect_rejected({"delete-stream", station, "16"}, "\"16\" is not a TID");
    expect_rejected({"delete-stream", station, "six"}, "\"six\" is not a TID");
    expect_rejected({"disassociation-mode", "2"}, "\"2\" is not a disassociation mode");
}

TEST(ToolCommandLine, TooFewAndTooManyArgumentsAreRefused)
{
    expect_rejected({}, "no command given");
    expect_rejected({"ping", "x"}, "\"x\" is one argument too many for ping");
    expect_rejected({"show", "all"}, "\"all\" is one argument too many for show");
    expect_rejected({"delete-client", "--force"}, "delete-client wants 1 argument and got 0");
    expect_rejected({"delete-stream"}, "delete-stream wants 2 arguments and got 0");
    expect_rejected({"delete-stream", station}, "delete-stream wants 2 arguments and got 1");
    expect_rejected({"delete-stream", station, "6", "7"}, "\"7\" is one argument too many");
    expect_rejected({"disassociation-mode", "1", "0"}, "\"0\" is one argument too many");
}

TEST(ToolCommandLine, UnknownCommandsAndOptionsAreRefused)
{
    expect_rejected({"pong"}, "there is no command \"pong\"");
    expect_rejected({""}, "there is no command \"\"");
    expect_rejected({"--verbose"}, "there is no option \"--verbose\"");
    expect_rejected({"show", "--force"}, "show has no option \"--force\"");
    expect_rejected({"ping", "-x"}, "ping has no option \"-x\"");
}

TEST(ToolCommandLine, ALongArgumentCutsTheSentenceAndNothingElse)
{
    const tspec_tool_invocation_t invocation = parse({std::string(4096, 'x')});
    EXPECT_EQ(invocation.outcome, TSPEC_TOOL_REJECTED);
    EXPECT_EQ(std::string(invocation.error.text).size(), sizeof(invocation.error.text) - 1);
}

TEST(ToolCommandLine, StatsShowsTheWholeAccessPointOnceUnlessTold)
{
    const tspec_tool_view_t view = view_of({"stats"});
    EXPECT_EQ(view.scope, TSPEC_TOOL_WHOLE_AP);
    EXPECT_FALSE(view.json);
    EXPECT_EQ(view.period_s, 0);
}

TEST(ToolCommandLine, StatsTakesARadioOrAVap)
{
    for (const std::string radio : {"1", "wlan1"}) {
        const tspec_tool_view_t view = view_of({"stats", "--radio", radio});
        EXPECT_EQ(view.scope, TSPEC_TOOL_ONE_RADIO);
        EXPECT_EQ(view.radio, 1);
    }
    for (const std::string vap : {"1.15", "wlan1vap15"}) {
        const tspec_tool_view_t view = view_of({"stats", "--json", "--vap", vap});
        EXPECT_EQ(view.scope, TSPEC_TOOL_ONE_VAP);
        EXPECT_EQ(view.radio, 1);
        EXPECT_EQ(view.vap, 15);
        EXPECT_TRUE(view.json);
    }
    expect_rejected({"stats", "--radio", "2"}, "\"2\" is not a radio");
    expect_rejected({"stats", "--vap", "0.16"}, "\"0.16\" is not a VAP");
    expect_rejected({"stats", "--radio"}, "--radio wants a value, R");
    expect_rejected({"stats", "--vap"}, "--vap wants a value, R.V");
    expect_rejected({"stats", "--radio", "--json"}, "\"--json\" is not a radio");
    expect_rejected({"stats", "--radio", "0", "--vap", "0.1"}, "cannot go together");
    expect_rejected({"stats", "0"}, "\"0\" is one argument too many for stats");
}

TEST(ToolCommandLine, WatchHasAPeriodOfItsOwnOrTakesOne)
{
    for (const std::string command : {"stats", "streams"}) {
        EXPECT_EQ(view_of({command, "--watch"}).period_s, 2);
        EXPECT_EQ(view_of({command, "--watch", "1"}).period_s, 1);
        EXPECT_EQ(view_of({command, "--watch", "3600", "--json"}).period_s, 3600);
        const tspec_tool_view_t view = view_of({command, "--watch", "--json"});
        EXPECT_EQ(view.period_s, 2);
        EXPECT_TRUE(view.json);
        for (const std::string wrong : {"0", "3601", "1s", "4294967297"}) {
            expect_rejected({command, "--watch", wrong}, "is not a number of seconds");
        }
        expect_rejected({command, "--watch", "soon"}, "one argument too many");
    }
}

TEST(ToolCommandLine, MetricsMayIncludeStreams)
{
    EXPECT_FALSE(view_of({"metrics"}).with_streams);
    EXPECT_TRUE(view_of({"metrics", "--streams"}).with_streams);
    expect_rejected({"metrics", "--json"}, "metrics has no option \"--json\"");
}

TEST(ToolCommandLine, ConfigChecksOrAppliesAFile)
{
    const tspec_tool_invocation_t check = parse({"config", "check", "a.conf"});
    EXPECT_EQ(check.outcome, TSPEC_TOOL_RUN);
    EXPECT_FALSE(check.job.apply);
    EXPECT_TRUE(parse({"config", "apply", "a.conf"}).job.apply);
    expect_rejected({"config", "aply", "a.conf"}, "write apply or check");
    expect_rejected({"config"}, "config wants 2 arguments and got 0");
    expect_rejected({"config", "apply"}, "config wants 2 arguments and got 1");
    expect_rejected({"config", "apply", "a.conf", "b.conf"}, "\"b.conf\" is one argument too many");
}

TEST(ToolCommandLine, CompletionIsForBashAlone)
{
    EXPECT_EQ(parse({"completion", "bash"}).outcome, TSPEC_TOOL_RUN);
    expect_rejected({"completion", "fish"}, "no completion for \"fish\"");
    expect_rejected({"completion"}, "completion wants 1 argument and got 0");
}

TEST(ToolCommandLine, HelpWinsOverWrongArguments)
{
    for (const std::string help : {"--help", "-h"}) {
        EXPECT_EQ(parse({help}).outcome, TSPEC_TOOL_HELP);
        EXPECT_EQ(parse({help}).command, nullptr);

        const tspec_tool_invocation_t invocation = parse({"delete-stream", "nonsense", help});
        EXPECT_EQ(invocation.outcome, TSPEC_TOOL_HELP);
        ASSERT_NE(invocation.command, nullptr);
        EXPECT_STREQ(invocation.command->name, "delete-stream");
    }
}

TEST(ToolCommandLine, VersionIsAsked)
{
    EXPECT_EQ(parse({"--version"}).outcome, TSPEC_TOOL_VERSION);
    EXPECT_EQ(parse({"-V"}).outcome, TSPEC_TOOL_VERSION);
}

TEST(ToolCommandLine, SuggestsWhatWasMeant)
{
    expect_rejected({"stast"}, "there is no command \"stast\"; did you mean \"stats\"?");
    expect_rejected({"disassoc"}, "did you mean \"disassociation-mode\"?");
    expect_rejected({"stats", "--jsn"}, "has no option \"--jsn\"; did you mean \"--json\"?");
    EXPECT_EQ(std::string(parse({"zebra"}).error.text), "there is no command \"zebra\"");
}

TEST(ToolCommandLine, HelpsWithACommand)
{
    EXPECT_EQ(parse({"help"}).outcome, TSPEC_TOOL_HELP);
    EXPECT_EQ(parse({"help"}).command, nullptr);
    EXPECT_EQ(parse({"help", "stats"}).outcome, TSPEC_TOOL_HELP);
    EXPECT_STREQ(parse({"help", "stats"}).command->name, "stats");
    expect_rejected({"help", "stat"}, "did you mean \"stats\"?");
    expect_rejected({"help", "stats", "x"}, "\"x\" is one argument too many for help");
}

} // namespace
