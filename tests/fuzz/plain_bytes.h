// Comparing memory without the C library: the sanitizers look over every byte
// that its functions are given, which for memory of the tests' own is time
// spent for nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tspec::fuzz {

inline uint64_t word_at(const uint8_t *bytes)
{
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

inline bool same_memory(const void *one, const void *other, size_t size)
{
    const auto *left = static_cast<const uint8_t *>(one);
    const auto *right = static_cast<const uint8_t *>(other);
    uint64_t difference = 0;
    size_t at = 0;
    for (; at + sizeof(uint64_t) <= size; at += sizeof(uint64_t)) {
        difference |= word_at(left + at) ^ word_at(right + at);
    }
    for (; at < size; at++) {
        difference |= static_cast<uint64_t>(left[at] ^ right[at]);
    }
    return difference == 0;
}

inline bool all_zero(const void *memory, size_t size)
{
    const auto *bytes = static_cast<const uint8_t *>(memory);
    uint64_t bits = 0;
    size_t at = 0;
    for (; at + sizeof(uint64_t) <= size; at += sizeof(uint64_t)) {
        bits |= word_at(bytes + at);
    }
    for (; at < size; at++) {
        bits |= bytes[at];
    }
    return bits == 0;
}

} // namespace tspec::fuzz
