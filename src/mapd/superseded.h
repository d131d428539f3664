// Streams that a newly admitted one of the same client replaces.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Cleans up the streams of the client that its stream with TID tid_new, just
// admitted on ac_new, supersedes. Returns 0, also when a clean-up failed (which
// is traced); -1 for a null client, an access category above 3 or a TID above 7.
int32_t tspec_mapd_old_ts_removal(tspec_rec_t *client, uint8_t ac_new, uint8_t tid_new);
