#include "steps.h"

#include "effects.h"
#include "sim/lib/decode.h"

namespace tspec::lockstep {

using model::text;

namespace {

std::string decoded(sim::Peer peer, const char *socket, const std::optional<Bytes> &datagram)
{
    if (!datagram) {
        return "";
    }
    std::string shown;
    for (const uint8_t byte : *datagram) {
        shown += text("%02x", byte);
    }
    const sim::Decoded meaning =
        sim::decode_datagram(sim::Kind::to_daemon, peer, sim::ByteView(*datagram));
    return text("%s %s, %zu bytes: %s; ", socket, meaning.summary.c_str(), datagram->size(),
                shown.c_str());
}

const char *call_name(FailingCall call)
{
    switch (call) {
    case FailingCall::send:
        return "sendto";
    case FailingCall::socket:
        return "socket";
    case FailingCall::bind:
        return "bind";
    case FailingCall::exchange_wait:
        return "select of the exchange";
    case FailingCall::exchange_receive:
        return "recvfrom of the exchange";
    case FailingCall::memory:
        break;
    }
    return "calloc";
}

struct StepDescriber {
    std::string operator()(const Deliver &deliver) const
    {
        return decoded(sim::Peer::hostapd, "udp", deliver.udp) +
               decoded(sim::Peer::dman, "dman", deliver.dman) +
               decoded(sim::Peer::cli, "cli", deliver.cli);
    }
    std::string operator()(const Advance &advance) const
    {
        return text("%u seconds pass", advance.seconds);
    }
    std::string operator()(const StepClock &step) const
    {
        return text("the clock is set by %lld s", static_cast<long long>(step.seconds));
    }
    std::string operator()(const StationIs &station) const
    {
        const std::string who =
            station.sta_mac ? model::mac_text(*station.sta_mac) : std::string("any other station");
        return "driver on " + who + " at '" + station.interface +
               "': " + model::describe(model::StandardError{station.text}) +
               text(" errno %d", station.error);
    }
    std::string operator()(const ProcFileIs &file) const
    {
        return "proc file of " + file.interface +
               (file.text ? ": " + model::describe(model::StandardError{*file.text}) : " absent");
    }
    std::string operator()(const FrameAnswerIs &frame) const
    {
        return text("frame answers: silent %d, %zu bytes, after %u s", frame.silent ? 1 : 0,
                    frame.bytes.size(), frame.seconds);
    }
    std::string operator()(const CallsFail &failing) const
    {
        return text("%s (port %u) fails with errno %d after %u calls, %u times",
                    call_name(failing.call), failing.port, failing.error, failing.after,
                    failing.times);
    }
    std::string operator()(const SendsAreShort &sends) const
    {
        return text("sendto (port %u) sends one byte, %u times", sends.port, sends.times);
    }
    std::string operator()(const NothingFails &) const { return "no more failures"; }
    std::string operator()(const TrapIs &trap) const
    {
        const char *const names[] = {"absent", "without reader", "read", "full", "a directory"};
        return text("trap pipe is %s", names[static_cast<int>(trap.state)]);
    }
    std::string operator()(const ToolIs &tool) const
    {
        return text("operator's tool is %s", tool.on ? "on" : "off");
    }
    std::string operator()(const PeerIs &peer) const
    {
        const char *const names[] = {"hostapd", "mapd", "dman"};
        return text("%s %s", names[static_cast<int>(peer.who)], peer.on ? "comes" : "goes");
    }
};

} // namespace

std::string describe(const Step &step)
{
    return std::visit(StepDescriber{}, step);
}

std::string describe(const Steps &steps)
{
    std::string result;
    for (size_t i = 0; i < steps.size(); i++) {
        result += text("  %zu. ", i) + describe(steps[i]) + "\n";
    }
    return result;
}

} // namespace tspec::lockstep
