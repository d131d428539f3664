// The client records: a list in order of arrival, linked both ways, whose head and
// tail are in the control block. Walks from the head are the only look-up; the first
// record with a MAC address wins.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// The client's record, or null. A null MAC is traced.
tspec_rec_t *tspec_rec_get(const uint8_t *mac);

// The client's record if there is one (which is traced), else a new one at the
// end of the list, all entries free. The caller fills in the MAC and everything
// else when it sets up the first stream. Null for a null MAC or without memory.
tspec_rec_t *tspec_rec_add(const uint8_t *mac);

// The same for a client that has been looked up: found is its record, or null.
tspec_rec_t *tspec_rec_add(const uint8_t *mac, tspec_rec_t *found);

// Unlinks and frees the record, takes it out of the ledger and dman's walk off it.
// Neither the stream count nor the account of admitted medium time changes. Returns
// 0, also for a record that is not in the list, which is then left alone; -1 for
// null.
int32_t tspec_rec_delete(tspec_rec_t *rec);

// Whether none of the record's entries is in use.
bool tspec_rec_is_empty(const tspec_rec_t *rec);
