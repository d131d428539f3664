// The load of each access category: a snapshot taken from the stream store after
// each change, counters of admission outcomes, and the message that carries both
// to mapd while it manages the access point.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Takes the snapshot of one access category anew and marks it as news for mapd.
// An ac_idx above 3 does nothing.
void tspec_ts_status_update(uint32_t ac_idx);

// Counts one outcome: command TSPEC_ADDTS_RESP_CMD with result code 0 as
// accepted, with any other as rejected, and in the roaming counters too if the
// client's record has the roam flag. Other commands count nothing. Marks the
// access category as news for mapd in any case. An ac_idx above 3 does nothing.
void tspec_ap_statistics_update(uint8_t ac_idx, const uint8_t *sta_mac, uint8_t cmd,
                                uint8_t result);

// The same for a client whose record is known, or null for one without; ac_idx is
// 0 to 3.
void tspec_rec_statistics_update(uint8_t ac_idx, const tspec_rec_t *rec, uint8_t cmd,
                                 uint8_t result);

// Sends the status of every access category that has news. One that could not
// be sent keeps its mark and is sent by the next call.
void tspec_mapd_status_update_msg_send();
