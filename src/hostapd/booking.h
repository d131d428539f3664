// What a request from hostapd leaves in the store when its stream is booked.
#pragma once

#include "core/control_block.h"
#include "tspec/message.h"

#include <cstdint>

// The client's addresses, radio, SSID and VAP. The flags are the caller's.
void tspec_booking_fill_record(tspec_rec_t &rec, const tspec_hostapd_msg_t &msg);

// The stream's identity, time-out, opaque values and TSPEC, and its state. The
// excess usage count and the pending request are left as they are.
void tspec_booking_fill_entry(tspec_ts_rec_t &entry, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                              uint8_t dir, uint8_t state);
