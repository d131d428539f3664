#include "frame.h"

#include <algorithm>
#include <cstdio>

namespace tspec::air {

namespace {

constexpr size_t header_size = 24;
constexpr uint8_t vendor_specific = 221;

void append(Bytes &bytes, ByteView more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

// Counts as the senders' own do, so that no receiver takes one frame for another's copy.
void put_sequence(Bytes &frame)
{
    static uint16_t number = 0x0800;
    number = static_cast<uint16_t>((number + 1) & 0x0fff);
    frame.push_back(static_cast<uint8_t>(number << 4));
    frame.push_back(static_cast<uint8_t>(number >> 4));
}

template <typename Accepts>
ByteView find_element(ByteView body, size_t offset, Accepts accepts)
{
    while (offset + 2 <= body.size() && offset + 2 + body[offset + 1] <= body.size()) {
        ByteView contents = body.subspan(offset + 2, body[offset + 1]);
        if (accepts(body[offset], contents)) {
            return contents;
        }
        offset += 2 + contents.size();
    }
    return {};
}

} // namespace

std::string text_of(const Mac &mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

std::optional<Mac> mac_of(std::string_view text)
{
    Mac mac{};
    int end = 0;
    const std::string copy(text);
    if (std::sscanf(copy.c_str(), "%2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx%n", &mac[0], &mac[1],
                    &mac[2], &mac[3], &mac[4], &mac[5], &end) != 6 ||
        static_cast<size_t>(end) != copy.size()) {
        return std::nullopt;
    }
    return mac;
}

bool is_group(const Mac &mac)
{
    return (mac[0] & 1) != 0;
}

bool Frame::parse(ByteView whole)
{
    bytes = whole;
    if (whole.size() < header_size || (whole[0] & 0x0c) == 0x04) {
        return false;
    }
    kind = static_cast<Kind>(whole[0]);
    std::copy_n(whole.begin() + 4, 6, receiver.begin());
    std::copy_n(whole.begin() + 10, 6, transmitter.begin());
    std::copy_n(whole.begin() + 16, 6, third.begin());
    return true;
}

uint8_t Frame::user_priority() const
{
    return bytes.size() > header_size ? bytes[header_size] & 7 : 0;
}

ByteView element(ByteView body, size_t offset, uint8_t number)
{
    return find_element(body, offset, [&](uint8_t id, ByteView) { return id == number; });
}

ByteView vendor_element(ByteView body, size_t offset, std::array<uint8_t, 5> type)
{
    return find_element(body, offset, [&](uint8_t id, ByteView contents) {
        return id == vendor_specific && contents.size() >= type.size() &&
               std::equal(type.begin(), type.end(), contents.begin());
    });
}

Bytes management_frame(Kind kind, const Mac &to, const Mac &from, const Mac &bss, ByteView body)
{
    Bytes frame{static_cast<uint8_t>(kind), 0, 0, 0};
    append(frame, to);
    append(frame, from);
    append(frame, bss);
    put_sequence(frame);
    append(frame, body);
    return frame;
}

Bytes qos_data_frame(const Mac &station, const Mac &bss, uint8_t user_priority, size_t msdu_size)
{
    Bytes frame{static_cast<uint8_t>(Kind::qos_data), 1, 0, 0}; // to the access point
    append(frame, bss);
    append(frame, station);
    append(frame, bss);
    put_sequence(frame);
    frame.push_back(user_priority);
    frame.resize(frame.size() + 1 + msdu_size);
    return frame;
}

} // namespace tspec::air
