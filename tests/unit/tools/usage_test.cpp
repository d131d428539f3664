// Usage and help of tspec-cli.
#include "tspec-cli/usage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

std::string printed(const std::function<void(FILE *)> &print)
{
    char *text = nullptr;
    size_t length = 0;
    FILE *out = open_memstream(&text, &length);
    print(out);
    std::fclose(out);
    std::string result(text, length);
    std::free(text);
    return result;
}

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
}

TEST(ToolUsage, HelpOfTheToolListsEveryCommand)
{
    const std::string help = printed([](FILE *out) { tspec_tool_print_help(out, nullptr); });
    for (const char *name :
         {"ping", "debug", "delete-client", "delete-stream", "disassociation-mode", "show"}) {
        EXPECT_THAT(help, HasSubstr("\n  " + std::string(name) + " ")) << name;
    }
    EXPECT_THAT(help, HasSubstr("/dev/console"));
    EXPECT_THAT(help, HasSubstr("Exit status: 0 done, 1 no daemon or no answer, 2 wrong usage."));
}

TEST(ToolUsage, HelpOfACommandBeginsWithItsUsageAndSaysWhereTheAnswerIs)
{
    EXPECT_THAT(help_of("show"), StartsWith("Usage: tspec-cli show [--all]\n\n"));
    EXPECT_THAT(help_of("show"), EndsWith("on the access point's console, not here.\n"));
    EXPECT_THAT(help_of("ping"), Not(HasSubstr("console")));
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
