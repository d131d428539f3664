// What bash offers while a command line of tspec-cli is typed.
#include "tests/bash/offered.h"
#include "tools/printed.h"
#include "tspec-cli/completion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

using Words = std::vector<std::string>;

Words offered(const Words &typed)
{
    return tspec::tests::offered(tspec::test::printed(tspec_tool_print_completion), "tspec-cli",
                                 typed);
}

TEST(ToolCompletion, BeginsWithCommands)
{
    EXPECT_THAT(offered({""}),
                UnorderedElementsAre("ping", "debug", "delete-client", "delete-stream",
                                     "disassociation-mode", "show", "stats", "streams", "metrics",
                                     "config", "health", "make-way", "grant", "contained",
                                     "remove-stale", "wait-loopback", "completion", "--help",
                                     "--version"));
    EXPECT_THAT(offered({"st"}), ElementsAre("stats", "streams"));
    EXPECT_THAT(offered({"delete-"}), ElementsAre("delete-client", "delete-stream"));
    EXPECT_THAT(offered({"x"}), IsEmpty());
}

TEST(ToolCompletion, KnowsTheOptionsOfACommand)
{
    EXPECT_THAT(
        offered({"stats", ""}),
        UnorderedElementsAre("--help", "--json", "--watch", "--radio", "--ac", "--units", "--vap"));
    EXPECT_THAT(offered({"stats", "--json", "--w"}), ElementsAre("--watch"));
    EXPECT_THAT(offered({"show", ""}), UnorderedElementsAre("--help", "--all"));
    EXPECT_THAT(offered({"nonsense", ""}), IsEmpty());
}

TEST(ToolCompletion, KnowsTheValuesOfAnOption)
{
    EXPECT_THAT(offered({"stats", "--radio", ""}), ElementsAre("0", "1"));
    EXPECT_THAT(offered({"stats", "--json", "--vap", "1.1"}),
                ElementsAre("1.1", "1.10", "1.11", "1.12", "1.13", "1.14", "1.15"));
    EXPECT_THAT(offered({"stats", "--radio", "0", "--j"}), ElementsAre("--json"));
}

TEST(ToolCompletion, KnowsTheWordsOfEachPlace)
{
    EXPECT_THAT(offered({"config", ""}), UnorderedElementsAre("--help", "apply", "check"));
    EXPECT_THAT(offered({"config", "a"}), ElementsAre("apply"));
    EXPECT_THAT(offered({"delete-stream", ""}), ElementsAre("--help"));
    EXPECT_THAT(offered({"delete-stream", "02:00:00:00:00:01", "1"}),
                ElementsAre("1", "10", "11", "12", "13", "14", "15"));
    EXPECT_THAT(offered({"delete-stream", "02:00:00:00:00:01", "1", "1"}), IsEmpty());
    EXPECT_THAT(offered({"disassociation-mode", ""}), Contains("0"));
    EXPECT_THAT(offered({"disassociation-mode", "0", ""}), Not(Contains("0")));
    EXPECT_THAT(offered({"completion", ""}), Contains("bash"));
}

TEST(ToolCompletion, OffersLevelsAgainAndAgain)
{
    EXPECT_THAT(offered({"debug", "h"}), ElementsAre("hostapd"));
    EXPECT_THAT(offered({"debug", "off", "error", "m"}), ElementsAre("mapd"));
}

TEST(ToolCompletion, OffersFilesWholeWithTheirBlanks)
{
    EXPECT_THAT(offered({"config", "check", "a"}), ElementsAre("a script.conf"));
    EXPECT_THAT(offered({"config", "apply", ""}), UnorderedElementsAre("--help", "a script.conf"));
    EXPECT_THAT(offered({"config", "apply", "b"}), IsEmpty());
}

} // namespace
