// What the tests of the daemon against the model share: steps in one line
// each, and the fixture of directed sequences.
#pragma once

#include "inputs.h"
#include "lockstep.h"

#include <array>
#include <cerrno>
#include <gtest/gtest.h>
#include <string>

namespace tspec::lockstep {

using namespace tspec::model;

inline Step udp(Bytes datagram)
{
    return Deliver{.udp = std::move(datagram)};
}

inline Step dman(Bytes datagram)
{
    return Deliver{.dman = std::move(datagram)};
}

inline Step cli(Bytes datagram)
{
    return Deliver{.cli = std::move(datagram)};
}

inline Step hostapd(const HostapdInput &input)
{
    return udp(input.bytes());
}

inline Step mapd(const MapdInput &input)
{
    return udp(input.bytes());
}

inline Step config(const ConfigInput &input = {})
{
    return dman(input.bytes());
}

inline Step managed(uint8_t mode = 1)
{
    return udp(ap_state_input(mode));
}

inline Step ask(const std::string &command)
{
    return dman(status_request_input(command));
}

inline Step show(uint8_t all = 0)
{
    return cli({6, all});
}

inline Step everyone_is(const std::string &driver_text)
{
    return StationIs{std::nullopt, "", driver_text, 0};
}

inline Step frames_take(uint32_t microseconds)
{
    return FrameAnswerIs{false, PlainEnvironment::frame_answer_bytes(microseconds), 0};
}

inline Step sends_fail(uint16_t port, unsigned times = 1, unsigned after = 0)
{
    return CallsFail{FailingCall::send, port, ENETUNREACH, after, times};
}

inline Step fails(FailingCall call, int error, unsigned after = 0)
{
    return CallsFail{call, 0, error, after, 1};
}

inline Step all_traces()
{
    return cli(cli_debug_input({1, 2, 3, 4, 5, 6, 7}));
}

inline Bytes cut(Bytes message, size_t length)
{
    message.resize(length);
    return message;
}

inline Mac sta(uint8_t number)
{
    return Mac{0x02, 0, 0, 0, 0, number};
}

// The values of one loop.
template <typename Value, typename... Numbers>
std::array<Value, sizeof...(Numbers)> each(Numbers... numbers)
{
    return {static_cast<Value>(numbers)...};
}

inline const Mac other_vap{0x02, 0xaa, 0, 0, 0, 9};

class Differential : public ::testing::Test {
  protected:
    // Both do the same, with every trace on and with none.
    void agree(const Steps &steps);

    void expect_agreement(const Steps &steps, const Start &start = {});
};

// The number in an environment variable.
uint64_t number_from_environment(const char *name, uint64_t otherwise);

// Fails the test: both parted at the last step. Finds fewer steps that do.
void report(const Steps &steps, uint64_t seed, const std::string &difference);

} // namespace tspec::lockstep
