// dman's way to the daemon, taken when there is no dman or it lets us: messages
// to the daemon's dman socket, and its text answers on dman's UDP port.
#pragma once

#include "tspec-cli/delivery.h"

#include <cstddef>

// How long an answer is awaited: the daemon may be silent for two seconds for
// each request that it puts to hostapd.
#define TSPEC_TOOL_ANSWER_MS 5000

// An answer with its closing NUL.
#define TSPEC_TOOL_ANSWER_SIZE 1025

// A socket connected to the daemon, or -1 with errno set. It stays with the
// daemon of that moment: after a restart every send fails.
int tspec_tool_dman_connect();

// Waits up to TSPEC_TOOL_ANSWER_MS for room in the daemon's queue.
tspec_tool_delivery_t tspec_tool_dman_send(int sock, const void *message, size_t length);

typedef struct {
    int requests; // connected to the daemon
    int answers;  // bound to dman's port, open to the daemon alone
} tspec_tool_session_t;

// Opens both sockets. A port that is taken for a moment only, by another run of
// the tool, is waited for. Close what was opened, and nothing else.
tspec_tool_delivery_t tspec_tool_session_open(tspec_tool_session_t *session);
void tspec_tool_session_close(const tspec_tool_session_t *session);

// Puts a status request and takes the answer as a string.
tspec_tool_delivery_t tspec_tool_session_ask(const tspec_tool_session_t *session,
                                             const char *request,
                                             char answer[TSPEC_TOOL_ANSWER_SIZE]);
