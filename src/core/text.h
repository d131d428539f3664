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

    tspec_text_writer_t &put(char character)
    {
        if (length_ + 1 < buffer_.size()) {
            buffer_[length_++] = character;
            buffer_[length_] = '\0';
        }
        return *this;
    }

    tspec_text_writer_t &put_decimal(int32_t value); // "%d"

    size_t length() const { return length_; } // without the NUL

  private:
    std::span<char> buffer_;
    size_t length_ = 0;
};

// atoi for every text whose value an int holds; other values saturate.
int32_t tspec_text_to_int(const char *text);

// sscanf with "%x": the hexadecimal number at the start of the text, after white
// space, a sign and "0x"; 0 where there is none.
uint32_t tspec_text_hex_to_u32(const char *text);
