// What the daemon tells hostapd and admission control. Everything is sent once;
// the caller decides what a failure undoes.
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
// -1 for a null entry, one without record, or a failed send.
int32_t tspec_build_and_send_hostapd_delts_msg(const tspec_ts_rec_t *entry, uint8_t ac_idx,
                                               uint32_t radio_idx);

// Has admission control remove the stream and take its stored medium time back.
// ts_info: three octets. Returns 0, or -1 as above or for an ac_idx above 3.
int32_t tspec_build_and_send_mapd_delts_msg(const tspec_ts_rec_t *entry, const uint8_t *ts_info,
                                            uint8_t ac_idx);

// The request to admission control that removes the stream: addresses, radio and
// SSID of its record, its stored TSPEC, and the ts_info octets given.
tspec_mapd_msg_t tspec_build_mapd_delts_msg(const tspec_ts_rec_t &entry, const uint8_t *ts_info,
                                            uint8_t ac_idx);

// Hands a request to whoever decides on admission: to mapd while it manages the
// access point, else to the admission control unit of this process, which
// writes its answer into msg. cmd is the event that the request comes from; the
// receiver acts on the command in msg. Returns 0, or -1 when it could not be
// sent.
int32_t tspec_msg_send_to_acu(tspec_mapd_msg_t &msg, uint8_t ac_idx, uint8_t cmd);
