#include "sim/lib/bytes.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <stdexcept>

namespace tspec::sim {

namespace {

int hex_digit(char c)
{
    if (c >= '0' && c <= '9') {
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

} // namespace

Mac Mac::parse(std::string_view text)
{
    Mac mac;
    bool good = text.size() == 17;
    for (size_t i = 0; good && i < 6; i++) {
        int high = hex_digit(text[3 * i]);
        int low = hex_digit(text[3 * i + 1]);
        good = high >= 0 && low >= 0 && (i == 5 || text[3 * i + 2] == ':');
        mac.octets[i] = static_cast<uint8_t>(high * 16 + low);
    }
    if (!good) {
        throw std::invalid_argument(fmt::format("\"{}\" is not a MAC address", text));
    }
    return mac;
}

Mac Mac::from(const uint8_t *six_bytes)
{
    Mac mac;
    std::copy_n(six_bytes, 6, mac.octets.begin());
    return mac;
}

void Mac::copy_to(uint8_t *six_bytes) const
{
    std::copy(octets.begin(), octets.end(), six_bytes);
}

std::string Mac::text() const
{
    return fmt::format("{:02x}", fmt::join(octets, ":"));
}

Mac station_mac(uint32_t number)
{
    return Mac{{0x02, 0, static_cast<uint8_t>(number >> 24), static_cast<uint8_t>(number >> 16),
                static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)}};
}

Bytes bytes_of(std::string_view text)
{
    return Bytes(text.begin(), text.end());
}

std::string text_of(ByteView bytes)
{
    return std::string(bytes.begin(), bytes.end());
}

std::string hex_of(ByteView bytes, size_t limit)
{
    size_t shown = std::min(limit, bytes.size());
    std::string hex = fmt::format("{:02x}", fmt::join(bytes.first(shown), " "));
    if (shown < bytes.size()) {
        hex += fmt::format(" ... ({} bytes)", bytes.size());
    }
    return hex;
}

} // namespace tspec::sim
