// Text without the C library's formatted input and output, which cost more than
// all other work on a request: decimal and hexadecimal numbers, MAC addresses.
// Results are those of the library functions named.
#pragma once

#include "tspec/message.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

// A MAC address as "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x" prints it. A value of
// its own, so that it can be an argument of a trace and cost nothing when the
// trace is masked off.
struct tspec_mac_text_t {
    char text[3 * TSPEC_MAC_LEN];
};
tspec_mac_text_t tspec_mac_text(const uint8_t *mac);

// A short text that is known when the program is built. It holds its characters
// itself, so that tables of it need no relocation and copying it no loop.
struct tspec_text_piece_t {
    char text[24] = {}; // with at least one NUL
    uint8_t length;     // without

    template <size_t size>
    constexpr tspec_text_piece_t(const char (&literal)[size]) : length(size - 1)
    {
        static_assert(size <= sizeof(text));
        std::copy_n(literal, size, text);
    }
};

// Appends text to a buffer of fixed size, which always holds a terminating NUL;
// what does not fit is dropped.
class tspec_text_writer_t {
  public:
    explicit tspec_text_writer_t(std::span<char> buffer) : buffer_(buffer) { buffer_[0] = '\0'; }

    // Inline, as the caller knows the length of most texts.
    tspec_text_writer_t &put(std::string_view text)
    {
        const size_t count = std::min(text.size(), buffer_.size() - 1 - length_);
        memcpy(buffer_.data() + length_, text.data(), count);
        length_ += count;
        buffer_[length_] = '\0';
        return *this;
    }

    tspec_text_writer_t &put_piece(const tspec_text_piece_t &piece)
    {
        if (buffer_.size() - length_ < sizeof(piece.text)) {
            return put(std::string_view(piece.text, piece.length));
        }
        memcpy(buffer_.data() + length_, piece.text, sizeof(piece.text));
        length_ += piece.length;
        return *this;
    }

    tspec_text_writer_t &put(char character)
    {
        if (length_ + 1 < buffer_.size()) {
            buffer_[length_++] = character;
            buffer_[length_] = '\0';
        }
        return *this;
    }

    tspec_text_writer_t &put_decimal(int32_t value) // "%d"
    {
        // Most figures have one digit.
        const auto digit = static_cast<uint32_t>(value);
        return digit < 10 ? put(static_cast<char>('0' + digit)) : put_long_decimal(value);
    }

    size_t length() const { return length_; } // without the NUL

  private:
    tspec_text_writer_t &put_long_decimal(int32_t value);

    std::span<char> buffer_;
    size_t length_ = 0;
};

// What atoi of the GNU C library gives, for a value that no int holds too: there it reads
// a long, which stops at its limits, and keeps the low 32 bits.
int32_t tspec_text_to_int(const char *text);

// sscanf with "%x": the hexadecimal number at the start of the text, after white
// space, a sign and "0x"; 0 where there is none.
uint32_t tspec_text_hex_to_u32(const char *text);
