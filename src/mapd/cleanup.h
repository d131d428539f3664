// The end of one stream by the daemon's own doing: told to hostapd and admission
// control, and off the store.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// What a clean-up does, in this order.
constexpr uint32_t TSPEC_CLEANUP_DELTS_HOSTAPD = 0x1;
constexpr uint32_t TSPEC_CLEANUP_DELTS_NO_TIME = 0x2; // to admission control, medium time 0
constexpr uint32_t TSPEC_CLEANUP_DELTS_TIME = 0x4;    // to admission control, medium time kept
constexpr uint32_t TSPEC_CLEANUP_DELETE = 0x8;        // from the store

// Does what the flags say; after a failure the other actions are still tried.
// The entry, and with its last stream the client's record, is gone after
// TSPEC_CLEANUP_DELETE. Returns 0, or -1 when an action failed or the entry is
// null.
int32_t tspec_old_ts_cleanup(tspec_ts_rec_t *entry, uint32_t flags);
