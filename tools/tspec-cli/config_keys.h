// The keys of a configuration file, in one table: their section, the values that
// they take, and where in dman's messages the value goes.
#pragma once

#include "tspec/message.h"

#include <cstddef>

#define TSPEC_TOOL_MAX_KEYS 16

// In the order in which their messages are sent.
typedef enum {
    TSPEC_TOOL_WLAN0_SECTION,
    TSPEC_TOOL_WLAN1_SECTION,
    TSPEC_TOOL_DAEMON_SECTION,
    TSPEC_TOOL_NUM_SECTIONS,
} tspec_tool_section_t;

// What is not said in a section that is there is 0.
typedef struct {
    bool is_there[TSPEC_TOOL_NUM_SECTIONS];
    tspec_dman_config_msg_t radio[TSPEC_NUM_RADIOS];
    tspec_dman_violation_interval_msg_t daemon;
} tspec_tool_config_t;

typedef struct {
    const char *name;
    bool (*read)(const char *text, uint32_t *value);
    const char *values; // that it takes, for a sentence
    size_t offset;      // of the 32-bit word in the section's message
} tspec_tool_key_t;

// The name of a section, and whether `section` becomes that of `name`.
const char *tspec_tool_section_name(tspec_tool_section_t section);
bool tspec_tool_section_find(const char *name, tspec_tool_section_t *section);

// The keys of a section and, through `count`, their number.
const tspec_tool_key_t *tspec_tool_keys(tspec_tool_section_t section, size_t *count);

// The message that the section fills, and its size.
void *tspec_tool_section_message(tspec_tool_config_t *config, tspec_tool_section_t section,
                                 size_t *size);

// All messages as they are sent, without a value.
void tspec_tool_config_clear(tspec_tool_config_t *config);

// Shares of one access category that the daemon adds up: their names and the
// offsets of both.
typedef struct {
    const char *limit;
    const char *fast_transition;
} tspec_tool_sum_t;

extern const tspec_tool_sum_t TSPEC_TOOL_SUMS[2];

// The keys of one access category that only make sense together.
typedef struct {
    const char *mandatory;
    const char *limit;
} tspec_tool_pair_t;

extern const tspec_tool_pair_t TSPEC_TOOL_PAIRS[TSPEC_NUM_ACS];
