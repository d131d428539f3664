// tspec-sim capacity as a user runs it: figures, files, wrong use.
//
// The medium time of a call by hand: packets per second, that is the mean rate
// in bytes over the MSDU size, rounded up, times the microseconds of a frame
// exchange, over 32; twice, for both directions. The exchanges are worked out in
// airtime_test.cpp. A limit of P per cent is P * 31250 / 100 units.
#include "sim_command.h"

#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <sstream>

namespace tspec::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class CapacityTest : public testing::Test {
  protected:
    CapacityTest()
    {
        std::string pattern = (fs::temp_directory_path() / "capacity-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~CapacityTest() override { fs::remove_all(folder_); }

    std::string path(const std::string &name) const { return folder_ / name; }

    std::string content(const std::string &name) const
    {
        std::ifstream file(path(name));
        return {std::istreambuf_iterator<char>(file), {}};
    }

    // The lines of the CSV file behind the names of the columns.
    std::vector<std::string> rows(std::vector<std::string> options)
    {
        options.insert(options.begin(), {"capacity", "--csv", path("rows.csv")});
        CommandResult result = run_sim(options);
        EXPECT_EQ(result.status, 0) << result.output;
        std::istringstream lines(content("rows.csv"));
        std::vector<std::string> found;
        std::string line;
        std::getline(lines, line);
        EXPECT_EQ(line, "codec,codec_bit_rate,packet_interval_us,payload_bytes,msdu_bytes,phy_rate,"
                        "limit_percent,frame_exchange_us,stream_medium_time,call_medium_time,calls,"
                        "admitted_medium_time,limit_medium_time");
        while (std::getline(lines, line)) {
            found.push_back(line);
        }
        return found;
    }

  private:
    fs::path folder_;
};

// G.711 at 6M:  50 * 404 = 20200, / 32 = 631; twice 1262. 50 %: 15625 / 1262 =
//               12.4, 12 calls, 15144 units.
// G.729 at 54M: 50 *  80 =  4000, / 32 = 125; twice 250.  50 %: 15625 / 250 =
//               62.5, 62 calls, 15500 units.
TEST_F(CapacityTest, CountsTheCallsThatTheDaemonAdmits)
{
    EXPECT_THAT(rows({"--codec", "g711", "--phy-rate", "6M"}),
                ElementsAre("g711,64000,20000,160,208,6000000,50,404,631,1262,12,15144,15625"));
    EXPECT_THAT(rows({"--codec", "g729", "--phy-rate", "54M"}),
                ElementsAre("g729,8000,20000,20,68,54000000,50,80,125,250,62,15500,15625"));
}

// G.723: 19200 bit/s are 2400 bytes, over 72 are 33.3, 34 packets per second.
// A packet is 102 bytes, 16 + 816 + 6 = 838 bits; at 24M 838 / 96 = 8.7, 9
// symbols, 56 us, and 16 + 28: 100 us. 34 * 100 = 3400, / 32 = 106; twice 212.
// The whole medium: 31250 / 212 = 147.4.
TEST_F(CapacityTest, RoundsPacketsUp)
{
    EXPECT_THAT(rows({"--codec", "g723", "--phy-rate", "24M", "--limit", "100"}),
                ElementsAre("g723,6400,30000,24,72,24000000,100,100,106,212,147,31164,31250"));
}

// 1 % are 312 units, less than the 1262 of one call; 2 % of 250 each: 625 / 250.
TEST_F(CapacityTest, GoesByTheLimits)
{
    EXPECT_THAT(rows({"--codec", "g711", "--phy-rate", "6M", "--limit", "1"}),
                ElementsAre("g711,64000,20000,160,208,6000000,1,404,631,1262,0,0,312"));
    EXPECT_THAT(rows({"--codec", "g729", "--phy-rate", "54M", "--limit", "2"}),
                ElementsAre("g729,8000,20000,20,68,54000000,2,80,125,250,2,500,625"));
}

// 1.5 is 12288 of 8192: 20200 + 20200 * 4096 / 8192 = 30300, / 32 = 946; twice
// 1892. 15625 / 1892 = 8.3, 8 calls, 15136 units.
TEST_F(CapacityTest, SetsASurplusAside)
{
    EXPECT_THAT(rows({"--codec", "g711", "--phy-rate", "6M", "--surplus", "1.5"}),
                ElementsAre("g711,64000,20000,160,208,6000000,50,404,946,1892,8,15136,15625"));
}

// 424 us: 50 * 424 = 21200, / 32 = 662; twice 1324. 15625 / 1324 = 11.8.
TEST_F(CapacityTest, CountsWhatEncryptionAdds)
{
    EXPECT_THAT(rows({"--codec", "g711", "--phy-rate", "6M", "--encryption", "ccmp"}),
                ElementsAre("g711,64000,20000,160,208,6000000,50,424,662,1324,11,14564,15625"));
}

TEST_F(CapacityTest, TakesEveryCombination)
{
    std::vector<std::string> found =
        rows({"--codec", "g711,g729", "--phy-rate", "6M,54M", "--limit", "10,20%"});

    ASSERT_EQ(found.size(), 8U);
    EXPECT_THAT(found[0], HasSubstr("g711,64000,20000,160,208,6000000,10,"));
    EXPECT_THAT(found[1], HasSubstr("g729,8000,20000,20,68,6000000,10,"));
    EXPECT_THAT(found[2], HasSubstr("g711,64000,20000,160,208,54000000,10,"));
    EXPECT_THAT(found[7], HasSubstr("g729,8000,20000,20,68,54000000,20,"));
}

TEST_F(CapacityTest, PrintsATable)
{
    CommandResult result = run_sim({"capacity", "--codec", "g711", "--phy-rate", "6M"});

    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(std::regex_search(
        result.output, std::regex("codec +PHY rate +limit +frame exch. +one direction +call +calls "
                                  "+admitted of limit\n"
                                  "g711 +6M +50 % +404 us +631 +1262 \\(4.04 %\\) +12 +15144 of "
                                  "15625\n")))
        << result.output;
}

// Read by another program than the one that wrote it.
TEST_F(CapacityTest, DrawsABarForEachRow)
{
    CommandResult result = run_sim(
        {"capacity", "--codec", "g711,g729", "--phy-rate", "6M,54M", "--svg", path("c.svg")});
    ASSERT_EQ(result.status, 0) << result.output;
    std::ofstream(path("read.py"))
        << "import sys, xml.etree.ElementTree as tree\n"
           "ns = '{http://www.w3.org/2000/svg}'\n"
           "root = tree.parse(sys.argv[1]).getroot()\n"
           "bars = [r for r in root.iter(ns + 'rect') if r.find(ns + 'title') is not None]\n"
           "for bar in bars:\n"
           "    print(bar.find(ns + 'title').text, '|', bar.get('height'))\n";

    std::FILE *pipe =
        popen(fmt::format("{} {} {}", TSPEC_PYTHON, path("read.py"), path("c.svg")).c_str(), "r");
    std::string output;
    char buffer[4096];
    while (size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        output.append(buffer, count);
    }
    EXPECT_EQ(pclose(pipe), 0);

    // The lines of the grid go to 70; 150 pixels are 70 calls.
    EXPECT_EQ(output, "g711 at 6M, 50 %: 12 calls of 1262 units of medium time | 25.7\n"
                      "g729 at 6M, 50 %: 23 calls of 674 units of medium time | 49.3\n"
                      "g711 at 54M, 50 %: 50 calls of 312 units of medium time | 107.1\n"
                      "g729 at 54M, 50 %: 62 calls of 250 units of medium time | 132.9\n");
}

TEST_F(CapacityTest, RefusesWrongUse)
{
    for (const std::vector<std::string> &options :
         std::vector<std::vector<std::string>>{{"--codec", "g999"},
                                               {"--phy-rate", "7M"},
                                               {"--phy-rate", "60M"},
                                               {"--phy-rate", "4294967302"},
                                               {"--limit", "0"},
                                               {"--limit", "101"},
                                               {"--limit", "half"},
                                               {"--surplus", "0.5"},
                                               {"--surplus", "8"},
                                               {"--encryption", "rot13"},
                                               {"file"}}) {
        std::vector<std::string> words{"capacity"};
        words.insert(words.end(), options.begin(), options.end());
        EXPECT_EQ(run_sim(words).status, 2) << options.back();
    }
}

TEST_F(CapacityTest, TellsWhatCannotBeWrittenBeforeTheWork)
{
    CommandResult result = run_sim({"capacity", "--csv", "/nowhere/rows.csv"});

    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "tspec-sim: /nowhere/rows.csv: cannot be written\n");
}

TEST_F(CapacityTest, TellsOfADaemonThatCannotBeRun)
{
    CommandResult result = run_sim({"capacity", "--daemon", "/nowhere/tspec-daemon"});

    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.output, HasSubstr("/nowhere/tspec-daemon"));
}

} // namespace
} // namespace tspec::tests
