// The status of each access category, as dman and mapd see it: a snapshot of the
// ledger with what the limits leave, and the counters of admission outcomes.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Takes the snapshot of one access category anew and marks it as news for mapd. What
// changes in the ledger afterwards shows at the next one. An ac_idx above 3 does
// nothing.
void tspec_ts_status_update(uint32_t ac_idx);

// Counts one outcome: command TSPEC_ADDTS_RESP_CMD with result code 0 as
// accepted, with any other as rejected, and in the roaming counters too if the
// client's record has the roam flag. Other commands count nothing. Marks the
// access category as news for mapd in any case. An ac_idx above 3 does nothing.
void tspec_ap_statistics_update(uint8_t ac_idx, const uint8_t *sta_mac, uint8_t cmd,
                                uint8_t result);

// The same for a client that has been looked up: rec is its record, or null.
void tspec_ap_statistics_update(uint8_t ac_idx, const tspec_rec_t *rec, uint8_t cmd,
                                uint8_t result);
