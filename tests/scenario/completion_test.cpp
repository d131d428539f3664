// What bash offers while a command line of tspec-sim is typed: all that its help
// lists, from the same description.
#include "sim_command.h"
#include "tests/bash/offered.h"

#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <sstream>

namespace tspec::tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::IsSupersetOf;
using ::testing::Not;

using Words = std::vector<std::string>;

std::string script()
{
    CommandResult result = run_sim({"completion", "bash"});
    EXPECT_EQ(result.status, 0);
    return result.output;
}

Words offers(const Words &typed)
{
    static const std::string text = script();
    return offered(text, "tspec-sim", typed);
}

// Every long option that a help text lists.
Words options_in(const std::string &help)
{
    static const std::regex option("--[a-z][a-z-]*");
    std::istringstream stream(help);
    Words options;
    for (std::string line; std::getline(stream, line);) {
        if (!line.starts_with("  -")) {
            continue;
        }
        std::string names = line.substr(2, line.find(' ', 2) - 2);
        for (std::sregex_iterator it(names.begin(), names.end(), option), end; it != end; ++it) {
            options.push_back(it->str());
        }
    }
    return options;
}

// Every subcommand that the help lists.
Words subcommands()
{
    std::string help = run_sim({"--help"}).output;
    std::istringstream stream(help.substr(help.find("\nSubcommands:") + 1));
    Words names;
    std::string line;
    std::getline(stream, line);
    while (std::getline(stream, line) && line.starts_with("  ")) {
        names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    return names;
}

TEST(SimCompletion, BeginsWithEverySubcommand)
{
    EXPECT_THAT(subcommands(), IsSupersetOf(Words{"run", "completion"}));
    EXPECT_THAT(subcommands(), IsSubsetOf(offers({""})));
    EXPECT_THAT(offers({""}), Contains("--version"));
    EXPECT_THAT(offers({"ru"}), ElementsAre("run"));
}

TEST(SimCompletion, KnowsEveryOptionOfEverySubcommand)
{
    for (const std::string &subcommand : subcommands()) {
        Words options = options_in(run_sim({subcommand, "--help"}).output);
        EXPECT_THAT(options, Contains("--help")) << subcommand;
        EXPECT_THAT(options, IsSubsetOf(offers({subcommand, "-"}))) << subcommand;
    }
    EXPECT_THAT(offers({"run", "--qui"}), ElementsAre("--quiet"));
}

TEST(SimCompletion, OffersScenariosAndTheFilesOfOptions)
{
    EXPECT_THAT(offers({"run", "a"}), ElementsAre("a script.conf"));
    EXPECT_THAT(offers({"run", "--quiet", "one.yaml", "a"}), ElementsAre("a script.conf"));
    EXPECT_THAT(offers({"run", "--daemon", ""}), ElementsAre("a script.conf"));
    EXPECT_THAT(offers({"run", "--daemon", "x", "--lis"}), ElementsAre("--list-steps"));
}

TEST(SimCompletion, OffersTheWordsOfAChoice)
{
    EXPECT_THAT(offers({"completion", ""}), Contains("bash"));
    EXPECT_THAT(offers({"completion", ""}), Not(Contains("a script.conf")));
    EXPECT_THAT(offers({"nonsense", ""}), IsEmpty());
}

TEST(SimCompletion, IsTheFileBesideTheProgram)
{
    std::ifstream file(TSPEC_COMPLETIONS "/tspec-sim");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(script(), text);
}

} // namespace
} // namespace tspec::tests
