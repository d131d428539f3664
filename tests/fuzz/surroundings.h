// The world around the daemon as an input has made it. The fake platform and the
// model's environment both read it, each with a count of its own of the calls
// that fail, so that the daemon and the model meet the same failure at the same
// call.
#pragma once

#include "environment.h"
#include "operation.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace tspec::fuzz {

struct DriverReply {
    std::string text = "client_status=1\n";
    int error = 0;
};

struct Surroundings {
    std::array<std::optional<DriverReply>, STATIONS.size()> driver{};
    DriverReply driver_for_others{};
    std::array<std::optional<std::string>, 2> proc_files{};
    bool silent = false; // hostapd, about frames
    Bytes frame_answer = model::PlainEnvironment::frame_answer_bytes(400);
    unsigned frame_answer_late = 0; // seconds
    TrapPipe trap = TrapPipe::absent;
    bool tool_listens = true;

    const DriverReply &driver_reply(const Mac &sta) const;
    // Errnos of opening the pipe and of writing into it; 0 where it works.
    model::TrapReaction trap_reaction() const;
};

class Failures {
  public:
    void add(const CallsFail &rule) { rules_.push_back(rule); }
    void clear() { rules_.clear(); }
    // Counts a call. Returns the errno that it fails with, or 0.
    int next(FailingCall call);
    uint64_t hits() const { return hits_; }

  private:
    uint64_t hits_ = 0;
    std::vector<CallsFail> rules_;
};

FailingCall send_to_port(uint16_t port);

// What the model asks.
class ModelSurroundings : public model::Environment {
  public:
    explicit ModelSurroundings(const Surroundings &around) : around_(around) {}

    Failures &failures() { return failures_; }

    model::DriverAnswer driver_status(const std::string &interface, const Mac &sta_mac) override;
    std::optional<std::string> proc_file(const std::string &path) override;
    model::FrameAnswer frame_duration(const Bytes &query) override;
    int send_error(uint16_t port) override { return failures_.next(send_to_port(port)); }
    int tool_error() override;
    model::TrapReaction trap_pipe() override { return around_.trap_reaction(); }
    bool out_of_memory() override { return failures_.next(FailingCall::memory) != 0; }

  private:
    const Surroundings &around_;
    Failures failures_;
};

} // namespace tspec::fuzz
