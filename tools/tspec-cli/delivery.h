// What becomes of a datagram to the daemon and of the wait for its answer, and
// how the operator is told.
#pragma once

#include "tspec-cli/status.h"

#include <cstdio>

typedef enum {
    TSPEC_TOOL_DELIVERED,        // sent and, where one is awaited, answered
    TSPEC_TOOL_NO_DAEMON,        // nobody has the daemon's name
    TSPEC_TOOL_QUEUE_FULL,       // the daemon takes no more for now
    TSPEC_TOOL_NAME_IN_USE,      // another ping has the name that answers go to
    TSPEC_TOOL_NO_ANSWER,        // no answer within the time
    TSPEC_TOOL_WRONG_ANSWER,     // an answer, but not the right one
    TSPEC_TOOL_SYSTEM_FAILED,    // errno says why
    TSPEC_TOOL_NO_DMAN_SOCKET,   // dman's way to the daemon is closed; errno says why
    TSPEC_TOOL_REPLY_PORT_TAKEN, // statistics go to somebody else
    TSPEC_TOOL_STRANGER,         // the answer came from another user than the daemon's
    TSPEC_TOOL_SENT_BLINDLY,     // sent; whether it was taken cannot be asked
    TSPEC_TOOL_UNSTEADY,         // the streams changed during every walk over them
} tspec_tool_delivery_t;

// The sentence for anything but TSPEC_TOOL_DELIVERED, from errno where that is
// said above, after a wait of `timeout_ms`.
void tspec_tool_print_failure(FILE *out, tspec_tool_delivery_t delivery, unsigned timeout_ms);

tspec_tool_status_t tspec_tool_status_of(tspec_tool_delivery_t delivery);

// Both: prints to standard error unless delivered, and yields the status.
tspec_tool_status_t tspec_tool_report(tspec_tool_delivery_t delivery, unsigned timeout_ms);
