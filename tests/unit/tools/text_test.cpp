// Tables for people.
#include "tools/printed.h"
#include "tools/shown.h"
#include "tspec-cli/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace tspec::test;
using ::testing::HasSubstr;
using ::testing::Not;

const tspec_tool_style_t without_terminal = {false, 0, true, nullptr};
const tspec_tool_style_t with_colour = {true, 80, true, nullptr};

std::string shown(const tspec_tool_sheet_t &sheet,
                  const tspec_tool_style_t &style = without_terminal)
{
    const tspec_tool_statistics_t statistics = one_sheet(sheet);
    return printed([&](FILE *out) { tspec_tool_print_statistics(out, &statistics, &style); });
}

std::string bar_of(uint32_t admitted, uint32_t free,
                   const tspec_tool_style_t &style = without_terminal)
{
    const std::string text = shown(radio_sheet("wlan0", admitted, free), style);
    const size_t begin = text.find('[');
    return text.substr(begin, text.find(']', begin) + 1 - begin);
}

TEST(ToolText, ShowsARadioWithABarForEachCategory)
{
    EXPECT_EQ(shown(radio_sheet("wlan0", 625, 312)),
              "wlan0        state streams clients roaming admitted   free roam-free airtime\n"
              "voice           up       2       1       0      625    312       313 "
              "[#############.......]\n"
              "video         down       0       0       0        0      0         0 "
              "[                    ]\n"
              "best-effort   down       0       0       0        0      0         0 "
              "[                    ]\n"
              "background    down       0       0       0        0      0         0 "
              "[                    ]\n"
              "\n"
              "Medium time: units of 32 microseconds per second, 31250 being the whole medium.\n");
}

TEST(ToolText, ShowsTheAccessPointWithItsDecisions)
{
    EXPECT_EQ(shown(ap_sheet()),
              "access-point streams clients roaming accepted rejected roam-acc roam-rej\n"
              "voice              0       1       2 4294967295        4        5        6\n"
              "video             10      11      12       13       14       15       16\n"
              "best-effort       20      21      22       23       24       25       26\n"
              "background        30      31      32       33       34       35       36\n"
              "\n"
              "Medium time: units of 32 microseconds per second, 31250 being the whole medium.\n");
}

TEST(ToolText, ABarShowsThatThereIsALittle)
{
    EXPECT_EQ(bar_of(0, 31250), "[....................]");
    EXPECT_EQ(bar_of(1, 31249), "[#...................]");
    EXPECT_EQ(bar_of(15625, 15625), "[##########..........]");
    EXPECT_EQ(bar_of(31249, 1), "[###################.]");
    EXPECT_EQ(bar_of(31250, 0), "[####################]");
    EXPECT_EQ(bar_of(4294967295U, 4294967295U), "[##########..........]");
    EXPECT_EQ(bar_of(0, 0), "[                    ]");
}

TEST(ToolText, ABarTakesTheRoomThatTheTerminalHas)
{
    EXPECT_EQ(bar_of(1, 1, {false, 80, true, nullptr}).size(), 11U);
    EXPECT_EQ(bar_of(1, 1, {false, 40, true, nullptr}).size(), 10U);
    EXPECT_EQ(bar_of(1, 1, {false, 100, true, nullptr}).size(), 31U);
    EXPECT_EQ(bar_of(1, 1, {false, 500, true, nullptr}).size(), 42U);
    const std::string text = shown(radio_sheet("wlan0vap15", 1, 1), {false, 80, true, nullptr});
    for (size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        EXPECT_LE(text.find('\n', begin) - begin, 80U) << text;
    }
}

TEST(ToolText, SharesFillATerminalAndNoMore)
{
    const std::string text = shown(radio_sheet("wlan0vap15", 1, 1), {false, 80, false, nullptr});
    EXPECT_EQ(text.find('\n', text.find("video")) - text.find("video"), 80U) << text;
}

TEST(ToolText, ColoursTellHowFullACategoryIs)
{
    EXPECT_THAT(bar_of(1, 1, with_colour), HasSubstr("\033[32m####"));
    EXPECT_THAT(bar_of(3, 1, with_colour), HasSubstr("\033[33m######"));
    EXPECT_THAT(bar_of(1, 0, with_colour), HasSubstr("\033[31m########"));
    EXPECT_THAT(shown(radio_sheet("wlan0", 1, 1)), Not(HasSubstr("\033")));
}

std::string listed(const tspec_tool_streams_t &streams)
{
    return printed([&](FILE *out) { tspec_tool_print_streams(out, &streams, &without_terminal); });
}

TEST(ToolText, ListsStreams)
{
    const auto streams = std::make_unique<tspec_tool_streams_t>();
    add_stream(*streams,
               {"02:00:00:00:00:01", "wlan0", "6", "voice", "bidirectional", "6", "625", "0"});
    add_stream(*streams, {"02:00:00:00:00:02", "wlan1vap15", "0", "best-effort", "uplink", "0",
                          "65535", "4294967295"});
    EXPECT_EQ(
        listed(*streams),
        "station           interface   tid category    direction      prio medium excess\n"
        "02:00:00:00:00:01 wlan0       6   voice       bidirectional     6    625      0\n"
        "02:00:00:00:00:02 wlan1vap15  0   best-effort uplink            0  65535 4294967295\n"
        "\n2 streams on TIDs 0 to 7. Medium time: units of 32 microseconds per second.\n");
}

TEST(ToolText, ListsOneStreamAndNone)
{
    const auto streams = std::make_unique<tspec_tool_streams_t>();
    EXPECT_THAT(listed(*streams), HasSubstr("\n0 streams on"));
    add_stream(*streams, {"02:00:00:00:00:01", "wlan0", "6", "voice", "uplink", "6", "1", "0"});
    EXPECT_THAT(listed(*streams), HasSubstr("\n1 stream on"));
}

// 937 units are 3 per cent of 31250, 625 are 2.
TEST(ToolText, ShowsSharesOfTheAirAndOfTheLimit)
{
    EXPECT_EQ(
        shown(radio_sheet("wlan0", 625, 312), {false, 0, false, "voice"}),
        "wlan0        state streams clients roaming      air   limit  used airtime\n"
        "voice           up       2       1       0    2.00%     ~3%   67% "
        "[#############.......]\n"
        "\n"
        "air: of all airtime. limit: ~ rounded from what is left of it. used: of the limit.\n");
}

// What is left ends at 0, so the limit may be below what is admitted.
TEST(ToolText, ClaimsNoLimitWhereNothingIsLeft)
{
    tspec_tool_sheet_t sheet = radio_sheet("wlan0", 3125, 0);
    sheet.figures.values[0][6] = 0;
    EXPECT_THAT(shown(sheet, {false, 0, false, "voice"}), HasSubstr("10.00%   <=10%  100% ["));
}

TEST(ToolText, TellsWhatHasChanged)
{
    const tspec_tool_statistics_t before = one_sheet(radio_sheet("wlan0", 625, 312));
    const tspec_tool_statistics_t now = one_sheet(radio_sheet("wlan0", 0, 937));
    EXPECT_EQ(printed([&](FILE *out) {
                  tspec_tool_print_changes(out, &before, &now, &without_terminal);
              }),
              "wlan0 voice med-time-admitted -625\nwlan0 voice med-time-unalloc +625\n"
              "wlan0 voice med-time-roam-unalloc +625\n");
}

TEST(ToolText, ListsStreamsWithTheirShareOfTheAir)
{
    const auto streams = std::make_unique<tspec_tool_streams_t>();
    add_stream(*streams, {"02:00:00:00:00:01", "wlan0", "6", "voice", "uplink", "6", "625", "0"});
    const tspec_tool_style_t people = {false, 0, false, nullptr};
    EXPECT_THAT(
        printed([&](FILE *out) { tspec_tool_print_streams(out, streams.get(), &people); }),
        HasSubstr("prio    air excess\n02:00:00:00:00:01 wlan0       6   voice       uplink        "
                  "    6  2.00%      0\n"));
}

} // namespace
