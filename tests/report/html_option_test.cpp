// The page that tspec-sim writes of a run.
#include "../capture/pcapng_file.h"
#include "../scenario/sim_command.h"
#include "page_data.h"

#include <filesystem>
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class HtmlOption : public testing::Test {
  protected:
    HtmlOption()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "report-XXXXXX").string();
        folder_ = mkdtemp(pattern.data());
    }
    ~HtmlOption() override
    {
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }
    std::string path(const std::string &name) const { return folder_ + "/" + name; }

    static std::string digits_of(const sim::Bytes &bytes, size_t from)
    {
        std::string digits;
        for (size_t i = from; i < bytes.size(); i++) {
            digits += fmt::format("{:02x}", bytes[i]);
        }
        return digits;
    }

    // Behind IP and UDP header, or behind the tag with the dissector's name.
    static std::string payload_of(const CapturedPacket &packet)
    {
        size_t headers = packet.interface == 0 ? 28 : 4U + packet.data[3] + 4;
        return digits_of(packet.data, headers);
    }

  private:
    std::string folder_;
};

std::vector<std::string> texts(const json &data, const std::string &kind, const char *key)
{
    std::vector<std::string> found;
    for (const json &item : items_of(data, kind)) {
        found.push_back(item[key]);
    }
    return found;
}

// Accepted with 625 of 937 units, a second one refused: 2 * 625 is too much.
TEST_F(HtmlOption, TellsTheStoryOfTheDemo)
{
    CommandResult result =
        run_sim({"run", "--quiet", "--html", path("run.html"), TSPEC_SCENARIO_FOLDER "/demo.yaml"});

    ASSERT_EQ(result.status, 0) << result.output;
    json data = data_of_page(content_of(path("run.html")));
    EXPECT_EQ(data["runs"][0]["name"], "Who may reserve airtime");
    EXPECT_EQ(data["runs"][0]["failures"], 0);
    EXPECT_EQ(items_of(data, "held").size(), data["runs"][0]["expectations"]);
    EXPECT_THAT(items_of(data, "failed"), IsEmpty());
    std::vector<std::string> decisions;
    for (const json &message : items_of(data, "message")) {
        if (message["name"] == "addts-response" && message["to"] == "hostapd") {
            decisions.push_back(field_value(data, message, "sta_mac").back() + std::string(" ") +
                                field_text(data, message, "result_code") + " " +
                                field_value(data, message, "medium_time"));
        }
    }
    EXPECT_THAT(decisions,
                ElementsAre("1 accepted 625", "2 refused 0", "1 accepted 312", "2 accepted 625",
                            "1 invalid parameters 0", "2 accepted 625"));
    std::vector<std::pair<int, int>> airtime;
    ASSERT_THAT(data["runs"][0]["airtime"], SizeIs(1));
    for (const json &point : data["runs"][0]["airtime"][0]["points"]) {
        airtime.emplace_back(point["admitted"], point["limit"]);
    }
    using Figures = std::pair<int, int>;
    EXPECT_THAT(airtime, ElementsAre(Figures(0, 937), Figures(625, 937), Figures(312, 937),
                                     Figures(937, 937), Figures(312, 937), Figures(937, 937),
                                     Figures(312, 937)));
    EXPECT_THAT(texts(data, "clock", "text"), ElementsAre("2 s later", "1 h later"));
}

// The capture of the same run is made from the same events, in another way.
TEST_F(HtmlOption, HasEveryDatagramOfTheCapture)
{
    ScenarioFile scenario("name: a test\nsteps:\n"
                          "  - dman.config: {radio: wlan0, mandatory: [voice], limit: {voice: 3}}\n"
                          "  - driver.station: {mac: station 1, status: [associated]}\n"
                          "  - hostapd.addts: {sta: station 1, tid: 6}\n"
                          "  - operator.ping:\n"
                          "  - mapd.ap_state: managed\n"
                          "  - clock.advance: 1s\n"
                          "  - dman.status: wlan0\n");

    CommandResult result = run_sim({"run", "--quiet", "--html", path("run.html"), "--pcap",
                                    path("run.pcapng"), scenario.path()});

    ASSERT_EQ(result.status, 0) << result.output;
    json data = data_of_page(content_of(path("run.html")));
    std::vector<std::string> shown;
    std::vector<int64_t> times;
    for (const json &message : items_of(data, "message")) {
        if (message["to"] != "driver") {
            shown.push_back(message["bytes"]);
            times.push_back(message["t"]);
        }
    }
    CaptureFile capture = parse_capture(content_of(path("run.pcapng")));
    std::vector<std::string> captured;
    std::vector<int64_t> captured_times;
    for (const CapturedPacket &packet : capture.packets) {
        captured.push_back(payload_of(packet));
        captured_times.push_back(
            static_cast<int64_t>(packet.microseconds - capture.packets[0].microseconds));
    }
    EXPECT_THAT(captured, SizeIs(testing::Ge(12U)));
    EXPECT_EQ(shown, captured);
    EXPECT_EQ(times, captured_times);
}

TEST_F(HtmlOption, TellsConsoleLinesAndTheSystemLog)
{
    ScenarioFile scenario("name: a test\nsteps:\n"
                          "  - operator.debug: [2]\n"
                          "  - operator.disassociation_mode: show\n"
                          "  - hostapd.unauthorised_traffic: {sta: station 1, tid: 5, up: 5}\n");

    CommandResult result = run_sim({"run", "--quiet", "--html", path("run.html"), scenario.path()});

    ASSERT_EQ(result.status, 0) << result.output;
    json data = data_of_page(content_of(path("run.html")));
    std::vector<std::string> lines;
    for (const json &output : items_of(data, "output")) {
        lines.push_back(output["stream"].get<std::string>() + ": " +
                        output["text"].get<std::string>());
    }
    EXPECT_THAT(lines, testing::IsSupersetOf(
                           {"console: The disassociation mode is 0 ",
                            "system log: Client 02:00:00:00:00:01 has sent unauthorized traffic on "
                            "AC 2"}));
}

TEST_F(HtmlOption, SeveralScenariosShareAPage)
{
    ScenarioFile good("name: good\nsteps:\n  - expect.streams: []\n");
    ScenarioFile failing("name: failing\nsteps:\n  - expect.streams: {count: 1}\n");

    CommandResult result =
        run_sim({"run", "--quiet", "--html", path("run.html"), good.path(), failing.path()});

    EXPECT_EQ(result.status, 1) << result.output;
    json data = data_of_page(content_of(path("run.html")));
    ASSERT_THAT(data["runs"], SizeIs(2));
    EXPECT_EQ(data["runs"][0]["failures"], 0);
    EXPECT_EQ(data["runs"][1]["name"], "failing");
    EXPECT_EQ(data["runs"][1]["failures"], 1);
}

TEST_F(HtmlOption, RefusesAFileThatCannotBeWritten)
{
    ScenarioFile scenario("name: a test\nsteps:\n  - operator.ping:\n");

    CommandResult result =
        run_sim({"run", "--quiet", "--html", "/nowhere/run.html", scenario.path()});

    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.output, "tspec-sim: /nowhere/run.html: cannot be written\n");
}

TEST_F(HtmlOption, LeavesAnOldPageAloneWhenTheScenarioIsWrong)
{
    ScenarioFile page("an old page", "run.html");
    ScenarioFile scenario("name: a wrong one\nsteps:\n  - no.such.step:\n");

    CommandResult result = run_sim({"run", "--html", page.path(), scenario.path()});

    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(content_of(page.path()), "an old page");
}

} // namespace
} // namespace tspec::tests
