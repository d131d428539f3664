// Commands that the daemon answers on the console, and the console seen by the
// caller: for the time of one command its output is turned to a terminal of the
// tool's own, and written to the console afterwards, so that nothing is lost
// there. The kernel lets root do that, where the console is a device of this
// machine and nobody else has turned it.
#pragma once

#include "tspec-cli/request.h"
#include "tspec-cli/status.h"

// Sends the request. What the daemon prints goes to standard output; where it
// cannot be had, standard error says where it went.
tspec_tool_status_t tspec_tool_send_to_console(const tspec_tool_request_t *request);
