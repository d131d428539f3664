#include "lockstep.h"

#include "observed.h"
#include "sim/lib/access_point.h"
#include "sim/lib/driver.h"
#include "sim/lib/peers.h"
#include "sim/lib/probe.h"
#include "world.h"

#include <sys/socket.h>

namespace tspec::lockstep {

using model::Effect;
using model::Effects;
using model::text;

namespace {

constexpr uint32_t start_seconds = 1'700'000'000;

} // namespace

class Lockstep::Both {
  public:
    explicit Both(const Start &start)
        : daemon(world, model::Settings{3, start_seconds, start.console_opens}), ap(options(start))
    {
        if (!start.console_opens) {
            ap.driver().fail_console(ENXIO);
        }
        ap.start();
        settle_frames(FrameAnswerIs{false, model::PlainEnvironment::frame_answer_bytes(400), 0});
        ap.settle();
        descriptors = sim::open_descriptors(ap.pid()).size();
    }

    static sim::Options options(const Start &start)
    {
        sim::Options chosen;
        chosen.start_time = sim::Time{std::chrono::seconds(start_seconds)};
        chosen.own_group = start.own_group;
        return chosen;
    }

    void settle_frames(const FrameAnswerIs &frame)
    {
        ap.hostapd().answer_frame_duration(
            [frame](const tspec_frame_dur_req_t &) -> std::optional<sim::FrameDurationAnswer> {
                if (frame.silent) {
                    return std::nullopt;
                }
                return sim::FrameDurationAnswer{frame.bytes, std::chrono::seconds(frame.seconds)};
            });
    }

    std::optional<std::string> compare()
    {
        for (const Effect &effect : expected) {
            if (std::holds_alternative<model::DescriptorLeaked>(effect)) {
                descriptors++;
            }
            if (std::holds_alternative<model::ConsoleLine>(effect) && !console_open) {
                console_open = true;
                descriptors++;
            }
        }
        const Effects wanted = reported(expected);
        Effects actual = effects_of(ap.settle());
        for (size_t i = 0; i < actual.size() && i < wanted.size(); i++) {
            actual[i] = without_unknown_errno(actual[i], wanted[i]);
        }
        if (wanted != actual) {
            return difference(wanted, actual);
        }
        if (daemon.state().ended) {
            return std::nullopt;
        }
        const auto now =
            std::chrono::duration_cast<std::chrono::seconds>(ap.now().time_since_epoch()).count();
        if (static_cast<uint32_t>(now) != daemon.time()) {
            return text("    time is %u, expected %u\n", static_cast<uint32_t>(now), daemon.time());
        }
        return std::nullopt;
    }

    void send(const Deliver &deliver)
    {
        const int count = (deliver.udp ? 1 : 0) + (deliver.dman ? 1 : 0) + (deliver.cli ? 1 : 0);
        if (count > 1) {
            ap.pause();
        }
        if (deliver.udp) {
            // From a port of its own: a passing one might be the port that the
            // daemon needs for its frame-duration query.
            if (ap.hostapd().is_on() || !ap.mapd().is_on()) {
                ap.hostapd().send(*deliver.udp);
            } else {
                ap.mapd().send(*deliver.udp);
            }
        }
        if (deliver.dman) {
            ap.send_dman(*deliver.dman);
        }
        if (deliver.cli) {
            ap.send_cli(*deliver.cli);
        }
        if (count > 1) {
            ap.resume();
        }
    }

    void apply(const Deliver &deliver)
    {
        if (!deliver.udp && !deliver.dman && !deliver.cli) {
            return;
        }
        send(deliver);
        expected = daemon.turn({.udp = deliver.udp, .dman = deliver.dman, .cli = deliver.cli});
    }
    void apply(const Advance &advance)
    {
        ap.advance(std::chrono::seconds(advance.seconds));
        for (unsigned i = 0; i < advance.seconds; i++) {
            daemon.set_time(daemon.time() + 1);
            const Effects turn = daemon.timeout();
            expected.insert(expected.end(), turn.begin(), turn.end());
        }
    }
    void apply(const StepClock &step)
    {
        ap.step_clock(std::chrono::seconds(step.seconds));
        daemon.set_time(daemon.time() + static_cast<uint32_t>(step.seconds));
    }
    void apply(const StationIs &station)
    {
        world.set(station);
        const sim::StationAnswer answer{.text = station.text, .error = station.error};
        if (station.sta_mac) {
            ap.driver().set_station(sim::Mac{*station.sta_mac}, answer, station.interface);
        } else {
            ap.driver().set_default(answer);
        }
    }
    void apply(const ProcFileIs &file)
    {
        world.set(file);
        ap.driver().set_proc_file(file.interface, file.text);
    }
    void apply(const FrameAnswerIs &frame)
    {
        world.set(frame);
        settle_frames(frame);
    }
    void apply(const CallsFail &failing)
    {
        world.set(failing);
        sim::Fault fault{.call = sim::Call::sendto,
                         .error = failing.error,
                         .after = failing.after,
                         .times = failing.times};
        switch (failing.call) {
        case FailingCall::send:
            fault.port = failing.port;
            break;
        case FailingCall::socket:
            fault.call = sim::Call::socket;
            fault.family = AF_INET;
            break;
        case FailingCall::bind:
            fault.call = sim::Call::bind;
            fault.port = model::frame_answer_port;
            break;
        case FailingCall::exchange_wait:
            fault.call = sim::Call::select;
            fault.port = model::frame_answer_port;
            break;
        case FailingCall::exchange_receive:
            fault.call = sim::Call::recvfrom;
            fault.port = model::frame_answer_port;
            break;
        case FailingCall::memory:
            fault.call = sim::Call::calloc;
            break;
        }
        ap.driver().inject(fault);
    }
    void apply(const SendsAreShort &sends)
    {
        ap.driver().inject({.call = sim::Call::sendto,
                            .error = 0,
                            .result = 1,
                            .times = sends.times,
                            .port = sends.port});
    }
    void apply(const NothingFails &nothing)
    {
        world.set(nothing);
        ap.driver().clear_faults();
    }
    void apply(const TrapIs &trap)
    {
        world.set(trap);
        sim::TrapPipe &pipe = ap.trap();
        pipe.remove();
        switch (trap.state) {
        case TrapState::absent:
            break;
        case TrapState::no_reader:
            pipe.create();
            break;
        case TrapState::reader:
            pipe.open_reader();
            break;
        case TrapState::full:
            pipe.open_reader();
            pipe.fill();
            break;
        case TrapState::directory:
            pipe.put_directory();
            break;
        }
    }
    void apply(const ToolIs &tool)
    {
        world.set(tool);
        if (tool.on && !ap.cli().is_on()) {
            ap.cli().turn_on();
        } else if (!tool.on && ap.cli().is_on()) {
            ap.cli().turn_off();
        }
    }

    void apply(const PeerIs &peer)
    {
        world.set(peer);
        sim::UdpPeer &neighbour = neighbour_of(peer.who);
        if (peer.on) {
            neighbour.turn_on();
        } else {
            neighbour.turn_off();
        }
    }

    sim::UdpPeer &neighbour_of(Neighbour who)
    {
        switch (who) {
        case Neighbour::hostapd:
            return ap.hostapd();
        case Neighbour::mapd:
            return ap.mapd();
        case Neighbour::dman:
            break;
        }
        return ap.dman();
    }

    World world;
    model::Daemon daemon;
    sim::AccessPoint ap;
    Effects expected;
    size_t descriptors = 0;
    bool console_open = false;
};

Lockstep::Lockstep(const Start &start) : both_(std::make_unique<Both>(start)) {}
Lockstep::~Lockstep() = default;

std::optional<std::string> Lockstep::play(const Step &step)
{
    both_->expected.clear();
    std::visit([this](const auto &one) { both_->apply(one); }, step);
    return both_->compare();
}

std::optional<std::string> Lockstep::play_wait_error(int error)
{
    both_->expected = both_->daemon.wait_error(error);
    both_->ap.driver().inject({.call = sim::Call::select, .error = error, .port = model::own_port});
    return both_->compare();
}

std::optional<std::string> Lockstep::play_read_error(const Deliver &deliver, int error)
{
    model::Ready failed;
    if (deliver.udp) {
        failed.udp_error = error;
        both_->ap.driver().inject(
            {.call = sim::Call::read, .error = error, .port = model::own_port});
    }
    if (deliver.dman) {
        failed.dman_error = error;
        both_->ap.driver().inject({.call = sim::Call::recvfrom, .error = error, .family = AF_UNIX});
    }
    if (deliver.cli) {
        failed.cli_error = error;
        both_->ap.driver().inject({.call = sim::Call::recv, .error = error, .family = AF_UNIX});
    }
    both_->expected = both_->daemon.turn(failed);
    const Effects after =
        both_->daemon.turn({.udp = deliver.udp, .dman = deliver.dman, .cli = deliver.cli});
    both_->expected.insert(both_->expected.end(), after.begin(), after.end());
    both_->send(deliver);
    return both_->compare();
}

void Lockstep::forget()
{
    both_->ap.forget();
}

int Lockstep::pid() const
{
    return both_->ap.pid();
}

size_t Lockstep::descriptors() const
{
    return both_->descriptors;
}

std::optional<std::string> Lockstep::check_descriptors()
{
    if (!alive()) {
        return std::nullopt;
    }
    const auto open = sim::open_descriptors(both_->ap.pid());
    if (open.size() == both_->descriptors) {
        return std::nullopt;
    }
    std::string report =
        text("    %zu descriptors open, expected %zu\n", open.size(), both_->descriptors);
    for (const sim::OpenDescriptor &one : open) {
        report += text("      %d %s\n", one.fd, one.target.c_str());
    }
    return report;
}

bool Lockstep::alive() const
{
    return !both_->daemon.state().ended && both_->ap.running();
}

const model::Daemon &Lockstep::model() const
{
    return both_->daemon;
}

const Effects &Lockstep::last_effects() const
{
    return both_->expected;
}

std::optional<Failure> run(const Steps &steps, const Start &start)
{
    Lockstep lockstep(start);
    for (size_t i = 0; i < steps.size(); i++) {
        if (const auto report = lockstep.play(steps[i])) {
            return Failure{i, *report};
        }
        if (!lockstep.alive()) {
            return std::nullopt;
        }
    }
    if (const auto report = lockstep.check_descriptors()) {
        return Failure{steps.size() - 1, *report};
    }
    return std::nullopt;
}

Steps minimise(Steps steps, const Start &start, unsigned tries)
{
    if (const auto failure = run(steps, start)) {
        steps.resize(failure->index + 1);
    } else {
        return steps;
    }
    for (size_t chunk = steps.size() / 2; chunk >= 1; chunk /= 2) {
        for (size_t at = 0; at + chunk <= steps.size() && tries > 0;) {
            Steps fewer = steps;
            fewer.erase(fewer.begin() + static_cast<ptrdiff_t>(at),
                        fewer.begin() + static_cast<ptrdiff_t>(at + chunk));
            tries--;
            if (const auto failure = fewer.empty() ? std::nullopt : run(fewer, start)) {
                fewer.resize(failure->index + 1);
                steps = fewer;
            } else {
                at += chunk;
            }
        }
    }
    return steps;
}

} // namespace tspec::lockstep
