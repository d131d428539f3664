// What a run has done so far, for its report: operations by kind, datagrams both
// ways, and what the daemon took of the machine.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tspec::soak {

enum class Activity {
    admission_request,
    renegotiation,
    fast_transition,
    stream_end,
    inactivity,
    excess_use,
    unauthorised_traffic,
    disassociation,
    station_state,
    mapd_answer,
    wrong_mapd_answer,
    mapd_removal,
    mode_switch,
    configuration,
    statistics,
    client_walk,
    operator_command,
    malformed,
    peer_restart,
    driver_failure,
    failing_call,
    surroundings,
    audit,
    waiting,
    count
};

const char *activity_name(Activity activity);

// The daemon at one moment, with no stream and with as many as it takes.
struct Measure {
    uint32_t day = 0;
    uint64_t empty_kb = 0;
    uint64_t full_kb = 0;
    size_t clients_when_full = 0;
    size_t descriptors = 0;
    size_t left_open = 0; // of these, by failed driver queries
};

struct Tally {
    std::array<uint64_t, static_cast<size_t>(Activity::count)> steps{};
    uint64_t to_daemon = 0;
    uint64_t from_daemon = 0;
    uint64_t other_effects = 0; // console lines, log lines, trap records, queries
    uint64_t admitted = 0;      // responses to hostapd, by result
    uint64_t refused = 0;
    uint64_t seconds = 0; // simulated
    size_t most_streams = 0;
    std::vector<Measure> measures;

    uint64_t operations() const; // all but waiting
    uint64_t all_steps() const;
};

// "6 d 23:59:58"
std::string length_text(uint64_t seconds);

// The report at the end, line by line.
std::string report(const Tally &tally);

} // namespace tspec::soak
