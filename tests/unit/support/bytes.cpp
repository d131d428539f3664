#include "support/bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace tspec::test {

namespace {

template <typename Value>
void put_value(Bytes &bytes, size_t offset, Value value)
{
    if (offset + sizeof(value) > bytes.size()) {
        throw std::out_of_range("put behind the end of the message");
    }
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
}

template <typename Value>
Value get_value(const Bytes &bytes, size_t offset)
{
    Value value{};
    if (offset + sizeof(value) > bytes.size()) {
        throw std::out_of_range("get behind the end of the message");
    }
    std::memcpy(&value, bytes.data() + offset, sizeof(value));
    return value;
}

std::string row(const Bytes &bytes, size_t begin)
{
    const size_t end = std::min(begin + 8, bytes.size());
    return begin < end ? hex({bytes.begin() + static_cast<ptrdiff_t>(begin),
                              bytes.begin() + static_cast<ptrdiff_t>(end)})
                       : "(end)";
}

} // namespace

void put8(Bytes &bytes, size_t offset, uint32_t value)
{
    put_value(bytes, offset, static_cast<uint8_t>(value));
}

void put16(Bytes &bytes, size_t offset, uint32_t value)
{
    put_value(bytes, offset, static_cast<uint16_t>(value));
}

void put32(Bytes &bytes, size_t offset, uint32_t value)
{
    put_value(bytes, offset, value);
}

void put(Bytes &bytes, size_t offset, const Mac &mac)
{
    put_value(bytes, offset, mac);
}

void put(Bytes &bytes, size_t offset, const Bytes &value)
{
    if (offset + value.size() > bytes.size()) {
        throw std::out_of_range("put behind the end of the message");
    }
    std::copy(value.begin(), value.end(), bytes.begin() + static_cast<ptrdiff_t>(offset));
}

uint8_t get8(const Bytes &bytes, size_t offset)
{
    return get_value<uint8_t>(bytes, offset);
}

uint16_t get16(const Bytes &bytes, size_t offset)
{
    return get_value<uint16_t>(bytes, offset);
}

uint32_t get32(const Bytes &bytes, size_t offset)
{
    return get_value<uint32_t>(bytes, offset);
}

Mac get_mac(const Bytes &bytes, size_t offset)
{
    return get_value<Mac>(bytes, offset);
}

Bytes slice(const Bytes &bytes, size_t offset, size_t count)
{
    if (offset + count > bytes.size()) {
        throw std::out_of_range("slice behind the end of the message");
    }
    const auto begin = bytes.begin() + static_cast<ptrdiff_t>(offset);
    return {begin, begin + static_cast<ptrdiff_t>(count)};
}

Bytes text_bytes(std::string_view text)
{
    return {text.begin(), text.end()};
}

std::string as_text(const Bytes &bytes)
{
    return {bytes.begin(), bytes.end()};
}

Bytes pattern(size_t count, uint8_t seed)
{
    Bytes bytes(count);
    uint32_t value = seed;
    for (uint8_t &byte : bytes) {
        byte = static_cast<uint8_t>(value % 255 + 1);
        value += 7;
    }
    return bytes;
}

std::string hex(const Bytes &bytes)
{
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02x ", byte);
        text += digits;
    }
    if (!text.empty()) {
        text.pop_back();
    }
    return text;
}

std::string mac_text(const Mac &mac)
{
    std::string text = hex({mac.begin(), mac.end()});
    std::replace(text.begin(), text.end(), ' ', ':');
    return text;
}

testing::AssertionResult same_bytes(const Bytes &actual, const Bytes &expected)
{
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    testing::AssertionResult result = testing::AssertionFailure();
    result << actual.size() << " bytes, expected " << expected.size() << "; different rows:\n";
    for (size_t begin = 0; begin < std::max(actual.size(), expected.size()); begin += 8) {
        if (row(actual, begin) != row(expected, begin)) {
            result << "  at " << begin << ": is " << row(actual, begin) << ", expected "
                   << row(expected, begin) << "\n";
        }
    }
    return result;
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char character : text) {
        if (character == '\n') {
            result += "\\n";
        } else if (character == '\r') {
            result += "\\r";
        } else if (character >= ' ' && character <= '~') {
            result += character;
        } else {
            char code[8];
            std::snprintf(code, sizeof(code), "\\x%02x", static_cast<unsigned char>(character));
            result += code;
        }
    }
    return result;
}

testing::AssertionResult same_text(std::string_view actual, std::string_view expected)
{
    if (actual == expected) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << "is       \"" << escaped(actual) << "\"\nexpected \"" << escaped(expected) << "\"";
}

} // namespace tspec::test
