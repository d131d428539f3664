// Datagrams to the peer processes on the loopback address, and the one exchange in
// which the daemon waits for an answer.
#pragma once

#include <cstdint>

// Sends len bytes to 127.0.0.1:port (host order, low 16 bits used) from sockfd,
// once, without waiting. Returns 0, also after a short send; -1 when the send
// failed, with errno's text on standard error and errno as sendto left it.
int32_t send_msg_to_other_process(int32_t sockfd, uint32_t port, const void *buf, uint32_t len);

// Request and answer over a socket of its own, bound to local_port: sends
// req_len bytes to 127.0.0.1:dest_port and waits up to 2 seconds, during which
// the whole daemon stands still, for one datagram of up to reply_len bytes from
// anybody. The bytes of reply behind a shorter answer are left as they were.
//
// Returns the length of the answer; 0 for an empty one; a negative value when
// the exchange failed. Every result below 1 is traced.
int32_t tspec_send_receive_other_process(uint32_t dest_port, uint32_t local_port, const void *req,
                                         uint32_t req_len, void *reply, uint32_t reply_len);
