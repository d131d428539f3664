// The Prometheus text format.
#include "tools/printed.h"
#include "tools/shown.h"
#include "tspec-cli/metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace tspec::test;
using ::testing::HasSubstr;
using ::testing::StartsWith;

std::string metrics()
{
    tspec_tool_statistics_t statistics = one_sheet(ap_sheet());
    statistics.sheets[statistics.count++] = radio_sheet("wlan0", 625, 312);
    statistics.sheets[statistics.count++] = radio_sheet("wlan1", 7, 8);
    return printed([&](FILE *out) { tspec_tool_print_metrics(out, &statistics); });
}

TEST(ToolMetrics, BeginWithTheFirstFigureOfTheAccessPoint)
{
    EXPECT_THAT(metrics(), StartsWith("# HELP tspec_ap_streams Admitted streams on the access "
                                      "point.\n"
                                      "# TYPE tspec_ap_streams gauge\n"
                                      "tspec_ap_streams{category=\"voice\"} 0\n"
                                      "tspec_ap_streams{category=\"video\"} 10\n"
                                      "tspec_ap_streams{category=\"best-effort\"} 20\n"
                                      "tspec_ap_streams{category=\"background\"} 30\n"
                                      "# HELP tspec_ap_clients "));
}

TEST(ToolMetrics, WhatOnlyGrowsIsACounter)
{
    EXPECT_THAT(metrics(), HasSubstr("# TYPE tspec_ap_accepted_total counter\n"
                                     "tspec_ap_accepted_total{category=\"voice\"} 4294967295\n"));
}

TEST(ToolMetrics, SeriesOfBothRadiosStandTogether)
{
    EXPECT_THAT(
        metrics(),
        HasSubstr("# TYPE tspec_radio_medium_time_admitted gauge\n"
                  "tspec_radio_medium_time_admitted{radio=\"wlan0\",category=\"voice\"} 625\n"
                  "tspec_radio_medium_time_admitted{radio=\"wlan0\",category=\"video\"} 0\n"
                  "tspec_radio_medium_time_admitted{radio=\"wlan0\",category=\"best-effort\"} 0\n"
                  "tspec_radio_medium_time_admitted{radio=\"wlan0\",category=\"background\"} 0\n"
                  "tspec_radio_medium_time_admitted{radio=\"wlan1\",category=\"voice\"} 7\n"));
    EXPECT_THAT(metrics(),
                HasSubstr("tspec_radio_operational{radio=\"wlan1\",category=\"voice\"} 1\n"));
}

TEST(ToolMetrics, OfStreamsCarryWhatTellsThemApart)
{
    const auto streams = std::make_unique<tspec_tool_streams_t>();
    add_stream(*streams,
               {"02:00:00:00:00:01", "wlan0", "6", "voice", "bidirectional", "7", "625", "3"});
    const std::string labels = "{station=\"02:00:00:00:00:01\",interface=\"wlan0\",tid=\"6\","
                               "category=\"voice\",direction=\"bidirectional\",prio=\"7\"}";
    EXPECT_EQ(printed([&](FILE *out) { tspec_tool_print_stream_metrics(out, streams.get()); }),
              "# HELP tspec_stream_medium_time Medium time of the stream, in units of 32 "
              "microseconds per second, 31250 being the whole medium.\n"
              "# TYPE tspec_stream_medium_time gauge\n"
              "tspec_stream_medium_time" +
                  labels +
                  " 625\n"
                  "# HELP tspec_stream_excess_usage_events_total How often the stream was reported "
                  "to have used more than its medium time.\n"
                  "# TYPE tspec_stream_excess_usage_events_total counter\n"
                  "tspec_stream_excess_usage_events_total" +
                  labels + " 3\n");
}

} // namespace
