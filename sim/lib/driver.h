// What the preloaded library plays beneath the daemon: the wireless driver, the
// proc files, the console device, and calls that fail. Settings may be made
// before the daemon starts and at any time while it runs; while it runs they
// are in force when the call returns, and everything sent before has been
// handled with the old ones.
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tspec::sim {

class AccessPoint;

namespace control {
struct Request;
}

// The driver's answer to a station status query.
struct StationAnswer {
    std::string text; // up to 4096 bytes, given as they are
    int error = 0;    // errno: the query fails instead

    static StationAnswer flags(uint32_t flags); // "client_status=<hex>\n"
    static StationAnswer failure(int error) { return {.text = {}, .error = error}; }
};

enum class Call {
    socket,
    bind,
    select,
    read, // read of a socket
    recv,
    recvfrom,
    sendto,
    open,  // trap pipe, proc file, console
    write, // trap pipe
    ioctl,
    calloc,
    setsockopt,
    close, // the descriptor is closed all the same
};

// A call that goes wrong. Only calls that fit every condition given count.
struct Fault {
    Call call = Call::sendto;
    int error = 0; // errno; 0: the call is made and result replaces its own
    long result = 0;
    unsigned after = 0; // calls that still succeed before
    unsigned times = 1; // calls that fail then
    // UDP port: destination of sendto, local port of the others. For select,
    // 55263 is the main wait and 55301 the wait for a frame-duration answer.
    std::optional<uint16_t> port{};
    std::optional<int> family{}; // AF_INET, AF_UNIX
    std::string path{};          // open, bind, write: contained in the path or local name
};

class Driver {
  public:
    explicit Driver(AccessPoint &access_point) : access_point_(access_point) {}

    // Interface names are "wlan0", "wlan1vap3"; an empty one stands for every
    // interface. The entry for the exact interface wins.
    void set_station(const Mac &station, const StationAnswer &answer,
                     const std::string &interface = {});
    void forget_station(const Mac &station, const std::string &interface = {});
    // Stations and proc files as at the start.
    void forget_everything();
    // For stations without an entry; starts as flags 0.
    void set_default(const StationAnswer &answer);

    // Text of the interface's proc file; none: the file is absent (the start).
    void set_proc_file(const std::string &interface, std::optional<std::string> text);

    // Opening the console device fails with this errno; 0 makes it work. The
    // daemon opens it once, for its first line.
    void fail_console(int error);

    // A fault for select also interrupts a wait that is going on. Faults made
    // before the daemon starts hold for that one start; all other settings hold
    // for every later start.
    void inject(const Fault &fault);
    void clear_faults();

  private:
    friend class AccessPoint;
    // Everything set so far, for a daemon that starts.
    std::vector<control::Request> settings();

    AccessPoint &access_point_;
    std::map<std::pair<Mac, std::string>, StationAnswer> stations_;
    std::optional<StationAnswer> default_;
    std::map<std::string, std::optional<std::string>> proc_files_;
    int console_error_ = 0;
    std::vector<Fault> faults_;
};

} // namespace tspec::sim
