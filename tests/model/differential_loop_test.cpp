// The receive buffer, the order of service, the clock and the console.
#include "differential.h"

namespace tspec::lockstep {

namespace {

TEST_F(Differential, ReceiveBuffer)
{
    Steps steps{config(),       hostapd({.filler = 0x11}),
                udp({3, 6}),    udp({3}),
                udp({}),        dman({}),
                dman({3, 6}),   dman({2}),
                dman({2, 0}),   udp({2}),
                udp({}),        dman({1}),
                udp({1, 2, 3}), dman({5, 0, 0, 0, 9, 0, 0, 0}),
                udp({5})};
    for (const size_t length :
         {1U, 63U, 64U, 119U, 120U, 121U, 147U, 148U, 149U, 1023U, 1024U, 1025U}) {
        for (const uint8_t type : each<uint8_t>(0, 1, 2, 3, 4, 5, 6, 7, 0x23, 255)) {
            Bytes message(length, static_cast<uint8_t>('a' + length % 26));
            message[0] = type;
            steps.push_back(udp(message));
            steps.push_back(dman(message));
            steps.push_back(udp({}));
        }
    }
    agree(steps);
}

TEST_F(Differential, AllSocketsAtOnce)
{
    agree({Deliver{HostapdInput{}.bytes(), status_request_input("tspec-client-ts-first"), Bytes{6}},
           Deliver{ap_state_input(1), ConfigInput{}.bytes(), Bytes{6}},
           Deliver{HostapdInput{.cmd = 3}.bytes(), Bytes{}, Bytes{}},
           Deliver{Bytes{}, ap_state_input(0), Bytes{1}}});
}

TEST_F(Differential, ClockAndViolationReports)
{
    agree({TrapIs{TrapState::reader},
           hostapd({.dir = 3}),
           hostapd({.cmd = 6}),
           Advance{299},
           Advance{1},
           Advance{1},
           StepClock{-1000},
           Advance{2},
           StepClock{298},
           Advance{2},
           StepClock{1000000},
           Advance{2},
           managed(0),
           Advance{299},
           Advance{2},
           dman(interval_input(1)),
           Advance{3},
           hostapd({.tid = 7, .dir = 1}),
           hostapd({.cmd = 6, .tid = 7, .dir = 1}),
           hostapd({.tid = 2, .up = 0}),
           hostapd({.cmd = 6, .tid = 2, .up = 0}),
           Advance{1},
           managed(),
           Advance{3},
           StepClock{10},
           managed(0),
           Advance{2}});
}

TEST_F(Differential, WaitsAndReadsThatFail)
{
    Lockstep lockstep;
    const auto expect = [](const std::optional<std::string> &report) {
        EXPECT_FALSE(report) << *report;
    };
    expect(lockstep.play(all_traces()));
    expect(lockstep.play_wait_error(EINTR));
    expect(lockstep.play_wait_error(EBADF));
    expect(lockstep.play_read_error({.udp = ap_state_input(1)}, EIO));
    expect(lockstep.play_read_error({.dman = ConfigInput{}.bytes()}, EAGAIN));
    expect(lockstep.play_read_error({.cli = Bytes{6, 0}}, EIO));
    expect(lockstep.play(show()));
    expect(lockstep.check_descriptors());
}

TEST_F(Differential, NoConsole)
{
    expect_agreement({all_traces(), show(), config(), hostapd({}), managed(), sends_fail(mapd_port),
                      hostapd({.cmd = 7})},
                     Start{.console_opens = false});
}

} // namespace

} // namespace tspec::lockstep
