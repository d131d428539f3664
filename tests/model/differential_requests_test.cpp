// ADDTS requests, who may make them and what they may hold.
#include "differential.h"
#include "random_walk.h"
#include "sim/lib/child_process.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, VoiceIsAdmittedUpToTheLimit)
{
    agree({config({.limit = {0, 0, 0, 2}}), hostapd({}), frames_take(1), hostapd({.sta = sta(2)}),
           hostapd({.sta = sta(2), .mean_rate = 0}),
           hostapd({.sta = sta(2), .dir = 1, .mean_rate = 0}), hostapd({.cmd = 3}),
           hostapd({.sta = sta(2)}), hostapd({.sta = sta(3)})});
}

TEST_F(Differential, AllowancesAndOverflows)
{
    Steps steps{config({.limit = {209, 209, 209, 209}})};
    uint8_t number = 1;
    for (const uint16_t surplus :
         each<uint16_t>(0, 0x1000, 0x1fff, 0x2000, 0x3000, 0x4001, 0xffff)) {
        for (const uint32_t duration : {1U, 400U, 50000U, 0x7fffffffU, 0xffffffffU}) {
            steps.push_back(frames_take(duration));
            steps.push_back(hostapd({.sta = sta(number++), .surplus = surplus}));
        }
    }
    // one packet a second: 65535, 65536 and 65537 units
    for (const uint32_t duration : {2097151U, 2097152U, 2097184U}) {
        steps.push_back(frames_take(duration));
        steps.push_back(hostapd({.sta = sta(number++), .mean_rate = 8}));
    }
    for (const uint32_t rate : {0U, 1U, 8U, 9U, 1665U, 0xfffffff8U, 0xfffffff9U, 0xffffffffU}) {
        for (const uint16_t nominal : each<uint16_t>(1, 208, 0x7fff, 0xffff)) {
            steps.push_back(hostapd({.sta = sta(number++),
                                     .dir = 1,
                                     .nominal = nominal,
                                     .mean_rate = rate,
                                     .min_phy = 0xffffffff}));
        }
    }
    agree(steps);
}

TEST_F(Differential, NominalSizeOfZeroEndsTheProcess)
{
    agree({config(), hostapd({.up = 0, .nominal = 0}), hostapd({.nominal = 0x8000})});
    agree({config(), hostapd({.nominal = 0})});
}

TEST_F(Differential, StationsThatMayNotAsk)
{
    agree({everyone_is("client_status=0\n"), hostapd({}), hostapd({.cmd = 9}),
           everyone_is("client_status=40\n"), hostapd({}), hostapd({.cmd = 9}),
           StationIs{sta(1), "", "", ENODEV}, hostapd({}), hostapd({.cmd = 9}),
           StationIs{sta(1), "wlan1vap3", "a=1\nclient_status=41\n", 0},
           hostapd({.radio_unit = 2, .vap = 3}), hostapd({.radio_unit = 2}),
           fails(FailingCall::socket, EMFILE), hostapd({.radio_unit = 2, .vap = 3})});
}

TEST_F(Differential, FrontOfTheHostapdHandler)
{
    Steps steps{config()};
    for (const uint8_t unit : each<uint8_t>(0, 1, 2, 3, 255)) {
        for (const uint8_t cmd : each<uint8_t>(0, 2, 5, 7, 10, 255)) {
            steps.push_back(hostapd({.cmd = cmd, .info_tid = 3, .radio_unit = unit}));
        }
    }
    for (uint8_t up = 0; up < 8; up++) {
        steps.push_back(hostapd({.sta = sta(up), .tid = up, .dir = 2, .up = up, .filler = 0xff}));
    }
    agree(steps);
}

TEST_F(Differential, SameTidOnAnotherCategory)
{
    agree({config(), hostapd({}), hostapd({.up = 4}), sends_fail(hostapd_port), hostapd({.up = 4}),
           managed(), hostapd({.tid = 5, .up = 5}), hostapd({.tid = 5, .up = 0}),
           hostapd({.tid = 5, .up = 5})});
}

TEST_F(Differential, BanksAndDirections)
{
    Steps steps{config({.acm = {1, 1, 1, 1}, .limit = {100, 100, 100, 100}})};
    for (const uint8_t first : each<uint8_t>(0, 1, 2, 3)) {
        for (const uint8_t second : each<uint8_t>(0, 1, 2, 3)) {
            for (const uint8_t third : each<uint8_t>(0, 1, 2, 3)) {
                for (const uint8_t third_tid : each<uint8_t>(6, 7, 5)) {
                    steps.push_back(hostapd({.dir = first}));
                    steps.push_back(hostapd({.tid = 7, .dir = second}));
                    steps.push_back(hostapd({.tid = third_tid, .dir = third, .aux_byte = 9}));
                    steps.push_back(show());
                    steps.push_back(hostapd({.cmd = 8}));
                }
            }
        }
    }
    agree(steps);
}

TEST_F(Differential, BanksAndDirectionsManaged)
{
    Steps steps{config({.acm = {1, 1, 1, 1}, .limit = {100, 100, 100, 100}, .roam_reserve = 7}),
                managed(), everyone_is("client_status=41\n")};
    for (const uint8_t first : each<uint8_t>(0, 1, 3)) {
        for (const uint8_t second : each<uint8_t>(0, 1, 3)) {
            for (const uint8_t third_tid : each<uint8_t>(6, 7, 5)) {
                for (const uint8_t result : each<uint8_t>(0, 1, 3, 4)) {
                    steps.push_back(hostapd({.dir = first}));
                    steps.push_back(mapd({.dir = first}));
                    steps.push_back(hostapd({.tid = 7, .dir = second}));
                    steps.push_back(hostapd({.tid = 7, .dir = second}));
                    steps.push_back(mapd({.tid = 7, .dir = second, .filler = 0x77}));
                    steps.push_back(
                        hostapd({.tid = third_tid, .dir = 1, .aux_byte = 9, .filler = 0x33}));
                    steps.push_back(mapd({.tid = third_tid, .dir = 1, .result = result}));
                    steps.push_back(show());
                    steps.push_back(mapd({.cmd = 5, .tid = 7, .dir = second}));
                    steps.push_back(hostapd({.cmd = 8}));
                }
            }
        }
    }
    agree(steps);
}

// mapd may turn a stream of the second bank round; a request that replaces both
// banks then counts it once.
TEST_F(Differential, SecondBankMadeBidirectional)
{
    agree({config(), managed(), hostapd({}), mapd({}), hostapd({.tid = 7, .dir = 1}),
           mapd({.tid = 7, .dir = 3}), hostapd({.dir = 1}), mapd({.dir = 1}), show(),
           hostapd({.tid = 7, .dir = 3}), mapd({.tid = 7, .dir = 3}), show()});
}

TEST_F(Differential, RoamingIsReadWithEachNewStreamOfAManagedAccessPoint)
{
    agree({everyone_is("client_status=41\n"), hostapd({.tid = 1, .up = 1}), managed(), hostapd({}),
           mapd({}), hostapd({.cmd = 9, .tid = 4, .up = 4}), hostapd({}), mapd({.result = 3}),
           everyone_is("client_status=1\n"), hostapd({}), mapd({}), hostapd({.tid = 0, .up = 0}),
           mapd({.tid = 0, .ac_idx = 0, .result = 1}), StationIs{std::nullopt, "", "", EIO},
           hostapd({.sta = sta(2)}), managed(0), everyone_is("client_status=41\n"),
           hostapd({.sta = sta(3)})});
}

TEST_F(Differential, NoMemoryForAnotherClient)
{
    if (sim::has_address_sanitizer(sim::find_daemon({}))) {
        GTEST_SKIP() << "a sanitizer's runtime keeps allocations to itself";
    }
    agree({fails(FailingCall::memory, ENOMEM), hostapd({}), fails(FailingCall::memory, ENOMEM),
           hostapd({.cmd = 9}), hostapd({})});
}

TEST_F(Differential, LimitOfStreams)
{
    RandomWalk walk(1, {});
    Steps steps = walk.crowd();
    steps.push_back(config({.limit = {0, 0, 100, 100}}));
    for (uint8_t number = 1; number < 10; number++) {
        steps.push_back(hostapd({.sta = sta(number)}));
    }
    steps.insert(steps.end(),
                 {hostapd({.sta = sta(1)}), hostapd({.sta = sta(1), .tid = 7, .dir = 1}),
                  hostapd({.sta = sta(1), .tid = 4, .up = 4}), hostapd({.cmd = 9, .sta = sta(11)}),
                  hostapd({.cmd = 9, .sta = sta(1)}), sends_fail(hostapd_port),
                  hostapd({.cmd = 9, .sta = sta(11)}), all_traces(),
                  hostapd({.cmd = 9, .sta = sta(11)}), hostapd({.sta = sta(11)}),
                  hostapd({.sta = sta(1), .tid = 3, .dir = 1}), hostapd({.cmd = 8, .sta = sta(2)}),
                  hostapd({.sta = sta(12)}), hostapd({.sta = sta(13)}), show()});
    expect_agreement(steps);
}

} // namespace

} // namespace tspec::lockstep
