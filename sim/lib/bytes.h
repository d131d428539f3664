// Bytes of datagrams and MAC addresses, and how they are written as text.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tspec::sim {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;

// A station's or interface's address. Default: 00:00:00:00:00:00.
struct Mac {
    std::array<uint8_t, 6> octets{};

    // Takes "02:00:00:00:00:01" in either case. Throws std::invalid_argument
    // naming the text otherwise.
    static Mac parse(std::string_view text);
    static Mac from(const uint8_t *six_bytes);

    void copy_to(uint8_t *six_bytes) const;
    std::string text() const; // lower case

    auto operator<=>(const Mac &) const = default;
};

// A locally administered address that differs for every number:
// station_mac(1) is 02:00:00:00:00:01.
Mac station_mac(uint32_t number);

Bytes bytes_of(std::string_view text);
std::string text_of(ByteView bytes);

// "03 01 ab", cut after limit bytes with a trailing "... (148 bytes)".
std::string hex_of(ByteView bytes, size_t limit = SIZE_MAX);

template <typename Wire>
requires std::is_trivially_copyable_v<Wire> Bytes bytes_of_wire(const Wire &wire)
{
    Bytes bytes(sizeof wire);
    std::memcpy(bytes.data(), &wire, sizeof wire);
    return bytes;
}

// What the receiver of a shorter datagram would see: the missing bytes are 0.
template <typename Wire>
requires std::is_trivially_copyable_v<Wire> Wire wire_of(ByteView bytes)
{
    Wire wire{};
    std::memcpy(&wire, bytes.data(), bytes.size() < sizeof wire ? bytes.size() : sizeof wire);
    return wire;
}

} // namespace tspec::sim
