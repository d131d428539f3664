#include "admission/channel_util.h"

#include "core/descriptor.h"
#include "core/trace.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <unistd.h>

#define TSPEC_TRACE_NAME __func__

static constexpr size_t LINE_MAX_LENGTH = 255; // the rest of a longer line counts as a new one
static constexpr size_t VALUE_POS = 13;        // behind "channel_util" and a separator
static constexpr size_t VALUE_MAX_LENGTH = 64;

namespace {
// The lines of a file, without stdio, whose buffer and status calls the few
// bytes of a proc file are not worth.
class line_reader_t {
  public:
    explicit line_reader_t(int32_t fd) : fd_(fd) {}

    // The next line, with its line end if it has one; the byte behind it may be
    // overwritten when it is the last one wanted. Empty at the end of the file
    // or when it cannot be read.
    std::span<char> next()
    {
        do {
            const size_t searched = std::min(rest_.size(), LINE_MAX_LENGTH);
            const auto *const line_end =
                static_cast<const char *>(memchr(rest_.data(), '\n', searched));
            if (line_end != nullptr) {
                return take(static_cast<size_t>(line_end - rest_.data()) + 1);
            }
        } while (rest_.size() < LINE_MAX_LENGTH && fill());
        return take(std::min(rest_.size(), LINE_MAX_LENGTH));
    }

  private:
    std::span<char> take(size_t length)
    {
        const std::span<char> line = rest_.first(length);
        rest_ = rest_.subspan(length);
        return line;
    }

    // Reads on, behind the start of a line that is there already.
    bool fill()
    {
        memmove(buffer_.data(), rest_.data(), rest_.size());
        const ssize_t got = read(fd_, buffer_.data() + rest_.size(), READ_SIZE);
        const size_t added = got > 0 ? static_cast<size_t>(got) : 0;
        rest_ = std::span(buffer_).first(rest_.size() + added);
        return added > 0;
    }

    static constexpr size_t READ_SIZE = 1024;

    int32_t fd_;
    std::array<char, LINE_MAX_LENGTH + READ_SIZE + 1> buffer_;
    std::span<char> rest_ = std::span(buffer_).first(0);
};
} // namespace

static int32_t open_stats_file(const char *ifname)
{
    char path[128];
    stpcpy(stpcpy(stpcpy(stpcpy(path, "/proc/net/ieee80211/"), ifname), "/iface/"), ifname);
    return open(path, O_RDONLY);
}

static constexpr char KEY[] = "channel_util";
static constexpr size_t KEY_LENGTH = sizeof(KEY) - 1;

static bool has_key(std::span<const char> line)
{
    return line.size() >= KEY_LENGTH && memcmp(line.data(), KEY, KEY_LENGTH) == 0;
}

// What the library's strtol and a cast to int32_t give, in a third of the instructions:
// a long stops at its limits, and the low 32 bits stay.
static int32_t to_int(const char *text)
{
    while (*text == ' ' || (*text >= '\t' && *text <= '\r')) {
        text++;
    }
    const bool negative = *text == '-';
    text += negative || *text == '+' ? 1 : 0;
    long value = 0;
    for (; *text >= '0' && *text <= '9'; text++) {
        const long digit = *text - '0';
        if (__builtin_mul_overflow(value, 10, &value) ||
            __builtin_add_overflow(value, negative ? -digit : digit, &value)) {
            return static_cast<int32_t>(negative ? LONG_MIN : LONG_MAX);
        }
    }
    return static_cast<int32_t>(value);
}

// The number of a "channel_util" line; 0 for a line that ends before it.
static int32_t value_of(std::span<char> line)
{
    if (line.size() < VALUE_POS || line[KEY_LENGTH] == '\0') {
        return 0;
    }
    char *const text = line.data();
    text[std::min(line.size(), VALUE_POS + VALUE_MAX_LENGTH)] = '\0';
    return to_int(text + VALUE_POS);
}

static int32_t find_value(int32_t fd)
{
    line_reader_t reader(fd);
    for (;;) {
        const std::span<char> line = reader.next();
        if (line.empty()) {
            return 0;
        }
        if (has_key(line)) {
            return value_of(line);
        }
    }
}

uint32_t tspec_get_wlan_util(const char *ifname)
{
    TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO, "Getting dev stats for interface %s\n", ifname);
    const tspec_descriptor_t file(open_stats_file(ifname));
    if (!file.valid()) {
        TSPEC_TRACE_PLAIN(TSPEC_TRACE_INFO, "Unable to open file for  %s\n", ifname);
        return 0;
    }
    const int32_t value = find_value(file.get());
    TSPEC_TRACE(TSPEC_TRACE_INFO, "wlan_util is %d\n", value);
    return static_cast<uint32_t>(value);
}
