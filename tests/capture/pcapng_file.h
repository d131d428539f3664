// What stands in a pcapng file, read back independently of the writer: from its
// bytes, block by block.
#pragma once

#include "sim/lib/bytes.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tspec::tests {

struct CapturedInterface {
    uint16_t link_type = 0;
    std::string name;
};

struct CapturedPacket {
    uint32_t interface = 0;
    uint64_t microseconds = 0;
    sim::Bytes data;
    uint32_t original_size = 0;
    uint32_t flags = 0;
    std::string comment;
};

struct CaptureFile {
    std::string program;
    std::vector<CapturedInterface> interfaces;
    std::vector<CapturedPacket> packets;
};

// Throws std::runtime_error on anything that is not as the format has it.
CaptureFile parse_capture(const std::string &content);

// The whole file.
std::string content_of(const std::string &path);

} // namespace tspec::tests
