// The air between the simulated radios: every frame reaches whom it is meant for, is
// acknowledged when that radio is there, and takes its time.
#pragma once

#include "frame.h"
#include "hwsim.h"

#include <functional>
#include <map>
#include <set>

namespace tspec::air {

class Medium {
  public:
    // Called with every frame before it is passed on; true when it is not to be.
    using Observer = std::function<bool(const Frame &)>;
    // Called with every frame on the air, its channel's frequency and its rate (bit/s).
    using Witness = std::function<void(ByteView, uint32_t frequency, uint32_t rate)>;

    Medium(Observer observer, Witness witness);

    int descriptor() const { return radios_.descriptor(); }
    void read() { radios_.read(); }

    // A frame of ours, at the lowest rate; lost when nobody knows the receiver's radio.
    void transmit(ByteView frame);

    // The radio that sends from this address hears and is heard no more, or again. False
    // when it has never sent.
    bool switch_radio(const Mac &address, bool on);

    // Share of the time, in per cent, that frames took on the channel of this sender
    // since the last call of forget_busy, after so many microseconds.
    unsigned busy(const Mac &sender, uint64_t elapsed) const;
    void forget_busy() { busy_.clear(); }

  private:
    struct Place {
        Mac radio{};
        uint32_t frequency = 0;
    };

    void pass_on(const Sent &sent);
    bool deliver(const Frame &frame, const Mac &from, uint32_t frequency, int rate_index);
    void count(ByteView frame, uint32_t frequency, int rate_index);

    Radios radios_;
    Observer observer_;
    Witness witness_;
    std::map<Mac, Place> places_; // by the address that frames are sent from
    std::set<Mac> known_; // radios that have sent: none listens before, as all scan actively
    std::set<Mac> off_;   // radios
    std::map<uint32_t, uint64_t> busy_;
};

} // namespace tspec::air
