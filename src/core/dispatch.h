// Routes a datagram from a peer, by its type byte, to the handler of that peer.
#pragma once

#include <cstdint>

// msg: the receive buffer, of at least TSPEC_RECV_BUF_SIZE bytes, as handlers
// of fixed-size messages read a whole message whatever came; len: the length
// of the datagram in it. Any type is accepted from any socket.
//
// Returns 0 when the datagram was handled, -1 for a null pointer, an unknown
// type (which is traced and dumped) or a failed handler.
int32_t tspec_process_msg(const uint8_t *msg, uint32_t len);
