// The kernel's simulated radios (mac80211_hwsim), which hand every frame that they send
// to one program and receive what that program gives them. The numbers are those of
// the kernel's netlink interface, for which no header is installed.
#pragma once

#include "frame.h"

#include <functional>
#include <memory>

struct nl_msg;
struct nl_sock;

namespace tspec::air {

// A frame as a radio sent it.
struct Sent {
    Mac radio{}; // the radio's second address, 42:00:00:00:NN:00
    Bytes frame;
    uint32_t flags = 0;
    uint32_t frequency = 0; // MHz
    uint64_t cookie = 0;
    Bytes rates; // struct hwsim_tx_rate: index and count, four times
    int rate_index() const { return rates.empty() ? 0 : static_cast<int8_t>(rates[0]); }
};

class Radios {
  public:
    // Throws std::runtime_error when the kernel does not have the radios, or does not
    // give them to us.
    explicit Radios(std::function<void(const Sent &)> on_frame);
    ~Radios();
    Radios(const Radios &) = delete;
    Radios &operator=(const Radios &) = delete;

    int descriptor() const;
    void read(); // calls on_frame for each frame that has come

    // A radio that is off, or on another channel, drops it.
    void deliver(const Mac &radio, ByteView frame, uint32_t frequency, int rate_index);
    void report(const Sent &sent, bool acknowledged);

  private:
    nl_msg *message(uint8_t command) const;
    void send(nl_msg *message);
    static int take(nl_msg *message, void *radios);

    nl_sock *socket_ = nullptr;
    int family_ = 0;
    std::function<void(const Sent &)> on_frame_;
};

} // namespace tspec::air
