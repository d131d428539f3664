#include "pcapng_file.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace tspec::tests {

namespace {

using sim::Bytes;

void require(bool condition, const char *what)
{
    if (!condition) {
        throw std::runtime_error(what);
    }
}

class Reader {
  public:
    explicit Reader(std::string content) : content_(std::move(content)) {}

    bool at_end() const { return at_ == content_.size(); }
    size_t left() const { return content_.size() - at_; }

    template <typename Number>
    Number number()
    {
        Number value{};
        std::string bytes = text(sizeof value);
        std::memcpy(&value, bytes.data(), sizeof value);
        return value;
    }

    std::string text(size_t size)
    {
        require(size <= left(), "the file ends inside of something");
        at_ += size;
        return content_.substr(at_ - size, size);
    }

    std::string padded_text(size_t size)
    {
        std::string value = text(size);
        for (char padding : text((4 - size % 4) % 4)) {
            require(padding == 0, "padding is not zero");
        }
        return value;
    }

    // Up to the end-of-options option, which must be the last thing.
    std::map<int, std::string> options()
    {
        std::map<int, std::string> found;
        for (;;) {
            auto code = number<uint16_t>();
            auto size = number<uint16_t>();
            if (code == 0) {
                require(size == 0 && at_end(), "the options do not end the block");
                return found;
            }
            found[code] = padded_text(size);
        }
    }

  private:
    std::string content_;
    size_t at_ = 0;
};

void read_section(Reader block, CaptureFile &file)
{
    require(block.number<uint32_t>() == 0x1a2b3c4d, "another byte order");
    require(block.number<uint16_t>() == 1, "another version");
    require(block.number<uint16_t>() == 0, "another version");
    require(block.number<uint64_t>() == UINT64_MAX, "the section has a length");
    file.program = block.options()[4];
}

void read_interface(Reader block, CaptureFile &file)
{
    CapturedInterface interface;
    interface.link_type = block.number<uint16_t>();
    require(block.number<uint16_t>() == 0, "a reserved field is not zero");
    block.number<uint32_t>();
    std::map<int, std::string> options = block.options();
    require(!options.contains(9), "times are in microseconds unless told otherwise");
    interface.name = options[2];
    file.interfaces.push_back(interface);
}

void read_packet(Reader block, CaptureFile &file)
{
    CapturedPacket packet;
    packet.interface = block.number<uint32_t>();
    uint64_t high = block.number<uint32_t>();
    packet.microseconds = high << 32 | block.number<uint32_t>();
    auto size = block.number<uint32_t>();
    packet.original_size = block.number<uint32_t>();
    packet.data = sim::bytes_of(block.padded_text(size));
    std::map<int, std::string> options = block.options();
    std::memcpy(&packet.flags, options.at(2).data(), sizeof packet.flags);
    packet.comment = options[1];
    file.packets.push_back(packet);
}

} // namespace

CaptureFile parse_capture(const std::string &content)
{
    CaptureFile file;
    Reader reader(content);
    while (!reader.at_end()) {
        auto type = reader.number<uint32_t>();
        auto length = reader.number<uint32_t>();
        require(length % 4 == 0 && length >= 12, "a block has an impossible length");
        Reader block(reader.text(length - 12));
        require(reader.number<uint32_t>() == length, "the lengths of a block differ");
        if (type == 0x0a0d0d0a) {
            read_section(block, file);
        } else if (type == 1) {
            read_interface(block, file);
        } else {
            require(type == 6, "an unknown block");
            read_packet(block, file);
        }
    }
    return file;
}

std::string content_of(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    require(in.good(), "no such file");
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

} // namespace tspec::tests
