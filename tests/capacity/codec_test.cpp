// What codecs ask of the network.
#include "sim/capacity/codec.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

using namespace tspec::sim::capacity;

// Payload: bit rate times interval, over 8. MSDU: payload and 48 bytes, that is
// LLC/SNAP 8, IPv4 20, UDP 8, RTP 12. Mean rate: 8 * MSDU over the interval.
//   64000 * 20 ms = 160 bytes, 208, 83200     15200 * 20 ms = 38, 86, 34400
//   32000 * 20 ms =  80 bytes, 128, 51200      8000 * 20 ms = 20, 68, 27200
//   24000 * 20 ms =  60 bytes, 108, 43200      6400 * 30 ms = 24, 72, 19200
TEST(Codecs, FillPacketsWithSpeechAndHeaders)
{
    struct Expected {
        const char *name;
        uint32_t payload;
        uint32_t msdu_size;
        uint32_t mean_data_rate;
    };
    const Expected cases[] = {{"g711", 160, 208, 83200}, {"g722", 160, 208, 83200},
                              {"g726", 80, 128, 51200},  {"opus", 60, 108, 43200},
                              {"ilbc", 38, 86, 34400},   {"g729", 20, 68, 27200},
                              {"g723", 24, 72, 19200}};
    EXPECT_EQ(codecs().size(), std::size(cases));
    for (const Expected &one : cases) {
        const Codec *codec = find_codec(one.name);
        ASSERT_NE(codec, nullptr) << one.name;
        EXPECT_EQ(codec->payload, one.payload) << one.name;
        EXPECT_EQ(uint64_t{codec->bit_rate} * codec->interval, 8'000'000ULL * codec->payload)
            << one.name;
        EXPECT_EQ(codec->msdu_size(), one.msdu_size) << one.name;
        EXPECT_EQ(codec->mean_data_rate(), one.mean_data_rate) << one.name;
    }
}

TEST(Codecs, AreFoundByName)
{
    EXPECT_EQ(find_codec("g7"), nullptr);
    EXPECT_EQ(find_codec(""), nullptr);
}

// 98 bytes in 30 ms: 26133.33 bit/s.
TEST(Codecs, RoundTheirRateUp)
{
    Codec codec{"odd", 13'333, 30'000, 50};

    EXPECT_EQ(codec.mean_data_rate(), 26'134U);
}

} // namespace
} // namespace tspec::tests
