// How time passes: frame-duration answers that fall due, waits that run out,
// and the advance of either clock.
#include "sim/lib/session.h"

#include <algorithm>
#include <ctime>

namespace tspec::sim {

namespace {

// An advance is made in steps, so that a long one shows progress.
constexpr int64_t longest_step = 3600 * INT64_C(1'000'000);

int64_t kernel_clock(clockid_t id)
{
    timespec now{};
    clock_gettime(id, &now);
    return now.tv_sec * INT64_C(1'000'000) + now.tv_nsec / 1000;
}

} // namespace

int64_t AccessPoint::Session::monotonic_now() const
{
    return simulated() ? mono_ : kernel_clock(CLOCK_MONOTONIC);
}

int64_t AccessPoint::Session::until_next_answer() const
{
    if (due_.empty()) {
        return INT64_MAX;
    }
    return std::max<int64_t>(0, due_.front().when - monotonic_now());
}

void AccessPoint::Session::send_due_answers()
{
    while (!due_.empty() && due_.front().when <= monotonic_now()) {
        Bytes datagram = std::move(due_.front().datagram);
        due_.pop_front();
        Socket passing;
        const Socket *from = &ap_.hostapd_.socket_;
        if (!from->is_open()) {
            passing = Socket::udp(0);
            from = &passing;
        }
        send(Door::reply, *from, Peer::hostapd, datagram);
    }
}

// The daemon awaits an answer that is late or will not come.
bool AccessPoint::Session::pass_inner_wait(const Done &wait)
{
    if (!simulated()) {
        barrier(control::flag_main_wait);
        return true;
    }
    int64_t step = until_next_answer();
    if (wait.value >= 0) {
        step = std::min(step, wait.value);
    }
    if (step == INT64_MAX) {
        return false;
    }
    note_clock(step);
    control::Request passing = make_request(control::RequestType::advance);
    passing.flags = control::flag_inner_wait;
    passing.value = step;
    request(passing);
    return true;
}

void AccessPoint::Session::note_clock(int64_t microseconds)
{
    if (microseconds == 0) {
        return;
    }
    Event event = new_event(Kind::clock, Peer::none);
    event.detail = ClockStep{event.time, event.time + Duration(microseconds)};
    add(std::move(event));
}

void AccessPoint::Session::advance(Duration duration)
{
    settle();
    if (!running()) {
        return;
    }
    if (simulated()) {
        pass_simulated(duration.count());
    } else {
        pass_real(duration.count());
    }
}

void AccessPoint::Session::pass_simulated(int64_t microseconds)
{
    note_clock(microseconds);
    int64_t target = mono_ + microseconds;
    while (running() && mono_ < target) {
        control::Request passing = make_request(control::RequestType::advance);
        passing.value = std::min({target - mono_, until_next_answer(), longest_step});
        passing.flags = any_reaction() ? control::flag_stop_on_sent : 0;
        request(passing);
        settle();
    }
}

void AccessPoint::Session::pass_real(int64_t microseconds)
{
    SteadyClock::time_point until = SteadyClock::now() + Duration(microseconds);
    while (running() && SteadyClock::now() < until) {
        pump(until);
    }
    settle();
}

} // namespace tspec::sim
