#include "core/text.h"

#include <climits>

static constexpr char HEX_DIGITS[] = "0123456789abcdef";

tspec_mac_text_t tspec_mac_text(const uint8_t *mac)
{
    tspec_mac_text_t result;
    char *out = result.text;
    for (size_t i = 0; i < TSPEC_MAC_LEN; i++) {
        *out++ = HEX_DIGITS[mac[i] >> 4];
        *out++ = HEX_DIGITS[mac[i] & 0xf];
        *out++ = ':';
    }
    out[-1] = '\0';
    return result;
}

tspec_text_writer_t &tspec_text_writer_t::put_long_decimal(int32_t value)
{
    uint32_t rest = static_cast<uint32_t>(value);
    if (value < 0) {
        put('-');
        rest = 0U - rest;
    }
    char digits[10];
    size_t first = sizeof(digits);
    do {
        digits[--first] = static_cast<char>('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    return put(std::string_view(digits + first, sizeof(digits) - first));
}

// White space as isspace has it in the C locale.
static const char *skip_space(const char *text)
{
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        text++;
    }
    return text;
}

static const char *skip_sign(const char *text, bool &negative)
{
    negative = *text == '-';
    return *text == '-' || *text == '+' ? text + 1 : text;
}

int32_t tspec_text_to_int(const char *text)
{
    bool negative;
    text = skip_sign(skip_space(text), negative);
    // The library reads a long, which stops at its limits, and keeps its low 32 bits.
    long value = 0;
    for (; *text >= '0' && *text <= '9'; text++) {
        const long digit = *text - '0';
        if (__builtin_mul_overflow(value, 10, &value) ||
            __builtin_add_overflow(value, negative ? -digit : digit, &value)) {
            return static_cast<int32_t>(negative ? LONG_MIN : LONG_MAX);
        }
    }
    return static_cast<int32_t>(value);
}

// The value of a hexadecimal digit, or 16 for any other character.
static uint32_t hex_digit(char character)
{
    if (character >= '0' && character <= '9') {
        return static_cast<uint32_t>(character - '0');
    }
    const char lower = static_cast<char>(character | 0x20);
    if (lower >= 'a' && lower <= 'f') {
        return static_cast<uint32_t>(lower - 'a') + 10;
    }
    return 16;
}

uint32_t tspec_text_hex_to_u32(const char *text)
{
    bool negative;
    text = skip_sign(skip_space(text), negative);
    if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text += 2;
    }
    // The library reads an unsigned long and keeps its low 32 bits.
    unsigned long value = 0;
    for (uint32_t digit = hex_digit(*text); digit < 16; digit = hex_digit(*++text)) {
        if (value > ULONG_MAX >> 4) {
            return static_cast<uint32_t>(ULONG_MAX);
        }
        value = value << 4 | digit;
    }
    return static_cast<uint32_t>(negative ? 0UL - value : value);
}
