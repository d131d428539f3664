#include "sim/lib/access_point.h"

#include "sim/lib/control_link.h"
#include "sim/lib/host_share.h"
#include "sim/lib/session.h"

#include <algorithm>
#include <csignal>

namespace tspec::sim {

AccessPoint::AccessPoint(Options options)
    : options_(std::move(options)), hostapd_(*this), mapd_(*this), dman_(*this), operator_(*this),
      trap_(*this), driver_(*this)
{
    options_.daemon = find_daemon(options_.daemon);
    for (UdpPeer *peer : {static_cast<UdpPeer *>(&hostapd_), static_cast<UdpPeer *>(&mapd_),
                          static_cast<UdpPeer *>(&dman_)}) {
        if (!is_away(peer->who())) {
            peer->turn_on();
        }
    }
    if (!is_away(Peer::cli)) {
        operator_.turn_on();
    }
    system_log_.turn_on();
}

AccessPoint::~AccessPoint()
{
    try {
        stop();
        if (session_ && !keep_leftovers_) {
            remove_leftover(TSPEC_DMAN_SOCK_PATH);
        }
    } catch (const std::exception &) {
        // The session's child dies with it; what it leaves is removed by the next
        // start.
    }
}

bool AccessPoint::start()
{
    stop();
    if (options_.clock == Clock::simulated) {
        options_.start_time = now();
    }
    session_.reset();
    if (!keep_leftovers_) {
        remove_leftover(TSPEC_DMAN_SOCK_PATH);
    }
    session_ = std::make_unique<Session>(*this, driver_.settings(), start_paused_);
    session_->wait_until_ready();
    return session_->running();
}

void AccessPoint::stop()
{
    if (session_) {
        session_->stop();
    }
}

bool AccessPoint::running() const
{
    return session_ && session_->running();
}

void AccessPoint::send_signal(int signal)
{
    if (running()) {
        ::kill(session_->pid(), signal);
    }
}

void AccessPoint::kill(int signal)
{
    send_signal(signal);
    if (session_) {
        session_->wait_for_end();
    }
}

int AccessPoint::pid() const
{
    return running() ? session_->pid() : 0;
}

std::optional<ProcessEnd> AccessPoint::end() const
{
    return session_ ? session_->end() : std::nullopt;
}

Events AccessPoint::settle()
{
    if (session_) {
        session_->settle();
    }
    return fresh();
}

Events AccessPoint::fresh()
{
    Events events(history_.begin() + static_cast<ptrdiff_t>(yielded_), history_.end());
    yielded_ = history_.size();
    return events;
}

Events AccessPoint::follow(const std::vector<int> &descriptors)
{
    if (session_ && yielded_ == history_.size()) {
        session_->follow(descriptors);
    }
    return fresh();
}

void AccessPoint::forget()
{
    history_.erase(history_.begin(), history_.begin() + static_cast<ptrdiff_t>(yielded_));
    yielded_ = 0;
    console_.clear();
    standard_error_.clear();
    standard_output_.clear();
}

bool AccessPoint::is_away(Peer peer) const
{
    return std::find(options_.away.begin(), options_.away.end(), peer) != options_.away.end();
}

void AccessPoint::advance(Duration duration)
{
    if (!session_) {
        return;
    }
    if (session_->held()) {
        throw std::logic_error("time cannot pass while the daemon is paused");
    }
    session_->advance(duration);
}

// Nothing may interrupt this half-way; it does not take long.
void AccessPoint::skip(Duration duration)
{
    std::vector<Interrupt> interrupts = std::exchange(interrupts_, {});
    if (session_) {
        session_->settle();
    }
    use_clock(Clock::simulated);
    advance(duration);
    Time time = now();
    options_.clock = Clock::real;
    ahead_ = Duration(0);
    ahead_ = time - now();
    if (running()) {
        session_->use_clock(Clock::real, time, ahead_);
    }
    interrupts_ = std::move(interrupts);
}

void AccessPoint::step_clock(Duration difference)
{
    if (options_.clock == Clock::real) {
        ahead_ += difference;
    }
    control::Request request = make_request(control::RequestType::step_clock);
    request.value = difference.count();
    apply(request);
}

void AccessPoint::use_clock(Clock clock)
{
    Time time = now();
    options_.clock = clock;
    if (running()) {
        session_->use_clock(clock, time, ahead_);
    }
}

Time AccessPoint::now() const
{
    if (options_.clock == Clock::simulated) {
        return session_ ? Time{Duration(session_->wall())} : options_.start_time;
    }
    return std::chrono::time_point_cast<Duration>(std::chrono::system_clock::now()) + ahead_;
}

void AccessPoint::pause()
{
    start_paused_ = !running();
    if (running()) {
        session_->hold(true);
    }
}

void AccessPoint::resume()
{
    start_paused_ = false;
    if (running()) {
        session_->hold(false);
    }
}

void AccessPoint::send_udp(ByteView bytes)
{
    send(Door::udp, Socket::udp(0), Peer::other, bytes);
}

void AccessPoint::send_dman(ByteView bytes)
{
    send(Door::dman, Socket::local(), Peer::other, bytes);
}

void AccessPoint::send_cli(ByteView bytes)
{
    send(Door::cli, Socket::local(), Peer::other, bytes);
}

void AccessPoint::send(Door door, const Socket &from, Peer who, ByteView bytes)
{
    if (!session_) {
        throw std::logic_error("the daemon has not been started");
    }
    session_->send(door, from, who, bytes);
}

void AccessPoint::apply(const control::Request &request)
{
    if (running()) {
        session_->apply(request);
    }
}

} // namespace tspec::sim
