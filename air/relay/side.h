// The access point's side of admission control beside hostapd, which does the rest:
// what stations ask in action frames goes to the daemon, what the daemon says goes to
// the stations, and who is associated is told to the driver.
#pragma once

#include "frame.h"
#include "story.h"
#include "tspec/wmm.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace tspec::air {

using Clock = std::chrono::steady_clock;

// A network that one of our radios offers, known from its beacons.
struct Bss {
    std::string interface; // wlan<radio> or wlan<radio>vap<n>
    uint8_t radio_unit = 0;
    uint8_t vap = 0;
    Mac address{};
    std::string ssid;
    uint8_t mandatory = 0; // a bit for each access category index
};

struct Stream {
    tspec_ie_t tspec{};
    uint8_t tid = 0, direction = 0, user_priority = 0;
    std::chrono::microseconds timeout{}; // 0: never
    Clock::time_point last_used;
};

struct Station {
    const Bss *bss = nullptr;
    bool fast_transition = false; // is about to come so
    bool reassociates = false;
    std::vector<Stream> streams;
    const Bss *left_behind = nullptr; // whose leaving is to be told after the next answer
    std::map<uint8_t, Clock::time_point> unauthorised; // when last told, by category
};

// When it is told that a station which came from another of our networks has left that.
enum class Leaving { before, after, never };

// Microseconds of one request, each from the frame that asked to the frame that
// answers; and what of it the daemon held, its question for a frame duration taken out.
struct Duration {
    double whole, daemon;
};

class Side {
  public:
    struct Ways {
        std::function<void(ByteView)> to_air;                   // a whole frame
        std::function<void(uint16_t port, ByteView)> to_daemon; // a datagram
        std::function<void(const std::string &)> to_driver;     // a line
    };
    Side(Names &names, Ways ways) : names_(names), ways_(std::move(ways)) {}

    // True when the frame is for us and not for hostapd.
    bool see(const Frame &frame);
    void datagram(ByteView datagram);
    // What is due; call it some ten times a second, and when next_due has come.
    void tick(Clock::time_point now);
    std::optional<Clock::time_point> next_due() const;

    // What a story sets.
    Leaving leaving = Leaving::before;
    std::chrono::milliseconds answer_delay{};
    bool hostapd_answers = false;
    bool quiet = false;
    std::vector<Duration> durations;

    const std::map<Mac, Bss> &networks() const { return networks_; }
    const Station *station(const Mac &mac) const;

  private:
    void beacon(const Frame &frame);
    void from_station(const Frame &frame, const Bss &bss);
    void to_station(const Frame &frame, const Bss &bss);
    bool action(const Frame &frame, const Bss &bss);
    void data(const Frame &frame);
    void use(Station &station, const Frame &frame, bool uplink);
    void unauthorised(Station &station, const Mac &mac, uint8_t user_priority);

    void joined(const Mac &mac, const Bss &bss);
    void left(const Mac &mac);
    void tell_left(const Mac &mac, const Bss &bss);
    void carry_over(const Mac &mac, Station &station, const std::vector<Stream> &streams);

    tspec_hostapd_msg_t message(uint8_t cmd, const Mac &mac, const Bss &bss) const;
    void send(const tspec_hostapd_msg_t &msg, const std::string &text);
    void answer(const tspec_frame_dur_req_t &query);
    void response(const tspec_hostapd_msg_t &msg);
    void send_frame(const tspec_hostapd_msg_t &msg);
    void note(const std::string &from, const std::string &to, const std::string &text) const;

    Names &names_;
    Ways ways_;
    std::map<Mac, Bss> networks_;
    std::map<Mac, Station> stations_;
    struct Answer {
        Clock::time_point due;
        uint16_t port;
        tspec_frame_dur_rsp_t rsp;
    };
    std::vector<Answer> answers_;
    // Of the request that is under way.
    Clock::time_point asked_, queried_, answered_;
};

} // namespace tspec::air
