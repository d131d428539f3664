// Walk over all streams, one step at a time: clients in list order, and for
// each client the TIDs 0 to 7 that it has a stream on, each once.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Moves the cursor to the first stream. Returns 0 when it names one (its record
// and TID), -1 when there is none or for a null cursor.
int32_t tspec_client_ts_first_get(tspec_client_ts_cursor_t *cursor);

// Moves the cursor to the stream after it. At the end the cursor's record
// becomes null and the result is -1; a further step starts again at the head.
int32_t tspec_client_ts_next_get(tspec_client_ts_cursor_t *cursor);
