// Arguments as typed, turned into the values that the daemon takes.
//
// Every function returns true and fills its last argument, or returns false
// and leaves it alone. Nothing is guessed: blanks, signs, other bases and
// trailing characters are refused.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// A decimal number of 0..max.
bool tspec_tool_parse_number(const char *text, uint8_t max, uint8_t *value);

// Six pairs of hex digits of either case, separated by colons.
bool tspec_tool_parse_mac(const char *text, uint8_t mac[TSPEC_MAC_LEN]);

// A trace level: 0 (off), 1..7, or one of the names of the levels in use.
bool tspec_tool_parse_level(const char *text, uint8_t *level);

// A radio: 0 or 1, or the name of its interface, wlan0 or wlan1.
bool tspec_tool_parse_radio(const char *text, uint8_t *radio);

// A VAP of a radio: 0.3, or wlan0vap3.
bool tspec_tool_parse_vap(const char *text, uint8_t *radio, uint8_t *vap);

// Seconds between two looks: 1..3600.
bool tspec_tool_parse_seconds(const char *text, uint16_t *seconds);

// A decimal number of 0..max, which may be the largest of its width.
bool tspec_tool_parse_word(const char *text, uint32_t max, uint32_t *value);
