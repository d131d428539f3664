#include "support/console.h"

#include "support/bytes.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string_view>
#include <utility>

namespace tspec::test {

static constexpr std::string_view PREFIX = "Tspec(1,1): ";
static constexpr std::string_view SUFFIX = "\n\r";

Console &Console::instance()
{
    static Console console;
    return console;
}

std::string Console::take()
{
    return std::exchange(text_, {});
}

// End of the line that begins at the start of the text: a suffix followed by
// the next line's prefix or nothing.
static size_t end_of_line(std::string_view text)
{
    size_t end = text.find(SUFFIX);
    while (end != std::string_view::npos) {
        const std::string_view rest = text.substr(end + SUFFIX.size());
        if (rest.empty() || rest.starts_with(PREFIX)) {
            return end;
        }
        end = text.find(SUFFIX, end + 1);
    }
    return std::string_view::npos;
}

std::vector<std::string> Console::take_lines()
{
    const std::string output = take();
    std::string_view rest = output;
    std::vector<std::string> lines;
    while (!rest.empty()) {
        const size_t end = end_of_line(rest);
        if (!rest.starts_with(PREFIX) || end == std::string_view::npos) {
            ADD_FAILURE() << "not a console line: \"" << escaped(rest) << "\"";
            break;
        }
        lines.emplace_back(rest.substr(PREFIX.size(), end - PREFIX.size()));
        rest.remove_prefix(end + SUFFIX.size());
    }
    return lines;
}

ssize_t Console::write(void *cookie, const char *text, size_t size)
{
    auto *console = static_cast<Console *>(cookie);
    if (console->write_error_ != 0) {
        errno = console->write_error_;
        return 0;
    }
    console->text_.append(text, size);
    return static_cast<ssize_t>(size);
}

FILE *Console::open(const char *mode)
{
    opened_++;
    mode_ = mode;
    cookie_io_functions_t functions{};
    functions.write = &Console::write;
    return fopencookie(this, mode, functions);
}

} // namespace tspec::test
