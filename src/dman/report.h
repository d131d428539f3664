// A text report to dman: lines of key=value in one datagram to its reply port.
#pragma once

#include "core/text.h"

#include <array>
#include <cstdint>

constexpr uint32_t TSPEC_DMAN_REPORT_SIZE = 1024;

class tspec_dman_report_t {
  public:
    tspec_text_writer_t &text() { return writer_; }

    // "key=value\n"
    void put_line(const char *key, int32_t value);
    void put_line(const char *key, const char *value);

    // Sends the text, and its NUL if the reader is to see one. Returns 0, or -1
    // when it could not be sent.
    int32_t send(bool with_nul) const;

  private:
    std::array<char, TSPEC_DMAN_REPORT_SIZE> buffer_;
    tspec_text_writer_t writer_{buffer_};
};
