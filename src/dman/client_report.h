// One step of dman's walk over all client streams.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Sends dman the stream that the cursor names, as key=value lines with a
// terminating NUL, or "end", without one, when it names none. Returns 0, or -1
// when it could not be sent.
int32_t fill_and_send_tspec_client_data(const tspec_client_ts_cursor_t *cursor);
