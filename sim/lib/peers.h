// The daemon's peers, as the simulator plays them: each owns its socket, sends
// what it is told and answers where an answer is expected. All peers belong to
// an AccessPoint and live as long as it does; their sockets are read while the
// access point settles.
#pragma once

#include "sim/lib/bytes.h"
#include "sim/lib/event.h"
#include "sim/lib/socket.h"
#include "tspec/message.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tspec::sim {

class AccessPoint;

// Called for each datagram that the daemon sent to the peer, while settling.
// It may send; the settling goes on until that is handled, too.
using Reaction = std::function<void(const Event &)>;

// A peer with a UDP port of its own.
class UdpPeer {
  public:
    UdpPeer(AccessPoint &access_point, Peer who, uint16_t port);

    Peer who() const { return who_; }
    uint16_t port() const { return port_; }

    // A peer that is switched off has no socket: what the daemon sends to it is
    // lost. Peers start switched on, unless Options::away has them.
    bool is_on() const { return socket_.is_open(); }
    void turn_on();
    void turn_off();

    // To the daemon's UDP socket, from this peer's port, or from a passing port
    // when it is switched off.
    void send(ByteView datagram);

    void react(Reaction reaction) { reaction_ = std::move(reaction); }

  protected:
    AccessPoint &access_point_;

  private:
    friend class AccessPoint;
    Peer who_;
    uint16_t port_;
    Socket socket_;
    Reaction reaction_;
};

// What hostapd answers to one frame-duration query.
struct FrameDurationAnswer {
    Bytes datagram;
    Duration delay{0}; // on the daemon's clock
};

// No answer at all when empty.
using FrameDurationPolicy =
    std::function<std::optional<FrameDurationAnswer>(const tspec_frame_dur_req_t &query)>;

namespace frame_duration {
FrameDurationPolicy normal(uint32_t microseconds);
FrameDurationPolicy none();
FrameDurationPolicy empty(); // a datagram of no bytes
FrameDurationPolicy wrong_marker(uint32_t microseconds);
FrameDurationPolicy short_answer(size_t bytes = 1); // the first bytes of a normal answer
FrameDurationPolicy late(uint32_t microseconds, Duration delay = std::chrono::seconds(3));
} // namespace frame_duration

class Hostapd : public UdpPeer {
  public:
    explicit Hostapd(AccessPoint &access_point);

    // Starts as normal(400).
    void answer_frame_duration(FrameDurationPolicy policy) { policy_ = std::move(policy); }

  private:
    friend class AccessPoint;
    FrameDurationPolicy policy_;
};

class Mapd : public UdpPeer {
  public:
    explicit Mapd(AccessPoint &access_point);

    // From now on answers every forwarded ADDTS request with this result; none
    // stops it. Replaces a reaction.
    void answer_requests(std::optional<uint8_t> result);
};

// Sends to the daemon's local socket, receives text on its UDP port.
class Dman : public UdpPeer {
  public:
    explicit Dman(AccessPoint &access_point);

    // To "/tmp/tspec_dman_config".
    void send(ByteView datagram);
};

// The operator's tool: bound to the abstract name "cli-tspec" over the full
// length of the address.
class Operator {
  public:
    explicit Operator(AccessPoint &access_point);

    bool is_on() const { return socket_.is_open(); }
    void turn_on();
    void turn_off();

    // To the abstract name "tspec-cli".
    void send(ByteView command);

  private:
    friend class AccessPoint;
    AccessPoint &access_point_;
    Socket socket_;
};

// The receiver behind /dev/log. Off: nothing is bound there. Where the world is
// not private this only decides whether Event::delivered is set.
class SystemLog {
  public:
    bool is_on() const { return on_; }
    void turn_on();
    void turn_off();

  private:
    friend class AccessPoint;
    bool on_ = false;
    Socket socket_;
};

// The SNMP agent behind the trap pipe.
class TrapPipe {
  public:
    explicit TrapPipe(AccessPoint &access_point);
    ~TrapPipe();

    void create();      // the pipe exists, nobody reads
    void remove();      // and closes the reader
    void open_reader(); // creates the pipe when needed
    void close_reader();

    // Something else than a pipe, so that opening it for writing fails with
    // another error than a missing pipe or reader: a directory.
    void put_directory();

    // The reader leaves between the daemon's next open and its write.
    void leave_after_next_open();

    // Filled up so that not one byte more fits; needs a reader, which reads
    // nothing until drain().
    void fill();
    void drain(); // throws away what is in the pipe

    bool has_reader() const { return reader_.is_open(); }

    // Everything the reader has read from the daemon, byte for byte.
    const std::string &received() const { return received_; }

  private:
    friend class AccessPoint;
    void read_available();
    AccessPoint &access_point_;
    Socket reader_;
    bool ours_ = false; // what is at the path was put there by us
    bool full_ = false;
    bool leave_after_next_open_ = false;
    std::string received_;
};

} // namespace tspec::sim
