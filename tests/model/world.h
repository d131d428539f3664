// The daemon's surroundings as the model meets them, set by the same steps as
// those of the simulator.
#pragma once

#include "environment.h"
#include "layout.h"
#include "steps.h"

#include <cerrno>
#include <map>
#include <utility>

namespace tspec::lockstep {

// Counts calls exactly as the simulator does, so that both meet a failure at
// the same call.
class World : public model::Environment {
  public:
    void set(const StationIs &station)
    {
        const model::DriverAnswer answer{station.error != 0 ? model::DriverAnswer::Kind::ioctl_error
                                                            : model::DriverAnswer::Kind::text,
                                         station.text, station.error};
        if (station.sta_mac) {
            stations_[{*station.sta_mac, station.interface}] = answer;
        } else {
            other_stations_ = answer;
        }
    }
    void set(const ProcFileIs &file) { files_[file.interface] = file.text; }
    void set(const FrameAnswerIs &frame) { frame_ = frame; }
    void set(const CallsFail &failing)
    {
        for (CallsFail &rule : rules_) {
            if (rule.times == 0) {
                rule = failing; // the simulator takes the place of a spent one, too
                return;
            }
        }
        rules_.push_back(failing);
    }
    void set(const SendsAreShort &) {}
    void set(const NothingFails &) { rules_.clear(); }
    void set(const TrapIs &trap) { trap_ = trap.state; }
    void set(const ToolIs &tool) { tool_on_ = tool.on; }
    void set(const PeerIs &peer)
    {
        if (peer.who == Neighbour::hostapd) {
            hostapd_on_ = peer.on;
        }
    }

    model::DriverAnswer driver_status(const std::string &interface, const Mac &sta_mac) override
    {
        if (const int error = failure(FailingCall::socket, 0); error != 0) {
            return {model::DriverAnswer::Kind::no_socket, "", error};
        }
        for (const std::string &name : {interface, std::string()}) {
            const auto found = stations_.find({sta_mac, name});
            if (found != stations_.end()) {
                return found->second;
            }
        }
        return other_stations_;
    }

    std::optional<std::string> proc_file(const std::string &path) override
    {
        for (const auto &[interface, content] : files_) {
            if (path == "/proc/net/ieee80211/" + interface + "/iface/" + interface) {
                return content;
            }
        }
        return std::nullopt;
    }

    model::FrameAnswer frame_duration(const Bytes &) override
    {
        using Kind = model::FrameAnswer::Kind;
        if (const int error = failure(FailingCall::socket, 0); error != 0) {
            return {Kind::no_socket, error, {}, 0};
        }
        if (const int error = failure(FailingCall::bind, 0); error != 0) {
            return {Kind::bind_error, error, {}, 0};
        }
        if (const int error = failure(FailingCall::send, model::hostapd_port); error != 0) {
            return {Kind::send_error, error, {}, 0};
        }
        if (const int error = failure(FailingCall::exchange_wait, 0); error != 0) {
            return {Kind::wait_error, error, {}, 0};
        }
        if (!hostapd_on_ || frame_.silent || frame_.seconds >= 2) {
            return {Kind::silence, 0, {}, 0};
        }
        if (const int error = failure(FailingCall::exchange_receive, 0); error != 0) {
            return {Kind::receive_error, error, {}, frame_.seconds};
        }
        return {Kind::answer, 0, frame_.bytes, frame_.seconds};
    }

    int send_error(uint16_t port) override { return failure(FailingCall::send, port); }
    int tool_error() override { return tool_on_ ? 0 : ECONNREFUSED; }
    bool out_of_memory() override { return failure(FailingCall::memory, 0) != 0; }

    model::TrapReaction trap_pipe() override
    {
        switch (trap_) {
        case TrapState::absent:
            return {ENOENT, 0};
        case TrapState::no_reader:
            return {ENXIO, 0};
        case TrapState::reader:
            return {0, 0};
        case TrapState::full:
            return {0, EAGAIN};
        case TrapState::directory:
            break;
        }
        return {EISDIR, 0};
    }

  private:
    int failure(FailingCall call, uint16_t port)
    {
        for (CallsFail &rule : rules_) {
            const bool fits = rule.call == call && rule.times > 0 &&
                              (call != FailingCall::send || rule.port == port);
            if (!fits) {
                continue;
            }
            if (rule.after > 0) {
                rule.after--;
                continue;
            }
            rule.times--;
            return rule.error;
        }
        return 0;
    }

    std::map<std::pair<Mac, std::string>, model::DriverAnswer> stations_;
    model::DriverAnswer other_stations_{model::DriverAnswer::Kind::text, "client_status=0\n", 0};
    std::map<std::string, std::optional<std::string>> files_;
    FrameAnswerIs frame_{false, model::PlainEnvironment::frame_answer_bytes(400), 0};
    std::vector<CallsFail> rules_;
    TrapState trap_ = TrapState::absent;
    bool tool_on_ = true;
    bool hostapd_on_ = true;
};

} // namespace tspec::lockstep
