#include "hostapd_side.h"

#include <algorithm>

namespace tspec::soak {

using model::HostapdInput;

namespace {

constexpr size_t station_count = 240;
constexpr uint32_t arrivals_per_hour = 120; // in the busiest hour
constexpr uint64_t first_hour = 9;          // a short run meets a busy access point
constexpr uint32_t mean_stay = 1500;
constexpr uint32_t between_calls = 300;

constexpr const char *associated = "client_status=1\n";
constexpr const char *roaming_flags = "client_status=41\n";
constexpr const char *away = "client_status=0\n";

constexpr unsigned day_curve[24] = {12, 8,  5,  4,  4,  6,  15, 35,  60, 80, 90, 95,
                                    85, 90, 95, 90, 85, 80, 90, 100, 85, 60, 40, 20};

namespace cmd {
constexpr uint8_t addts = 1, delts = 3, inactive = 4, exceeded = 6, unauthorised = 7,
                  disassociated = 8, fast_transition = 9;
} // namespace cmd

uint8_t priority_of(uint8_t ac_idx)
{
    constexpr uint8_t priorities[4] = {0, 1, 4, 6};
    return priorities[ac_idx];
}

Mac vap_address(uint8_t radio_unit, uint8_t vap)
{
    return Mac{0x02, 0xaa, 0, radio_unit, 0, vap};
}

} // namespace

HostapdSide::HostapdSide(Stage &stage) : stage_(stage), chance_(stage.chance())
{
    stations_.resize(station_count);
    for (size_t i = 0; i < station_count; i++) {
        stations_[i].mac = Mac{0x02, 0x51, 0, 0, 0, static_cast<uint8_t>(i)};
    }
}

unsigned HostapdSide::load_percent(uint64_t second)
{
    const uint64_t hour = first_hour + second / 3600;
    const bool weekend = hour / 24 % 7 >= 5;
    return std::max(1U, day_curve[hour % 24] * (weekend ? 60 : 100) / 100);
}

void HostapdSide::begin()
{
    stage_.play(Activity::station_state, lockstep::StationIs{std::nullopt, "", away, 0});
    // All are known to the driver from the start, so that its table, which lies in
    // the daemon's memory here, does not grow later.
    for (const Station &station : stations_) {
        set_state(station, roaming_flags);
        set_state(station, away);
    }
    plan_next_arrival();
    stage_.every([] { return 90U; }, [this] { report_idle_streams(); });
}

void HostapdSide::plan_next_arrival()
{
    const uint32_t mean = 3600 * 100 / (arrivals_per_hour * load_percent(stage_.now()));
    stage_.in(chance_.about(std::min(mean, 3600U)), [this] {
        const size_t number = chance_.below(station_count);
        if (on_ && !stations_[number].present) {
            arrive(number);
        }
        plan_next_arrival();
    });
}

void HostapdSide::arrive(size_t number)
{
    Station &station = stations_[number];
    station.present = true;
    station.visit++;
    station.radio_unit = chance_.one_of<uint8_t>({1, 1, 2});
    station.vap = chance_.one_of<uint8_t>({0, 0, 1, 3, 15});
    settle_in(number, chance_.percent(25));
    in_visit(number, chance_.about(mean_stay), [this, number] {
        if (chance_.percent(15)) {
            roam(number);
        } else {
            leave(number);
        }
    });
    if (chance_.percent(2)) { // too early: before the driver knows of it
        set_state(station, away);
        open_stream(number, wish());
        set_state(station, associated);
    }
}

void HostapdSide::settle_in(size_t number, bool roaming)
{
    const Station &station = stations_[number];
    set_state(station, roaming ? roaming_flags : associated);
    if (roaming && chance_.percent(60)) {
        const Wish brought = wish();
        HostapdInput input = input_of(station);
        input.cmd = cmd::fast_transition;
        input.tid = brought.tid;
        input.up = brought.up;
        input.dir = brought.dir;
        // Little: what they book is only partly given back, and nobody else would be
        // admitted in the end.
        input.medium_time = chance_.one_of<uint16_t>({0, 16, 31, 62});
        send(Activity::fast_transition, input);
        in_visit(number, chance_.about(brought.seconds),
                 [this, number, brought] { end_stream(number, brought); });
    }
    plan_call(number);
}

void HostapdSide::plan_call(size_t number)
{
    in_visit(number, chance_.about(between_calls), [this, number] {
        call(number);
        plan_call(number);
    });
}

HostapdSide::Wish HostapdSide::wish()
{
    const uint64_t kind = chance_.below(100);
    if (kind < 45) {
        return {6, 6, 3, 83200, 180};
    }
    if (kind < 60) {
        return {static_cast<uint8_t>(kind % 2 == 0 ? 6 : 7),
                static_cast<uint8_t>(kind % 2 == 0 ? 6 : 7), static_cast<uint8_t>(kind % 2), 64000,
                180};
    }
    if (kind < 88) {
        return {static_cast<uint8_t>(4 + kind % 2), static_cast<uint8_t>(4 + kind % 2),
                static_cast<uint8_t>(kind % 3 == 0 ? 3 : kind % 2),
                chance_.one_of<uint32_t>({128000, 256000, 512000}), 500};
    }
    const uint8_t priority = chance_.one_of<uint8_t>({0, 3, 1, 2});
    return {priority, priority, chance_.one_of<uint8_t>({0, 1, 3}), 40000, 300};
}

void HostapdSide::call(size_t number)
{
    const Wish first = wish();
    open_stream(number, first);
    if (first.dir != 3 && chance_.percent(60)) { // the way back
        Wish back = first;
        back.dir = first.dir == 0 ? 1 : 0;
        back.tid = static_cast<uint8_t>(first.tid ^ 1);
        back.up = first.up;
        open_stream(number, back);
    }
    if (chance_.percent(2)) {
        HostapdInput input = input_of(stations_[number]);
        input.cmd = cmd::unauthorised;
        input.up = chance_.one_of<uint8_t>({4, 6, 6, 0});
        send(Activity::unauthorised_traffic, input);
    }
}

void HostapdSide::open_stream(size_t number, const Wish &wished)
{
    HostapdInput input = input_of(stations_[number]);
    input.cmd = cmd::addts;
    input.tid = wished.tid;
    input.up = wished.up;
    input.dir = wished.dir;
    input.mean_rate = wished.mean_rate;
    input.aux_byte = static_cast<uint8_t>(chance_.below(256));
    send(Activity::admission_request, input);
    if (chance_.percent(30)) {
        in_visit(number, chance_.about(60),
                 [this, number, wished] { renegotiate(number, wished); });
    }
    if (chance_.percent(15)) {
        in_visit(number, chance_.about(60), [this, number, wished] { exceed(number, wished); });
    }
    in_visit(number, chance_.about(wished.seconds),
             [this, number, wished] { end_stream(number, wished); });
}

void HostapdSide::renegotiate(size_t number, const Wish &wished)
{
    HostapdInput input = input_of(stations_[number]);
    input.cmd = cmd::addts;
    input.tid = wished.tid;
    input.up = wished.up;
    input.dir = chance_.percent(15) ? static_cast<uint8_t>(chance_.below(4)) : wished.dir;
    input.mean_rate = wished.mean_rate * chance_.between(1, 4) / 2;
    input.surplus = chance_.one_of<uint16_t>({0x2000, 0x2400, 0x3000});
    if (chance_.percent(8)) {
        input.up = static_cast<uint8_t>(chance_.below(8));
    }
    if (chance_.percent(10)) {
        input.tid = static_cast<uint8_t>(wished.tid ^ 1); // in place of the other
    }
    send(Activity::renegotiation, input);
}

void HostapdSide::exceed(size_t number, const Wish &wished)
{
    HostapdInput input = input_of(stations_[number]);
    input.cmd = cmd::exceeded;
    input.tid = wished.tid;
    input.up = wished.up;
    input.dir = wished.dir;
    for (uint32_t times = chance_.between(1, 4); times > 0; times--) {
        send(Activity::excess_use, input);
    }
}

void HostapdSide::end_stream(size_t number, const Wish &wished)
{
    HostapdInput input = input_of(stations_[number]);
    const bool idle = chance_.percent(25);
    input.cmd = idle ? cmd::inactive : cmd::delts;
    input.tid = chance_.percent(3) ? static_cast<uint8_t>(chance_.below(8)) : wished.tid;
    input.up = wished.up;
    input.dir = wished.dir;
    send(idle ? Activity::inactivity : Activity::stream_end, input);
}

// Some say so, the others are found out by their silence.
void HostapdSide::leave(size_t number)
{
    Station &station = stations_[number];
    if (chance_.percent(75)) {
        HostapdInput input = input_of(station);
        input.cmd = cmd::disassociated;
        send(Activity::disassociation, input);
    }
    set_state(station, away);
    station.present = false;
    station.visit++;
}

// To the other radio of this access point, sometimes without a word to the old one.
void HostapdSide::roam(size_t number)
{
    Station &station = stations_[number];
    if (chance_.percent(70)) {
        HostapdInput input = input_of(station);
        input.cmd = cmd::disassociated;
        send(Activity::disassociation, input);
    }
    station.radio_unit = static_cast<uint8_t>(3 - station.radio_unit);
    station.visit++;
    settle_in(number, true);
    in_visit(number, chance_.about(mean_stay), [this, number] { leave(number); });
}

HostapdSide::Station *HostapdSide::station_of(const Mac &mac)
{
    const auto found = std::find_if(stations_.begin(), stations_.end(),
                                    [&](const Station &one) { return one.mac == mac; });
    return found == stations_.end() ? nullptr : &*found;
}

// Streams of stations that are no longer there carry nothing.
void HostapdSide::report_idle_streams()
{
    std::vector<HostapdInput> idle;
    for (const model::Record &record : stage_.state().clients) {
        const Station *station = station_of(record.sta_mac);
        if (station != nullptr && station->present) {
            continue;
        }
        for (const auto &bank : record.entries) {
            for (const model::Entry &entry : bank) {
                if (entry.in_use()) {
                    idle.push_back({.cmd = cmd::inactive,
                                    .sta = record.sta_mac,
                                    .tid = entry.tid,
                                    .dir = entry.dir,
                                    .up = priority_of(entry.ac_idx),
                                    .radio_unit = record.radio_unit,
                                    .vap = record.vap,
                                    .vap_addr = record.peer_addr2});
                }
            }
        }
    }
    for (const HostapdInput &input : idle) {
        send(Activity::inactivity, input);
    }
}

void HostapdSide::restart()
{
    if (!on_) {
        return;
    }
    on_ = false;
    stage_.play(Activity::peer_restart, lockstep::PeerIs{lockstep::Neighbour::hostapd, false});
    for (Station &station : stations_) {
        if (station.present) {
            set_state(station, away);
            station.present = false;
            station.visit++;
        }
    }
    stage_.in(chance_.between(2, 60), [this] { be_on(Activity::peer_restart); });
}

void HostapdSide::be_on(Activity activity)
{
    if (!on_) {
        stage_.play(activity, lockstep::PeerIs{lockstep::Neighbour::hostapd, true});
        on_ = true;
    }
}

void HostapdSide::send_everybody_away()
{
    for (Station &station : stations_) {
        if (station.present) {
            HostapdInput input = input_of(station);
            input.cmd = cmd::disassociated;
            send(Activity::disassociation, input);
            set_state(station, away);
            station.present = false;
            station.visit++;
        }
    }
}

void HostapdSide::set_state(const Station &station, const char *text)
{
    stage_.play(Activity::station_state, lockstep::StationIs{station.mac, "", text, 0});
}

void HostapdSide::send(Activity activity, const HostapdInput &input)
{
    if (on_) {
        stage_.udp(activity, input.bytes());
    }
}

void HostapdSide::in_visit(size_t number, uint32_t seconds, Stage::Action action)
{
    const uint32_t visit = stations_[number].visit;
    stage_.in(seconds, [this, number, visit, action = std::move(action)] {
        if (stations_[number].visit == visit && stations_[number].present) {
            action();
        }
    });
}

HostapdInput HostapdSide::input_of(const Station &station) const
{
    return {.sta = station.mac,
            .radio_unit = station.radio_unit,
            .vap = station.vap,
            .vap_addr = vap_address(station.radio_unit, station.vap)};
}

} // namespace tspec::soak
