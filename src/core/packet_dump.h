// Hex dump of a received datagram for the console.
#pragma once

#include <cstddef>
#include <cstdint>

// Text of a dump; three characters a byte and the titles leave ample room for a
// whole receive buffer.
constexpr size_t TSPEC_DUMP_SIZE = 20480;

// Traces, at TSPEC_TRACE_INFO, the name of the message's structure and its bytes
// in hex. A message of known type and command is dumped in its structure's full
// size, whatever came, so msg must be a whole receive buffer; others in len
// bytes. Returns the trace's result.
int32_t tspec_hex_ver_pkt_print(const uint8_t *msg, uint32_t len);

// Appends count bytes to the dump text at pos and advances pos: two lower-case
// hex digits and a blank for each, 16 in a line, "\n" at the end of the last.
void tspec_hex_dump(const uint8_t *bytes, uint32_t count, uint32_t &pos);
