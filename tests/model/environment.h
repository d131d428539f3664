// The world around the daemon, as far as it can answer differently: whoever
// drives the model implements this to say what happens on each contact.
#pragma once

#include "bytes.h"

#include <optional>
#include <string>

namespace tspec::model {

struct DriverAnswer {
    enum class Kind { no_socket, ioctl_error, text };
    Kind kind = Kind::text;
    std::string text; // what the driver writes over the buffer
    int error = 5;    // errno of a failed query
};

struct FrameAnswer {
    enum class Kind {
        no_socket,
        bind_error,
        send_error,
        wait_error,
        silence,
        receive_error,
        answer
    };
    Kind kind = Kind::answer;
    int error = 0;        // errno of a failed bind or send
    Bytes bytes;          // of the datagram that answers
    unsigned seconds = 0; // that pass until it arrives; silence takes two
};

struct TrapReaction {
    int open_error = 0;
    int write_error = 0;
};

class Environment {
  public:
    virtual ~Environment() = default;

    virtual DriverAnswer driver_status(const std::string &interface, const Mac &sta_mac) = 0;

    // Nothing when the file cannot be opened.
    virtual std::optional<std::string> proc_file(const std::string &path) = 0;

    virtual FrameAnswer frame_duration(const Bytes &query) = 0;

    // errno of the next sendto from the daemon's socket to this port, 0 when it succeeds.
    virtual int send_error(uint16_t port) = 0;

    // errno of sending the ping answer to the operator's tool, 0 when it is there.
    virtual int tool_error() = 0;

    virtual TrapReaction trap_pipe() = 0;

    // Whether there is no memory for another client record.
    virtual bool out_of_memory() = 0;
};

// A quiet world for tests to derive from: every station associated, no proc
// file, every frame 400 microseconds long, nothing fails, no trap pipe.
class PlainEnvironment : public Environment {
  public:
    DriverAnswer driver_status(const std::string &interface, const Mac &sta_mac) override;
    std::optional<std::string> proc_file(const std::string &path) override;
    FrameAnswer frame_duration(const Bytes &query) override;
    int send_error(uint16_t port) override;
    int tool_error() override;
    TrapReaction trap_pipe() override;
    bool out_of_memory() override;

    DriverAnswer driver{DriverAnswer::Kind::text, "client_status=1\n", 0};
    std::optional<std::string> proc;
    FrameAnswer frame{FrameAnswer::Kind::answer, 0, frame_answer_bytes(400), 0};
    int hostapd_send_error = 0;
    int mapd_send_error = 0;
    int dman_send_error = 0;
    int ping_error = 0;
    TrapReaction trap{2, 0}; // ENOENT
    bool memory_exhausted = false;

    static Bytes frame_answer_bytes(uint32_t microseconds);
};

} // namespace tspec::model
