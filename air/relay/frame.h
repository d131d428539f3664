// Frames of IEEE 802.11 as far as the relay looks into them: who sends what to whom.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tspec::air {

using Bytes = std::vector<uint8_t>;
using ByteView = std::span<const uint8_t>;
using Mac = std::array<uint8_t, 6>;

std::string text_of(const Mac &mac);
std::optional<Mac> mac_of(std::string_view text);
bool is_group(const Mac &mac);

// A frame's type and subtype as its first byte has them, version included.
enum class Kind : uint8_t {
    association_request = 0x00,
    association_response = 0x10,
    reassociation_request = 0x20,
    reassociation_response = 0x30,
    beacon = 0x80,
    disassociation = 0xa0,
    authentication = 0xb0,
    deauthentication = 0xc0,
    action = 0xd0,
    qos_data = 0x88,
    qos_null = 0xc8,
};

// A view of a frame with the three addresses of the header; false for control frames
// and whatever is too short.
struct Frame {
    ByteView bytes;
    Kind kind{};
    Mac receiver{}, transmitter{}, third{};

    bool parse(ByteView whole);
    bool is_management() const { return (bytes[0] & 0x0c) == 0; }
    bool is_qos_data() const { return (bytes[0] & 0x8c) == 0x88; }
    bool to_access_point() const { return (bytes[1] & 3) == 1; } // data frames alone tell
    bool from_access_point() const { return (bytes[1] & 3) == 2; }
    // What follows the 24 bytes of the management header.
    ByteView body() const { return bytes.subspan(24); }
    // Of a QoS data frame.
    uint8_t user_priority() const;
};

// The contents of the first element of this number, and of a vendor's; empty when there
// is none. Elements begin at the offset of the body.
ByteView element(ByteView body, size_t offset, uint8_t number);
ByteView vendor_element(ByteView body, size_t offset, std::array<uint8_t, 5> type);

// Frames that the relay itself sends.
Bytes management_frame(Kind kind, const Mac &to, const Mac &from, const Mac &bss, ByteView body);
Bytes qos_data_frame(const Mac &station, const Mac &bss, uint8_t user_priority, size_t msdu_size);

} // namespace tspec::air
