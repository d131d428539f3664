// Datagrams that peers send to the daemon, built by offset: the inputs of the
// tests in this folder.
#pragma once

#include "bytes.h"

#include <string>
#include <vector>

namespace tspec::model {

struct HostapdInput {
    uint8_t cmd = 1;
    Mac sta{0x02, 0, 0, 0, 0, 1};
    uint8_t tid = 6;        // in byte 140 and in TS Info
    uint8_t info_tid = 255; // in TS Info, when different
    uint8_t dir = 0;
    uint8_t up = 6;
    uint8_t radio_unit = 1;
    uint8_t vap = 0;
    Mac vap_addr{0x02, 0xaa, 0, 0, 0, 2};
    uint16_t nominal = 0x80d0;
    uint32_t mean_rate = 83200;
    uint32_t min_phy = 6000000;
    uint16_t surplus = 0x2000;
    uint16_t medium_time = 0;
    uint8_t aux_byte = 0x5a;
    uint8_t filler = 0; // for every byte that no field above occupies, from byte 2 on

    Bytes bytes() const;
};

struct MapdInput {
    uint8_t cmd = 2;
    Mac sta{0x02, 0, 0, 0, 0, 1};
    uint8_t tid = 6;
    uint8_t dir = 0;
    uint8_t up = 6;
    uint8_t radio_unit = 1;
    uint8_t ac_idx = 3;
    uint16_t medium_time = 625;
    uint8_t result = 0;
    uint8_t filler = 0;

    Bytes bytes() const;
};

struct ConfigInput {
    uint8_t radio_if = 1;
    uint32_t enabled = 1;
    // best effort, background, video, voice
    uint32_t acm[4] = {0, 0, 1, 1};
    uint32_t limit[4] = {0, 0, 50, 50};
    uint32_t fbt_vi = 0;
    uint32_t fbt_vo = 0;
    uint32_t roam_reserve = 0;
    uint32_t downlink_timeout = 0;
    uint32_t uplink_timeout = 0;
    uint32_t radio_param = 0;

    Bytes bytes() const;
};

Bytes interval_input(uint32_t seconds);
Bytes ap_state_input(uint8_t managed_mode);
Bytes status_request_input(const std::string &command); // with its NUL
Bytes cli_debug_input(const std::vector<uint8_t> &levels);
Bytes cli_mac_input(uint8_t code, const Mac &mac, uint8_t tid);

} // namespace tspec::model
