// What the tool's exit status says.
#pragma once

typedef enum {
    TSPEC_TOOL_DONE = 0,
    TSPEC_TOOL_FAILED = 1,        // no daemon, no answer, or the answer cannot be shown
    TSPEC_TOOL_WRONG_USE = 2,     // wrong arguments or a wrong configuration; nothing was sent
    TSPEC_TOOL_PORT_TAKEN = 3,    // dman has the port that statistics are sent to
    TSPEC_TOOL_NOT_CONFIRMED = 4, // sent, and nobody could say what became of it
    TSPEC_TOOL_WARNED = 5,        // the daemon serves, and something is not as it should be
    TSPEC_TOOL_NOTHING_THERE = 6, // what was to be removed is not there; nothing was sent
} tspec_tool_status_t;
