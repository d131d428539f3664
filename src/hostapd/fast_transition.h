// Streams of a client that arrives by fast BSS transition (IEEE 802.11r). They
// were negotiated during the transition, so they are booked as admitted without
// a decision and charged to the fast-transition reserve.
#pragma once

#include "core/control_block.h"
#include "tspec/message.h"

#include <cstdint>

// Books the stream. A client that already has streams on the access category
// loses all its streams on this VAP first. Returns 0; -1 for a client that is
// not associated or cannot be stored; the result of the ADDTS reject at the
// limit of streams.
int32_t tspec_fbt_addts_req_process(const tspec_hostapd_msg_t &msg, uint8_t ac_idx, uint32_t len);

// Before an ordinary ADDTS: a client whose record came by fast transition, has a
// stream on the access category and holds one with the TID of the request loses all
// its streams on this VAP. Returns whether it does; the record may be gone then.
bool tspec_fbt_ts_delete(tspec_rec_t *rec, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                         uint32_t len);
