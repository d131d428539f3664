/*
 * Datagrams that peers send to the daemon, built by offset: the inputs of the
 * tests in this folder.
 */
#ifndef TSPEC_MODEL_INPUTS_H
#define TSPEC_MODEL_INPUTS_H

#include "bytes.h"

#include <string>
#include <vector>

namespace tspec::model {

struct HostapdInput {
    std::uint8_t cmd = 1;
    Mac sta{0x02, 0, 0, 0, 0, 1};
    std::uint8_t tid = 6;        /* in byte 140 and in TS Info */
    std::uint8_t info_tid = 255; /* in TS Info, when different */
    std::uint8_t dir = 0;
    std::uint8_t up = 6;
    std::uint8_t radio_unit = 1;
    std::uint8_t vap = 0;
    Mac vap_addr{0x02, 0xaa, 0, 0, 0, 2};
    std::uint16_t nominal = 0x80d0;
    std::uint32_t mean_rate = 83200;
    std::uint32_t min_phy = 6000000;
    std::uint16_t surplus = 0x2000;
    std::uint16_t medium_time = 0;
    std::uint8_t aux_byte = 0x5a;
    std::uint8_t filler = 0; /* for every byte that no field above occupies, from byte 2 on */

    Bytes bytes() const;
};

struct MapdInput {
    std::uint8_t cmd = 2;
    Mac sta{0x02, 0, 0, 0, 0, 1};
    std::uint8_t tid = 6;
    std::uint8_t dir = 0;
    std::uint8_t up = 6;
    std::uint8_t radio_unit = 1;
    std::uint8_t ac_idx = 3;
    std::uint16_t medium_time = 625;
    std::uint8_t result = 0;
    std::uint8_t filler = 0;

    Bytes bytes() const;
};

struct ConfigInput {
    std::uint8_t radio_if = 1;
    std::uint32_t enabled = 1;
    /* best effort, background, video, voice */
    std::uint32_t acm[4] = {0, 0, 1, 1};
    std::uint32_t limit[4] = {0, 0, 50, 50};
    std::uint32_t fbt_vi = 0;
    std::uint32_t fbt_vo = 0;
    std::uint32_t roam_reserve = 0;
    std::uint32_t downlink_timeout = 0;
    std::uint32_t uplink_timeout = 0;
    std::uint32_t radio_param = 0;

    Bytes bytes() const;
};

Bytes interval_input(std::uint32_t seconds);
Bytes ap_state_input(std::uint8_t managed_mode);
Bytes status_request_input(const std::string &command); /* with its NUL */
Bytes cli_debug_input(const std::vector<std::uint8_t> &levels);
Bytes cli_mac_input(std::uint8_t code, const Mac &mac, std::uint8_t tid);

} // namespace tspec::model

#endif
