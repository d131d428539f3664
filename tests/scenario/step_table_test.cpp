// The table of steps as a whole, and the document that describes it.
#include "sim/scenario/scenario.h"
#include "sim/scenario/step_table.h"

#include <algorithm>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace tspec::tests {
namespace {

using namespace sim::scenario;
using testing::HasSubstr;

std::string text_of_file(const std::filesystem::path &path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

std::vector<const StepKind *> all_steps()
{
    std::vector<const StepKind *> steps;
    for (const std::string &name : step_names()) {
        steps.push_back(find_step(name));
    }
    return steps;
}

TEST(StepTable, NamesAreUnique)
{
    std::vector<std::string> names = step_names();
    std::sort(names.begin(), names.end());

    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
}

TEST(StepTable, KeysOfAStepAreUnique)
{
    for (const StepKind *step : all_steps()) {
        std::vector<std::string> names;
        for (const Key &key : step->keys) {
            names.push_back(key.name);
        }
        std::sort(names.begin(), names.end());
        EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end()) << step->name;
    }
}

TEST(StepTable, EveryStepIsComplete)
{
    for (const StepKind *step : all_steps()) {
        EXPECT_FALSE(step->help.empty()) << step->name;
        EXPECT_TRUE(step->run || step->role == Role::loop) << step->name;
        EXPECT_TRUE(step->shorthand.empty() || step->find(step->shorthand)) << step->name;
        for (const Key &key : step->keys) {
            EXPECT_FALSE(key.help.empty()) << step->name << "." << key.name;
            EXPECT_FALSE(key.type.form.empty()) << step->name << "." << key.name;
        }
    }
}

TEST(StepTable, EveryDefaultIsAValueOfItsKey)
{
    for (const StepKind *step : all_steps()) {
        for (const Key &key : step->keys) {
            if (key.presence == Key::Presence::with_default) {
                Reader reader("");
                Value value;
                EXPECT_TRUE(key.type.read(YAML::Node(key.fallback), reader, value))
                    << step->name << "." << key.name << ": " << key.fallback;
            }
        }
    }
}

TEST(StepTable, ExpectationsAreNamedSo)
{
    for (const StepKind *step : all_steps()) {
        EXPECT_EQ(step->role == Role::expect, step->name.starts_with("expect.")) << step->name;
    }
}

TEST(Document, DescribesEveryStepAsItIs)
{
    EXPECT_THAT(text_of_file(TSPEC_SCENARIO_DOCUMENT), HasSubstr(describe_steps()))
        << "renew the end of the document with: tspec-sim run --list-steps";
}

// What stands between the marks of the first block of YAML.
std::string first_example(const std::string &document)
{
    const std::string mark = "```yaml\n";
    size_t start = document.find(mark) + mark.size();
    return document.substr(start, document.find("```", start) - start);
}

TEST(Document, HasAnExampleThatCanBeRead)
{
    std::string example = first_example(text_of_file(TSPEC_SCENARIO_DOCUMENT));

    EXPECT_EQ(parse_scenario(example, "example").steps.size(), 6u);
}

TEST(Scenarios, TheirExpectationsAreMany)
{
    for (const auto &entry : std::filesystem::directory_iterator(TSPEC_SCENARIO_FOLDER)) {
        Scenario scenario = read_scenario(entry.path());
        auto expectations =
            std::count_if(scenario.steps.begin(), scenario.steps.end(),
                          [](const Step &step) { return step.kind->role == Role::expect; });
        EXPECT_GE(expectations, 5) << entry.path();
    }
}

} // namespace
} // namespace tspec::tests
