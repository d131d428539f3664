// Access categories and what is looked up by them or by a stream's direction.
#pragma once

#include <cstdint>

// With a place for the result: ac_idx if it is 0 to 3, which is also stored
// there; 4 for any other, and the place is left untouched. Without a place:
// ac_idx as it is, valid or not.
uint32_t tspec_ac_convert(uint32_t ac_idx, uint32_t *out);

// Inactivity time-out, in microseconds, that the radio (index 0 or 1) is
// configured with for streams of the direction; 0 = none. A bidirectional
// stream has the longer of both, but none if either is 0.
uint32_t tspec_ts_inactivity_timeout_get(uint32_t radio_idx, uint8_t dir);

// 0 for the result code "admission accepted", -1 for any other.
int32_t tspec_rec_addts_status_get(uint8_t result_code);
