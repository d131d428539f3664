// What is told of a run, as the page's data.
#include "page_data.h"
#include "sim/lib/messages.h"
#include "sim/report/recorder.h"
#include "sim/scenario/step_kind.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim;
using nlohmann::json;
using report::Recorder;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr Time start{std::chrono::seconds(100)};

class RecorderTest : public testing::Test {
  protected:
    RecorderTest()
    {
        scenario_.name = "A story";
        scenario_.file = "story.yaml";
        scenario_.about = "About it.";
        recorder_.begin(scenario_, "a world of its own");
    }

    // Ends the run.
    json data()
    {
        recorder_.end(scenario_, 3, 1);
        return recorder_.data();
    }

    scenario::Scenario scenario_;
    Recorder recorder_{"tspec-sim 9"};
};

Event addts_response()
{
    HostapdMessage message{.msg_type = TSPEC_PEER_MSG,
                           .cmd = TSPEC_ADDTS_RESP_CMD,
                           .sta = station_mac(1),
                           .tspec = {.tid = 6}};
    message.tspec.medium_time = 625;
    return {.kind = Kind::from_daemon,
            .peer = Peer::hostapd,
            .time = start + std::chrono::seconds(2),
            .data = message.bytes(),
            .source_port = 55263,
            .destination_port = 57773};
}

DriverQuery query()
{
    DriverQuery query;
    query.interface = "wlan0";
    query.reply = "client_status=1\n";
    return query;
}

SyslogLine log_line()
{
    SyslogLine line;
    line.ident = "tspec";
    line.text = "a report";
    return line;
}

TEST_F(RecorderTest, NamesTheRun)
{
    json told = data();

    EXPECT_EQ(told["program"], "tspec-sim 9");
    ASSERT_THAT(told["runs"], SizeIs(1));
    const json &run = told["runs"][0];
    EXPECT_EQ(run["name"], "A story");
    EXPECT_EQ(run["file"], "story.yaml");
    EXPECT_EQ(run["about"], "About it.");
    EXPECT_EQ(run["world"], "a world of its own");
    EXPECT_EQ(run["expectations"], 3);
    EXPECT_EQ(run["failures"], 1);
    EXPECT_THAT(run["items"], IsEmpty());
    EXPECT_THAT(run["airtime"], IsEmpty());
}

TEST_F(RecorderTest, TellsAMessageWithFieldsAndBytes)
{
    recorder_.events({addts_response()}, start);

    json told = data();

    std::vector<json> messages = items_of(told, "message");
    ASSERT_THAT(messages, SizeIs(1));
    const json &message = messages[0];
    EXPECT_EQ(message["t"], 2'000'000);
    EXPECT_EQ(message["from"], "daemon");
    EXPECT_EQ(message["to"], "hostapd");
    EXPECT_EQ(message["name"], "addts-response");
    EXPECT_EQ(message["title"], "ADDTS response");
    EXPECT_EQ(message["type"], "tspec_hostapd_msg_t");
    EXPECT_EQ(message["remark"], "");
    EXPECT_EQ(message["fate"], "");
    std::string digits = message["bytes"];
    EXPECT_EQ(digits.size(), 2U * 148);
    EXPECT_EQ(digits.substr(0, 4), "2302");
    EXPECT_EQ(digits.substr(2 * 56, 12), "020000000001");
    EXPECT_EQ(field_value(told, message, "sta_mac"), "02:00:00:00:00:01");
    EXPECT_EQ(field_value(told, message, "medium_time"), "625");
    EXPECT_EQ(field_text(told, message, "medium_time"), "625 (2.00 %)");
    EXPECT_EQ(field_text(told, message, "result_code"), "accepted");
}

TEST_F(RecorderTest, MessagesOfOneStructureShareTheirFieldNames)
{
    Event short_one = addts_response();
    short_one.data.resize(100);
    recorder_.events({addts_response(), short_one}, start);

    json told = data();

    std::vector<json> messages = items_of(told, "message");
    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0]["layout"], messages[1]["layout"]);
    EXPECT_THAT(told["layouts"], SizeIs(1));
    EXPECT_EQ(messages[1]["remark"], "100 bytes instead of 148");
}

TEST_F(RecorderTest, LanesAreNamedForTheirPeople)
{
    recorder_.events({{.kind = Kind::to_daemon, .peer = Peer::cli, .data = {1}, .door = Door::cli},
                      {.kind = Kind::to_daemon, .peer = Peer::mapd, .data = {6, 1, 1}},
                      {.kind = Kind::driver_query, .peer = Peer::driver, .detail = query()},
                      {.kind = Kind::proc_read, .peer = Peer::driver, .detail = ProcRead{}}},
                     start);

    std::vector<std::string> routes;
    for (const json &message : items_of(data(), "message")) {
        routes.push_back(message["from"].get<std::string>() + ">" +
                         message["to"].get<std::string>());
    }
    EXPECT_THAT(routes, ElementsAre("operator>daemon", "mapd>daemon", "daemon>driver"));
}

TEST_F(RecorderTest, TellsWhatGotLost)
{
    Event failed = addts_response();
    failed.error = EPERM;
    failed.delivered = false;
    Event nobody = addts_response();
    nobody.delivered = false;
    recorder_.events({failed, nobody}, start);

    std::vector<json> messages = items_of(data(), "message");

    ASSERT_THAT(messages, SizeIs(2));
    EXPECT_EQ(messages[0]["fate"], "Operation not permitted");
    EXPECT_EQ(messages[1]["fate"], "not delivered");
}

TEST_F(RecorderTest, TellsConsoleAndLogsWithoutTheirFrames)
{
    recorder_.events({{.kind = Kind::console, .data = bytes_of("Tspec(1,1): a line\r\n\n\r")},
                      {.kind = Kind::syslog, .data = bytes_of("a report"), .detail = log_line()},
                      {.kind = Kind::trap, .data = bytes_of("8,2,a record")}},
                     start);

    std::vector<json> outputs = items_of(data(), "output");

    ASSERT_THAT(outputs, SizeIs(3));
    EXPECT_EQ(outputs[0]["stream"], "console");
    EXPECT_EQ(outputs[0]["text"], "a line");
    EXPECT_EQ(outputs[1]["stream"], "system log");
    EXPECT_EQ(outputs[1]["text"], "a report");
    EXPECT_EQ(outputs[2]["stream"], "trap pipe");
}

TEST_F(RecorderTest, TellsTheStoryInItsOrder)
{
    recorder_.note("Listen.");
    recorder_.act(std::chrono::seconds(1), "daemon", "starts");
    recorder_.events(
        {{.kind = Kind::clock,
          .detail = ClockStep{start + std::chrono::seconds(1), start + std::chrono::hours(1)}}},
        start);
    recorder_.held("it came");
    recorder_.remark("and so on");

    json told = data();

    const json &items = told["runs"][0]["items"];
    ASSERT_THAT(items, SizeIs(5));
    EXPECT_EQ(items[0], (json{{"kind", "note"}, {"t", 0}, {"text", "Listen."}}));
    EXPECT_EQ(items[1],
              (json{{"kind", "act"}, {"t", 1'000'000}, {"who", "daemon"}, {"what", "starts"}}));
    EXPECT_EQ(items[2]["kind"], "clock");
    EXPECT_EQ(items[2]["t"], 3'600'000'000);
    EXPECT_EQ(items[3], (json{{"kind", "held"}, {"t", 3'600'000'000}, {"text", "it came"}}));
    EXPECT_EQ(items[4]["kind"], "remark");
}

TEST_F(RecorderTest, AFailureShowsExpectedBesideActual)
{
    scenario::StepKind kind{.name = "expect.hostapd"};
    scenario::Step step{.kind = &kind, .args = {}, .place = {7, 5}, .turns = {}};
    recorder_.failed(scenario_, step,
                     scenario::ExpectationFailed(
                         "no such message", {{"tid", "6", "5", false}, {"cmd", "2", "2", true}},
                         {"what came:"}));

    std::vector<json> failures = items_of(data(), "failed");

    ASSERT_THAT(failures, SizeIs(1));
    EXPECT_EQ(failures[0]["text"], "expect.hostapd: no such message");
    EXPECT_EQ(failures[0]["place"], "story.yaml:7:5");
    EXPECT_EQ(failures[0]["rows"],
              json::parse(R"([["tid", "6", "5", false], ["cmd", "2", "2", true]])"));
    EXPECT_EQ(failures[0]["remarks"], json::parse(R"(["what came:"])"));
}

TEST_F(RecorderTest, TurnsThatAreNotToldLeaveOnlyTheirFailures)
{
    recorder_.mute();
    recorder_.note("unheard");
    recorder_.events({addts_response()}, start);
    recorder_.act({}, "who", "what");
    recorder_.held("it came");
    recorder_.failed("something broke");
    recorder_.unmute();
    recorder_.note("heard");

    json told = data();

    const json &items = told["runs"][0]["items"];
    ASSERT_THAT(items, SizeIs(2));
    EXPECT_EQ(items[0]["text"], "something broke");
    EXPECT_EQ(items[1]["text"], "heard");
}

TEST_F(RecorderTest, AirtimePointsAtTheItemToldLast)
{
    scenario::Load load{};
    load[1][TSPEC_AC_VI] = {625, 937};
    recorder_.note("one");
    recorder_.events({addts_response()}, start);
    recorder_.load_changes({}, load);

    json told = data();

    EXPECT_EQ(told["runs"][0]["airtime"], json::parse(R"([{"radio": "wlan1", "ac": "video",
        "points": [{"item": 1, "t": 2000000, "admitted": 625, "limit": 937}]}])"));
}

TEST_F(RecorderTest, EachRunBeginsAnew)
{
    recorder_.events({addts_response()}, start);
    recorder_.end(scenario_, 1, 0);
    recorder_.begin(scenario_, "");
    recorder_.note("the second");

    json told = data();

    ASSERT_THAT(told["runs"], SizeIs(2));
    EXPECT_THAT(told["runs"][1]["items"], SizeIs(1));
    EXPECT_EQ(told["runs"][1]["items"][0]["t"], 0);
}

} // namespace
} // namespace tspec::tests
