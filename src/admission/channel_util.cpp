#include "admission/channel_util.h"

#include "core/descriptor.h"
#include "core/text.h"
#include "core/trace.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <unistd.h>

static constexpr size_t LINE_MAX_LENGTH = 255; // the rest of a longer line counts as a new one
static constexpr size_t VALUE_POS = 13;        // behind "channel_util" and a separator
static constexpr size_t VALUE_MAX_LENGTH = 64;

namespace {
// The lines of a file, without stdio, whose buffer and status calls the few
// bytes of a proc file are not worth.
class line_reader_t {
  public:
    explicit line_reader_t(int32_t fd) : fd_(fd) {}

    using line_t = std::array<char, LINE_MAX_LENGTH + 1>;

    // Reads the next line, with its line end if it has one, and terminates it.
    // False at the end of the file or when it cannot be read.
    bool next(line_t &line)
    {
        size_t length = 0;
        while (length < LINE_MAX_LENGTH) {
            if (rest_.empty() && !fill()) {
                break;
            }
            const char character = rest_.front();
            rest_ = rest_.subspan(1);
            line[length++] = character;
            if (character == '\n') {
                break;
            }
        }
        line[length] = '\0';
        return length > 0;
    }

  private:
    bool fill()
    {
        const ssize_t got = read(fd_, buffer_.data(), buffer_.size());
        if (got <= 0) {
            return false;
        }
        rest_ = std::span<const char>(buffer_).first(static_cast<size_t>(got));
        return true;
    }

    int32_t fd_;
    std::array<char, 1024> buffer_;
    std::span<const char> rest_;
};
} // namespace

static int32_t open_stats_file(const char *ifname)
{
    std::array<char, 128> path;
    tspec_text_writer_t(path).put("/proc/net/ieee80211/").put(ifname).put("/iface/").put(ifname);
    return open(path.data(), O_RDONLY);
}

// The number of a "channel_util" line; 0 for a line that ends before it.
static int32_t value_of(line_reader_t::line_t &line)
{
    if (strlen(line.data()) < VALUE_POS) {
        return 0;
    }
    char *const value = line.data() + VALUE_POS;
    value[std::min(strlen(value), VALUE_MAX_LENGTH)] = '\0';
    return tspec_text_to_int(value);
}

static int32_t find_value(int32_t fd)
{
    static constexpr char KEY[] = "channel_util";
    line_reader_t reader(fd);
    line_reader_t::line_t line;
    while (reader.next(line)) {
        if (strncmp(line.data(), KEY, sizeof(KEY) - 1) == 0) {
            return value_of(line);
        }
    }
    return 0;
}

uint32_t tspec_get_wlan_util(const char *ifname)
{
    tspec_map_print_debug_trace(TSPEC_TRACE_INFO, "Getting dev stats for interface %s\n", ifname);
    const tspec_descriptor_t file(open_stats_file(ifname));
    if (!file.valid()) {
        tspec_map_print_debug_trace(TSPEC_TRACE_INFO, "Unable to open file for  %s\n", ifname);
        return 0;
    }
    const int32_t value = find_value(file.get());
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:wlan_util is %d\n", value);
    return static_cast<uint32_t>(value);
}
