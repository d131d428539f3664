// Seeded sequences of everything that can happen to the daemon, from small
// pools of values so that requests meet each other, and steered by the model's
// state so that most of them find what they are about.
#pragma once

#include "inputs.h"
#include "lockstep.h"

#include <initializer_list>
#include <random>

namespace tspec::lockstep {

// Addresses of the VAPs at which stations are seen.
inline const Mac first_vap{0x02, 0xaa, 0, 0, 0, 2};
inline const Mac second_vap{0x02, 0xaa, 0, 0, 0, 3};

struct Profile {
    unsigned stations = 4;
    bool failures = true; // sends, sockets, driver and hostapd misbehave
    bool hostile = true;  // lengths and bytes that no peer sends
    bool mode_switches = true;
    bool ends_process = false; // nominal sizes of 0
};

class RandomWalk {
  public:
    RandomWalk(uint64_t seed, const Profile &profile) : generator_(seed), profile_(profile) {}

    Step next(const model::Daemon &daemon);

    // Makes every station associated and fills the store up to a few streams
    // below the limit.
    Steps crowd();

    // Removes every stream of the store, each by one of the ways out.
    Step next_removal(const model::Daemon &daemon);

    uint64_t below(uint64_t limit) { return generator_() % limit; }
    bool one_in(uint64_t number) { return below(number) == 0; }

  private:
    template <typename Value>
    Value from(std::initializer_list<Value> pool)
    {
        return *(pool.begin() + static_cast<ptrdiff_t>(below(pool.size())));
    }

    Mac station();
    std::optional<Mac> station_or_none();
    const model::Entry *stream_in(const model::Daemon &daemon, bool pending_first);
    uint8_t priority_for(uint8_t ac_idx);
    void aim_at(model::HostapdInput &input, const model::Entry &entry);

    Bytes hostapd_message(const model::Daemon &daemon);
    Bytes mapd_message(const model::Daemon &daemon);
    Bytes config_message();
    Bytes status_request(const model::Daemon &daemon);
    Bytes cli_command(const model::Daemon &daemon);
    Bytes noise();
    Bytes distort(Bytes message);
    Step delivery(const model::Daemon &daemon);
    Step surroundings();
    Step failure();
    std::string driver_text();

    std::mt19937_64 generator_;
    Profile profile_;
};

} // namespace tspec::lockstep
