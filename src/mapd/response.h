// Admission responses and deletions: from mapd, or in the same form from the
// admission control unit of this process.
#pragma once

#include "core/control_block.h"
#include "tspec/message.h"

#include <cstdint>

// Handles one datagram of type TSPEC_MAPD_MSG, of exactly 120 bytes. A response
// admits the pending stream, with the medium time that it carries, or removes
// it; a deletion removes the stream. hostapd is told, unless the result code of
// a response is none of its own. Returns 0, or -1 for a message that does not
// fit a stream, a failed deletion, or a failed send, which removes the stream.
int32_t tspec_mapd_process(const uint8_t *msg, uint32_t len);

// The same for the answer of our own unit, whose form needs no check; client is the
// record of the client in msg, which may be gone afterwards.
int32_t tspec_mapd_response(const tspec_mapd_msg_t &msg, tspec_rec_t *client);
