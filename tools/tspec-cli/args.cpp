#include "tspec-cli/args.h"

#include <cstring>

static const uint8_t MAX_LEVEL = 7;
static const uint32_t MAX_SECONDS = 3600;

typedef struct {
    const char *name;
    uint8_t level;
} level_name_t;

// The daemon traces nothing at level 6, so it has no name.
static const level_name_t LEVEL_NAMES[] = {
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

// Reads digits from `text` on; null when there is none or they are above max.
static const char *read_digits(const char *text, uint32_t max, uint32_t *value)
{
    uint64_t number = 0;
    const char *p = text;
    for (; is_digit(*p); p++) {
        number = number * 10 + static_cast<unsigned>(*p - '0');
        if (number > max) {
            return nullptr;
        }
    }
    *value = static_cast<uint32_t>(number);
    return p == text ? nullptr : p;
}

bool tspec_tool_parse_word(const char *text, uint32_t max, uint32_t *value)
{
    uint32_t number = 0;
    const char *end = read_digits(text, max, &number);
    if (end == nullptr || *end != '\0') {
        return false;
    }
    *value = number;
    return true;
}

bool tspec_tool_parse_number(const char *text, uint8_t max, uint8_t *value)
{
    uint32_t number = 0;
    if (!tspec_tool_parse_word(text, max, &number)) {
        return false;
    }
    *value = static_cast<uint8_t>(number);
    return true;
}

bool tspec_tool_parse_seconds(const char *text, uint16_t *seconds)
{
    uint32_t number = 0;
    if (!tspec_tool_parse_word(text, MAX_SECONDS, &number) || number == 0) {
        return false;
    }
    *seconds = static_cast<uint16_t>(number);
    return true;
}

// What follows `prefix` in `text`, or null when it does not begin with it.
static const char *after(const char *prefix, const char *text)
{
    const size_t length = strlen(prefix);
    return strncmp(text, prefix, length) == 0 ? text + length : nullptr;
}

bool tspec_tool_parse_radio(const char *text, uint8_t *radio)
{
    const char *number = after("wlan", text);
    return tspec_tool_parse_number(number != nullptr ? number : text, TSPEC_NUM_RADIOS - 1, radio);
}

bool tspec_tool_parse_vap(const char *text, uint8_t *radio, uint8_t *vap)
{
    const char *number = after("wlan", text);
    const char *separator = number != nullptr ? "vap" : ".";
    uint32_t radio_number = 0;
    const char *end =
        read_digits(number != nullptr ? number : text, TSPEC_NUM_RADIOS - 1, &radio_number);
    const char *second = end != nullptr ? after(separator, end) : nullptr;
    uint32_t vap_number = 0;
    if (second == nullptr ||
        !tspec_tool_parse_word(second, TSPEC_VAPS_PER_RADIO - 1, &vap_number)) {
        return false;
    }
    *radio = static_cast<uint8_t>(radio_number);
    *vap = static_cast<uint8_t>(vap_number);
    return true;
}

bool tspec_tool_parse_mac(const char *text, uint8_t mac[TSPEC_MAC_LEN])
{
    static const size_t PAIR_WIDTH = 3; // two digits and a colon
    if (strlen(text) != TSPEC_MAC_LEN * PAIR_WIDTH - 1) {
        return false;
    }
    uint8_t parsed[TSPEC_MAC_LEN];
    for (size_t i = 0; i < TSPEC_MAC_LEN; i++) {
        const char *pair = text + i * PAIR_WIDTH;
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
    for (const level_name_t &known : LEVEL_NAMES) {
        if (strcmp(text, known.name) == 0) {
            *level = known.level;
            return true;
        }
    }
    return tspec_tool_parse_number(text, MAX_LEVEL, level);
}
