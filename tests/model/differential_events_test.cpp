// What happens to streams after their admission.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, AnswersThatNobodyReads)
{
    agree({config(),
           sends_fail(hostapd_port, 1, 1),
           hostapd({}),
           hostapd({}),
           sends_fail(hostapd_port, 1, 1),
           hostapd({}),
           show(),
           managed(),
           sends_fail(mapd_port, 4),
           hostapd({}),
           Advance{3},
           hostapd({}),
           mapd({}),
           sends_fail(mapd_port, 2),
           hostapd({.cmd = 3}),
           Advance{2},
           hostapd({}),
           sends_fail(hostapd_port),
           mapd({}),
           Advance{1},
           hostapd({}),
           sends_fail(hostapd_port),
           mapd({.result = 3}),
           hostapd({}),
           mapd({}),
           sends_fail(hostapd_port),
           mapd({.cmd = 5})});
}

TEST_F(Differential, ShortSendsAreSuccesses)
{
    agree({config(), SendsAreShort{hostapd_port, 2}, hostapd({}), SendsAreShort{dman_reply_port, 2},
           ask("tspec-ap-stats"), ask("tspec-client-ts-first"), managed(0),
           SendsAreShort{mapd_port, 5}, managed(), hostapd({}), hostapd({.cmd = 3})});
}

TEST_F(Differential, DeltsFromTheStation)
{
    agree({config(), hostapd({.cmd = 3}), hostapd({.dir = 3}), hostapd({.cmd = 3, .tid = 5}),
           hostapd({.cmd = 3, .up = 4}), hostapd({.tid = 4, .up = 4}), hostapd({.cmd = 3, .up = 4}),
           hostapd({.cmd = 3, .dir = 0}), hostapd({.dir = 3}), hostapd({.cmd = 3, .dir = 3}),
           managed(), hostapd({}), hostapd({.cmd = 3}), sends_fail(mapd_port), hostapd({}),
           hostapd({}), sends_fail(mapd_port), hostapd({.cmd = 3})});
}

TEST_F(Differential, IdleStreams)
{
    agree({config({.downlink_timeout = 7, .uplink_timeout = 5}),
           hostapd({.cmd = 4}),
           hostapd({.dir = 3}),
           hostapd({.cmd = 4, .up = 4}),
           hostapd({.cmd = 4, .dir = 3}),
           hostapd({.dir = 1}),
           sends_fail(hostapd_port),
           hostapd({.cmd = 4, .dir = 1}),
           hostapd({.cmd = 9, .dir = 3, .medium_time = 100}),
           hostapd({.cmd = 4, .dir = 3}),
           managed(),
           hostapd({.dir = 2}),
           hostapd({.cmd = 4}),
           hostapd({}),
           mapd({}),
           sends_fail(mapd_port),
           hostapd({.cmd = 4}),
           hostapd({}),
           mapd({}),
           hostapd({.cmd = 4, .radio_unit = 2})});
}

TEST_F(Differential, ExcessAndUnauthorisedTraffic)
{
    Steps steps{hostapd({.cmd = 6}), hostapd({})};
    for (const TrapState state : {TrapState::absent, TrapState::no_reader, TrapState::reader,
                                  TrapState::full, TrapState::directory}) {
        steps.push_back(TrapIs{state});
        steps.push_back(hostapd({.cmd = 6}));
        steps.push_back(hostapd({.cmd = 7, .up = 4}));
        steps.push_back(hostapd({.cmd = 7, .sta = sta(9), .up = 1}));
        steps.push_back(Advance{300});
    }
    steps.push_back(managed());
    steps.push_back(hostapd({.cmd = 7, .up = 4, .filler = 0xee}));
    steps.push_back(sends_fail(mapd_port));
    steps.push_back(hostapd({.cmd = 7, .up = 7}));
    agree(steps);
}

TEST_F(Differential, StationsLeave)
{
    agree({config({.acm = {1, 1, 1, 1}, .limit = {90, 90, 90, 90}}), hostapd({.cmd = 8}),
           hostapd({.dir = 3}), hostapd({.tid = 1, .up = 1}), hostapd({.tid = 4, .up = 4}),
           hostapd({.tid = 5, .dir = 1, .up = 4}), hostapd({.cmd = 8, .vap_addr = other_vap}),
           cli({5, 1}), hostapd({.cmd = 8}), cli({5, 0}), hostapd({.cmd = 8}),
           hostapd({.cmd = 9, .dir = 3, .medium_time = 40000}), hostapd({.tid = 4, .up = 4}),
           hostapd({.cmd = 8}), hostapd({.dir = 3}), managed(), hostapd({.cmd = 8})});
}

TEST_F(Differential, FastTransition)
{
    Steps steps{config({.acm = {1, 1, 1, 1}, .limit = {90, 90, 90, 90}, .fbt_vi = 5, .fbt_vo = 5})};
    for (const uint8_t up : each<uint8_t>(0, 1, 4, 6)) {
        for (const uint8_t dir : each<uint8_t>(0, 1, 2, 3)) {
            const HostapdInput booking{.cmd = 9, .dir = dir, .up = up, .medium_time = 33000};
            HostapdInput delts = booking;
            delts.cmd = 3;
            HostapdInput elsewhere = booking;
            elsewhere.vap_addr = other_vap;
            elsewhere.tid = 2;
            HostapdInput ordinary = booking;
            ordinary.cmd = 1;
            HostapdInput ordinary_elsewhere = elsewhere;
            ordinary_elsewhere.cmd = 1;
            steps.insert(steps.end(),
                         {hostapd(booking), hostapd(booking), hostapd(delts), hostapd(booking),
                          hostapd(elsewhere), show(), hostapd(ordinary),
                          hostapd(ordinary_elsewhere), show(1), hostapd(booking), hostapd(ordinary),
                          hostapd({.cmd = 8, .up = up}),
                          hostapd({.cmd = 8, .up = up, .vap_addr = other_vap}), show()});
        }
    }
    steps.push_back(managed());
    steps.push_back(hostapd({.cmd = 9, .dir = 3, .medium_time = 100}));
    steps.push_back(mapd({.tid = 0, .medium_time = 5}));
    steps.push_back(hostapd({.dir = 1}));
    agree(steps);
}

} // namespace

} // namespace tspec::lockstep
