// What can happen to the daemon, as values: datagrams, time, and what its
// surroundings answer.
#pragma once

#include "bytes.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tspec::lockstep {

using model::Bytes;
using model::Mac;

// One datagram for each socket at most, all there when the daemon wakes up.
struct Deliver {
    std::optional<Bytes> udp{};
    std::optional<Bytes> dman{};
    std::optional<Bytes> cli{};
};

// That many wake-ups by time-out, a second apart.
struct Advance {
    unsigned seconds;
};

struct StepClock {
    int64_t seconds;
};

// What the driver answers for a station; without a station, for all others.
// An empty interface stands for all.
struct StationIs {
    std::optional<Mac> sta_mac{};
    std::string interface {
    };
    std::string text{};
    int error = 0;
};

struct ProcFileIs {
    std::string interface;
    std::optional<std::string> text{};
};

// How hostapd answers frame-duration queries from now on.
struct FrameAnswerIs {
    bool silent = false;
    Bytes bytes{};
    unsigned seconds = 0; // until the answer comes; from 2 on nobody waits any more
};

enum class FailingCall { send, socket, bind, exchange_wait, exchange_receive, memory };

// The next calls of a kind fail; sends only those to this port.
struct CallsFail {
    FailingCall call = FailingCall::send;
    uint16_t port = 0;
    int error = 0;
    unsigned after = 0;
    unsigned times = 1;
};

// The next sends to this port claim to have sent a single byte: a success.
struct SendsAreShort {
    uint16_t port = 0;
    unsigned times = 1;
};

struct NothingFails {};

enum class TrapState { absent, no_reader, reader, full, directory };

struct TrapIs {
    TrapState state;
};

struct ToolIs {
    bool on;
};

// Whether a peer has its socket. Without it, what the daemon sends there is lost,
// and hostapd answers no frame-duration query.
enum class Neighbour { hostapd, mapd, dman };

struct PeerIs {
    Neighbour who;
    bool on;
};

using Step = std::variant<Deliver, Advance, StepClock, StationIs, ProcFileIs, FrameAnswerIs,
                          CallsFail, SendsAreShort, NothingFails, TrapIs, ToolIs, PeerIs>;
using Steps = std::vector<Step>;

// A step for people: datagrams decoded and in full.
std::string describe(const Step &step);
std::string describe(const Steps &steps);

} // namespace tspec::lockstep
