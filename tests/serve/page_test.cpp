// docs/integration.md: the examples it shows are those that are tested, the
// scenarios it names are there, and the story it tells is the one that comes.
#include "command.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>

namespace tspec::tests {
namespace {

namespace fs = std::filesystem;

std::string content(const std::string &name)
{
    std::ifstream file(TSPEC_SOURCE_FOLDER "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::string &page()
{
    static const std::string text = content("docs/integration.md");
    return text;
}

std::string trimmed(const std::string &line)
{
    size_t begin = line.find_first_not_of(' ');
    return begin == std::string::npos ? "" : line.substr(begin);
}

TEST(IntegrationPage, ShowsTheExamplesAsTheyAre)
{
    for (auto [language, name] : {std::pair{"python", "examples/python/addts.py"},
                                  std::pair{"c", "examples/c/frame_duration.c"}}) {
        std::string text = content(name);
        ASSERT_FALSE(text.empty()) << name;
        EXPECT_NE(page().find(std::string("```") + language + "\n" + text + "```\n"),
                  std::string::npos)
            << name;
    }
}

TEST(IntegrationPage, NamesEveryScenario)
{
    std::set<std::string> named;
    std::regex name("`scenarios/([a-z-]+\\.yaml)`");
    for (std::sregex_iterator at(page().begin(), page().end(), name), end; at != end; ++at) {
        named.insert((*at)[1]);
    }
    std::set<std::string> shipped;
    for (const fs::directory_entry &entry :
         fs::directory_iterator(TSPEC_SOURCE_FOLDER "/scenarios")) {
        shipped.insert(entry.path().filename());
    }
    // The tour, and a limit of the daemon that no peer sees.
    shipped.erase("demo.yaml");
    shipped.erase("stream-limit.yaml");
    EXPECT_EQ(named, shipped);
}

TEST(IntegrationPage, TellsTheStoryOfTheExamples)
{
    Serve serve({"--without", "hostapd"});
    Command durations({TSPEC_FRAME_DURATION});
    ASSERT_TRUE(durations.says("waiting for frame-duration queries"));
    Command request({TSPEC_PYTHON, TSPEC_SOURCE_FOLDER "/examples/python/addts.py"});
    EXPECT_EQ(request.end(), 0);

    EXPECT_NE(page().find("```\n" + request.output() + "```\n"), std::string::npos);
    size_t begin = page().find("```text\n") + 8;
    std::istringstream story(page().substr(begin, page().find("```", begin) - begin));
    std::string line;
    int lines = 0;
    while (std::getline(story, line)) {
        EXPECT_TRUE(serve.says(trimmed(line) + "\n")) << line;
        lines++;
    }
    EXPECT_EQ(lines, 8);
}

} // namespace
} // namespace tspec::tests
