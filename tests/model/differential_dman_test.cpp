// Configuration and reports.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, Configuration)
{
    const Bytes one = ConfigInput{.radio_if = 2,
                                  .enabled = 0x1ff,
                                  .acm = {0x100, 1, 2, 0xffffff00},
                                  .limit = {1, 65536 + 2, 65535, 200},
                                  .fbt_vi = 7,
                                  .fbt_vo = 10,
                                  .roam_reserve = 3,
                                  .downlink_timeout = 5,
                                  .uplink_timeout = 4295}
                          .bytes();
    Steps steps{dman(cut(one, 63)),
                show(),
                dman(one),
                show(),
                dman(cut(one, 65)),
                dman(cut(one, 1)),
                config({.radio_if = 0}),
                config({.radio_if = 3}),
                udp(one)};
    for (const uint8_t dir : each<uint8_t>(0, 1, 2, 3)) {
        steps.push_back(hostapd({.tid = dir, .dir = dir, .up = 2, .radio_unit = 2}));
        steps.push_back(show());
    }
    for (const uint8_t mode : each<uint8_t>(0, 1)) {
        steps.push_back(managed(mode));
        for (const uint32_t percent : {0U, 1U, 50U, 209U, 210U, 65535U}) {
            steps.push_back(config({.limit = {percent, percent, percent, percent},
                                    .fbt_vi = percent,
                                    .fbt_vo = 5,
                                    .roam_reserve = 10}));
            steps.push_back(show());
            steps.push_back(ask("tspec-radio-wlan0"));
            steps.push_back(ask("tspec-radio-wlan1"));
            steps.push_back(ask("tspec-vap-wlan1vap15"));
        }
    }
    steps.push_back(dman(cut(interval_input(1), 7)));
    steps.push_back(dman(interval_input(2)));
    steps.push_back(managed(0));
    steps.push_back(Advance{5});
    steps.push_back(dman(cut(interval_input(0), 9)));
    steps.push_back(Advance{5});
    agree(steps);
}

TEST_F(Differential, Reports)
{
    Steps steps{config(),
                hostapd({.dir = 3}),
                hostapd({.tid = 1, .up = 1, .vap = 3}),
                hostapd({.sta = sta(2), .tid = 3, .dir = 2, .up = 4, .radio_unit = 2, .vap = 15}),
                hostapd({.sta = sta(3), .vap = 16}),
                hostapd({.sta = sta(4), .vap = 255})};
    for (const std::string command : {"tspec-ap-stats",
                                      "tspec-ap-stats ",
                                      "tspec-ap-stat",
                                      "",
                                      "tspec-radio-wlan0",
                                      "tspec-radio-wlan1-extra",
                                      "tspec-radio-wlan2",
                                      "tspec-radio-wlan",
                                      "tspec-vap-wlan0",
                                      "tspec-vap-wlan0vap0",
                                      "tspec-vap-wlan0vap15",
                                      "tspec-vap-wlan0vap16",
                                      "tspec-vap-wlan1vap15",
                                      "tspec-vap-wlan1vap-1",
                                      "tspec-vap-wlan1vapX",
                                      "tspec-vap-wlan2vap1",
                                      "tspec-vap-wlan1vap +3",
                                      "tspec-client-ts-firs",
                                      "tspec-vap-wlan0vap4294967299",
                                      "tspec-vap-wlan0vap9223372036854775808",
                                      "tspec-client-ts-nextt",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-first",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-next",
                                      "tspec-client-ts-next"}) {
        steps.push_back(ask(command));
        steps.push_back(dman(cut(status_request_input(command), command.size() + 1)));
        steps.push_back(sends_fail(dman_reply_port));
        steps.push_back(ask(command));
        steps.push_back(NothingFails{});
    }
    agree(steps);
}

TEST_F(Differential, CursorOnRecordsThatGo)
{
    Steps steps;
    const auto fill = [&] {
        for (uint8_t number = 1; number <= 3; number++) {
            steps.push_back(hostapd({.sta = sta(number)}));
            steps.push_back(hostapd({.sta = sta(number), .tid = 2, .up = 1}));
        }
    };
    for (unsigned walked = 0; walked < 7; walked++) {
        for (const Step &removal :
             {cli(cli_mac_input(3, sta(1), 0)), cli(cli_mac_input(3, sta(2), 0)),
              hostapd({.cmd = 8, .sta = sta(1)}), hostapd({.cmd = 3, .sta = sta(1)}),
              cli(cli_mac_input(4, sta(1), 2))}) {
            fill();
            steps.push_back(ask("tspec-client-ts-first"));
            for (unsigned i = 0; i < walked; i++) {
                steps.push_back(ask("tspec-client-ts-next"));
            }
            steps.push_back(removal);
            for (unsigned i = 0; i < 4; i++) {
                steps.push_back(ask("tspec-client-ts-next"));
            }
            for (uint8_t number = 1; number <= 3; number++) {
                steps.push_back(cli(cli_mac_input(3, sta(number), 0)));
            }
        }
    }
    agree(steps);
}

} // namespace

} // namespace tspec::lockstep
