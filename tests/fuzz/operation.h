// What a fuzz input is made of: a sequence of operations, each a byte that says
// which and then its fields, packed by bits. Every byte string is a sequence;
// where bytes run out the rest of the last operation is zeros.
//
// Each operation states its fields once, in code(), for both directions: a
// Decoder that reads them and an Encoder that seeds are written with.
#pragma once

#include "codec.h"
#include "pools.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace tspec::fuzz {

enum class Door : uint8_t { udp, dman, cli };
inline constexpr std::array<Door, 4> DOORS = {Door::udp, Door::dman, Door::cli, Door::udp};

// ---- datagrams

struct FromHostapd {
    uint8_t cmd = 1;
    uint8_t radio_unit = 1;
    uint8_t second_vap_address = 0;
    Mac sta = STATIONS[0];
    uint8_t vap = 0;
    uint8_t dir = 0;
    uint8_t tid = 6;
    uint8_t up = 6;
    uint8_t other_info_tid = 0; // TS Info names TID 0
    uint16_t nominal = 0x80d0;
    uint32_t mean_rate = 83200;
    uint8_t with_filler = 0;
    uint16_t surplus = 0x2000;
    uint16_t medium_time = 0;
    uint8_t aux_byte = 0x5a;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(cmd, HOSTAPD_COMMANDS, 4);
        codec.field(radio_unit, RADIO_UNITS, 3);
        codec.field(second_vap_address, FLAGS, 1);
        codec.field(sta, STATIONS, 3);
        codec.field(vap, VAPS, 3);
        codec.field(dir, DIRECTIONS, 2);
        codec.field(tid, TIDS, 4);
        codec.field(up, PRIORITIES, 3);
        codec.field(other_info_tid, FLAGS, 1);
        codec.field(nominal, NOMINAL_SIZES, 3);
        codec.field(mean_rate, MEAN_RATES, 4);
        codec.field(with_filler, FLAGS, 1);
        codec.field(surplus, SURPLUSES, 4);
        codec.field(medium_time, MEDIUM_TIMES, 4);
        codec.number(aux_byte);
    }
};

struct FromMapd {
    uint8_t cmd = 2;
    uint8_t result = 0;
    uint8_t radio_is_second = 0;
    uint8_t odd_radio = 0; // radio_unit 0 or 3
    Mac sta = STATIONS[0];
    uint8_t ac_idx = 3;
    uint8_t dir = 0;
    uint8_t tid = 6;
    uint16_t medium_time = 625;
    uint8_t up = 6;
    uint8_t with_filler = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(cmd, MAPD_COMMANDS, 3);
        codec.field(result, RESULTS, 3);
        codec.field(radio_is_second, FLAGS, 1);
        codec.field(odd_radio, FLAGS, 1);
        codec.field(sta, STATIONS, 3);
        codec.field(ac_idx, AC_INDEXES, 3);
        codec.field(dir, DIRECTIONS, 2);
        codec.field(tid, TIDS, 4);
        codec.field(medium_time, MEDIUM_TIMES, 4);
        codec.field(up, PRIORITIES, 3);
        codec.field(with_filler, FLAGS, 1);
    }
};

// mapd answers the last request that was forwarded to it.
struct AnswerForwarded {
    uint8_t result = 0;
    uint8_t own_medium_time = 0;
    uint16_t medium_time = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(result, RESULTS, 3);
        codec.field(own_medium_time, FLAGS, 1);
        codec.field(medium_time, MEDIUM_TIMES, 4);
    }
};

struct ConfigureRadio {
    uint8_t radio_if = 1;
    uint32_t enabled = 1;
    std::array<uint8_t, 4> acm = {0, 0, 1, 1}; // by access category index
    std::array<uint32_t, 4> limit = {0, 0, 50, 50};
    uint32_t fbt_vi = 0;
    uint32_t fbt_vo = 0;
    uint32_t roam_reserve = 0;
    uint32_t downlink_timeout = 0;
    uint32_t uplink_timeout = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(radio_if, RADIO_UNITS, 3);
        codec.field(enabled, SWITCHES, 2);
        for (uint8_t &one : acm) {
            codec.field(one, FLAGS, 1);
        }
        for (uint32_t &one : limit) {
            codec.field(one, LIMITS, 4);
        }
        codec.field(fbt_vi, SHARES, 3);
        codec.field(fbt_vo, SHARES, 3);
        codec.field(roam_reserve, SHARES, 3);
        codec.field(downlink_timeout, TIMEOUTS, 3);
        codec.field(uplink_timeout, TIMEOUTS, 3);
    }
};

struct SetInterval {
    uint32_t seconds = 300;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(seconds, INTERVALS, 3);
    }
};

struct SetApState {
    uint8_t managed_mode = 1;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(managed_mode, MANAGED_MODES, 2);
    }
};

struct RequestStatus {
    std::string_view command = STATUS_REQUESTS[0];
    uint8_t without_nul = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(command, STATUS_REQUESTS, 5);
        codec.field(without_nul, FLAGS, 1);
    }
};

struct Ping {
    template <typename Codec>
    void code(Codec &)
    {
    }
};

// Count byte and that many levels; the count may promise more than there are.
struct SetDebugLevels {
    Bytes levels{};

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.bytes(levels);
    }
};

struct DeleteClient {
    Mac sta = STATIONS[0];

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(sta, STATIONS, 3);
    }
};

struct DeleteStream {
    Mac sta = STATIONS[0];
    uint8_t tid = 6;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(sta, STATIONS, 3);
        codec.field(tid, TIDS, 4);
    }
};

struct SetDisassocMode {
    uint8_t mode = 1;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(mode, DISASSOC_MODES, 2);
    }
};

struct Show {
    uint8_t all = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(all, FLAGS, 1);
    }
};

// Any bytes to any socket.
struct Raw {
    Door door = Door::udp;
    Bytes data{};

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(door, DOORS, 2);
        codec.align();
        codec.bytes(data);
    }
};

// ---- changes to the datagram that comes next

struct CutOrPad {
    uint16_t length = 0;
    uint8_t filler = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(length, LENGTHS, 5);
        codec.field(filler, FILLERS, 2);
    }
};

struct Patch {
    uint8_t offset = 0;
    uint8_t value = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.number(offset);
        codec.number(value);
    }
};

struct ToDoor {
    Door door = Door::dman;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(door, DOORS, 2);
    }
};

// It waits in its socket until the daemon also finds another one.
struct KeepWaiting {
    template <typename Codec>
    void code(Codec &)
    {
    }
};

// ---- time

// Wake-ups by time-out, a second apart.
struct PassTime {
    uint8_t seconds = 1;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(seconds, SECONDS, 3);
    }
};

struct StepClock {
    int64_t seconds = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(seconds, CLOCK_STEPS, 3);
    }
};

// The last datagram once more, and again; or the last two in turn.
struct Repeat {
    uint8_t times = 1; // turns of the main loop
    uint8_t both = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(times, REPEATS, 3);
        codec.field(both, FLAGS, 1);
    }
};

// ---- the world around the daemon

struct DriverAnswers {
    Mac sta = STATIONS[0];
    uint8_t everybody = 0;
    std::string_view text = DRIVER_TEXTS[0];

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(sta, STATIONS, 3);
        codec.field(everybody, FLAGS, 1);
        codec.field(text, DRIVER_TEXTS, 4);
    }
};

struct DriverFails {
    Mac sta = STATIONS[0];
    uint8_t everybody = 0;
    int error = EIO;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(sta, STATIONS, 3);
        codec.field(everybody, FLAGS, 1);
        codec.field(error, DRIVER_ERRORS, 2);
    }
};

// Any text, with so many bytes more at its front.
struct DriverText {
    Bytes text{};
    uint8_t padding = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.number(padding);
        codec.bytes(text);
    }
};

struct ProcFile {
    uint8_t radio = 0;
    uint8_t absent = 0;
    std::string_view text = PROC_TEXTS[0];

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(radio, FLAGS, 1);
        codec.field(absent, FLAGS, 1);
        codec.field(text, PROC_TEXTS, 4);
    }
};

struct ProcText {
    Bytes text{};
    uint8_t padding = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.number(padding);
        codec.bytes(text);
    }
};

struct FramesLast {
    uint32_t microseconds = 400;
    uint8_t late = 0; // by a second

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(microseconds, DURATIONS, 4);
        codec.field(late, FLAGS, 1);
    }
};

struct FrameAnswer {
    uint8_t silence = 0;
    Bytes data{};

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(silence, FLAGS, 1);
        codec.align();
        codec.bytes(data);
    }
};

enum class FailingCall : uint8_t {
    send_to_hostapd,
    send_to_mapd,
    send_to_dman,
    socket,
    bind,
    exchange_wait,
    exchange_receive,
    memory,
};
inline constexpr std::array<FailingCall, 8> FAILING_CALLS = {
    FailingCall::send_to_hostapd,  FailingCall::send_to_mapd, FailingCall::send_to_dman,
    FailingCall::socket,           FailingCall::bind,         FailingCall::exchange_wait,
    FailingCall::exchange_receive, FailingCall::memory};

struct CallsFail {
    FailingCall call = FailingCall::send_to_hostapd;
    int error = EPERM;
    uint8_t after = 0;
    uint8_t times = 1;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(call, FAILING_CALLS, 3);
        codec.field(error, ERRORS, 3);
        codec.field(after, CALLS_BEFORE, 2);
        codec.field(times, CALLS_FAILING, 2);
    }
};

struct NothingFails {
    template <typename Codec>
    void code(Codec &)
    {
    }
};

enum class TrapPipe : uint8_t { absent, no_reader, reader, full, directory };
inline constexpr std::array<TrapPipe, 8> TRAP_PIPES = {
    TrapPipe::reader,    TrapPipe::absent, TrapPipe::no_reader, TrapPipe::full,
    TrapPipe::directory, TrapPipe::reader, TrapPipe::reader,    TrapPipe::reader};

struct TrapPipeIs {
    TrapPipe state = TrapPipe::reader;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(state, TRAP_PIPES, 3);
    }
};

struct ToolIs {
    uint8_t off = 0;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(off, FLAGS, 1);
    }
};

struct WaitFails {
    int error = EINTR;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(error, WAIT_ERRORS, 2);
    }
};

// Reading from the socket fails the next time that it is ready.
struct ReadFails {
    Door door = Door::udp;
    int error = EPERM;

    template <typename Codec>
    void code(Codec &codec)
    {
        codec.field(door, DOORS, 2);
        codec.field(error, ERRORS, 3);
    }
};

// A kept corpus names operations by their place here: append, never reorder.
using Operation =
    std::variant<FromHostapd, FromMapd, AnswerForwarded, ConfigureRadio, SetInterval, SetApState,
                 RequestStatus, Ping, SetDebugLevels, DeleteClient, DeleteStream, SetDisassocMode,
                 Show, Raw, CutOrPad, Patch, ToDoor, KeepWaiting, PassTime, StepClock, Repeat,
                 DriverAnswers, DriverFails, DriverText, ProcFile, ProcText, FramesLast,
                 FrameAnswer, CallsFail, NothingFails, TrapPipeIs, ToolIs, WaitFails, ReadFails>;
using Operations = std::vector<Operation>;

// The next operation, or none at the end.
std::optional<Operation> decode_next(Decoder &decoder);

// Where each operation of the input begins, and the input's size as the last.
std::vector<size_t> boundaries(std::span<const uint8_t> input);

Bytes encode(const Operations &operations);

// One line for people.
std::string describe(const Operation &operation);

} // namespace tspec::fuzz
