#include "trouble.h"

#include <algorithm>
#include <cerrno>

namespace tspec::soak {

using lockstep::CallsFail;
using lockstep::FailingCall;
using lockstep::FrameAnswerIs;
using lockstep::TrapState;

namespace {

constexpr uint32_t minute = 60;
constexpr uint32_t hour = 3600;

// Failed queries leave their descriptors open; this many leave room for others
// below the number from which the daemon uses none.
constexpr size_t most_left_open = 700;

FrameAnswerIs usual_frames()
{
    return {false, model::PlainEnvironment::frame_answer_bytes(400), 0};
}

} // namespace

Trouble::Trouble(Stage &stage, HostapdSide &hostapd, MapdSide &mapd)
    : stage_(stage), chance_(stage.chance()), hostapd_(hostapd), mapd_(mapd),
      descriptors_at_start_(stage.lockstep().descriptors())
{
}

void Trouble::begin()
{
    stage_.every([this] { return chance_.about(20 * minute); }, [this] { calls_fail(); });
    stage_.every([this] { return chance_.about(90 * minute); }, [this] { driver_fails(); });
    stage_.every([this] { return chance_.about(30 * minute); }, [this] { frames_are_odd(); });
    stage_.every([this] { return chance_.about(40 * minute); }, [this] { trap_changes(); });
    stage_.every([this] { return chance_.about(15 * minute); }, [this] { file_changes(); });
    stage_.every([this] { return chance_.about(12 * hour); }, [this] { clock_is_set(); });
    stage_.every([this] { return chance_.about(4 * minute); }, [this] { send_malformed(); });
    stage_.every([this] { return chance_.about(7 * hour); }, [this] { hostapd_.restart(); });
}

void Trouble::end_all(Activity activity)
{
    stage_.play(activity, lockstep::NothingFails{});
    stage_.play(activity, lockstep::StationIs{std::nullopt, "", "client_status=0\n", 0});
    stage_.play(activity, usual_frames());
}

void Trouble::calls_fail()
{
    CallsFail failing;
    failing.times = chance_.between(1, 3);
    failing.after = chance_.between(0, 2);
    switch (chance_.below(7)) {
    case 0:
        failing.call = FailingCall::socket;
        failing.error = EMFILE;
        break;
    case 1:
        failing.call = FailingCall::bind;
        failing.error = EADDRINUSE;
        break;
    case 2:
        failing.call = FailingCall::exchange_receive;
        failing.error = ECONNREFUSED;
        break;
    case 3:
        failing.call = FailingCall::memory;
        failing.error = ENOMEM;
        break;
    default:
        failing.port = chance_.one_of<uint16_t>(
            {model::hostapd_port, model::mapd_port, model::dman_reply_port});
        failing.error = chance_.one_of<int>({ENETUNREACH, EPERM, ENOBUFS});
        break;
    }
    stage_.play(Activity::failing_call, failing);
    stage_.in(chance_.between(20, 120),
              [this] { stage_.play(Activity::failing_call, lockstep::NothingFails{}); });
}

// A request of a station of whom the driver knows nothing, not even its state.
void Trouble::driver_fails()
{
    const size_t left_open = stage_.lockstep().descriptors() - descriptors_at_start_;
    if (left_open >= most_left_open || !hostapd_.is_on()) {
        return;
    }
    stage_.play(Activity::surroundings,
                lockstep::StationIs{std::nullopt, "", "", chance_.one_of<int>({ENODEV, EIO})});
    for (uint32_t times = chance_.between(1, 4); times > 0; times--) {
        const model::HostapdInput input{.cmd = chance_.one_of<uint8_t>({1, 1, 9}),
                                        .sta =
                                            Mac{0x02, 0x77, 0, 0, 0, static_cast<uint8_t>(times)},
                                        .radio_unit = chance_.one_of<uint8_t>({1, 2})};
        stage_.udp(Activity::driver_failure, input.bytes());
    }
    stage_.play(Activity::surroundings,
                lockstep::StationIs{std::nullopt, "", "client_status=0\n", 0});
}

void Trouble::frames_are_odd()
{
    FrameAnswerIs frames = usual_frames();
    switch (chance_.below(6)) {
    case 0:
        frames.silent = true;
        break;
    case 1:
        frames.seconds = 1;
        break;
    case 2:
        frames.bytes[0] = 0x23;
        break;
    case 3:
        frames.bytes.resize(chance_.one_of<size_t>({0, 1, 4, 7}));
        break;
    default:
        frames.bytes =
            model::PlainEnvironment::frame_answer_bytes(chance_.one_of<uint32_t>({120, 900}));
        break;
    }
    stage_.play(Activity::surroundings, frames);
    stage_.in(chance_.between(30, 180),
              [this] { stage_.play(Activity::surroundings, usual_frames()); });
}

void Trouble::trap_changes()
{
    stage_.play(Activity::surroundings,
                lockstep::TrapIs{chance_.one_of<TrapState>(
                    {TrapState::reader, TrapState::reader, TrapState::reader, TrapState::no_reader,
                     TrapState::absent, TrapState::full, TrapState::directory})});
}

void Trouble::file_changes()
{
    const uint32_t utilisation = 2 * HostapdSide::load_percent(stage_.now());
    std::optional<std::string> text =
        "name\nchannel_util " + std::to_string(utilisation) + "\nlast\n";
    if (chance_.percent(5)) {
        text.reset();
    }
    stage_.play(Activity::surroundings,
                lockstep::ProcFileIs{chance_.one_of<const char *>({"wlan0", "wlan1"}), text});
}

void Trouble::clock_is_set()
{
    stage_.play(Activity::surroundings,
                lockstep::StepClock{chance_.one_of<int64_t>({-2, -1, 1, 2, 3})});
}

void Trouble::send_malformed()
{
    const uint64_t door = chance_.below(10);
    if (door < 6) {
        const Bytes datagram = malformed_udp();
        if (!would_divide_by_zero(datagram) && (hostapd_.is_on() || mapd_.is_on())) {
            stage_.udp(Activity::malformed, datagram);
        }
    } else if (door < 9) {
        stage_.dman(Activity::malformed, malformed_dman());
    } else {
        Bytes command(chance_.below(80));
        for (uint8_t &byte : command) {
            byte = static_cast<uint8_t>(chance_.below(256));
        }
        if (!command.empty()) {
            command[0] = chance_.one_of<uint8_t>({0, 3, 4, 7, 255});
        }
        stage_.cli(Activity::malformed, command);
    }
}

// No valid change of mode, and no valid configuration.
Bytes Trouble::malformed_udp()
{
    Bytes datagram(
        chance_.one_of<size_t>({0, 1, 2, 7, 63, 119, 120, 147, 148, 149, 1023, 1024, 1300}));
    for (uint8_t &byte : datagram) {
        byte = static_cast<uint8_t>(chance_.below(256));
    }
    if (!datagram.empty()) {
        datagram[0] = chance_.one_of<uint8_t>({0, 3, 3, 4, 4, 7, 0x23, 255});
    }
    if (datagram.size() > model::hostapd_at::radio_unit) {
        datagram[1] = static_cast<uint8_t>(chance_.below(11));
        datagram[model::hostapd_at::radio_unit] = static_cast<uint8_t>(chance_.below(4));
    }
    return datagram;
}

Bytes Trouble::malformed_dman()
{
    switch (chance_.below(4)) {
    case 0: {
        Bytes config = model::ConfigInput{}.bytes();
        config.resize(chance_.one_of<size_t>({1, 2, 63}));
        return config;
    }
    case 1: {
        Bytes interval = model::interval_input(1);
        interval.resize(chance_.one_of<size_t>({1, 4, 7}));
        return interval;
    }
    case 2:
        return model::status_request_input(chance_.one_of<const char *>(
            {"", "tspec", "tspec-radio-wlan2", "tspec-vap-wlan0vap16", "tspec-vap-wlan1vap-1"}));
    default:
        return Bytes(chance_.one_of<size_t>({0, 1, 1300}), 0x55);
    }
}

// A short request is completed by what earlier datagrams left in the buffer, and
// a nominal size of 0 there ends the daemon, as it must.
bool Trouble::would_divide_by_zero(const Bytes &datagram) const
{
    Bytes buffer = stage_.state().receive_buffer;
    std::copy_n(datagram.begin(), std::min(datagram.size(), buffer.size()), buffer.begin());
    return (model::u16_at(buffer, model::hostapd_at::nominal_msdu_size) & 0x7fff) == 0;
}

} // namespace tspec::soak
