// Datagrams as plain byte strings, and the few ways to read and write numbers
// in them. Numbers travel in host byte order; there are no structures here, so
// that every layout is stated once more, by offset, in layout.h.
#pragma once

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace tspec::model {

using Bytes = std::vector<uint8_t>;
using Mac = std::array<uint8_t, 6>;

template <typename Container>
uint16_t u16_at(const Container &bytes, size_t offset)
{
    uint16_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

template <typename Container>
uint32_t u32_at(const Container &bytes, size_t offset)
{
    uint32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

template <typename Container>
void put_u16(Container &bytes, size_t offset, uint16_t value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

template <typename Container>
void put_u32(Container &bytes, size_t offset, uint32_t value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof value);
}

template <typename Container>
Mac mac_at(const Container &bytes, size_t offset)
{
    Mac mac{};
    std::memcpy(mac.data(), bytes.data() + offset, mac.size());
    return mac;
}

template <typename Container>
void put_mac(Container &bytes, size_t offset, const Mac &mac)
{
    std::memcpy(bytes.data() + offset, mac.data(), mac.size());
}

template <typename From, typename To>
void copy_bytes(const From &from, size_t from_offset, To &to, size_t to_offset, size_t count)
{
    std::memcpy(to.data() + to_offset, from.data() + from_offset, count);
}

// printf into a string.
[[gnu::format(printf, 1, 2)]] std::string text(const char *format, ...);
[[gnu::format(printf, 1, 0)]] std::string text_of(const char *format, std::va_list arguments);

// "00:1a:2b:3c:4d:5e"
std::string mac_text(const Mac &mac);

} // namespace tspec::model
