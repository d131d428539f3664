// The control channel between the simulator and the driver library inside the
// daemon: one SOCK_SEQPACKET pair whose far end the daemon inherits. The
// simulator sends requests; the library answers each with a "done" report
// bearing the request's number, and reports on its own what the daemon does.
// Reports arrive in the order of the daemon's calls.
//
// Requests are served only while the daemon waits in select() and none of its
// own descriptors is ready; those sent before Request::go are served before
// main().
#pragma once

#include <cstddef>
#include <cstdint>

namespace tspec::sim::control {

// Environment variables of the daemon: descriptor numbers.
inline constexpr char fd_variable[] = "TSPEC_SIM_CONTROL_FD";
inline constexpr char console_variable[] = "TSPEC_SIM_CONSOLE_FD";

// Descriptors from here on are the library's: far above what the daemon uses,
// and below FD_SETSIZE so that select() can take them.
inline constexpr int first_fd = 900;
inline constexpr int fd_count = 64;

inline constexpr uint32_t max_data = 32768;

enum class RequestType : uint32_t {
    go,             // settings are complete, main() may begin
    station,        // mac, name = interface, error, data = reply text
    forget_station, // mac, name
    default_station,
    proc_file,    // name = interface, data = text; flag_absent
    fail_console, // error
    fault,        // fault
    clear_faults,
    clock,      // flag_simulated; value = wall clock in microseconds, of the real one how
                // far it is ahead
    step_clock, // value = microseconds
    advance,    // value = microseconds to pass at most; flags
    barrier,    // answered when the daemon waits; flags
    hold,
    resume,
    trap_rendezvous, // wait for continue_trap after the next open of the trap pipe
    continue_trap,
    kernel_calls,   // ioctl and proc file also reach the kernel
    own_system_log, // answer for the system log instead of calling it
    note_receivers, // tell of each datagram to a UDP port whether somebody had it
    quit,
};

inline constexpr uint32_t flag_absent = 1;
inline constexpr uint32_t flag_simulated = 2;
inline constexpr uint32_t flag_inner_wait = 4;   // advance: may end a wait for a reply
inline constexpr uint32_t flag_stop_on_sent = 8; // advance: stop once the daemon has sent something
inline constexpr uint32_t flag_main_wait = 16;   // barrier: not in a wait for a reply

enum class FaultCall : uint32_t {
    socket,
    bind,
    select,
    read,
    recv,
    recvfrom,
    sendto,
    open,
    write,
    ioctl,
    calloc,
    setsockopt,
    close
};

struct FaultRule {
    FaultCall call;
    int32_t error; // 0: make the call and replace its result
    int64_t result;
    uint32_t after;
    uint32_t times;
    int32_t port;   // -1: any
    int32_t family; // -1: any
    char path[108]; // contained in the path; empty: any
};

struct Request {
    RequestType type;
    uint32_t id;
    uint32_t flags;
    int32_t error;
    int64_t value;
    uint8_t mac[6];
    char name[32];
    FaultRule fault;
    uint32_t length;
    uint8_t data[4096];
};

enum class ReportType : uint32_t {
    hello,    // value = pid
    done,     // id; port = local port waited on; flags; value = microseconds until the
              // wait ends, -1: never
    received, // fd, port = own port, name = own local name, data, result, error
    sent,     // fd, option = own port, port and name = destination, data, result, error
    console,  // data
    standard_error,
    system_log,    // name = ident, option, priority, value = pid or 0, data = text
    trap_opened,   // answered with continue_trap
    trap,          // data, result, error
    station_query, // name = interface, mac, option = sub-command, priority = length, flags, error,
                   // data = reply
    proc_read,     // name = interface; flag_absent; data
    fault,         // name = call, error
};

// Flags of done.
inline constexpr uint32_t flag_held = 1;
inline constexpr uint32_t flag_stopped = 2; // advance ended before its time was up
inline constexpr uint32_t flag_busy = 4;    // barrier: the daemon is not waiting, ask again

// Flags of sent, where receivers are noted.
inline constexpr uint32_t flag_bound = 8;

// Flags of station_query: low byte as the daemon set it.
inline constexpr uint32_t flag_clean = 256;

struct Report {
    ReportType type;
    uint32_t id;
    int64_t wall; // microseconds since the epoch, on the daemon's clock
    int64_t mono; // microseconds, never set back
    int64_t value;
    int32_t fd;
    int32_t result;
    int32_t error;
    int32_t option;
    int32_t priority;
    uint32_t port;
    uint32_t flags;
    uint8_t mac[6];
    char name[112];
    uint32_t length;
    uint8_t data[max_data];
};

inline size_t size_of(const Request &request)
{
    return offsetof(Request, data) + request.length;
}
inline size_t size_of(const Report &report)
{
    return offsetof(Report, data) + report.length;
}

} // namespace tspec::sim::control
