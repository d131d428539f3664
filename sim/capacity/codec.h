// Voice codecs as they go over the network: how many bytes of speech how often,
// and what is put around them.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace tspec::sim::capacity {

// Headers within an MSDU, in bytes.
inline constexpr uint32_t llc_snap_header = 8;
inline constexpr uint32_t ipv4_header = 20;
inline constexpr uint32_t udp_header = 8;
inline constexpr uint32_t rtp_header = 12;

struct Codec {
    std::string_view name;
    uint32_t bit_rate; // of the speech alone
    uint32_t interval; // between two packets, microseconds
    uint32_t payload;  // speech in a packet, bytes

    // What a TSPEC calls nominal MSDU size and mean data rate (rounded up), of
    // one direction.
    uint32_t msdu_size() const;
    uint32_t mean_data_rate() const;
};

std::span<const Codec> codecs();

// Null when there is none of that name.
const Codec *find_codec(std::string_view name);

} // namespace tspec::sim::capacity
