// What passes between the steps of the tool: the datagram for the daemon, and
// the sentence that tells the operator why there is none.
#pragma once

#include "tspec/message.h"

#include <cstddef>
#include <cstdint>

typedef struct {
    uint8_t bytes[TSPEC_CLI_BUF_SIZE];
    size_t length; // bytes to send, from the start of `bytes`
} tspec_tool_request_t;

typedef struct {
    char text[256]; // no "tspec-cli: " before it and no full stop or line end after it
} tspec_tool_error_t;
