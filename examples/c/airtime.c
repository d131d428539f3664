#include "airtime.h"

#include <stddef.h>

// IEEE Std 802.11, OFDM PHY, modulation-dependent and timing-related parameters
// for 20 MHz channel spacing.
enum { PREAMBLE = 16, SIGNAL = 4, SYMBOL = 4 };
enum { SERVICE_BITS = 16, TAIL_BITS = 6 };

static const struct {
    uint32_t rate;
    uint32_t data_bits_per_symbol;
} rates[] = {{6000000, 24},  {9000000, 36},   {12000000, 48},  {18000000, 72},
             {24000000, 96}, {36000000, 144}, {48000000, 192}, {54000000, 216}};

static const uint32_t mandatory_rates[] = {6000000, 12000000, 24000000};

static size_t index_of_rate(uint32_t rate)
{
    size_t found = 0;
    for (size_t i = 0; i < sizeof rates / sizeof rates[0]; i++) {
        if (rates[i].rate <= rate) {
            found = i;
        }
    }
    return found;
}

uint32_t airtime_ofdm_rate(uint32_t rate)
{
    return rates[index_of_rate(rate)].rate;
}

uint32_t airtime_ack_rate(uint32_t rate)
{
    uint32_t found = mandatory_rates[0];
    for (size_t i = 0; i < sizeof mandatory_rates / sizeof mandatory_rates[0]; i++) {
        if (mandatory_rates[i] <= rate) {
            found = mandatory_rates[i];
        }
    }
    return found;
}

uint32_t airtime_of_frame(uint32_t frame_size, uint32_t rate)
{
    uint32_t bits = SERVICE_BITS + 8 * frame_size + TAIL_BITS;
    uint32_t bits_per_symbol = rates[index_of_rate(rate)].data_bits_per_symbol;
    uint32_t symbols = (bits + bits_per_symbol - 1) / bits_per_symbol;
    return PREAMBLE + SIGNAL + SYMBOL * symbols;
}

uint32_t airtime_of_exchange(uint32_t msdu_size, uint32_t rate, uint32_t security)
{
    uint32_t frame_size =
        AIRTIME_MAC_HEADER + AIRTIME_QOS_CONTROL + security + msdu_size + AIRTIME_FCS;
    return airtime_of_frame(frame_size, rate) + AIRTIME_SIFS +
           airtime_of_frame(AIRTIME_ACK_FRAME, airtime_ack_rate(rate));
}
