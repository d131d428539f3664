#include "random_walk.h"

#include <cerrno>

namespace tspec::lockstep {

using model::Entry;
using model::HostapdInput;
using model::MapdInput;
using model::Record;

namespace {

Mac crowd_station(unsigned number)
{
    return Mac{0x02, 0xcc, 0, 0, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

} // namespace

Mac RandomWalk::station()
{
    return Mac{0x02, 0, 0, 0, 0, static_cast<uint8_t>(1 + below(profile_.stations))};
}

uint8_t RandomWalk::priority_for(uint8_t ac_idx)
{
    switch (ac_idx) {
    case model::be:
        return from<uint8_t>({0, 3});
    case model::bk:
        return from<uint8_t>({1, 2});
    case model::vi:
        return from<uint8_t>({4, 5});
    default:
        return from<uint8_t>({6, 7});
    }
}

// Any stream of the store; a pending one when there is one and that is asked for.
const Entry *RandomWalk::stream_in(const model::Daemon &daemon, bool pending_first)
{
    std::vector<const Entry *> all;
    std::vector<const Entry *> pending;
    for (const Record &record : daemon.state().clients) {
        for (const auto &bank : record.entries) {
            for (const Entry &entry : bank) {
                if (entry.in_use()) {
                    all.push_back(&entry);
                }
                if (entry.state == model::entry_pending) {
                    pending.push_back(&entry);
                }
            }
        }
    }
    if (pending_first && !pending.empty()) {
        return pending[below(pending.size())];
    }
    return all.empty() ? nullptr : all[below(all.size())];
}

void RandomWalk::aim_at(HostapdInput &input, const Entry &entry)
{
    const Record &record = *entry.owner;
    input.sta = record.sta_mac;
    input.radio_unit = record.radio_unit;
    input.vap = record.vap;
    input.vap_addr = record.peer_addr2;
    input.tid = entry.tid;
    input.up = priority_for(entry.ac_idx);
    input.dir = entry.dir;
    switch (below(12)) {
    case 0:
        input.tid = static_cast<uint8_t>(below(8));
        break;
    case 1:
        input.up = static_cast<uint8_t>(below(8));
        break;
    case 2:
    case 3:
        input.dir = static_cast<uint8_t>(below(4));
        break;
    case 4:
        input.vap_addr = second_vap;
        break;
    case 5:
        input.tid = entry.pend_tid;
        break;
    default:
        break;
    }
}

Step RandomWalk::delivery(const model::Daemon &daemon)
{
    const bool managed = daemon.state().ap_state == 2;
    Deliver deliver;
    const auto udp_message = [&]() -> Bytes {
        const uint64_t kind = below(100);
        if (profile_.mode_switches && kind < 3) {
            return model::ap_state_input(from<uint8_t>({0, 0, 1, 1, 1, 2}));
        }
        return kind < (managed ? 45 : 12) ? mapd_message(daemon) : hostapd_message(daemon);
    };
    const auto dman_message = [&]() -> Bytes {
        switch (below(10)) {
        case 0:
        case 1:
            return config_message();
        case 2:
            return model::interval_input(from<uint32_t>({0, 1, 2, 3, 5, 10, 300, 0xffffffff}));
        default:
            return status_request(daemon);
        }
    };
    const uint64_t which = below(100);
    if (which < 5) {
        deliver.udp = distort(udp_message());
        deliver.dman = distort(dman_message());
        deliver.cli = cli_command(daemon);
    } else if (which < 72) {
        deliver.udp = distort(udp_message());
    } else if (which < 88) {
        deliver.dman = distort(dman_message());
    } else {
        deliver.cli = cli_command(daemon);
    }
    if (profile_.hostile && one_in(40)) {
        std::swap(deliver.udp, deliver.dman);
    }
    return deliver;
}

std::string RandomWalk::driver_text()
{
    switch (below(14)) {
    case 0:
        return "client_status=0\n";
    case 1:
        return "client_status=40\n";
    case 2:
        return "client_status=1";
    case 3:
        return "client_status=zz\nclient_status=1\n";
    case 4:
        return std::string(from<size_t>({254, 255, 256}), 'x') + "\nclient_status=41\n";
    case 5:
        return "";
    case 6:
    case 7:
    case 8:
        return "name=x\nrate=54\nclient_status=41\nlast=1\n";
    default:
        return "client_status=1\n";
    }
}

Step RandomWalk::surroundings()
{
    switch (below(8)) {
    case 0: {
        const uint64_t kind = below(8);
        const uint32_t microseconds =
            from<uint32_t>({400, 400, 100, 0, 1, 32, 1000, 50000, 0x7fffffff, 0xffffffff});
        Bytes answer = model::PlainEnvironment::frame_answer_bytes(microseconds);
        if (profile_.failures && kind == 0) {
            return FrameAnswerIs{true, {}, 0};
        }
        if (profile_.failures && kind == 1) {
            answer.resize(from<size_t>({0, 1, 4, 5, 7, 9, 20}));
        } else if (profile_.failures && kind == 2) {
            answer[0] = static_cast<uint8_t>(below(256));
        }
        return FrameAnswerIs{false, answer, one_in(6) ? 1U : 0U};
    }
    case 1:
        return ProcFileIs{from<const char *>({"wlan0", "wlan1"}),
                          one_in(3) ? std::nullopt
                                    : std::optional<std::string>(from<const char *>(
                                          {"channel_util 37\n", "a\nb\nchannel_util: 12\nc\n",
                                           "channel_util\n", "channel_util -3", "", "x",
                                           "channel_utilisation 9\nchannel_util 5\n"}))};
    case 2:
        return TrapIs{
            from<TrapState>({TrapState::absent, TrapState::no_reader, TrapState::reader,
                             TrapState::reader, TrapState::reader, TrapState::directory})};
    case 3:
        return ToolIs{!one_in(3)};
    case 4:
        return StepClock{from<int64_t>({1, 10, 299, 300, 100000, -1, -10, -5000})};
    default: {
        StationIs station{station_or_none(), "", driver_text(), 0};
        if (profile_.failures && one_in(8)) {
            station.error = from<int>({ENODEV, EOPNOTSUPP, EIO});
            station.text.clear();
        }
        return station;
    }
    }
}

std::optional<Mac> RandomWalk::station_or_none()
{
    return one_in(5) ? std::nullopt : std::optional<Mac>(station());
}

Step RandomWalk::failure()
{
    if (one_in(3)) {
        return NothingFails{};
    }
    CallsFail failing;
    failing.after = static_cast<unsigned>(below(3));
    failing.times = static_cast<unsigned>(1 + below(3));
    switch (below(10)) {
    case 0:
        failing.call = FailingCall::socket;
        failing.error = EMFILE;
        break;
    case 1:
        failing.call = FailingCall::bind;
        failing.error = EADDRINUSE;
        break;
    default:
        failing.port = from<uint16_t>(
            {model::hostapd_port, model::hostapd_port, model::mapd_port, model::dman_reply_port});
        failing.error = from<int>({ENETUNREACH, EPERM, ENOBUFS});
        break;
    }
    return failing;
}

Step RandomWalk::next(const model::Daemon &daemon)
{
    const uint64_t kind = below(100);
    if (kind < 5) {
        return Advance{static_cast<unsigned>(one_in(10) ? 1 + below(20) : 1 + below(3))};
    }
    if (kind < 10) {
        return surroundings();
    }
    if (kind < 13 && profile_.failures) {
        return failure();
    }
    return delivery(daemon);
}

Steps RandomWalk::crowd()
{
    Steps steps;
    steps.push_back(StationIs{std::nullopt, "", "client_status=1\n", 0});
    for (unsigned i = 0; i < 506; i++) {
        HostapdInput input;
        input.cmd = 9;
        input.sta = crowd_station(i / 3);
        input.tid = static_cast<uint8_t>(i % 3);
        input.up = static_cast<uint8_t>(2 * (i % 3));
        input.radio_unit = static_cast<uint8_t>(1 + i / 3 % 2);
        input.medium_time = 1;
        steps.push_back(Deliver{.udp = input.bytes()});
    }
    return steps;
}

Step RandomWalk::next_removal(const model::Daemon &daemon)
{
    const Entry &entry = *stream_in(daemon, false);
    const bool managed = daemon.state().ap_state == 2;
    const uint64_t way = below(managed ? 5 : 4);
    if (way == 3) {
        return Deliver{.cli = model::cli_mac_input(4, entry.owner->sta_mac, entry.tid)};
    }
    if (way == 4) {
        MapdInput input;
        input.cmd = 5;
        input.sta = entry.owner->sta_mac;
        input.radio_unit = entry.owner->radio_unit;
        input.tid = entry.tid;
        input.ac_idx = entry.ac_idx;
        input.dir = entry.dir;
        return Deliver{.udp = input.bytes()};
    }
    HostapdInput input;
    aim_at(input, entry);
    input.tid = entry.tid;
    input.dir = entry.dir;
    input.up = priority_for(entry.ac_idx);
    input.vap_addr = entry.owner->peer_addr2;
    input.cmd = way == 0 ? 3 : way == 1 ? 4 : 8;
    return Deliver{.udp = input.bytes()};
}

} // namespace tspec::lockstep
