// The model formats every trace, wanted or not. Here it does so without the C
// library, whose printf under the sanitizers costs more than all the rest of an
// execution. Knows what the model's formats use: %s %d %i %u %x %zu %lu %lld,
// with a width, a precision, '-' and '0'.
#include "bytes.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstdlib>
#include <string_view>

namespace tspec::model {

namespace {

struct Conversion {
    bool left = false;
    char fill = ' ';
    unsigned width = 0;
    unsigned digits = 0; // at least
    unsigned longs = 0;
    char letter = 0;
};

unsigned read_number(const char *&at)
{
    unsigned value = 0;
    while (*at >= '0' && *at <= '9') {
        value = value * 10 + static_cast<unsigned>(*at++ - '0');
    }
    return value;
}

Conversion read_conversion(const char *&at)
{
    Conversion conversion;
    for (; *at == '-' || *at == '0'; at++) {
        conversion.left = conversion.left || *at == '-';
        conversion.fill = *at == '0' ? '0' : conversion.fill;
    }
    conversion.width = read_number(at);
    if (*at == '.') {
        conversion.digits = read_number(++at);
    }
    for (; *at == 'l' || *at == 'z'; at++) {
        conversion.longs++;
    }
    conversion.letter = *at++;
    return conversion;
}

void append(std::string &result, const Conversion &conversion, std::string_view text)
{
    const size_t padding = conversion.width > text.size() ? conversion.width - text.size() : 0;
    if (!conversion.left) {
        result.append(padding, conversion.fill);
    }
    result.append(text);
    if (conversion.left) {
        result.append(padding, ' ');
    }
}

void append_number(std::string &result, const Conversion &conversion, bool negative,
                   unsigned long long magnitude)
{
    char digits[40];
    char *const end = std::to_chars(digits, digits + sizeof(digits), magnitude,
                                    conversion.letter == 'x' ? 16 : 10)
                          .ptr;
    const auto count = static_cast<size_t>(end - digits);
    std::string number(negative ? "-" : "");
    number.append(conversion.digits > count ? conversion.digits - count : 0, '0');
    number.append(digits, count);
    append(result, conversion, number);
}

} // namespace

std::string text(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    std::string result = text_of(format, arguments);
    va_end(arguments);
    return result;
}

std::string text_of(const char *format, std::va_list arguments)
{
    std::string result;
    result.reserve(128);
    for (const char *at = format; *at != '\0';) {
        if (*at != '%') {
            const char *const begin = at;
            while (*at != '\0' && *at != '%') {
                at++;
            }
            result.append(begin, at);
            continue;
        }
        const Conversion conversion = read_conversion(++at);
        switch (conversion.letter) {
        case 's':
            append(result, conversion, va_arg(arguments, const char *));
            break;
        case 'd':
        case 'i': {
            const long long value =
                conversion.longs > 0 ? va_arg(arguments, long long) : va_arg(arguments, int);
            append_number(result, conversion, value < 0,
                          value < 0 ? 0ULL - static_cast<unsigned long long>(value)
                                    : static_cast<unsigned long long>(value));
            break;
        }
        case 'u':
        case 'x':
            append_number(result, conversion, false,
                          conversion.longs > 0 ? va_arg(arguments, unsigned long long)
                                               : va_arg(arguments, unsigned));
            break;
        default:
            std::abort(); // a conversion that has to be added here
        }
    }
    return result;
}

std::string mac_text(const Mac &mac)
{
    static constexpr char DIGITS[] = "0123456789abcdef";
    std::string result;
    for (const uint8_t byte : mac) {
        result += DIGITS[byte >> 4];
        result += DIGITS[byte & 0xf];
        result += ':';
    }
    result.pop_back();
    return result;
}

} // namespace tspec::model
