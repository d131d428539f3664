// The daemon and its model on one line of simulated time: what is planned
// happens when its second comes, each step is done to both and compared, and
// whoever listens hears what the daemon sent.
#pragma once

#include "inputs.h"
#include "lockstep.h"
#include "tally.h"

#include <deque>
#include <functional>
#include <queue>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tspec::soak {

using lockstep::Step;
using model::Bytes;
using model::Mac;

// Something that the rules do not allow.
class Finding : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Numbers from one seed, the same on every machine.
class Chance {
  public:
    explicit Chance(uint64_t seed) : generator_(seed) {}

    uint64_t below(uint64_t limit) { return generator_() % limit; }
    bool percent(unsigned share) { return below(100) < share; }
    uint32_t between(uint32_t least, uint32_t most)
    {
        return static_cast<uint32_t>(least + below(most - least + 1ULL));
    }
    // Seconds until something that happens that often on average: at least 1.
    uint32_t about(uint32_t seconds);

    template <typename Value>
    Value one_of(std::initializer_list<Value> pool)
    {
        return *(pool.begin() + static_cast<ptrdiff_t>(below(pool.size())));
    }

  private:
    std::mt19937_64 generator_;
};

class Stage {
  public:
    using Action = std::function<void()>;
    using Listener = std::function<void(const model::Sent &)>;

    explicit Stage(uint64_t seed);

    // Throws Finding where daemon and model part.
    void play(Activity activity, const Step &step);
    void udp(Activity activity, Bytes datagram);
    void dman(Activity activity, Bytes datagram);
    void cli(Activity activity, Bytes datagram);

    void in(uint32_t seconds, Action action);
    // Again and again, each time after the seconds that `pause` gives.
    void every(std::function<uint32_t()> pause, const Action &action);

    // Lets everything happen that is due until then. Returns early when `stop`
    // says so; it is asked before every action.
    void run_until(uint64_t second, const std::function<bool()> &stop);

    // Hears every datagram that left the daemon's UDP socket.
    void listen(Listener listener) { listeners_.push_back(std::move(listener)); }

    uint64_t now() const { return now_; } // seconds since the start
    const model::State &state() const { return lockstep_.model().state(); }
    size_t streams() const;
    lockstep::Lockstep &lockstep() { return lockstep_; }
    Tally &tally() { return tally_; }
    Chance &chance() { return chance_; }

    // The last steps, for people.
    std::string last_steps() const;

  private:
    struct Planned {
        uint64_t second;
        uint64_t order;
        Action action;
        bool operator>(const Planned &other) const
        {
            return std::pair(second, order) > std::pair(other.second, other.order);
        }
    };

    void pass_to(uint64_t second);
    void count(Activity activity, const Step &step);
    void tell_listeners();

    lockstep::Lockstep lockstep_;
    Chance chance_;
    Tally tally_;
    std::priority_queue<Planned, std::vector<Planned>, std::greater<>> plan_;
    uint64_t order_ = 0;
    uint64_t now_ = 0;
    uint32_t clock_;
    std::vector<Listener> listeners_;
    std::deque<std::pair<Activity, Step>> last_;
};

} // namespace tspec::soak
