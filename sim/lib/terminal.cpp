#include "sim/lib/terminal.h"

#include <cstdlib>
#include <unistd.h>

namespace tspec::sim {

bool shows_colour(bool forbidden)
{
    const char *no_colour = std::getenv("NO_COLOR");
    return !forbidden && !(no_colour && *no_colour) && isatty(STDOUT_FILENO);
}

namespace {

// The length of "ESC [ numbers m" at the beginning of `text`, else 0.
size_t colour_length(std::string_view text)
{
    if (!text.starts_with("\033[")) {
        return 0;
    }
    size_t end = text.find_first_not_of("0123456789;", 2);
    return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

bool is_control(unsigned char c)
{
    return (c < 0x20 && c != '\n') || c == 0x7f;
}

// U+0080 to U+009F, which some terminals take as escapes, too.
bool is_wide_control(std::string_view text)
{
    return text.size() >= 2 && text[0] == '\xc2' && static_cast<unsigned char>(text[1]) < 0xa0;
}

} // namespace

std::string harmless(std::string_view text, bool colour)
{
    std::string result;
    while (!text.empty()) {
        const size_t kept = colour ? colour_length(text) : 0;
        const size_t wide = is_wide_control(text) ? 2 : 1;
        if (kept > 0) {
            result += text.substr(0, kept);
        } else if (wide == 2 || is_control(static_cast<unsigned char>(text[0]))) {
            result += '?';
        } else {
            result += text[0];
        }
        text.remove_prefix(kept > 0 ? kept : wide);
    }
    return result;
}

} // namespace tspec::sim
