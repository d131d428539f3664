// The daemon's text reports as the tool takes them apart.
#include "tspec-cli/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace {

using ::testing::ElementsAre;

enum { voice, video, best_effort, background };

const std::string ap_report = "ts-vo-num-active=1\nts-vo-num-clients=2\nts-vo-num-roam-clients=3\n"
                              "tspec-vo-tot-accepted=4\ntspec-vo-tot-rejected=5\n"
                              "tspec-vo-tot-roam-accepted=6\ntspec-vo-tot-roam-rejected=7\n"
                              "ts-vi-num-active=8\nts-vi-num-clients=9\nts-vi-num-roam-clients=10\n"
                              "tspec-vi-tot-accepted=11\ntspec-vi-tot-rejected=12\n"
                              "tspec-vi-tot-roam-accepted=13\ntspec-vi-tot-roam-rejected=14\n"
                              "ts-be-num-active=0\nts-be-num-clients=0\nts-be-num-roam-clients=0\n"
                              "tspec-be-tot-accepted=0\ntspec-be-tot-rejected=0\n"
                              "tspec-be-tot-roam-accepted=0\ntspec-be-tot-roam-rejected=0\n"
                              "ts-bk-num-active=0\nts-bk-num-clients=0\nts-bk-num-roam-clients=0\n"
                              "tspec-bk-tot-accepted=-1\ntspec-bk-tot-rejected=2147483647\n"
                              "tspec-bk-tot-roam-accepted=-2147483648\n"
                              "tspec-bk-tot-roam-rejected=0\n";

std::string radio_report()
{
    std::string report;
    for (const std::string ac : {"vo", "vi", "be", "bk"}) {
        report += "ts-" + ac + "-oper-status=" + (ac == "vo" ? "up" : "down") + "\n";
        for (const char *key : {"num-active", "num-clients", "num-roam-clients",
                                "med-time-admitted", "med-time-unalloc", "med-time-roam-unalloc"}) {
            report += "ts-" + ac + "-" + key + "=31250\n";
        }
    }
    return report;
}

const std::string stream_report = "station-mac=00:1a:2b:3c:4d:5e\ninterface=wlan1vap2\nts-tid=6\n"
                                  "ts-ac=voice\nts-direction=bidirectional\n"
                                  "ts-user-priority=7\nts-medium-time=65535\n"
                                  "ts-excess-usage-events=-1\n";

std::string replaced(std::string text, const std::string &what, const std::string &with)
{
    const size_t place = text.find(what);
    EXPECT_NE(place, std::string::npos) << what;
    return text.replace(place, what.size(), with);
}

bool is_ap_report(const std::string &text)
{
    tspec_tool_figures_t figures;
    return tspec_tool_read_figures(text.c_str(), TSPEC_TOOL_AP_FIELDS, &figures);
}

bool is_stream_report(const std::string &text)
{
    tspec_tool_stream_t stream;
    return tspec_tool_read_stream(text.c_str(), &stream);
}

TEST(ToolReport, OfTheAccessPointGivesEveryFigure)
{
    tspec_tool_figures_t figures;
    ASSERT_TRUE(tspec_tool_read_figures(ap_report.c_str(), TSPEC_TOOL_AP_FIELDS, &figures));
    EXPECT_THAT(figures.values[voice], ElementsAre(1, 2, 3, 4, 5, 6, 7));
    EXPECT_THAT(figures.values[video], ElementsAre(8, 9, 10, 11, 12, 13, 14));
    EXPECT_THAT(figures.values[best_effort], ElementsAre(0, 0, 0, 0, 0, 0, 0));
}

TEST(ToolReport, FiguresThatWerePrintedNegativeAreUnsignedAgain)
{
    tspec_tool_figures_t figures;
    ASSERT_TRUE(tspec_tool_read_figures(ap_report.c_str(), TSPEC_TOOL_AP_FIELDS, &figures));
    EXPECT_THAT(figures.values[background],
                ElementsAre(0, 0, 0, 4294967295U, 2147483647U, 2147483648U, 0));
}

TEST(ToolReport, OfARadioGivesStatesAndFigures)
{
    tspec_tool_figures_t figures;
    ASSERT_TRUE(tspec_tool_read_figures(radio_report().c_str(), TSPEC_TOOL_ENTRY_FIELDS, &figures));
    EXPECT_THAT(figures.values[voice], ElementsAre(1, 31250, 31250, 31250, 31250, 31250, 31250));
    EXPECT_EQ(figures.values[background][0], 0U);
}

TEST(ToolReport, IsTakenWholeOrNotAtAll)
{
    EXPECT_TRUE(is_ap_report(ap_report));
    EXPECT_FALSE(is_ap_report(""));
    EXPECT_FALSE(is_ap_report("end"));
    EXPECT_FALSE(is_ap_report(radio_report()));
    EXPECT_FALSE(is_ap_report(stream_report));
    EXPECT_FALSE(is_ap_report(ap_report + "ts-xx-num-active=1\n"));
    EXPECT_FALSE(is_ap_report(ap_report.substr(0, ap_report.size() - 1)));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "ts-vi-num-active=8\n", "")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "ts-vo-num-active=1", "ts-vo-num-active=")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "ts-vo-num-active=1", "ts-vo-num-active=-")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "ts-vo-num-active=1", "ts-vo-num-active=1x")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "=2147483647", "=2147483648")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "=-2147483648", "=-2147483649")));
    EXPECT_FALSE(is_ap_report(replaced(ap_report, "=2147483647", "=00000000000000000000001")));
    tspec_tool_figures_t figures;
    EXPECT_FALSE(tspec_tool_read_figures(replaced(radio_report(), "=down", "=broken").c_str(),
                                         TSPEC_TOOL_ENTRY_FIELDS, &figures));
}

TEST(ToolReport, OfAStreamGivesItsValuesAsText)
{
    tspec_tool_stream_t stream;
    ASSERT_TRUE(tspec_tool_read_stream(stream_report.c_str(), &stream));
    EXPECT_STREQ(stream.values[0], "00:1a:2b:3c:4d:5e");
    EXPECT_STREQ(stream.values[1], "wlan1vap2");
    EXPECT_STREQ(stream.values[2], "6");
    EXPECT_STREQ(stream.values[3], "voice");
    EXPECT_STREQ(stream.values[4], "bidirectional");
    EXPECT_STREQ(stream.values[5], "7");
    EXPECT_STREQ(stream.values[6], "65535");
    EXPECT_STREQ(stream.values[7], "4294967295");
}

TEST(ToolReport, OfAStreamIsTakenWholeOrNotAtAll)
{
    EXPECT_TRUE(is_stream_report(stream_report));
    EXPECT_FALSE(is_stream_report(""));
    EXPECT_FALSE(is_stream_report("end"));
    EXPECT_FALSE(is_stream_report(stream_report + "x=1\n"));
    EXPECT_FALSE(is_stream_report(replaced(stream_report, "ts-tid=6", "ts-tid=six")));
    EXPECT_FALSE(is_stream_report(replaced(stream_report, "voice", "vo\"ice")));
    EXPECT_FALSE(is_stream_report(replaced(stream_report, "voice", "")));
    EXPECT_FALSE(is_stream_report(replaced(stream_report, "voice", std::string(20, 'v'))));
}

TEST(ToolReport, EndIsTheWordAlone)
{
    EXPECT_TRUE(tspec_tool_is_end("end"));
    EXPECT_FALSE(tspec_tool_is_end("end\n"));
    EXPECT_FALSE(tspec_tool_is_end(""));
}

} // namespace
