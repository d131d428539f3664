// The stream entries within the client records. Where a function is there twice, one
// looks the client up and the other is for a handler that has its record.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Which TID a search compares.
constexpr uint32_t TSPEC_FIND_BY_TID = 0;     // the stream's own
constexpr uint32_t TSPEC_FIND_BY_PENDING = 1; // that of its unanswered request

// Whether the client has a stream in either bank of the access category; an ac_idx
// above 3 has none.
bool tspec_rec_has_stream(const tspec_rec_t *rec, uint32_t ac_idx);

// The client's record when it has a stream in either bank of the access
// category, else null. A null MAC is traced.
tspec_rec_t *tspec_ts_rec_get(const uint8_t *mac, uint32_t ac_idx);

// The record's first stream with the TID, in the order of access categories 0 to 3
// and the primary bank before the alternate one, or null.
tspec_ts_rec_t *tspec_rec_ts_find(tspec_rec_t *rec, int32_t tid, uint32_t mode);

// The same by the client's MAC; the stream's access category is stored in *ac_out
// unless that is null. A null MAC or a mode other than the two above is traced.
tspec_ts_rec_t *tspec_ts_rec_find_by_tid(const uint8_t *mac, uint8_t tid, uint8_t *ac_out,
                                         uint32_t mode);
tspec_ts_rec_t *tspec_ts_rec_find(const uint8_t *mac, uint8_t tid, uint8_t *ac_out);
tspec_ts_rec_t *tspec_ts_rec_find_pending(const uint8_t *mac, uint8_t tid, uint8_t *ac_out);

// Forgets the entry's unanswered request: zeros, and no pending TID.
void tspec_ts_rec_pending_reset(tspec_ts_rec_t *entry);

// Frees the client's stream with the TID, provided that it is on the access
// category (else nothing changes). An alternate stream there moves to the primary
// bank; the stream count goes down by one. Frees a record that has no other stream.
// Returns 0, or -1 (traced) when the client has no stream at all on the access
// category.
int32_t tspec_ts_rec_delete_tid(const uint8_t *mac, uint8_t ac_idx, uint8_t tid);
int32_t tspec_ts_rec_delete_tid(tspec_rec_t *rec, uint8_t ac_idx, uint8_t tid);

// Frees all streams of the client on the access category; the stream count goes down
// by as many. Frees a record that has no other stream. Returns 0, or -1 (traced) when
// there was none.
int32_t tspec_ts_rec_delete(const uint8_t *mac, uint8_t ac_idx);
int32_t tspec_ts_rec_delete(tspec_rec_t *rec, uint8_t ac_idx);
