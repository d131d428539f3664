#include "bench/load/requests.h"

#include "sim/lib/messages.h"
#include "tspec/message.h"

#include <deque>

namespace tspec::bench {

namespace {

constexpr uint32_t subject_number = 0x100000; // no other client has it
constexpr size_t pairs_in_flight = pipeline_depth / 2;

Bytes hostapd_message(uint8_t cmd, uint32_t station)
{
    return sim::HostapdMessage{.cmd = cmd, .sta = sim::station_mac(station)}.bytes();
}

double microseconds(Nanoseconds duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

double seconds(Nanoseconds duration)
{
    return std::chrono::duration<double>(duration).count();
}

Bytes request_of(Kind kind)
{
    switch (kind) {
    case Kind::delts:
        return hostapd_message(TSPEC_DELTS_REQ_CMD, subject_number);
    case Kind::exceed_time:
        return hostapd_message(TSPEC_TS_EXCEED_TIME_CMD, subject_number);
    case Kind::ap_stats:
        return sim::status_request(TSPEC_DMAN_AP_STATS);
    case Kind::client_walk:
        return sim::status_request(TSPEC_DMAN_CLIENT_TS_NEXT);
    default:
        return hostapd_message(TSPEC_ADDTS_REQ_CMD, subject_number);
    }
}

bool is_of_dman(Kind kind)
{
    return kind == Kind::ap_stats || kind == Kind::client_walk;
}

} // namespace

Requests::Requests(Peers &peers, const Process &process, Kind kind, Style style, int others,
                   bool is_daemon)
    : peers_(peers), process_(process), kind_(kind), style_(style), is_daemon_(is_daemon),
      addts_(hostapd_message(TSPEC_ADDTS_REQ_CMD, subject_number)),
      delts_(hostapd_message(TSPEC_DELTS_REQ_CMD, subject_number)), request_(request_of(kind))
{
    if (is_daemon_) {
        fill(others);
    }
    peers_.ping();
    peers_.drain();
}

void Requests::fill(int others)
{
    for (int number = 1; number <= others; number++) {
        peers_.from_hostapd(hostapd_message(TSPEC_ADDTS_REQ_CMD, static_cast<uint32_t>(number)));
        peers_.await_addts_response(false);
    }
    if (kind_ == Kind::addts_exchange) {
        peers_.from_dman(sim::DmanConfig{.limit_percent = {.video = 100, .voice = 100}}.bytes());
        peers_.ping();
    }
    if (!makes_new_stream() && kind_ != Kind::delts && !is_of_dman(kind_)) {
        add_stream();
    }
    if (is_managed(kind_)) {
        peers_.from_mapd(sim::ApState{.managed_mode = 1}.bytes());
        peers_.ping();
    }
}

bool Requests::makes_new_stream() const
{
    const bool new_one = kind_ == Kind::addts || kind_ == Kind::addts_exchange;
    return new_one || (kind_ == Kind::managed_addts && style_ == Style::one);
}

bool Requests::has_answer() const
{
    return kind_ != Kind::delts && kind_ != Kind::exceed_time;
}

void Requests::add_stream()
{
    peers_.from_hostapd(addts_);
    peers_.await_addts_response(is_managed(kind_));
}

void Requests::remove_stream()
{
    peers_.from_hostapd(delts_);
    peers_.ping();
    peers_.drain();
}

void Requests::send()
{
    if (is_of_dman(kind_)) {
        peers_.from_dman(request_);
    } else {
        peers_.from_hostapd(request_);
    }
}

void Requests::await()
{
    if (is_of_dman(kind_)) {
        peers_.await_report();
    } else {
        peers_.await_addts_response(is_managed(kind_));
    }
}

void Requests::prepare()
{
    if (kind_ == Kind::delts) {
        add_stream();
        process_.settled_cpu();
    }
}

void Requests::perform()
{
    send();
    if (has_answer()) {
        await();
    }
}

void Requests::tidy()
{
    if (makes_new_stream()) {
        remove_stream();
    }
    if (is_managed(kind_)) {
        process_.settled_cpu();
        peers_.drain();
    }
}

size_t Requests::reply_length()
{
    if (!is_of_dman(kind_)) {
        return 1;
    }
    send();
    return peers_.await_report().size();
}

Burst Requests::run_one_at_a_time(Clock::time_point end)
{
    Burst burst;
    while (Clock::now() < end) {
        prepare();
        const auto start = Clock::now();
        perform();
        if (!has_answer()) {
            peers_.ping();
        }
        const Nanoseconds taken = Clock::now() - start;
        tidy();
        burst.latencies.push_back(microseconds(taken));
        burst.seconds += seconds(taken);
        burst.requests++;
    }
    return burst;
}

// Every answer lets the next request go.
Burst Requests::run_windowed(Clock::time_point end)
{
    Burst burst;
    std::deque<Clock::time_point> sent;
    const auto start = Clock::now();
    auto now = start;
    while (now < end || !sent.empty()) {
        while (now < end && sent.size() < pipeline_depth) {
            sent.push_back(now);
            send();
        }
        await();
        now = Clock::now();
        burst.latencies.push_back(microseconds(now - sent.front()));
        sent.pop_front();
        burst.requests++;
    }
    burst.seconds = seconds(now - start);
    return burst;
}

// As before, but each request goes with the DELTS that makes room for the next.
Burst Requests::run_pairs(Clock::time_point end)
{
    Burst burst;
    std::deque<Clock::time_point> sent;
    const auto start = Clock::now();
    auto now = start;
    while (now < end || !sent.empty()) {
        while (now < end && sent.size() < pairs_in_flight) {
            sent.push_back(now);
            peers_.from_hostapd(addts_);
            peers_.from_hostapd(delts_);
        }
        await();
        now = Clock::now();
        burst.latencies.push_back(microseconds(now - sent.front()));
        sent.pop_front();
        burst.requests += 2;
    }
    peers_.ping();
    burst.seconds = seconds(Clock::now() - start);
    return burst;
}

// Requests without an answer, and a ping behind them.
Burst Requests::run_batches(Clock::time_point end)
{
    Burst burst;
    while (Clock::now() < end) {
        const auto start = Clock::now();
        for (size_t i = 1; i < pipeline_depth; i++) {
            send();
        }
        peers_.ping();
        const Nanoseconds taken = Clock::now() - start;
        burst.latencies.push_back(microseconds(taken));
        burst.seconds += seconds(taken);
        burst.requests += pipeline_depth;
    }
    return burst;
}

Burst Requests::run_pipelined(Clock::time_point end)
{
    Burst burst;
    if (!has_answer()) {
        burst = run_batches(end);
    } else if (makes_new_stream()) {
        burst = run_pairs(end);
    } else {
        burst = run_windowed(end);
    }
    peers_.drain();
    return burst;
}

std::vector<double> Requests::cpu_of_requests(size_t count)
{
    std::vector<double> times;
    for (size_t i = 0; i < count; i++) {
        prepare();
        const Nanoseconds before = process_.settled_cpu();
        perform();
        times.push_back(microseconds(process_.settled_cpu() - before));
        tidy();
    }
    return times;
}

} // namespace tspec::bench
