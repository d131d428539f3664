// The ledger: for each access category what all clients hold together, by radio and
// VAP and on the access point. Every figure is the sum over the records as they are
// now; the snapshots that dman and mapd see are copies of it.
//
// A client counts on an access category while its primary stream there is admitted,
// and its alternate one then adds its stream and time. A VAP of 16 or more, which
// hostapd may send, goes into the figures of its radio and the access point only.
// Limits and the mark of news are no sums and stay 0 here.
#pragma once

#include "core/control_block.h"

// Brings the ledger up to date with the record, whatever changed of its entries,
// radio, VAP or roam flag. Due after every such change.
void tspec_ledger_update(tspec_rec_t &rec);

// Takes all of the record's figures out, before the record ends.
void tspec_ledger_remove(tspec_rec_t &rec);

// Asserts that the ledger holds what a walk over all records adds up to. Not in a
// release.
#ifdef NDEBUG
inline void tspec_ledger_check() {}
#else
void tspec_ledger_check();
#endif
