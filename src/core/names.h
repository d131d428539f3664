// What messages, access categories and directions are called in everything a
// person reads: packet dumps, reports, statistics.
#pragma once

#include <cstdint>

// Name and size in bytes of the structure that carries a hostapd or mapd
// command.
struct tspec_cmd_info_t {
    const char *name;   // "TSPEC_ADDTS_REQ_CMD"
    const char *layout; // "tspec_hostapd_msg_t"
    uint32_t size;
};

// The packet dump's description of a command, or null for one that it does not
// know: 0, the fast-transition ADDTS, and everything above.
const tspec_cmd_info_t *tspec_cmd_info(uint8_t cmd);

// Name of a hostapd or mapd command ("TSPEC_DELTS_CMD"), or null.
const char *tspec_cmd_name(uint8_t cmd);

// "voice", "video", "best-effort", "background"; "unknown" for any other index.
const char *tspec_ac_name(uint8_t ac_idx);

// "uplink", "downlink", "bidirectional"; "reserved" for any other code.
const char *tspec_dir_name(uint8_t dir);
