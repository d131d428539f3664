#include "tspec-cli/report.h"

#include <cstring>

// What follows `prefix` in `text`, or null when it does not begin with it.
static const char *after(const char *text, const char *prefix)
{
    const size_t length = strlen(prefix);
    return text != nullptr && strncmp(text, prefix, length) == 0 ? text + length : nullptr;
}

// Behind the parts of a key, which dashes join, and its equals sign.
static const char *after_key(const char *text, const char *const parts[3])
{
    const char *p = text;
    const char *joint = "";
    for (int i = 0; i < 3; i++) {
        if (parts[i][0] != '\0') {
            p = after(after(p, joint), parts[i]);
            joint = "-";
        }
    }
    return after(p, "=");
}

// The line's end, with the value that stands before it; null when there is none
// or the value is longer than its place.
static const char *take_value(const char *text, char *value, size_t size)
{
    const size_t length = strcspn(text, "\n");
    if (text[length] != '\n' || length == 0 || length >= size) {
        return nullptr;
    }
    memcpy(value, text, length);
    value[length] = '\0';
    return text + length + 1;
}

static bool is_plain(const char *word)
{
    return strspn(word, "abcdefghijklmnopqrstuvwxyz0123456789:-") == strlen(word);
}

// The daemon prints its unsigned figures signed: large ones appear negative.
static bool read_number(const char *text, uint32_t *number)
{
    const bool negative = text[0] == '-';
    const char *digits = negative ? text + 1 : text;
    const int64_t limit = negative ? int64_t{1} << 31 : (int64_t{1} << 31) - 1;
    int64_t value = 0;
    for (const char *p = digits; *p != '\0'; p++) {
        if (*p < '0' || *p > '9') {
            return false;
        }
        value = value * 10 + (*p - '0');
        if (value > limit) {
            return false;
        }
    }
    *number = static_cast<uint32_t>(negative ? -value : value);
    return digits[0] != '\0';
}

static bool read_state(const char *text, uint32_t *number)
{
    *number = strcmp(text, "up") == 0 ? 1 : 0;
    return *number == 1 || strcmp(text, "down") == 0;
}

bool tspec_tool_read_figures(const char *text, const tspec_tool_field_t *fields,
                             tspec_tool_figures_t *figures)
{
    const char *p = text;
    for (int category = 0; category < TSPEC_NUM_ACS; category++) {
        for (int i = 0; i < TSPEC_TOOL_NUM_FIELDS; i++) {
            const char *const key[] = {fields[i].prefix, TSPEC_TOOL_CATEGORIES[category].key,
                                       fields[i].name};
            char value[16];
            p = after_key(p, key);
            p = p != nullptr ? take_value(p, value, sizeof(value)) : nullptr;
            if (p == nullptr) {
                return false;
            }
            uint32_t *const figure = &figures->values[category][i];
            const bool is_state = fields[i].kind == TSPEC_TOOL_STATE;
            if (!(is_state ? read_state(value, figure) : read_number(value, figure))) {
                return false;
            }
        }
    }
    return *p == '\0';
}

bool tspec_tool_read_stream(const char *text, tspec_tool_stream_t *stream)
{
    const char *p = text;
    for (int i = 0; i < TSPEC_TOOL_NUM_STREAM_FIELDS; i++) {
        const tspec_tool_field_t *const field = &TSPEC_TOOL_STREAM_FIELDS[i];
        const char *const key[] = {field->prefix, "", field->name};
        char *const value = stream->values[i];
        p = after_key(p, key);
        p = p != nullptr ? take_value(p, value, sizeof(stream->values[i])) : nullptr;
        uint32_t number = 0;
        const bool is_word = field->kind == TSPEC_TOOL_WORD;
        if (p == nullptr || !(is_word ? is_plain(value) : read_number(value, &number))) {
            return false;
        }
        if (!is_word) {
            snprintf(value, sizeof(stream->values[i]), "%u", number);
        }
    }
    return *p == '\0';
}

bool tspec_tool_is_end(const char *text)
{
    return strcmp(text, "end") == 0;
}
