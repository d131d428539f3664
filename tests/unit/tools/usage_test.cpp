// Usage and help of tspec-cli.
#include "tools/printed.h"
#include "tspec-cli/usage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using tspec::test::printed;

std::string usage_of(const char *name)
{
    return printed([&](FILE *out) { tspec_tool_print_usage(out, tspec_tool_command_find(name)); });
}

std::string help_of(const char *name)
{
    return printed([&](FILE *out) { tspec_tool_print_help(out, tspec_tool_command_find(name)); });
}

TEST(ToolUsage, HasALineForEachCommand)
{
    EXPECT_EQ(usage_of("ping"), "Usage: tspec-cli ping\n");
    EXPECT_EQ(usage_of("debug"), "Usage: tspec-cli debug [LEVEL...]\n");
    EXPECT_EQ(usage_of("delete-client"), "Usage: tspec-cli delete-client --force MAC\n");
    EXPECT_EQ(usage_of("delete-stream"), "Usage: tspec-cli delete-stream MAC TID\n");
    EXPECT_EQ(usage_of("disassociation-mode"), "Usage: tspec-cli disassociation-mode [0|1]\n");
    EXPECT_EQ(usage_of("show"), "Usage: tspec-cli show [--all]\n");
    EXPECT_EQ(usage_of("stats"),
              "Usage: tspec-cli stats [--radio R | --vap R.V] [--ac AC] [--units] [--json] "
              "[--watch [SECONDS]]\n");
    EXPECT_EQ(
        usage_of("streams"),
        "Usage: tspec-cli streams [--sta MAC] [--radio R] [--ac AC] [--units] [--json] [--watch "
        "[SECONDS]]\n");
    EXPECT_EQ(usage_of("metrics"), "Usage: tspec-cli metrics [--streams]\n");
    EXPECT_EQ(usage_of("config"), "Usage: tspec-cli config apply|check FILE\n");
    EXPECT_EQ(usage_of("remove-stale"), "Usage: tspec-cli remove-stale\n");
    EXPECT_EQ(usage_of("wait-loopback"), "Usage: tspec-cli wait-loopback\n");
    EXPECT_EQ(usage_of("completion"), "Usage: tspec-cli completion bash\n");
}

TEST(ToolUsage, HelpOfTheToolListsEveryCommand)
{
    const std::string help = printed([](FILE *out) { tspec_tool_print_help(out, nullptr); });
    for (const char *name :
         {"ping", "debug", "delete-client", "delete-stream", "disassociation-mode", "show", "stats",
          "streams", "metrics", "config", "remove-stale", "wait-loopback", "completion"}) {
        EXPECT_THAT(help, HasSubstr("\n  " + std::string(name) + " ")) << name;
    }
    EXPECT_THAT(help, HasSubstr("/dev/console"));
    EXPECT_THAT(help, HasSubstr("Exit status: 0 done, 1 no daemon or no answer, 2 wrong usage or "
                                "configuration,\n3 dman has the port"));
}

TEST(ToolUsage, HelpOfACommandBeginsWithItsUsageAndSaysWhereTheAnswerIs)
{
    EXPECT_THAT(help_of("show"), StartsWith("Usage: tspec-cli show [--all]\n\n"));
    EXPECT_THAT(help_of("show"),
                EndsWith("on the access point's console, which root sees here, too.\n"));
    for (const char *name : {"ping", "stats", "metrics", "config", "completion"}) {
        EXPECT_THAT(help_of(name), Not(HasSubstr("console"))) << name;
    }
}

TEST(ToolUsage, HelpOfDeleteClientCarriesItsWarning)
{
    const std::string help = help_of("delete-client");
    EXPECT_THAT(help, HasSubstr("neither the medium time nor the stream count"));
    EXPECT_THAT(help, HasSubstr("delete-stream"));
    EXPECT_THAT(help, HasSubstr("Without --force nothing is sent."));
}

TEST(ToolUsage, VersionIsOneLine)
{
    const std::string version = printed(tspec_tool_print_version);
    EXPECT_THAT(version, StartsWith("tspec-cli "));
    EXPECT_THAT(version, ::testing::ContainsRegex("^tspec-cli [0-9]+\\.[0-9]+\\.[0-9]+\n$"));
}

} // namespace
