#include "sim/lib/session.h"

#include "sim/lib/decode.h"
#include "sim/lib/private_world.h"

#include <algorithm>
#include <csignal>
#include <fmt/format.h>
#include <poll.h>

namespace tspec::sim {

namespace {

using namespace std::chrono_literals;

// Datagrams that may wait unread before a sender is slowed down; the kernel's
// queues hold several times as many.
constexpr size_t unread_limit = 64;

control::Request clock_request(Clock clock, Time time, Duration ahead)
{
    control::Request request = make_request(control::RequestType::clock);
    if (clock == Clock::simulated) {
        request.flags = control::flag_simulated;
        request.value = time.time_since_epoch().count();
    } else {
        request.value = ahead.count();
    }
    return request;
}

} // namespace

AccessPoint::Session::Session(AccessPoint &access_point,
                              const std::vector<control::Request> &settings, bool held)
    : ap_(access_point), clock_(access_point.options_.clock)
{
    const Options &options = ap_.options_;
    std::tie(console_read_, console_write_) = make_pipe();
    ChildPlan plan;
    plan.program = find_daemon(options.daemon);
    plan.arguments = options.arguments;
    plan.wrapper = options.wrapper;
    plan.environment = options.environment;
    for (const char *variable : {"ASAN_OPTIONS", "UBSAN_OPTIONS"}) {
        plan.environment.emplace_back(variable, sanitizer_options(variable));
    }
    plan.environment.emplace_back("LD_PRELOAD", preload_for(plan.program));
    plan.environment.emplace_back(control::fd_variable, std::to_string(control::first_fd));
    plan.environment.emplace_back(control::console_variable, std::to_string(control::first_fd + 1));
    plan.control_fd = link_.far_fd();
    plan.console_fd = console_write_.fd();
    plan.descriptor_limit = options.descriptor_limit;
    plan.own_group = options.own_group;
    child_.emplace(plan);
    link_.close_far();
    console_write_.close();

    apply(clock_request(clock_, options.start_time, ap_.ahead_));
    if (!PrivateWorld::current().isolated()) {
        apply(make_request(control::RequestType::own_system_log));
    }
    if (!options.away.empty()) {
        apply(make_request(control::RequestType::note_receivers));
    }
    if (options.kernel_calls) {
        apply(make_request(control::RequestType::kernel_calls));
    }
    for (const control::Request &setting : settings) {
        apply(setting);
    }
    if (running() && pid_ == 0) {
        throw std::runtime_error(plan.program.string() + " does not load the driver library");
    }
    if (ap_.trap_.leave_after_next_open_) {
        apply(make_request(control::RequestType::trap_rendezvous));
    }
    if (held) {
        hold(true);
    }
    apply(make_request(control::RequestType::go));
}

AccessPoint::Session::~Session() = default;

void AccessPoint::Session::apply(control::Request request_to_make)
{
    request(request_to_make);
}

void AccessPoint::Session::hold(bool hold)
{
    request(make_request(hold ? control::RequestType::hold : control::RequestType::resume));
    held_ = hold;
}

void AccessPoint::Session::use_clock(Clock clock, Time time, Duration ahead)
{
    clock_ = clock;
    request(clock_request(clock, time, ahead));
}

std::optional<AccessPoint::Session::Done>
AccessPoint::Session::request(control::Request request_to_make)
{
    if (!running()) {
        return std::nullopt;
    }
    if (!link_.send(request_to_make)) {
        wait_for_end();
        return std::nullopt;
    }
    uint32_t id = request_to_make.id;
    awaited_[id] = std::nullopt;
    while (running() && !awaited_[id]) {
        pump();
    }
    std::optional<Done> done = awaited_[id];
    awaited_.erase(id);
    return done;
}

std::optional<AccessPoint::Session::Done> AccessPoint::Session::barrier(uint32_t flags)
{
    control::Request question = make_request(control::RequestType::barrier);
    question.flags = flags;
    return request(question);
}

void AccessPoint::Session::check_patience(SteadyClock::time_point since, const char *what) const
{
    if (SteadyClock::now() - since > ap_.options_.patience) {
        std::string last =
            ap_.history_.empty() ? "nothing has happened" : describe(ap_.history_.back());
        throw TimeOut(fmt::format("{} (pid {}): no {} within {} s; last event: {}",
                                  ap_.options_.daemon.string(), pid_, what,
                                  ap_.options_.patience.count(), last));
    }
}

// Waits for the next report and takes all that are there; returns sooner when
// an answer falls due or the given time is reached. Throws when patience ends
// first.
void AccessPoint::Session::pump(std::optional<SteadyClock::time_point> until)
{
    SteadyClock::time_point begin = SteadyClock::now();
    Depth inside(pumping_);
    for (;;) {
        std::vector<pollfd> sources{{link_.fd(), POLLIN, 0},
                                    {child_->out().fd(), POLLIN, 0},
                                    {child_->err().fd(), POLLIN, 0},
                                    {console_read_.fd(), POLLIN, 0}};
        for (const Interrupt &interrupt : ap_.interrupts_) {
            sources.push_back({interrupt.fd, interrupt.events, 0});
        }
        std::chrono::milliseconds limit = 100ms;
        if (until) {
            auto left = std::chrono::ceil<std::chrono::milliseconds>(*until - SteadyClock::now());
            limit = std::clamp(left, 0ms, limit);
        }
        if (!simulated() && !due_.empty()) {
            limit = std::min(limit, std::chrono::milliseconds(until_next_answer() / 1000));
        }
        // A process that has closed its output must not make this spin.
        bool only_streams_ended = false;
        int ready = poll(sources.data(), sources.size(), static_cast<int>(limit.count()));
        if (ready > 0) {
            check_interrupts();
            only_streams_ended =
                sources[0].revents == 0 &&
                ((sources[1].revents | sources[2].revents | sources[3].revents) & POLLIN) == 0;
        }
        if (only_streams_ended) {
            poll(sources.data(), 1, static_cast<int>(limit.count()));
        }
        take_streams(false);
        if (sources[0].revents != 0) {
            take_reports();
            return;
        }
        if (!simulated()) {
            send_due_answers();
        }
        if (until && SteadyClock::now() >= *until) {
            return;
        }
        if (!until) {
            check_patience(begin, "answer");
        }
    }
}

void AccessPoint::Session::check_interrupts() const
{
    for (const Interrupt &interrupt : ap_.interrupts_) {
        pollfd source{interrupt.fd, interrupt.events, 0};
        if (poll(&source, 1, 0) > 0) {
            throw Interrupted(interrupt.fd);
        }
    }
}

void AccessPoint::Session::follow(const std::vector<int> &descriptors)
{
    Depth inside(pumping_);
    std::vector<pollfd> sources{{link_.fd(), POLLIN, 0}};
    for (int fd : descriptors) {
        sources.push_back({fd, POLLIN, 0});
    }
    for (const Interrupt &interrupt : ap_.interrupts_) {
        sources.push_back({interrupt.fd, interrupt.events, 0});
    }
    size_t known = ap_.history_.size();
    bool called = false;
    while (running() && !called && ap_.history_.size() == known) {
        int limit = due_.empty() ? -1 : static_cast<int>(until_next_answer() / 1000) + 1;
        poll(sources.data(), sources.size(), limit);
        check_interrupts();
        take_streams(false);
        if (sources[0].revents != 0) {
            take_reports();
        }
        send_due_answers();
        called = std::any_of(sources.begin() + 1, sources.end(),
                             [](const pollfd &source) { return source.revents != 0; });
    }
}

void AccessPoint::Session::take_reports()
{
    for (;;) {
        switch (link_.receive()) {
        case ControlLink::Result::report:
            take_report(link_.report());
            break;
        case ControlLink::Result::nothing:
            return;
        case ControlLink::Result::closed:
            note_end();
            return;
        }
    }
}

void AccessPoint::Session::note_end()
{
    if (end_) {
        return;
    }
    SteadyClock::time_point begin = SteadyClock::now();
    std::optional<ProcessEnd> end;
    while (!(end = child_->reap())) {
        // The descriptor closes a moment before the process can be collected.
        poll(nullptr, 0, 1);
        check_patience(begin, "end of the process after it closed its descriptors");
    }
    end_ = end;
    take_streams(true);
    note_unread();
    Event event = new_event(Kind::process_end, Peer::none);
    event.detail = *end;
    add(std::move(event));
}

void AccessPoint::Session::wait_until_ready()
{
    barrier(0);
}

void AccessPoint::Session::settle()
{
    for (int round = 0; running(); round++) {
        if (round == ap_.options_.most_rounds) {
            throw TimeOut("the daemon and its peers go on answering each other for ever");
        }
        send_due_answers();
        unsigned sends_before = sends_;
        std::optional<Done> wait = barrier(0);
        if (!wait) {
            break;
        }
        if (wait->flags & control::flag_held) {
            take_streams(true);
            return;
        }
        if (sends_ != sends_before || (wait->flags & control::flag_busy)) {
            continue;
        }
        if (wait->port == TSPEC_UDP_PORT) {
            break;
        }
        if (!pass_inner_wait(*wait)) {
            throw TimeOut(fmt::format("the daemon waits for ever on port {}", wait->port));
        }
    }
    take_streams(true);
    note_unread();
}

void AccessPoint::Session::stop()
{
    if (!running()) {
        return;
    }
    if (held_) {
        child_->kill_now();
        wait_for_end();
        return;
    }
    try {
        request(make_request(control::RequestType::quit));
    } catch (const TimeOut &) {
        ::kill(pid_, SIGKILL);
        child_->kill_now();
    }
    wait_for_end();
}

void AccessPoint::Session::wait_for_end()
{
    while (running()) {
        pump();
    }
}

// The order of sending is to be the order of handling, and no queue of the
// kernel may overflow. What a peer sends on its own while the daemon is served
// cannot wait for the daemon.
bool AccessPoint::Session::must_wait_before(Door door) const
{
    if (!running() || held_ || pumping_ > 0 || door == Door::reply) {
        return false;
    }
    return std::any_of(unread_.begin(), unread_.end(), [door](const auto &entry) {
        const auto &[other, queue] = entry;
        return other == door ? queue.size() >= unread_limit : !queue.empty();
    });
}

void AccessPoint::Session::send(Door door, const Socket &from, Peer who, ByteView bytes)
{
    auto hand_over = [&] {
        switch (door) {
        case Door::udp:
            return sim::send_udp(from, TSPEC_UDP_PORT, bytes);
        case Door::reply:
            return sim::send_udp(from, TSPEC_FRAME_DUR_REPLY_PORT, bytes);
        case Door::dman:
            return sim::send_local(from, TSPEC_DMAN_SOCK_PATH, bytes);
        case Door::cli:
            return sim::send_abstract(from, TSPEC_CLI_SOCK_NAME, bytes);
        }
        return Sent::nobody;
    };
    if (must_wait_before(door)) {
        settle();
    }
    std::deque<Unread> &queue = unread_[door];
    // Noted first: the daemon may be faster than we are.
    queue.push_back(
        {who, local_port(from), Bytes(bytes.begin(), bytes.end()), Time{Duration(wall_)}});
    sends_++;
    SteadyClock::time_point begin = SteadyClock::now();
    Sent result;
    while ((result = hand_over()) == Sent::queue_full && running()) {
        if (held_) {
            queue.pop_back();
            throw std::runtime_error("the paused daemon's queue is full");
        }
        pump(SteadyClock::now() + 1ms);
        check_patience(begin, "room in the daemon's queue");
    }
}

} // namespace tspec::sim
