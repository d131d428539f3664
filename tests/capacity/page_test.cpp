// docs/capacity.md shows what its command gives: the table and the chart.
#include "sim_command.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace tspec::tests {
namespace {

namespace fs = std::filesystem;

const std::string options = "--limit 25,50 --csv capacity.csv --svg capacity.svg";

std::string content(const fs::path &path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(CapacityPage, ShowsWhatItsCommandGives)
{
    std::string pattern = (fs::temp_directory_path() / "capacity-XXXXXX").string();
    fs::path folder = mkdtemp(pattern.data());
    CommandResult result = run_sim(
        {"capacity", "--limit", "25,50", "--csv", folder / "c.csv", "--svg", folder / "c.svg"});
    std::string page = content(TSPEC_SOURCE_FOLDER "/docs/capacity.md");

    EXPECT_NE(page.find("$ tspec-sim capacity " + options + "\n" + result.output + "```\n"),
              std::string::npos)
        << result.output;
    EXPECT_TRUE(content(TSPEC_SOURCE_FOLDER "/docs/images/capacity.svg") ==
                content(folder / "c.svg"));
    EXPECT_NE(page.find("(images/capacity.svg)"), std::string::npos);
    fs::remove_all(folder);
}

} // namespace
} // namespace tspec::tests
