// Trap records for the SNMP agent.
#pragma once

#include <cstdint>

// Writes the text into the agent's pipe, without NUL or line end, in one write
// that never waits. A record is lost without a word when there is no pipe, no
// reader, or no room. Returns 0; -1 when the pipe cannot be opened for any other
// reason, which is said on standard error.
int32_t tspec_snmp_trap_write(const char *text);
