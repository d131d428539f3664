#include "sim/capture/pcapng.h"

#include <algorithm>

namespace tspec::sim::capture {

namespace {

enum BlockType : uint32_t {
    section_header = 0x0a0d0d0a,
    interface_description = 1,
    enhanced_packet = 6,
};

enum OptionCode : uint16_t {
    end_of_options = 0,
    comment = 1,
    packet_flags = 2,
    interface_name = 2,
    interface_comment = 3,
    section_program = 4,
};

// Tells readers which byte order the file has: the writer's own.
constexpr uint32_t byte_order_magic = 0x1a2b3c4d;
constexpr uint64_t length_unknown = UINT64_MAX;
constexpr uint32_t snap_length = 65535;

template <typename Number>
void put(Bytes &bytes, Number number)
{
    Bytes encoded = bytes_of_wire(number);
    bytes.insert(bytes.end(), encoded.begin(), encoded.end());
}

// Everything in the file begins at a multiple of four bytes.
void put_padded(Bytes &bytes, ByteView data)
{
    bytes.insert(bytes.end(), data.begin(), data.end());
    bytes.resize((bytes.size() + 3) / 4 * 4);
}

void put_option(Bytes &body, OptionCode code, ByteView value)
{
    put(body, static_cast<uint16_t>(code));
    put(body, static_cast<uint16_t>(value.size()));
    put_padded(body, value);
}

void put_text_option(Bytes &body, OptionCode code, std::string_view text)
{
    if (!text.empty()) {
        put_option(body, code, bytes_of(text.substr(0, UINT16_MAX)));
    }
}

void end_options(Bytes &body)
{
    put_option(body, end_of_options, {});
}

} // namespace

PcapngWriter::PcapngWriter(std::ostream &out, std::string_view program) : out_(out)
{
    Bytes body;
    put(body, byte_order_magic);
    put(body, uint16_t{1}); // version 1.0
    put(body, uint16_t{0});
    put(body, length_unknown);
    put_text_option(body, section_program, program);
    end_options(body);
    write_block(section_header, body);
}

uint32_t PcapngWriter::add_interface(LinkType type, std::string_view name,
                                     std::string_view description)
{
    Bytes body;
    put(body, static_cast<uint16_t>(type));
    put(body, uint16_t{0});
    put(body, snap_length);
    put_text_option(body, interface_name, name);
    put_text_option(body, interface_comment, description);
    end_options(body);
    write_block(interface_description, body);
    return interfaces_++;
}

void PcapngWriter::add_packet(uint32_t interface, const Packet &packet)
{
    auto microseconds = static_cast<uint64_t>(packet.time.time_since_epoch().count());
    Bytes body;
    put(body, interface);
    put(body, static_cast<uint32_t>(microseconds >> 32));
    put(body, static_cast<uint32_t>(microseconds));
    put(body, static_cast<uint32_t>(packet.data.size()));
    put(body, static_cast<uint32_t>(std::max(packet.data.size(), packet.original_size)));
    put_padded(body, packet.data);
    put_option(body, packet_flags, bytes_of_wire(static_cast<uint32_t>(packet.direction)));
    put_text_option(body, comment, packet.comment);
    end_options(body);
    write_block(enhanced_packet, body);
}

// Type, length, body, and the length once more, so that files can be read
// backwards.
void PcapngWriter::write_block(uint32_t type, const Bytes &body)
{
    constexpr size_t frame = 3 * sizeof(uint32_t);
    auto length = static_cast<uint32_t>(body.size() + frame);
    Bytes block;
    put(block, type);
    put(block, length);
    block.insert(block.end(), body.begin(), body.end());
    put(block, length);
    out_.write(reinterpret_cast<const char *>(block.data()),
               static_cast<std::streamsize>(block.size()));
}

} // namespace tspec::sim::capture
