// The simulated access point: runs the unmodified daemon between peers, a
// wireless driver, a console and a clock that the caller drives.
//
//     PrivateWorld::enter();                        // first thing in main()
//     AccessPoint ap;
//     ap.driver().set_station(station_mac(1), StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
//     ap.start();
//     ap.dman().send(DmanConfig{}.bytes());
//     ap.hostapd().send(HostapdMessage{}.bytes());
//     Events events = ap.settle();                  // everything has been handled
//     ap.advance(std::chrono::hours(1));            // takes no real time
//
// The daemon handles datagrams in the order in which they are sent: a send to
// another of its sockets waits until the earlier ones are read. Only between
// pause() and resume() do they queue, and then the daemon takes them in the
// order of its sockets.
//
// Nothing here runs in the background: peers read and answer while a call such
// as settle() or advance() is going on. Where a wait makes no progress for
// Options::patience of real time, TimeOut is thrown. The end of the daemon, by
// whatever cause, ends every wait and is the last event.
#pragma once

#include "sim/lib/driver.h"
#include "sim/lib/event.h"
#include "sim/lib/peers.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tspec::sim {

class TimeOut : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What the caller asked to be interrupted by has come.
class Interrupted : public std::runtime_error {
  public:
    explicit Interrupted(int fd) : std::runtime_error("interrupted"), fd_(fd) {}
    int fd() const { return fd_; }

  private:
    int fd_;
};

struct Interrupt {
    int fd;
    short events; // of poll(); its end and errors count in any case
};

enum class Clock { simulated, real };

struct Options {
    // Empty: $TSPEC_DAEMON, else the installed "../sbin/tspec-daemon", else
    // "tspec-daemon" beside the running executable.
    std::filesystem::path daemon{};
    std::vector<std::string> arguments{};
    std::vector<std::pair<std::string, std::string>> environment{}; // added to the own one
    // Program and arguments that run the daemon as their own argument, such as
    // {"strace", "-f", "-o", "trace.txt"}.
    std::vector<std::string> wrapper{};

    Clock clock = Clock::simulated;
    // Of the simulated clock; a daemon that is started again finds it where the
    // last one left it.
    Time start_time = Time{std::chrono::seconds(1'700'000'000)};

    // The driver's ioctl, the proc file and console output also reach the kernel,
    // so that a system call trace of the daemon shows them as on the device. The
    // trace also holds the library's own calls, on descriptors from 900 on.
    bool kernel_calls = false;

    // Peers that other programs play: their sockets are left alone, datagrams from
    // nowhere are told to be theirs where the type fits, and what is sent to them
    // counts as delivered when somebody is bound there.
    std::vector<Peer> away{};

    // A signal from the terminal reaches the simulator alone.
    bool own_group = false;

    // Limit on the daemon's descriptors (soft RLIMIT_NOFILE); 0: as inherited.
    unsigned descriptor_limit = 0;

    std::chrono::seconds patience{10};

    // How often peers may answer the daemon within one settle() before this is
    // taken for an endless exchange (TimeOut).
    int most_rounds = 5000;
};

class AccessPoint {
  public:
    explicit AccessPoint(Options options = {});
    ~AccessPoint(); // stops the daemon
    AccessPoint(const AccessPoint &) = delete;
    AccessPoint &operator=(const AccessPoint &) = delete;

    // Removes the leftover socket of an earlier daemon (unless keep_leftovers), starts the
    // daemon and returns when it waits for its first datagram (or is held, see
    // pause()), or has ended. Returns whether it runs. Throws when the daemon
    // cannot be executed.
    bool start();
    void keep_leftovers(bool keep) { keep_leftovers_ = keep; }

    // Ends the daemon in an orderly way (as far as coverage and leak checks see
    // it) and takes up its last events; harmless when it does not run.
    void stop();
    bool running() const;
    // Sends a signal and waits for the end of the process. Throws TimeOut when
    // the daemon survives it: for those that it ignores use send_signal.
    void kill(int signal);
    void send_signal(int signal);

    int pid() const;                       // the daemon's, also under a wrapper; 0 when not running
    std::optional<ProcessEnd> end() const; // of the last daemon started

    // Returns when everything sent so far has been handled and the daemon waits
    // in its main loop again; yields what happened since the last settle. With
    // the simulated clock, time passes only as far as a silent or late
    // frame-duration answer makes the daemon wait.
    Events settle();

    // Settles, then lets time pass: simulated time without any wait, real time
    // by waiting. The next settle() yields the events.
    void advance(Duration duration);

    // With the real clock, for an access point that serves other programs: waits
    // until something happens, or one of the descriptors can be read, and yields
    // what is new, whether or not the daemon is through with it. The peers go on
    // answering meanwhile.
    Events follow(const std::vector<int> &descriptors);

    // Drops everything yielded so far from history, console and streams.
    void forget();

    // From now on every wait ends with Interrupted when one of these comes.
    void interrupt_on(std::vector<Interrupt> interrupts) { interrupts_ = std::move(interrupts); }

    // With the real clock: time passes for the daemon alone, without any wait. Its
    // clock is ahead of the real one from then on.
    void skip(Duration duration);

    // Sets the daemon's wall clock forth or back; time-outs going on are left
    // alone, as on a machine whose clock is set.
    void step_clock(Duration difference);
    void use_clock(Clock clock);
    Time now() const;

    // Between pause and resume the daemon reads nothing; datagrams queue in the
    // kernel. pause() before start() holds the daemon at its first wait.
    void pause();
    void resume();

    Hostapd &hostapd() { return hostapd_; }
    Mapd &mapd() { return mapd_; }
    Dman &dman() { return dman_; }
    Operator &cli() { return operator_; }
    SystemLog &system_log() { return system_log_; }
    TrapPipe &trap() { return trap_; }
    Driver &driver() { return driver_; }

    // Any bytes to any of the daemon's sockets, from nobody in particular. As
    // with all sending: start() comes first.
    void send_udp(ByteView bytes);
    void send_dman(ByteView bytes);
    void send_cli(ByteView bytes);

    // All events since the construction (or forget()), those yielded by settle() included.
    const Events &history() const { return history_; }
    // The console, byte for byte.
    const std::string &console() const { return console_; }
    const std::string &standard_error() const { return standard_error_; }
    const std::string &standard_output() const { return standard_output_; }

    const Options &options() const { return options_; }

  private:
    friend class UdpPeer;
    friend class Dman;
    friend class Operator;
    friend class TrapPipe;
    friend class Driver;
    class Session;

    void send(Door door, const Socket &from, Peer who, ByteView bytes);
    void apply(const control::Request &request);
    bool is_away(Peer peer) const;
    Events fresh();

    Options options_;
    Hostapd hostapd_;
    Mapd mapd_;
    Dman dman_;
    Operator operator_;
    SystemLog system_log_;
    TrapPipe trap_;
    Driver driver_;
    Events history_;
    size_t yielded_ = 0;
    std::string console_;
    std::string standard_error_;
    std::string standard_output_;
    bool keep_leftovers_ = false;
    bool start_paused_ = false;
    std::vector<Interrupt> interrupts_;
    Duration ahead_{0}; // of the daemon's clock, when it is the real one
    std::unique_ptr<Session> session_;
};

} // namespace tspec::sim
