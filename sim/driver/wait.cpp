#include "sim/driver/wait.h"

#include "sim/driver/channel.h"
#include "sim/driver/clock.h"
#include "sim/driver/faults.h"
#include "sim/driver/interest.h"
#include "sim/driver/real.h"
#include "sim/driver/settings.h"
#include "tspec/message.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/select.h>

namespace tspec::sim::driver {

namespace {

struct Wait {
    int port; // local UDP port waited on; 0: none, no_port: not waiting
    bool has_deadline;
    int64_t deadline; // monotonic
};

struct Advance {
    bool active;
    uint32_t id;
    uint32_t flags;
    int64_t target; // monotonic
};

bool held;
bool sent_something;
Advance advance;
// A barrier that waits for the main loop; 0: none.
uint32_t main_barrier;

// For requests that arrive while the daemon does not wait in select().
constexpr int no_port = -1;

bool is_main(const Wait &wait)
{
    return wait.port == TSPEC_UDP_PORT;
}

// Sleeps until a descriptor of the daemon's or the channel is ready, or real
// time is up. Results as of select().
int sleep_for_any(const Interest &interest, const Wait &wait)
{
    fd_set read_set = interest.read_set;
    fd_set write_set = interest.write_set;
    fd_set except_set = interest.except_set;
    FD_SET(channel_fd(), &read_set);
    int count = interest.count > channel_fd() ? interest.count : channel_fd() + 1;
    timeval remaining{};
    bool limited = wait.has_deadline && !clock_is_simulated();
    if (limited) {
        int64_t left = wait.deadline - monotonic_clock();
        left = left < 0 ? 0 : left;
        remaining.tv_sec = static_cast<time_t>(left / 1000000);
        remaining.tv_usec = static_cast<suseconds_t>(left % 1000000);
    }
    return TSPEC_REAL(select)(count, &read_set, &write_set, &except_set,
                              limited ? &remaining : nullptr);
}

bool channel_has_request()
{
    fd_set read_set;
    FD_ZERO(&read_set);
    FD_SET(channel_fd(), &read_set);
    timeval at_once{};
    return TSPEC_REAL(select)(channel_fd() + 1, &read_set, nullptr, nullptr, &at_once) > 0;
}

void answer_with_wait(uint32_t id, const Wait &wait, uint32_t flags)
{
    control::Report &report = new_report(control::ReportType::done);
    report.id = id;
    report.port = static_cast<uint32_t>(wait.port);
    report.flags = flags | (held ? control::flag_held : 0);
    report.value = wait.has_deadline ? wait.deadline - monotonic_clock() : -1;
    send_report(report);
}

void end_advance(const Wait &wait, uint32_t flags)
{
    advance.active = false;
    answer_with_wait(advance.id, wait, flags);
}

// One step of a running advance. Returns true when the wait's time is up.
bool pass_time(const Wait &wait)
{
    bool inner_ends = (advance.flags & control::flag_inner_wait) != 0;
    bool output_ends = (advance.flags & control::flag_stop_on_sent) != 0;
    if (!is_main(wait) && !inner_ends) {
        end_advance(wait, control::flag_stopped);
        return false;
    }
    if (output_ends && sent_something) {
        end_advance(wait, control::flag_stopped);
        return false;
    }
    if (wait.has_deadline && wait.deadline <= advance.target) {
        clock_move_to(wait.deadline);
        if (inner_ends) {
            end_advance(wait, 0);
        }
        return true;
    }
    clock_move_to(advance.target);
    end_advance(wait, 0);
    return false;
}

void begin_advance(const control::Request &request)
{
    sent_something = false;
    advance = {.active = true,
               .id = request.id,
               .flags = request.flags,
               .target = monotonic_clock() + request.value};
}

void change_clock(const control::Request &request, Wait &wait)
{
    int64_t left = wait.deadline - monotonic_clock();
    if (request.flags & control::flag_simulated) {
        clock_simulate(request.value);
    } else {
        clock_be_real(request.value);
    }
    wait.deadline = monotonic_clock() + left;
    answer(request.id);
}

void serve(const control::Request &request, Wait &wait)
{
    switch (request.type) {
    case control::RequestType::advance:
        begin_advance(request);
        return;
    case control::RequestType::barrier:
        if ((request.flags & control::flag_main_wait) && !is_main(wait) && !held) {
            main_barrier = request.id;
        } else {
            answer_with_wait(request.id, wait, wait.port == no_port ? control::flag_busy : 0);
        }
        return;
    case control::RequestType::clock:
        change_clock(request, wait);
        return;
    case control::RequestType::hold:
    case control::RequestType::resume:
        held = request.type == control::RequestType::hold;
        answer(request.id);
        return;
    case control::RequestType::quit:
        answer(request.id);
        exit(0);
    default:
        apply_setting(request);
        answer(request.id);
    }
}

void serve_next(Wait &wait)
{
    // Static, as the daemon's stack is not ours to fill.
    static control::Request request;
    receive_request(request);
    serve(request, wait);
}

void leave(const Wait &wait, timeval *time_out)
{
    if (!time_out) {
        return;
    }
    int64_t left = wait.deadline - monotonic_clock();
    left = left < 0 ? 0 : left;
    time_out->tv_sec = static_cast<time_t>(left / 1000000);
    time_out->tv_usec = static_cast<suseconds_t>(left % 1000000);
}

bool select_fails(const Wait &wait)
{
    return fault_awaits_select(wait.port) &&
           fault_fails({.call = control::FaultCall::select, .port = wait.port});
}

// Result of the daemon's select().
int wait_for(const Interest &interest, Wait &wait)
{
    if (main_barrier != 0 && is_main(wait) && ask_own(interest) == 0) {
        answer_with_wait(main_barrier, wait, 0);
        main_barrier = 0;
    }
    for (;;) {
        if (held) {
            serve_next(wait);
            continue;
        }
        if (int ready = ask_own(interest); ready != 0) {
            return ready;
        }
        if (select_fails(wait)) {
            return -1;
        }
        if (advance.active) {
            if (pass_time(wait)) {
                show_nothing_ready(interest);
                return 0;
            }
            continue;
        }
        int ready = sleep_for_any(interest, wait);
        if (ready < 0) {
            return ready;
        }
        if (ready == 0) {
            show_nothing_ready(interest);
            return 0;
        }
        // What the simulator sent before its request is in the daemon's queues
        // by now, though the sleep may not have seen it.
        if (channel_has_request()) {
            if (int own = ask_own(interest); own != 0) {
                return own;
            }
            serve_next(wait);
        }
    }
}

} // namespace

void note_sent()
{
    sent_something = true;
}

void serve_until(control::RequestType last)
{
    static control::Request request;
    Wait no_wait{};
    no_wait.port = no_port;
    for (;;) {
        receive_request(request);
        if (request.type == last) {
            answer(request.id);
            return;
        }
        serve(request, no_wait);
    }
}

} // namespace tspec::sim::driver

TSPEC_INTERPOSE int select(int count, fd_set *read_set, fd_set *write_set, fd_set *except_set,
                           timeval *time_out)
{
    using namespace tspec::sim::driver;
    if (!channel_is_open()) {
        return TSPEC_REAL(select)(count, read_set, write_set, except_set, time_out);
    }
    int saved_errno = errno;
    Interest interest = interest_of(count, read_set, write_set, except_set);
    Wait wait{};
    wait.port = port_waited_on(interest);
    wait.has_deadline = time_out != nullptr;
    if (time_out) {
        wait.deadline = monotonic_clock() + time_out->tv_sec * INT64_C(1000000) + time_out->tv_usec;
    }
    int ready = wait_for(interest, wait);
    leave(wait, time_out);
    if (ready >= 0) {
        errno = saved_errno;
    }
    return ready;
}
