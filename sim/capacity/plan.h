// How many calls fit: asked of the daemon itself, which is sent one call after
// another until it refuses.
#pragma once

#include "sim/capacity/codec.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace tspec::sim::capacity {

struct Plan {
    std::vector<const Codec *> codecs;
    std::vector<uint32_t> phy_rates; // bit/s
    std::vector<uint32_t> limits;    // percent of the air for voice
    double surplus = 1.0;            // surplus bandwidth allowance
    bool encrypted = false;
    std::filesystem::path daemon{};
};

// One combination; medium time in units of 32 us per second.
struct Row {
    const Codec *codec = nullptr;
    uint32_t phy_rate = 0;
    uint32_t limit = 0;
    uint32_t exchange = 0;           // one frame exchange, microseconds
    uint32_t stream_medium_time = 0; // as the daemon answers, of one direction
    uint32_t call_medium_time = 0;   // as it books, of both
    uint32_t calls = 0;
    uint32_t admitted = 0; // medium time of all calls, by the daemon's account
    uint32_t limit_medium_time = 0;
};

// In the order limit, PHY rate, codec. A world has been entered. Throws when no
// access point can be had.
std::vector<Row> carry_out(const Plan &plan);

} // namespace tspec::sim::capacity
