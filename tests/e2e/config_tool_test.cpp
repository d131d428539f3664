// tspec-cli config against the daemon: what is sent, in which order, and that it
// is in force once the tool has ended.
#include "stimulus.h"
#include "tool.h"

namespace tspec::e2e {
namespace {

using ::testing::HasSubstr;

const std::string whole = "[daemon]\nviolation_interval = 60\n"
                          "[wlan1]\nenabled = yes\nvideo_mandatory = yes\nvideo_limit = 20\n"
                          "video_fast_transition = 5\nuplink_timeout = 4294\n"
                          "[wlan0]\nenabled = yes\nvoice_mandatory = yes\nvoice_limit = 3\n"
                          "roaming_reserve = 1\ndownlink_timeout = 30\nuplink_timeout = 60\n";

class ConfigTool : public DaemonTest {
  protected:
    void SetUp() override
    {
        boot();
        ap().cli().turn_off();
        if (lacks_command()) {
            GTEST_SKIP() << "tspec-cli was built without its config command";
        }
    }

    // Asked of the tool: it may come from another build than the tests.
    static bool lacks_command()
    {
        const ToolRun check = run_tool({"config", "check", file_of("")});
        return check.error.find("libinih was missing") != std::string::npos;
    }

    // What came in through dman's door, and every ping as the text "ping".
    std::vector<Bytes> received()
    {
        std::vector<Bytes> datagrams;
        for (const Event &event : of_kind(ap().settle(), Kind::to_daemon)) {
            if (event.door == Door::dman) {
                datagrams.push_back(event.data);
            }
        }
        return datagrams;
    }
};

TEST_F(ConfigTool, SendsRadiosThenInterval)
{
    ToolRun result = run_tool({"config", "apply", file_of(whole)});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, HasSubstr("is in force: [wlan0] [wlan1] [daemon]\n"));
    std::vector<Bytes> datagrams = received();
    ASSERT_EQ(datagrams.size(), 3U);
    EXPECT_TRUE(same_bytes(datagrams[0], DmanConfig{.radio_if = 1,
                                                    .mandatory = {.voice = 1},
                                                    .limit_percent = {.voice = 3},
                                                    .roam_reserve = 1,
                                                    .dl_inactivity_timeout = 30,
                                                    .ul_inactivity_timeout = 60}
                                             .bytes()));
    EXPECT_TRUE(same_bytes(datagrams[1], DmanConfig{.radio_if = 2,
                                                    .mandatory = {.video = 1},
                                                    .limit_percent = {.video = 20},
                                                    .fbt_limit_video = 5,
                                                    .ul_inactivity_timeout = 4294}
                                             .bytes()));
    EXPECT_TRUE(same_bytes(datagrams[2], ViolationInterval{.seconds = 60}.bytes()));
}

TEST_F(ConfigTool, PingsBeforeAndAfterEachMessage)
{
    EXPECT_EQ(run_tool({"config", "apply", file_of(whole)}).status, 0);
    std::string order;
    for (const Event &event : of_kind(ap().settle(), Kind::to_daemon)) {
        order += event.door == Door::cli && hex_of(event.data) == "01" ? "p" : "m";
    }
    EXPECT_EQ(order, "pmpmpmp");
}

TEST_F(ConfigTool, TheConfigurationIsInForceWhenTheToolEnds)
{
    associate(ap());
    EXPECT_EQ(run_tool({"config", "apply", file_of(whole)}).status, 0);
    // 3 per cent are 937 units, 25 per cent 7812.
    EXPECT_THAT(show(ap()), HasSubstr("wlan0: vo=0/937 vi=0/0 be=0/0 bk=0/0  "
                                      "wlan1: vo=0/0 vi=0/7812 be=0/0 bk=0/0"));
    admit(ap());
    EXPECT_THAT(show(ap()), HasSubstr("inact=60 "));
    EXPECT_THAT(show(ap()), HasSubstr("wlan0: vo=625/937 "));
}

TEST_F(ConfigTool, WhatIsLeftOutStaysAsItIs)
{
    configure_voice_and_video(ap());
    EXPECT_EQ(run_tool({"config", "apply", file_of("[wlan1]\nvoice_limit = 10\n")}).status, 0);
    EXPECT_EQ(received().size(), 1U);
    EXPECT_THAT(show(ap()), HasSubstr("wlan0: vo=0/15625 vi=0/15625 be=0/0 bk=0/0  "
                                      "wlan1: vo=0/3125 "));
}

TEST_F(ConfigTool, CheckSendsNothing)
{
    ToolRun result = run_tool({"config", "check", file_of(whole)});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.output, HasSubstr("is right and configures [wlan0] [wlan1] [daemon]\n"));
    EXPECT_TRUE(of_kind(ap().settle(), Kind::to_daemon).empty());
}

TEST_F(ConfigTool, AWrongFileSendsNothing)
{
    std::string name = file_of("[wlan0]\nvoice_limit = 3\n[wlan1]\nvoice_limit = 101\n");
    for (const char *action : {"apply", "check"}) {
        ToolRun result = run_tool({"config", action, name});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, ::testing::StartsWith(name + ":4: voice_limit: \"101\" is not"));
        EXPECT_EQ(result.error.find("nothing was sent") != std::string::npos,
                  std::string(action) == "apply");
    }
    EXPECT_TRUE(of_kind(ap().settle(), Kind::to_daemon).empty());
}

TEST_F(ConfigTool, WaitsForADaemonThatIsStillToStart)
{
    ap().stop();
    ToolProcess tool({"config", "apply", file_of(whole)});
    ap().start();
    ToolRun result = tool.finish();
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(received().size(), 3U);
}

TEST_F(ConfigTool, GivesUpWithoutADaemon)
{
    ap().stop();
    expect_no_daemon();
    ToolRun result = run_tool({"config", "apply", file_of(whole)});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, HasSubstr("no daemon takes commands"));
}

// At once, as each waits for its five seconds.
TEST_F(ConfigTool, ConfigAndStatsSayWhenTheDaemonIsSilent)
{
    ap().dman().turn_off();
    ap().pause();
    ToolProcess config({"config", "apply", file_of(whole)});
    ToolProcess stats({"stats"});
    for (ToolProcess *tool : {&config, &stats}) {
        ToolRun result = tool->finish();
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_THAT(result.error, HasSubstr("no answer from the daemon within 5 seconds"));
    }
    ap().resume();
    std::vector<Bytes> datagrams = received();
    ASSERT_EQ(datagrams.size(), 1U) << "the configuration was not to be sent";
    EXPECT_EQ(datagrams[0], status_request("tspec-ap-stats"));
}

TEST_F(ConfigTool, LeavesDmansPortAlone)
{
    ASSERT_TRUE(ap().dman().is_on());
    EXPECT_EQ(run_tool({"config", "apply", file_of(whole)}).status, 0);
}

} // namespace
} // namespace tspec::e2e
