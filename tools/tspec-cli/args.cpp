#include "tspec-cli/args.h"

#include <string.h>

static const uint8_t max_level = 7;

typedef struct {
    const char *name;
    uint8_t level;
} level_name_t;

/* The daemon traces nothing at level 6, so it has no name. */
static const level_name_t level_names[] = {
    {"off", 0}, {"info", 1}, {"error", 2}, {"hostapd", 3}, {"mapd", 4}, {"dman", 5}, {"func", 7},
};

static bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

static int hex_value(char c)
{
    if (is_digit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

bool tspec_tool_parse_number(const char *text, uint8_t max, uint8_t *value)
{
    if (*text == '\0') {
        return false;
    }
    unsigned number = 0;
    for (const char *p = text; *p != '\0'; p++) {
        if (!is_digit(*p)) {
            return false;
        }
        number = number * 10 + static_cast<unsigned>(*p - '0');
        if (number > max) {
            return false;
        }
    }
    *value = static_cast<uint8_t>(number);
    return true;
}

bool tspec_tool_parse_mac(const char *text, uint8_t mac[TSPEC_MAC_LEN])
{
    static const size_t pair_width = 3; /* two digits and a colon */
    if (strlen(text) != TSPEC_MAC_LEN * pair_width - 1) {
        return false;
    }
    uint8_t parsed[TSPEC_MAC_LEN];
    for (size_t i = 0; i < TSPEC_MAC_LEN; i++) {
        const char *pair = text + i * pair_width;
        const int high = hex_value(pair[0]);
        const int low = hex_value(pair[1]);
        const char separator = i + 1 < TSPEC_MAC_LEN ? ':' : '\0';
        if (high < 0 || low < 0 || pair[2] != separator) {
            return false;
        }
        parsed[i] = static_cast<uint8_t>(high * 16 + low);
    }
    memcpy(mac, parsed, sizeof(parsed));
    return true;
}

bool tspec_tool_parse_level(const char *text, uint8_t *level)
{
    for (const level_name_t &known : level_names) {
        if (strcmp(text, known.name) == 0) {
            *level = known.level;
            return true;
        }
    }
    return tspec_tool_parse_number(text, max_level, level);
}
