// What the daemon tells hostapd of its own accord. Everything is sent once; the caller
// decides what a failure undoes.
#pragma once

#include "core/control_block.h"
#include "tspec/message.h"

#include <cstdint>

// Answers a client's request with a refusal: the request itself, without its
// medium time and with the result code, and counts it. Returns 0, or -1 when it
// could not be sent.
int32_t tspec_build_and_send_hostapd_addts_reject_msg(const tspec_hostapd_msg_t &request,
                                                      uint8_t ac_idx, uint32_t result_code);

// Has hostapd remove the stream from the client; the result code tells an
// admitted stream (0) from a pending one (3). radio_idx is 0-based. Returns 0;
// -1 for a null entry or a failed send.
int32_t tspec_build_and_send_hostapd_delts_msg(const tspec_ts_rec_t *entry, uint8_t ac_idx,
                                               uint32_t radio_idx);
