// Decisions of mapd, streams that they supersede, and the two modes.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, MovedTid)
{
    agree({config(), managed(), hostapd({.tid = 5}), mapd({.tid = 5}),
           hostapd({.cmd = 9, .tid = 5, .up = 4, .medium_time = 77}),
           mapd({.tid = 5, .up = 4, .ac_idx = 2}), show(), sends_fail(hostapd_port),
           mapd({.tid = 5, .up = 4, .ac_idx = 2}), show(), sends_fail(mapd_port),
           mapd({.tid = 5, .up = 4, .ac_idx = 2}), show(), hostapd({.cmd = 3, .tid = 5, .up = 4}),
           mapd({.tid = 5}), show()});
}

TEST_F(Differential, CleanUpThatFails)
{
    agree({config(), hostapd({}), hostapd({.tid = 7, .dir = 1}), sends_fail(hostapd_port, 1, 1),
           hostapd({.dir = 3}), show(), hostapd({.tid = 3}), sends_fail(hostapd_port, 1, 1),
           hostapd({.tid = 2}), show(), managed(), hostapd({.tid = 1}), sends_fail(mapd_port, 1),
           mapd({.tid = 1}), show()});
}

TEST_F(Differential, ResponsesThatFitNothing)
{
    Steps steps{managed(), hostapd({}), udp(cut(MapdInput{}.bytes(), 119)),
                udp(cut(MapdInput{}.bytes(), 121))};
    for (const uint8_t unit : each<uint8_t>(0, 3, 255)) {
        steps.push_back(mapd({.radio_unit = unit}));
    }
    for (const uint8_t ac : each<uint8_t>(0, 2, 4, 255)) {
        steps.push_back(mapd({.ac_idx = ac}));
    }
    for (const uint8_t cmd : each<uint8_t>(0, 1, 3, 4, 6, 7, 8, 9, 255)) {
        steps.push_back(mapd({.cmd = cmd}));
    }
    steps.push_back(mapd({.sta = sta(9)}));
    steps.push_back(mapd({.tid = 5}));
    steps.push_back(mapd({.radio_unit = 2, .filler = 0xab}));
    steps.push_back(mapd({.cmd = 5, .radio_unit = 2}));
    agree(steps);
}

TEST_F(Differential, TidsFromEightOn)
{
    Steps steps{config(), managed()};
    for (const uint8_t tid : each<uint8_t>(8, 15, 16, 255)) {
        steps.push_back(hostapd({.tid = tid}));
        steps.push_back(mapd({.tid = static_cast<uint8_t>(tid & 15)}));
        steps.push_back(ask("tspec-client-ts-first"));
        steps.push_back(show());
        steps.push_back(cli(cli_mac_input(4, sta(1), tid)));
    }
    agree(steps);
}

TEST_F(Differential, ApState)
{
    agree({udp({6, 1, 1, 0}), udp({6, 1}), udp({6, 1, 2}), udp({6, 2, 1}), udp({6, 0, 1}),
           managed(0), managed(1), managed(1), Advance{3}, config(), dman(ap_state_input(0)),
           Advance{2}, hostapd({}), managed(1), sends_fail(mapd_port, 6), hostapd({.cmd = 3}),
           Advance{3}});
}

} // namespace

} // namespace tspec::lockstep
