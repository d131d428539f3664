// The client records: a singly linked list in order of arrival, whose head and
// tail are in the control block. Walks from the head are the only look-up; the
// first record with a MAC address wins.
#pragma once

#include "core/control_block.h"

#include <cstdint>
#include <cstring>

inline bool tspec_rec_is_of(const tspec_rec_t &rec, const uint8_t *mac)
{
    return memcmp(rec.sta_mac, mac, TSPEC_MAC_LEN) == 0;
}

// The client's record, or null. A null MAC is traced. The walk that found a record
// serves later look-ups of it, and its removal, until tspec_rec_found_forget.
tspec_rec_t *tspec_rec_get(const uint8_t *mac);

// The next look-up walks the list again.
void tspec_rec_found_forget();

// The client's record if there is one (which is traced), else a new one at the
// end of the list, all entries free. The caller fills in the MAC and everything
// else when it sets up the first stream. Null for a null MAC or without memory.
tspec_rec_t *tspec_rec_add(const uint8_t *mac);

// The same for a client that is known to have no record: a new one, or null
// without memory.
tspec_rec_t *tspec_rec_create(const uint8_t *mac);

// Unlinks and frees the record and takes dman's walk off it. Neither the stream
// count nor any medium time changes. Returns 0, also for a record that is not
// in the list, which is then left alone; -1 for null.
int32_t tspec_rec_delete(tspec_rec_t *rec);

// 1 when none of the record's entries is in use, else 0.
int32_t tspec_rec_is_empty(const tspec_rec_t *rec);
