// The way to the daemon: one datagram to its command-line socket and, for a
// ping, one back. Every wait is bounded.
#pragma once

#include "tspec-cli/delivery.h"
#include "tspec-cli/request.h"

// Sends the request. Waits up to `timeout_ms` milliseconds for room in the
// daemon's queue.
tspec_tool_delivery_t tspec_tool_send(const tspec_tool_request_t *request, unsigned timeout_ms);

// The same, and then waits up to `timeout_ms` milliseconds for the answer.
tspec_tool_delivery_t tspec_tool_ping(const tspec_tool_request_t *request, unsigned timeout_ms);
