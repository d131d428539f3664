// What a command line asks for once its arguments have been checked: a datagram
// for the command-line socket, or a look at the statistics, or a file.
#pragma once

#include "tspec-cli/request.h"

#include <cstdint>

typedef enum {
    TSPEC_TOOL_WHOLE_AP, // the access point and each of its radios
    TSPEC_TOOL_ONE_RADIO,
    TSPEC_TOOL_ONE_VAP,
} tspec_tool_scope_t;

typedef struct {
    tspec_tool_scope_t scope;
    uint8_t radio; // 0 = wlan0, 1 = wlan1
    uint8_t vap;
    bool json;
    bool units;           // medium time as the daemon counts it, not in per cent
    const char *category; // its name; null: all
    char station[20];     // as the daemon writes it; empty: all
    bool with_streams;    // metrics of each stream, too
    uint16_t period_s;    // shown again after so many seconds; 0: shown once
} tspec_tool_view_t;

// A command uses the members that it needs.
typedef struct {
    tspec_tool_request_t request;
    tspec_tool_view_t view;
    const char *file; // as typed
    bool apply;       // the file is to be sent, not only checked
} tspec_tool_job_t;
