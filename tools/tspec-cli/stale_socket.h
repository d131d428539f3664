// The socket file that an ended daemon leaves behind, and that keeps the next
// one from starting.
#pragma once

typedef enum {
    TSPEC_TOOL_ABSENT,      // there was no such file
    TSPEC_TOOL_REMOVED,     // it was stale, and is gone
    TSPEC_TOOL_ALIVE,       // somebody reads from it; it stays
    TSPEC_TOOL_UNREMOVABLE, // it stays, and errno says why
} tspec_tool_leftover_t;

// Removes `path` when connecting to it is refused, which nobody who has it open
// does. Anything else that goes wrong leaves it.
tspec_tool_leftover_t tspec_tool_remove_stale(const char *path);
