// One run of the daemon, from start to end: the dialogue with the driver
// library, the order of events, and the passing of time. Internal to the
// library; AccessPoint is its face.
#pragma once

#include "sim/lib/access_point.h"
#include "sim/lib/child_process.h"
#include "sim/lib/control_link.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tspec::sim {

class AccessPoint::Session {
  public:
    // Starts the daemon; the settings are in force before its main().
    Session(AccessPoint &access_point, const std::vector<control::Request> &settings, bool held);
    ~Session();

    bool running() const { return !end_; }
    const std::optional<ProcessEnd> &end() const { return end_; }
    int pid() const { return pid_; }
    int64_t wall() const { return wall_; }
    bool held() const { return held_; }

    // Takes a request up with the daemon and returns when it has been served.
    // Nothing happens once the daemon has ended.
    void apply(control::Request request);
    void hold(bool hold);
    // The simulated clock begins at the time, the real one is so far ahead.
    void use_clock(Clock clock, Time time, Duration ahead);

    // Returns at the daemon's first wait, or at its end.
    void wait_until_ready();
    void settle();
    // Returns when something has happened or a descriptor can be read.
    void follow(const std::vector<int> &descriptors);
    void advance(Duration duration);
    void stop();
    void wait_for_end();

    // Hands a datagram to the daemon and remembers it until it is read.
    void send(Door door, const Socket &from, Peer who, ByteView bytes);

  private:
    using SteadyClock = std::chrono::steady_clock;

    // Counts how deep a call is nested.
    class Depth {
      public:
        explicit Depth(int &depth) : depth_(depth) { depth_++; }
        ~Depth() { depth_--; }
        Depth(const Depth &) = delete;
        Depth &operator=(const Depth &) = delete;

      private:
        int &depth_;
    };
    struct Done {
        uint32_t port = 0;
        uint32_t flags = 0;
        int64_t value = 0;
    };
    struct Unread {
        Peer who;
        uint16_t source_port;
        Bytes data;
        Time time;
    };
    struct DueAnswer {
        int64_t when; // monotonic microseconds
        Bytes datagram;
    };

    // The dialogue; none once the daemon has ended.
    std::optional<Done> request(control::Request request);
    bool must_wait_before(Door door) const;
    std::optional<Done> barrier(uint32_t flags);
    void pump(std::optional<SteadyClock::time_point> until = std::nullopt);
    void take_reports();
    void take_report(const control::Report &report);
    void note_end();
    void check_interrupts() const;
    void check_patience(SteadyClock::time_point since, const char *what) const;

    // Time.
    int64_t monotonic_now() const;
    bool simulated() const { return clock_ == Clock::simulated; }
    void send_due_answers();
    bool pass_inner_wait(const Done &wait);
    void pass_simulated(int64_t microseconds);
    void pass_real(int64_t microseconds);
    void note_clock(int64_t microseconds);
    int64_t until_next_answer() const;

    // Reports turned into events.
    void on_done(const control::Report &report);
    void on_received(const control::Report &report);
    void on_sent(const control::Report &report);
    void on_console(const control::Report &report);
    void on_standard_error(const control::Report &report);
    void on_system_log(const control::Report &report);
    void on_trap_opened();
    void on_trap(const control::Report &report);
    void on_station_query(const control::Report &report);
    void on_proc_read(const control::Report &report);
    void on_fault(const control::Report &report);

    Event new_event(Kind kind, Peer peer) const;
    void add(Event event);
    void match_receiver(Event &event, bool bound);
    void answer_frame_duration(const Event &query);
    void call_reaction(const Event &event);
    bool any_reaction() const;
    void note_unread();
    void split_console(bool all);
    void take_streams(bool all);
    static ByteView data_of(const control::Report &report);
    static std::optional<Door> door_of(const control::Report &report);
    UdpPeer *udp_peer(uint32_t port);
    Peer stranger(const Event &event) const;
    bool is_anothers(const UdpPeer &peer) const;

    AccessPoint &ap_;
    ControlLink link_;
    Socket console_read_;
    Socket console_write_;
    std::optional<ChildProcess> child_;
    int pid_ = 0;
    Clock clock_;
    bool held_ = false;
    int64_t wall_ = 0;
    int64_t mono_ = 0;
    unsigned sends_ = 0;
    int pumping_ = 0;
    std::map<uint32_t, std::optional<Done>> awaited_;
    std::map<Door, std::deque<Unread>> unread_;
    std::deque<DueAnswer> due_;
    std::string console_rest_; // begun line
    std::string error_rest_;   // on the pipe, not yet an event
    std::optional<ProcessEnd> end_;
};

} // namespace tspec::sim
