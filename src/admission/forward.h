// Requests on their way to whoever decides on admission: mapd while it manages the
// access point, else the admission control unit of this process.
#pragma once

#include "core/control_block.h"
#include "tspec/message.h"

#include <cstdint>

// Hands a request on. cmd is the event that it comes from: unauthorised traffic is
// reported where mapd does not manage the access point; everything else is acted on
// by the command in msg. Returns 0, or -1 when it could not be sent.
//
// Our own unit answers an ADDTS request in place: msg is the response then
// (TSPEC_ADDTS_RESP_CMD), which the caller owes to mapd/response.
int32_t tspec_msg_send_to_acu(tspec_mapd_msg_t &msg, uint8_t ac_idx, uint8_t cmd);

// The request that withdraws a stream: addresses, radio and SSID of its record, its
// stored TSPEC, and the three ts_info octets given.
tspec_mapd_msg_t tspec_build_mapd_delts_msg(const tspec_ts_rec_t &entry, const uint8_t *ts_info,
                                            uint8_t ac_idx);

// Withdraws a stream, so that its stored medium time comes back. Returns 0, or -1 for
// a null entry, an ac_idx above 3, or a failed send.
int32_t tspec_build_and_send_mapd_delts_msg(const tspec_ts_rec_t *entry, const uint8_t *ts_info,
                                            uint8_t ac_idx);
