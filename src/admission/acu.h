// The admission control unit: decides, while mapd does not manage the access
// point, whether a stream fits under its access category's limit, and keeps the
// account of admitted medium time.
//
// Medium time is in units of 32 microseconds per second, 16 bits wide; what is
// handed in here has been doubled for a bidirectional stream where that is due.
// Additions wrap, subtractions stop at 0. A radio_unit is 1 or 2, which the caller owes:
// what is above 2 is refused where a function says so, 0 is not looked for.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// Decides the request in msg, whose radio_unit the caller has checked. An ADDTS
// request becomes, in place, the response that mapd would send, and books its medium
// time if it is admitted; a DELTS request gives its medium time back; other commands
// only get the channel's utilisation. Returns 0, or -1 for null.
int32_t tspec_acu_process(tspec_mapd_msg_t *msg, uint8_t ac_idx);

// Stores in *result the WMM status code of the ADDTS request in msg, and books
// the medium time if it is admitted. Returns 0, or -1 for an ac_idx above 3,
// with *result untouched.
int32_t tspec_acu_admission_req_recv(const tspec_mapd_msg_t &msg, uint8_t ac_idx, uint8_t *result);

// Gives back the medium time of the stream in msg, doubled here if its TS Info
// says bidirectional. Returns 0, or -1 for an ac_idx above 3.
int32_t tspec_acu_deletion_req_recv(const tspec_mapd_msg_t &msg, uint8_t ac_idx);

// Gives back medium time. Returns 0, or -1 for a radio_unit above 2 or an ac_idx
// above 3.
int32_t tspec_acu_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);

// Books medium time of a stream that came by fast transition, in the total and
// in the fast-transition account. No limit applies. Only VI and VO have such an
// account: returns 0, or -1 for the others.
int32_t tspec_acu_fbt_ts_add(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);

// Takes medium time off the fast-transition account; the total is given back by
// the ordinary removal of the stream. Returns as above.
int32_t tspec_acu_fbt_ts_removal(uint8_t radio_unit, uint8_t ac_idx, uint16_t medium_time);

// Medium time of a share of the medium in per cent, cut to 16 bits: 50 gives
// 15625, 210 gives 89.
uint16_t tspec_acu_acm_limit_percent_convert(uint16_t percent);

// The same for the fast-transition share; the limit that it is part of is not
// read.
uint16_t tspec_acu_acm_fbt_limit_percent_convert(uint16_t limit_percent, uint16_t fbt_percent);
