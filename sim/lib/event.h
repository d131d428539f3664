// What happened on the simulated access point, one Event per thing, in the
// order in which the daemon did or met it: the order is the one in which the
// daemon made its calls, across all sockets, files and the console.
#pragma once

#include "sim/lib/bytes.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace tspec::sim {

// The daemon's wall clock, simulated or real.
using Time = std::chrono::sys_time<std::chrono::microseconds>;
using Duration = std::chrono::microseconds;

enum class Kind {
    to_daemon,      // the daemon read a datagram (or never did: delivered is false)
    from_daemon,    // the daemon sent a datagram, or tried to (error)
    console,        // one console line: prefix, text and "\n\r"
    standard_error, // what one call wrote, such as a perror line
    standard_output,
    syslog,       // one line; detail is SyslogLine
    trap,         // one record written, or tried, to the trap pipe
    driver_query, // station status ioctl; detail is DriverQuery
    proc_read,    // proc file opened; detail is ProcRead
    fault,        // an injected failure hit a call that shows nowhere else; detail is FaultHit
    clock,        // simulated time passed; detail is ClockStep
    process_end,  // detail is ProcessEnd
};

// Who is at the other end. other: a program that the simulator does not run,
// such as the operator's real tool.
enum class Peer { none, hostapd, mapd, dman, cli, syslog, trap, driver, console, other };

// The daemon's receiving sockets: main UDP socket, frame-duration answers, dman,
// command line.
enum class Door { udp, reply, dman, cli };

const char *kind_name(Kind kind); // "to_daemon", ...
const char *peer_name(Peer peer); // "hostapd", ...

struct SyslogLine {
    std::string ident; // "tspec"
    int option = 0;    // as given to openlog
    int priority = 0;  // facility and level together, as on the wire: 14 is user.info
    int pid = 0;       // number in brackets; 0 when there was none
    std::string text;  // after "ident[pid]: "
    // The datagram as /dev/log received it; empty where the system log is not
    // ours and the driver library answered instead.
    Bytes raw;
};

struct DriverQuery {
    std::string interface;
    Mac station;
    uint32_t sub_command = 0;
    uint32_t length = 0; // of the reply buffer, as the daemon stated it
    uint8_t flags = 0;
    bool request_clean = false; // every unused byte of request and buffer was 0
    int error = 0;              // errno the query failed with; 0: reply was given
    std::string reply;
};

struct ProcRead {
    std::string interface;
    bool present = false;
    std::string text;
};

struct FaultHit {
    std::string call; // "socket", "bind", ...
    int error = 0;
};

struct ClockStep {
    Time from;
    Time to;
};

struct ProcessEnd {
    bool signalled = false;
    int exit_status = 0;      // when not signalled
    int signal = 0;           // when signalled
    std::string text() const; // "exit status 255", "killed by signal 8 (Floating point exception)"
};

struct Event {
    using Detail = std::variant<std::monostate, SyslogLine, DriverQuery, ProcRead, FaultHit,
                                ClockStep, ProcessEnd>;

    Kind kind = Kind::to_daemon;
    Peer peer = Peer::none;
    Time time{};
    Bytes data{}; // datagram, console, stderr or trap bytes, exactly as they were

    // UDP ports; 0 on local sockets and where there is none. A datagram to the
    // daemon goes to 55263 (udp), 55301 (frame-duration answer) or 0 (local).
    uint16_t source_port = 0;
    uint16_t destination_port = 0;

    Door door = Door::udp; // of a datagram to the daemon
    // Of a datagram to the daemon that one of the peers sent: its length. It is
    // more than data has where the daemon's buffer was too small.
    size_t sent_size = 0;

    // Datagrams and traps: reached its receiver. False when nobody was bound,
    // a queue was full, or the daemon ended before reading.
    bool delivered = true;
    int error = 0; // errno of a failed send or write

    Detail detail{};

    std::string text() const { return text_of(data); }
    template <typename T>
    const T *as() const
    {
        return std::get_if<T>(&detail);
    }
};

using Events = std::vector<Event>;

// The events of one kind, or between the daemon and one peer, in order.
Events of_kind(const Events &events, Kind kind);
Events with_peer(const Events &events, Peer peer, Kind kind);

// Text of each console line without "Tspec(1,1): " and "\n\r".
std::vector<std::string> console_texts(const Events &events);

} // namespace tspec::sim
