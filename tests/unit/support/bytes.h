// Datagrams as plain bytes, written and read at literal offsets, and compared
// with a difference that a person can read. Multi-byte fields are in host byte
// order, as the daemon's peers send them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::test {

using Bytes = std::vector<uint8_t>;
using Mac = std::array<uint8_t, 6>;

// Write a value at an offset; the bytes must be there already.
void put8(Bytes &bytes, size_t offset, uint32_t value);
void put16(Bytes &bytes, size_t offset, uint32_t value);
void put32(Bytes &bytes, size_t offset, uint32_t value);
void put(Bytes &bytes, size_t offset, const Mac &mac);
void put(Bytes &bytes, size_t offset, const Bytes &value);

uint8_t get8(const Bytes &bytes, size_t offset);
uint16_t get16(const Bytes &bytes, size_t offset);
uint32_t get32(const Bytes &bytes, size_t offset);
Mac get_mac(const Bytes &bytes, size_t offset);
Bytes slice(const Bytes &bytes, size_t offset, size_t count);

// The characters of a text, without a terminating NUL; and the way back.
Bytes text_bytes(std::string_view text);
std::string as_text(const Bytes &bytes);

// count bytes, no two neighbours alike and none of them 0.
Bytes pattern(size_t count, uint8_t seed = 1);

// "01 ab ff"
std::string hex(const Bytes &bytes);

// "00:1a:2b:3c:4d:5e"
std::string mac_text(const Mac &mac);

// Success when both are the same byte by byte; else a failure that lists the
// lengths and every 8-byte row in which they differ.
[[nodiscard]] testing::AssertionResult same_bytes(const Bytes &actual, const Bytes &expected);

// The same for texts, shown with \r, \n and other control characters escaped.
[[nodiscard]] testing::AssertionResult same_text(std::string_view actual,
                                                 std::string_view expected);
std::string escaped(std::string_view text);

} // namespace tspec::test
