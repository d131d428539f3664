#include "sim/capacity/codec.h"

#include <algorithm>

namespace tspec::sim::capacity {

namespace {

constexpr Codec known_codecs[] = {
    {"g711", 64'000, 20'000, 160}, {"g722", 64'000, 20'000, 160}, {"g726", 32'000, 20'000, 80},
    {"opus", 24'000, 20'000, 60},  {"ilbc", 15'200, 20'000, 38},  {"g729", 8'000, 20'000, 20},
    {"g723", 6'400, 30'000, 24},
};

} // namespace

uint32_t Codec::msdu_size() const
{
    return llc_snap_header + ipv4_header + udp_header + rtp_header + payload;
}

uint32_t Codec::mean_data_rate() const
{
    uint64_t bits = uint64_t{8} * msdu_size() * 1'000'000;
    return static_cast<uint32_t>((bits + interval - 1) / interval);
}

std::span<const Codec> codecs()
{
    return known_codecs;
}

const Codec *find_codec(std::string_view name)
{
    auto found = std::find_if(std::begin(known_codecs), std::end(known_codecs),
                              [name](const Codec &codec) { return codec.name == name; });
    return found == std::end(known_codecs) ? nullptr : found;
}

} // namespace tspec::sim::capacity
