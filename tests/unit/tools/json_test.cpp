// Figures and streams as JSON.
#include "tools/printed.h"
#include "tools/shown.h"
#include "tspec-cli/json.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace tspec::test;

std::string json_of(const tspec_tool_streams_t &streams)
{
    return printed([&](FILE *out) { tspec_tool_print_streams_json(out, &streams); });
}

std::string down(const std::string &category)
{
    return "\"" + category +
           R"(":{"oper_status":"down","num_active":0,"num_clients":0,"num_roam_clients":0,)"
           R"("med_time_admitted":0,"med_time_unalloc":0,"med_time_roam_unalloc":0})";
}

TEST(ToolJson, OfARadioIsOneLine)
{
    const tspec_tool_statistics_t statistics = one_sheet(radio_sheet("wlan0", 625, 312));
    EXPECT_EQ(
        printed([&](FILE *out) { tspec_tool_print_statistics_json(out, &statistics, nullptr); }),
        R"({"wlan0":{"voice":{"oper_status":"up","num_active":2,"num_clients":1,)"
        R"("num_roam_clients":0,"med_time_admitted":625,"med_time_unalloc":312,)"
        R"("med_time_roam_unalloc":313},)" +
            down("video") + "," + down("best_effort") + "," + down("background") + "}}\n");
}

TEST(ToolJson, OfTheAccessPointHasItsNameAndTheRadiosBeside)
{
    tspec_tool_statistics_t statistics = one_sheet(ap_sheet());
    statistics.sheets[statistics.count++] = radio_sheet("wlan1", 0, 0);
    const std::string json =
        printed([&](FILE *out) { tspec_tool_print_statistics_json(out, &statistics, nullptr); });
    EXPECT_EQ(json.find(R"({"access_point":{"voice":{"num_active":0,"num_clients":1,)"
                        R"("num_roam_clients":2,"tot_accepted":4294967295,"tot_rejected":4,)"
                        R"("tot_roam_accepted":5,"tot_roam_rejected":6},"video":)"),
              0U)
        << json;
    EXPECT_NE(json.find(R"(},"wlan1":{"voice":)"), std::string::npos) << json;
}

TEST(ToolJson, OfStreamsIsAList)
{
    const auto streams = std::make_unique<tspec_tool_streams_t>();
    EXPECT_EQ(json_of(*streams), "{\"streams\":[]}\n");
    add_stream(*streams,
               {"02:00:00:00:00:01", "wlan0vap3", "6", "voice", "bidirectional", "6", "625", "0"});
    const std::string first =
        R"({"station_mac":"02:00:00:00:00:01","interface":"wlan0vap3","tid":6,"ac":"voice",)"
        R"("direction":"bidirectional","user_priority":6,"medium_time":625,)"
        R"("excess_usage_events":0})";
    EXPECT_EQ(json_of(*streams), "{\"streams\":[" + first + "]}\n");
    streams->streams[1] = streams->streams[0];
    streams->count = 2;
    EXPECT_EQ(json_of(*streams), "{\"streams\":[" + first + "," + first + "]}\n");
}

} // namespace
