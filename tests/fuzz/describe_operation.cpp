// Operations as one line for people.
#include "effects.h"
#include "operation.h"

namespace tspec::fuzz {

namespace {

using model::text;

std::string quoted(const Bytes &bytes)
{
    return model::describe(model::StandardError{std::string(bytes.begin(), bytes.end())});
}

const char *door_name(Door door)
{
    static constexpr const char *NAMES[] = {"UDP socket", "dman's socket", "operator's socket"};
    return NAMES[static_cast<size_t>(door)];
}

// Only what the datagrams themselves do not show.
struct Describer {
    std::string operator()(const FromHostapd &op) const
    {
        return text("hostapd, cmd %u, %s TID %u priority %u direction %u radio %u", op.cmd,
                    model::mac_text(op.sta).c_str(), op.tid, op.up, op.dir, op.radio_unit);
    }
    std::string operator()(const FromMapd &op) const
    {
        return text("mapd, cmd %u, %s TID %u AC %u direction %u result %u medium time %u", op.cmd,
                    model::mac_text(op.sta).c_str(), op.tid, op.ac_idx, op.dir, op.result,
                    op.medium_time);
    }
    std::string operator()(const AnswerForwarded &op) const
    {
        return text("mapd answers the last request with %u", op.result);
    }
    std::string operator()(const ConfigureRadio &op) const
    {
        return text("dman configures radio %u", op.radio_if);
    }
    std::string operator()(const SetInterval &op) const
    {
        return text("dman sets the interval of violation reports to %u s", op.seconds);
    }
    std::string operator()(const SetApState &op) const
    {
        return text("mapd sets the managed mode to %u", op.managed_mode);
    }
    std::string operator()(const RequestStatus &op) const
    {
        return "dman asks for \"" + std::string(op.command) + "\"";
    }
    std::string operator()(const Ping &) const { return "operator: ping"; }
    std::string operator()(const SetDebugLevels &) const { return "operator: debug levels"; }
    std::string operator()(const DeleteClient &op) const
    {
        return "operator: delete client " + model::mac_text(op.sta);
    }
    std::string operator()(const DeleteStream &op) const
    {
        return "operator: delete client " + model::mac_text(op.sta) + text(" TID %u", op.tid);
    }
    std::string operator()(const SetDisassocMode &op) const
    {
        return text("operator: disassociation mode %u", op.mode);
    }
    std::string operator()(const Show &op) const { return text("operator: show (all %u)", op.all); }
    std::string operator()(const Raw &op) const
    {
        return std::string("bytes to the ") + door_name(op.door);
    }
    std::string operator()(const CutOrPad &op) const
    {
        return text("the next datagram has %u bytes", op.length);
    }
    std::string operator()(const Patch &op) const
    {
        return text("byte %u of the next datagram is %u", op.offset, op.value);
    }
    std::string operator()(const ToDoor &op) const
    {
        return std::string("the next datagram goes to the ") + door_name(op.door);
    }
    std::string operator()(const KeepWaiting &) const
    {
        return "the next datagram waits for another one";
    }
    std::string operator()(const PassTime &op) const { return text("%u s pass", op.seconds); }
    std::string operator()(const StepClock &op) const
    {
        return text("the clock is set by %lld s", static_cast<long long>(op.seconds));
    }
    std::string operator()(const Repeat &op) const
    {
        return text("%s again, %u turns",
                    op.both != 0 ? "the last two datagrams" : "the last datagram", op.times);
    }
    std::string operator()(const DriverAnswers &op) const
    {
        return "driver answers for " + who(op.everybody, op.sta) + ": " +
               quoted(Bytes(op.text.begin(), op.text.end()));
    }
    std::string operator()(const DriverFails &op) const
    {
        return "driver fails for " + who(op.everybody, op.sta) + text(" with errno %d", op.error);
    }
    std::string operator()(const DriverText &op) const
    {
        return text("driver answers for everybody, after %u bytes: ", op.padding) + quoted(op.text);
    }
    std::string operator()(const ProcFile &op) const
    {
        return text("proc file of wlan%u: ", op.radio) +
               (op.absent != 0 ? "absent" : quoted(Bytes(op.text.begin(), op.text.end())));
    }
    std::string operator()(const ProcText &op) const
    {
        return text("proc files, after %u bytes: ", op.padding) + quoted(op.text);
    }
    std::string operator()(const FramesLast &op) const
    {
        return text("hostapd answers that frames last %u us%s", op.microseconds,
                    op.late != 0 ? ", a second late" : "");
    }
    std::string operator()(const FrameAnswer &op) const
    {
        return op.silence != 0 ? "hostapd does not answer about frames"
                               : "hostapd answers about frames: " + quoted(op.data);
    }
    std::string operator()(const CallsFail &op) const
    {
        static constexpr const char *NAMES[] = {"sends to hostapd",
                                                "sends to mapd",
                                                "sends to dman",
                                                "socket",
                                                "bind",
                                                "select of the exchange",
                                                "recvfrom of the exchange",
                                                "calloc"};
        return text("%s: errno %d after %u calls, %u times", NAMES[static_cast<size_t>(op.call)],
                    op.error, op.after, op.times);
    }
    std::string operator()(const NothingFails &) const { return "nothing fails any more"; }
    std::string operator()(const TrapPipeIs &op) const
    {
        static constexpr const char *NAMES[] = {"absent", "without reader", "read", "full",
                                                "a directory"};
        return text("the trap pipe is %s", NAMES[static_cast<size_t>(op.state)]);
    }
    std::string operator()(const ToolIs &op) const
    {
        return op.off != 0 ? "the operator's tool is gone" : "the operator's tool listens";
    }
    std::string operator()(const WaitFails &op) const
    {
        return text("select fails with errno %d", op.error);
    }
    std::string operator()(const ReadFails &op) const
    {
        return text("reading from the %s fails with errno %d", door_name(op.door), op.error);
    }

  private:
    static std::string who(uint8_t everybody, const Mac &sta)
    {
        return everybody != 0 ? std::string("everybody") : model::mac_text(sta);
    }
};

} // namespace

std::string describe(const Operation &operation)
{
    return std::visit(Describer{}, operation);
}

} // namespace tspec::fuzz
