// The model against figures worked out by hand: configuration and reports.
#include "model_fixture.h"

#include <algorithm>

namespace tspec::model {

namespace {

TEST_F(ModelTest, ConfigurationLandsWhereItBelongs)
{
    Bytes short_one = ConfigInput{}.bytes();
    short_one.pop_back();
    daemon.dman(short_one);
    EXPECT_EQ(daemon.state().config[0].tspec_enabled, 0);
    daemon.dman(ConfigInput{.radio_if = 2,
                            .enabled = 0x101,
                            .acm = {0x100, 2, 3, 4},
                            .limit = {1, 2, 3, 40},
                            .fbt_vi = 7,
                            .fbt_vo = 10,
                            .downlink_timeout = 5,
                            .uplink_timeout = 4295}
                    .bytes());
    const RadioConfig &config = daemon.state().config[1];
    EXPECT_EQ(config.tspec_enabled, 1);
    EXPECT_THAT(config.acm, ElementsAre(0, 2, 3, 4));
    EXPECT_THAT(config.limit_percent, ElementsAre(1, 2, 10, 50));
    EXPECT_THAT(config.fbt_limit_percent, ElementsAre(0, 0, 7, 10));
    EXPECT_EQ(config.dl_inactivity_timeout, 5000000U);
    EXPECT_EQ(config.ul_inactivity_timeout, 32704U); // 4295000000 - 2^32
}

TEST_F(ModelTest, FreshAccessPointReportsZeros)
{
    const std::string report = dman_text("tspec-ap-stats");
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 28);
    EXPECT_EQ(report.substr(0, 42), "ts-vo-num-active=0\nts-vo-num-clients=0\nts-");
    EXPECT_EQ(report.back(), '\0');
    EXPECT_EQ(dman_text("tspec-vap-wlan1vap15").substr(0, 24), "ts-vo-oper-status=down\nt");
}

TEST_F(ModelTest, StatusWordsAreComparedAsDescribed)
{
    EXPECT_EQ(dman_text("tspec-ap-stats "), "no reply");
    EXPECT_EQ(dman_text("tspec-radio-wlan2"), "no reply");
    EXPECT_EQ(dman_text("tspec-vap-wlan0vap16"), "no reply");
    EXPECT_EQ(dman_text("tspec-vap-wlan0vap-1"), "no reply");
    EXPECT_NE(dman_text("tspec-radio-wlan1-extra"), "no reply");
    EXPECT_NE(dman_text("tspec-vap-wlan0vapX"), "no reply");
}

TEST_F(ModelTest, ParsersOfInterfaceNames)
{
    EXPECT_EQ(find_radio_string("tspec-radio-wlan1"), 1);
    EXPECT_EQ(find_radio_string("tspec-radio-wlan0"), 0);
    EXPECT_EQ(find_radio_string("tspec-radio-wlan2"), -1);
    EXPECT_EQ(find_radio_string("tspec-radio-eth0"), -1);
    EXPECT_EQ(find_radio_string("x-wlan2-wlan1"), -1);
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0vap12"), 12);
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0"), 0);
    EXPECT_EQ(find_vap_string("tspec-vap-wlan0vapX"), 0);
}

TEST_F(ModelTest, WalkWrapsRound)
{
    EXPECT_EQ(dman_text("tspec-client-ts-first"), "end");
    request({.sta = sta(1), .tid = 6});
    request({.sta = sta(1), .tid = 1, .up = 1});
    request({.sta = sta(2), .tid = 3, .radio_unit = 2, .vap = 3});
    EXPECT_EQ(dman_text("tspec-client-ts-first"),
              std::string("station-mac=02:00:00:00:00:01\ninterface=wlan0\nts-tid=1\n"
                          "ts-ac=background\nts-direction=uplink\nts-user-priority=1\n"
                          "ts-medium-time=0\nts-excess-usage-events=0\n") +
                  '\0');
    EXPECT_THAT(dman_text("tspec-client-ts-next"), HasSubstr("ts-tid=6\n"));
    EXPECT_THAT(dman_text("tspec-client-ts-next"), HasSubstr("interface=wlan1vap3\n"));
    EXPECT_EQ(dman_text("tspec-client-ts-next"), "end");
    EXPECT_THAT(dman_text("tspec-client-ts-next"), HasSubstr("ts-tid=1\n"));
}

TEST_F(ModelTest, CursorLeavesADeletedRecord)
{
    request({.sta = sta(1)});
    request({.sta = sta(2)});
    dman_text("tspec-client-ts-first");
    daemon.cli(cli_mac_input(3, sta(1), 0));
    EXPECT_THAT(dman_text("tspec-client-ts-next"), HasSubstr("02:00:00:00:00:02"));
    EXPECT_EQ(daemon.state().stream_count, 2) << "a raw removal takes nothing off the count";
}

} // namespace

} // namespace tspec::model
