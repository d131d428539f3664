// Durations on the air against figures of IEEE Std 802.11 for the OFDM PHY with
// 20 MHz channel spacing:
//
//   PREAMBLE 16 us, SIGNAL 4 us, symbol 4 us, SERVICE 16 bits, tail 6 bits,
//   SIFS 16 us, ACK frame 14 bytes
//   Mbit/s                    6   9  12  18  24   36   48   54
//   data bits in a symbol    24  36  48  72  96  144  192  216
//
//   duration = 16 + 4 + 4 * ceil((16 + 8 * bytes + 6) / bits in a symbol)
#include "airtime.h"

#include <gtest/gtest.h>

namespace tspec::tests {
namespace {

struct Case {
    uint32_t bytes;
    uint32_t rate;
    uint32_t duration;
};

// 238 bytes, a G.711 packet: 16 + 1904 + 6 = 1926 bits.
//    6: 1926 / 24  = 80.25, 81 symbols, 20 + 324 = 344
//    9: 1926 / 36  = 53.50, 54 symbols, 20 + 216 = 236
//   12: 1926 / 48  = 40.13, 41 symbols, 20 + 164 = 184
//   18: 1926 / 72  = 26.75, 27 symbols, 20 + 108 = 128
//   24: 1926 / 96  = 20.06, 21 symbols, 20 +  84 = 104
//   36: 1926 / 144 = 13.38, 14 symbols, 20 +  56 =  76
//   48: 1926 / 192 = 10.03, 11 symbols, 20 +  44 =  64
//   54: 1926 / 216 =  8.92,  9 symbols, 20 +  36 =  56
// 1500 bytes: 16 + 12000 + 6 = 12022 bits.
//    6: 12022 / 24  = 500.92, 501 symbols, 20 + 2004 = 2024
//   54: 12022 / 216 =  55.66,  56 symbols, 20 +  224 =  244
// 14 bytes, an ACK: 16 + 112 + 6 = 134 bits.
//    6: 134 / 24 = 5.58, 6 symbols, 20 + 24 = 44
//   12: 134 / 48 = 2.79, 3 symbols, 20 + 12 = 32
//   24: 134 / 96 = 1.40, 2 symbols, 20 +  8 = 28
// At 24 one symbol holds 96 bits: 9 bytes are 94 bits, one symbol, 20 + 4 = 24;
//   10 bytes are 102 bits, two symbols, 20 + 8 = 28.
TEST(Airtime, OfAFrame)
{
    const Case cases[] = {
        {238, 6'000'000, 344},   {238, 9'000'000, 236},  {238, 12'000'000, 184},
        {238, 18'000'000, 128},  {238, 24'000'000, 104}, {238, 36'000'000, 76},
        {238, 48'000'000, 64},   {238, 54'000'000, 56},  {1500, 6'000'000, 2024},
        {1500, 54'000'000, 244}, {14, 6'000'000, 44},    {14, 12'000'000, 32},
        {14, 24'000'000, 28},    {9, 24'000'000, 24},    {10, 24'000'000, 28},
    };
    for (const Case &one : cases) {
        EXPECT_EQ(airtime_of_frame(one.bytes, one.rate), one.duration)
            << one.bytes << " bytes at " << one.rate;
    }
}

// A 208-byte MSDU is 24 + 2 + 208 + 4 = 238 bytes on the air. The ACK goes at the
// highest mandatory rate (6, 12, 24) that is not above the frame's.
//    6: 344 + 16 + 44 = 404     24: 104 + 16 + 28 = 148
//    9: 236 + 16 + 44 = 296     36:  76 + 16 + 28 = 120
//   12: 184 + 16 + 32 = 232     48:  64 + 16 + 28 = 108
//   18: 128 + 16 + 32 = 176     54:  56 + 16 + 28 = 100
// A 68-byte one (G.729) is 98 bytes, 16 + 784 + 6 = 806 bits:
//    6: 806 / 24  = 33.58, 34 symbols, 20 + 136 = 156; 156 + 16 + 44 = 216
//   54: 806 / 216 =  3.73,  4 symbols, 20 +  16 =  36;  36 + 16 + 28 =  80
TEST(Airtime, OfAnExchange)
{
    const Case cases[] = {
        {208, 6'000'000, 404},  {208, 9'000'000, 296},  {208, 12'000'000, 232},
        {208, 18'000'000, 176}, {208, 24'000'000, 148}, {208, 36'000'000, 120},
        {208, 48'000'000, 108}, {208, 54'000'000, 100}, {68, 6'000'000, 216},
        {68, 54'000'000, 80},
    };
    for (const Case &one : cases) {
        EXPECT_EQ(airtime_of_exchange(one.bytes, one.rate, 0), one.duration)
            << one.bytes << " bytes at " << one.rate;
    }
}

// CCMP adds a header of 8 bytes and an integrity code of 8: 254 bytes, 2054 bits.
//    6: 2054 / 24  = 85.58, 86 symbols, 20 + 344 = 364; 364 + 16 + 44 = 424
//   54: 2054 / 216 =  9.51, 10 symbols, 20 +  40 =  60;  60 + 16 + 28 = 104
TEST(Airtime, OfAnEncryptedExchange)
{
    EXPECT_EQ(airtime_of_exchange(208, 6'000'000, AIRTIME_CCMP), 424U);
    EXPECT_EQ(airtime_of_exchange(208, 54'000'000, AIRTIME_CCMP), 104U);
}

TEST(Airtime, KnowsTheRatesOfThePhyOnly)
{
    const std::pair<uint32_t, uint32_t> rates[] = {
        {0, 6'000'000},          {5'999'999, 6'000'000},   {6'000'000, 6'000'000},
        {11'000'000, 9'000'000}, {54'000'000, 54'000'000}, {4'000'000'000, 54'000'000}};
    for (auto [wanted, rate] : rates) {
        EXPECT_EQ(airtime_ofdm_rate(wanted), rate) << wanted;
    }
    EXPECT_EQ(airtime_of_exchange(208, 0, 0), 404U);
}

TEST(Airtime, AcknowledgesAtAMandatoryRate)
{
    const std::pair<uint32_t, uint32_t> rates[] = {
        {0, 6'000'000},           {6'000'000, 6'000'000},   {9'000'000, 6'000'000},
        {12'000'000, 12'000'000}, {18'000'000, 12'000'000}, {24'000'000, 24'000'000},
        {54'000'000, 24'000'000}};
    for (auto [rate, ack] : rates) {
        EXPECT_EQ(airtime_ack_rate(rate), ack) << rate;
    }
}

} // namespace
} // namespace tspec::tests
