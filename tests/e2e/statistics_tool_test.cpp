// tspec-cli stats, streams and metrics against the daemon: the figures that dman
// would get, in three forms.
#include "exposition.h"
#include "stimulus.h"
#include "tool.h"

#include <cstdlib>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>

namespace tspec::e2e {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class StatisticsTool : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        // The answers go to the tool, while it runs.
        ap().dman().turn_off();
        associate_all(ap());
    }

    static std::string output_of(const Words &arguments)
    {
        ToolRun result = run_tool(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        EXPECT_EQ(result.error, "");
        return result.output;
    }

    // Two clients, three streams: two of the first client, on either radio.
    void admit_three_streams()
    {
        configure_voice_and_video(ap());
        admit(ap());
        admit(ap(), {.tid = 5, .user_priority = up_video, .direction = bidirectional});
        admit(ap(), {.station = 2, .radio_unit = 2, .vap = 3});
    }
};

TEST_F(StatisticsTool, StatsShowsAccessPointAndRadios)
{
    configure_voice_and_video(ap());
    admit(ap());
    EXPECT_EQ(output_of({"stats", "--units"}),
              "access-point streams clients roaming accepted rejected roam-acc roam-rej\n"
              "voice              1       1       0        1        0        0        0\n"
              "video              0       0       0        0        0        0        0\n"
              "best-effort        0       0       0        0        0        0        0\n"
              "background         0       0       0        0        0        0        0\n"
              "\n"
              "wlan0        state streams clients roaming admitted   free roam-free airtime\n"
              "voice           up       1       1       0      625  15000     15000 "
              "[#...................]\n"
              "video           up       0       0       0        0  15625     15625 "
              "[....................]\n"
              "best-effort   down       0       0       0        0      0         0 "
              "[                    ]\n"
              "background    down       0       0       0        0      0         0 "
              "[                    ]\n"
              "\n"
              "wlan1        state streams clients roaming admitted   free roam-free airtime\n"
              "voice           up       0       0       0        0      0         0 "
              "[                    ]\n"
              "video           up       0       0       0        0      0         0 "
              "[                    ]\n"
              "best-effort   down       0       0       0        0      0         0 "
              "[                    ]\n"
              "background    down       0       0       0        0      0         0 "
              "[                    ]\n"
              "\n"
              "Medium time: units of 32 microseconds per second, 31250 being the whole medium.\n");
}

TEST_F(StatisticsTool, StatsShowsOneRadioOrVapAsJson)
{
    admit_three_streams();
    EXPECT_THAT(output_of({"stats", "--radio", "0", "--json"}),
                ::testing::StartsWith(
                    R"({"wlan0":{"voice":{"oper_status":"up","num_active":1,"num_clients":1,)"
                    R"("num_roam_clients":0,"med_time_admitted":625,"med_time_unalloc":15000,)"
                    R"("med_time_roam_unalloc":15000},"video":{"oper_status":"up",)"
                    R"("num_active":1,"num_clients":1,"num_roam_clients":0,)"
                    R"("med_time_admitted":1250,"med_time_unalloc":14375,)"
                    R"("med_time_roam_unalloc":14375},)"));
    EXPECT_THAT(output_of({"stats", "--vap", "1.3", "--json"}),
                HasSubstr(R"({"wlan1vap3":{"voice":{"oper_status":"up","num_active":1,)"));
    EXPECT_THAT(output_of({"stats", "--vap", "1.2", "--json"}),
                HasSubstr(R"({"wlan1vap2":{"voice":{"oper_status":"up","num_active":0,)"));
    EXPECT_THAT(output_of({"stats", "--json"}),
                HasSubstr(R"({"access_point":{"voice":{"num_active":2,"num_clients":2,)"));
}

TEST_F(StatisticsTool, StreamsListsThemInTheOrderOfTheWalk)
{
    admit_three_streams();
    EXPECT_EQ(output_of({"streams", "--units"}),
              "station           interface   tid category    direction      prio medium excess\n"
              "02:00:00:00:00:01 wlan0       5   video       bidirectional     5    625      0\n"
              "02:00:00:00:00:01 wlan0       6   voice       uplink            6    625      0\n"
              "02:00:00:00:00:02 wlan1vap3   6   voice       uplink            6      0      0\n"
              "\n3 streams on TIDs 0 to 7. Medium time: units of 32 microseconds per second.\n");
    EXPECT_THAT(output_of({"streams", "--json"}),
                HasSubstr(R"({"station_mac":"02:00:00:00:00:02","interface":"wlan1vap3","tid":6,)"
                          R"("ac":"voice","direction":"uplink","user_priority":6,)"
                          R"("medium_time":0,"excess_usage_events":0}]})"));
}

TEST_F(StatisticsTool, ShowsWhatIsAskedForAlone)
{
    admit_three_streams();
    EXPECT_EQ(
        output_of({"stats", "--radio", "0", "--ac", "video"}),
        "wlan0        state streams clients roaming      air   limit  used airtime\n"
        "video           up       1       1       0    4.00%    ~50%    8% "
        "[#...................]\n"
        "\n"
        "air: of all airtime. limit: ~ rounded from what is left of it. used: of the limit.\n");
    for (const Words &filter : {Words{"--radio", "wlan1"}, Words{"--sta", "02:00:00:00:00:02"}}) {
        Words words{"streams"};
        words.insert(words.end(), filter.begin(), filter.end());
        std::string streams = output_of(words);
        EXPECT_THAT(streams, HasSubstr("02:00:00:00:00:02 wlan1vap3"));
        EXPECT_THAT(streams, HasSubstr("\n1 stream on TIDs 0 to 7."));
    }
    EXPECT_THAT(output_of({"streams", "--ac", "video", "--json"}),
                ::testing::AllOf(HasSubstr("\"tid\":5,"), ::testing::Not(HasSubstr("\"tid\":6,"))));
}

TEST_F(StatisticsTool, StreamsOfNobody)
{
    EXPECT_EQ(output_of({"streams", "--json"}), "{\"streams\":[]}\n");
    EXPECT_THAT(output_of({"streams"}), HasSubstr("\n0 streams on TIDs 0 to 7."));
}

// The sample of a figure that dman gets under `key`, of a radio when given.
std::string sample_name(const std::string &key, const std::string &radio)
{
    static const std::map<std::string, std::string> categories = {
        {"vo", "voice"}, {"vi", "video"}, {"be", "best-effort"}, {"bk", "background"}};
    static const std::map<std::string, std::string> names = {
        {"oper-status", "operational"},
        {"num-active", "streams"},
        {"num-clients", "clients"},
        {"num-roam-clients", "roaming_clients"},
        {"tot-accepted", "accepted_total"},
        {"tot-rejected", "rejected_total"},
        {"tot-roam-accepted", "roaming_accepted_total"},
        {"tot-roam-rejected", "roaming_rejected_total"},
        {"med-time-admitted", "medium_time_admitted"},
        {"med-time-unalloc", "medium_time_unallocated"},
        {"med-time-roam-unalloc", "medium_time_roaming_unallocated"}};
    size_t category = key.find('-') + 1;
    std::string label = fmt::format("category=\"{}\"", categories.at(key.substr(category, 2)));
    std::string name = names.at(key.substr(category + 3));
    return radio.empty() ? fmt::format("tspec_ap_{}{{{}}}", name, label)
                         : fmt::format("tspec_radio_{}{{radio=\"{}\",{}}}", name, radio, label);
}

// Checks every line of dman's answer; yields their number.
size_t expect_samples(const Exposition &exposition, const std::string &answer,
                      const std::string &radio)
{
    size_t lines = 0;
    std::istringstream stream(answer);
    for (std::string line; std::getline(stream, line); lines++) {
        size_t equals = line.find('=');
        std::string name = sample_name(line.substr(0, equals), radio);
        std::string value = line.substr(equals + 1);
        value = value == "up" ? "1" : value == "down" ? "0" : value;
        auto sample = exposition.samples.find(name);
        EXPECT_TRUE(sample != exposition.samples.end()) << name;
        if (sample != exposition.samples.end()) {
            EXPECT_EQ(sample->second, value) << name;
        }
    }
    return lines;
}

TEST_F(StatisticsTool, MetricsAreTheFiguresThatDmanGets)
{
    admit_three_streams();
    Exposition exposition = read_exposition(output_of({"metrics"}));
    EXPECT_THAT(exposition.mistakes, IsEmpty());
    ap().dman().turn_on();
    size_t figures = expect_samples(exposition, ask(ap(), "tspec-ap-stats").value(), "");
    for (const std::string radio : {"wlan0", "wlan1"}) {
        figures += expect_samples(exposition, ask(ap(), "tspec-radio-" + radio).value(), radio);
    }
    EXPECT_EQ(figures, 84U);
    EXPECT_EQ(exposition.samples.size(), figures);
}

TEST_F(StatisticsTool, MetricsOfStreams)
{
    admit_three_streams();
    Exposition exposition = read_exposition(output_of({"metrics", "--streams"}));
    EXPECT_THAT(exposition.mistakes, IsEmpty());
    EXPECT_EQ(exposition.samples.size(), 84U + 6U);
    EXPECT_EQ(exposition.samples["tspec_stream_medium_time{station=\"02:00:00:00:00:01\","
                                 "interface=\"wlan0\",tid=\"6\",category=\"voice\","
                                 "direction=\"uplink\",prio=\"6\"}"],
              "625");
}

TEST_F(StatisticsTool, PrometheusItselfTakesTheMetrics)
{
    const char *promtool = std::getenv("TSPEC_PROMTOOL");
    if (!promtool) {
        GTEST_SKIP() << "TSPEC_PROMTOOL names no promtool; \"script/test --all\" does";
    }
    admit_three_streams();
    std::string file = file_of(output_of({"metrics", "--streams"}));
    EXPECT_EQ(std::system(fmt::format("{} check metrics < {}", promtool, file).c_str()), 0);
}

TEST_F(StatisticsTool, SaysThatDmanHasThePortAndHowToAskIt)
{
    ap().dman().turn_on();
    std::vector<std::unique_ptr<ToolProcess>> tools;
    for (const Words &arguments : {Words{"stats"}, Words{"stats", "--radio", "1", "--json"},
                                   Words{"streams"}, Words{"metrics"}, Words{"stats", "--watch"}}) {
        tools.push_back(std::make_unique<ToolProcess>(arguments));
    }
    for (const auto &tool : tools) {
        ToolRun result = tool->finish();
        EXPECT_EQ(result.status, 3);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, HasSubstr("dman"));
        EXPECT_THAT(result.error, HasSubstr("\"tspec-ap-stats\""));
        EXPECT_THAT(result.error, HasSubstr("\"tspec-client-ts-first\""));
    }
    EXPECT_TRUE(of_kind(ap().settle(), Kind::to_daemon).empty());
}

TEST_F(StatisticsTool, RunsAtOnceTakeTurns)
{
    std::vector<std::unique_ptr<ToolProcess>> tools;
    for (int i = 0; i < 3; i++) {
        tools.push_back(std::make_unique<ToolProcess>(Words{"stats", "--radio", "0"}));
    }
    for (const auto &tool : tools) {
        ToolRun result = tool->finish();
        EXPECT_EQ(result.status, 0) << result.error;
    }
}

TEST_F(StatisticsTool, GivesThePortBack)
{
    output_of({"stats"});
    output_of({"streams"});
    ap().dman().turn_on();
    EXPECT_TRUE(ask(ap(), "tspec-ap-stats").has_value());
}

TEST_F(StatisticsTool, SaysWhenItsOutputGoesNowhere)
{
    ToolRun result = run_tool({"metrics"});
    EXPECT_EQ(result.status, 0);
    std::string error = file_of("");
    EXPECT_EQ(std::system(
                  fmt::format("'{}' metrics >/dev/full 2>{}", tool_path().string(), error).c_str()),
              1 << 8);
    std::ifstream file(error);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_THAT(text, HasSubstr("No space left on device"));
}

TEST_F(StatisticsTool, ItsVersionIsThatOfTheProject)
{
    EXPECT_EQ(output_of({"--version"}), "tspec-cli " TSPEC_VERSION "\n");
}

TEST_F(StatisticsTool, ItsCompletionIsTheFileBesideIt)
{
    std::ifstream file(TSPEC_COMPLETIONS "/tspec-cli");
    std::string text{std::istreambuf_iterator<char>(file), {}};
    EXPECT_NE(text, "");
    EXPECT_EQ(output_of({"completion", "bash"}), text);
}

} // namespace
} // namespace tspec::e2e
