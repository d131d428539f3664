/*
 * The way to the daemon: one datagram to its command-line socket and, for a
 * ping, one back. Every wait is bounded.
 */
#ifndef TSPEC_TOOL_DAEMON_SOCKET_H
#define TSPEC_TOOL_DAEMON_SOCKET_H

#include "tspec-cli/request.h"

typedef enum {
    TSPEC_TOOL_DELIVERED,     /* sent and, for a ping, answered */
    TSPEC_TOOL_NO_DAEMON,     /* nobody has the daemon's name */
    TSPEC_TOOL_QUEUE_FULL,    /* the daemon takes no more commands for now */
    TSPEC_TOOL_NAME_IN_USE,   /* another ping has the name that answers go to */
    TSPEC_TOOL_NO_ANSWER,     /* no answer within the time */
    TSPEC_TOOL_WRONG_ANSWER,  /* an answer, but not the right one */
    TSPEC_TOOL_SYSTEM_FAILED, /* errno says why */
} tspec_tool_delivery_t;

/* Sends the request. Waits up to `timeout_ms` milliseconds for room in the
 * daemon's queue. */
tspec_tool_delivery_t tspec_tool_send(const tspec_tool_request_t *request, unsigned timeout_ms);

/* The same, and then waits up to `timeout_ms` milliseconds for the answer. */
tspec_tool_delivery_t tspec_tool_ping(const tspec_tool_request_t *request, unsigned timeout_ms);

#endif
