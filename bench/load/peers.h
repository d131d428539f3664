// The daemon's peers, played by one thread: hostapd, mapd, dman and the
// operator. Answers are awaited by looking, not by sleeping, as long as they
// come soon: what is measured must not be the waking up of the measuring side.
#pragma once

#include "sim/lib/bytes.h"
#include "sim/lib/socket.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace tspec::bench {

using sim::Bytes;
using sim::ByteView;

class Peers {
  public:
    Peers();

    // To the daemon, from the peer whose message it is.
    void from_hostapd(ByteView message) const;
    void from_mapd(ByteView message) const;
    void from_dman(ByteView message);
    // Sends a ping and waits for the answer: everything before it is done.
    // False when nobody is there yet.
    bool try_ping();
    void ping();
    // The same with a datagram of this length, to be found in a trace of calls.
    void ping_of_length(size_t length);
    // Answered since the daemon was started.
    int pings() const { return pings_; }

    // Waits for an ADDTS response, and meanwhile answers the daemon's questions
    // for the frame duration and, as mapd, its requests for admission.
    void await_addts_response(bool managed);
    // Waits for a report; its bytes stay valid until the next call.
    ByteView await_report();

    // Takes what has come and nobody waits for. Call when the daemon is idle.
    void drain();

    // The daemon was started anew.
    void forget_daemon();

  private:
    ByteView receive(const sim::Socket &socket);
    template <typename Ready>
    void await(const char *what, Ready ready);
    bool take_hostapd();
    void take_mapd();

    sim::Socket hostapd_;
    sim::Socket mapd_;
    sim::Socket dman_;
    sim::Socket dman_reply_;
    sim::Socket operator_;
    bool dman_connected_ = false;
    bool operator_connected_ = false;
    int pings_ = 0;
    std::array<uint8_t, 2048> buffer_{};
};

} // namespace tspec::bench
