#include "terminal.h"

#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tspec::e2e {

namespace {

constexpr int patience_ms = 10000;

// Where a sequence that begins with ESC ends, or npos when it is not whole.
size_t end_of_sequence(const std::string &bytes, size_t begin)
{
    for (size_t i = begin + 2; i < bytes.size(); i++) {
        if (bytes[i] >= '@' && bytes[i] <= '~') {
            return i + 1;
        }
    }
    return std::string::npos;
}

void set_environment(const TerminalOptions &options)
{
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    for (const auto &[name, value] : options.environment) {
        if (value) {
            setenv(name.c_str(), value, 1);
        } else {
            unsetenv(name.c_str());
        }
    }
}

} // namespace

Screen::Screen(unsigned rows, unsigned columns) : cells_(rows, std::string(columns, ' ')) {}

void Screen::take(const std::string &bytes)
{
    std::string all = std::exchange(pending_, {}) + bytes;
    for (size_t i = 0; i < all.size();) {
        if (all[i] != '\033') {
            put(all[i++]);
            continue;
        }
        size_t end = end_of_sequence(all, i);
        if (end == std::string::npos) {
            pending_ = all.substr(i);
            return;
        }
        take_sequence(all.substr(i + 1, end - i - 1));
        i = end;
    }
}

void Screen::take_sequence(const std::string &sequence)
{
    std::string &row = cells_[row_];
    if (sequence == "[H") {
        row_ = column_ = 0;
    } else if (sequence == "[2J") {
        std::fill(cells_.begin(), cells_.end(), std::string(row.size(), ' '));
    } else if (sequence == "[K") {
        row.replace(column_, std::string::npos, row.size() - column_, ' ');
    } else if (sequence == "[J") {
        row.replace(column_, std::string::npos, row.size() - column_, ' ');
        std::fill(cells_.begin() + row_ + 1, cells_.end(), std::string(row.size(), ' '));
    } else if (sequence == "[?7l" || sequence == "[?7h") {
        wraps_ = sequence == "[?7h";
    } else if (sequence.back() != 'm') {
        unknown_ += sequence;
    }
}

void Screen::next_row()
{
    if (row_ + 1 < cells_.size()) {
        row_++;
        return;
    }
    scrolled_ = true;
    cells_.erase(cells_.begin());
    cells_.emplace_back(cells_.front().size(), ' ');
}

void Screen::put(char c)
{
    if (c == '\r') {
        column_ = 0;
        return;
    }
    if (c == '\n') {
        next_row();
        return;
    }
    unsigned last = static_cast<unsigned>(cells_[row_].size()) - 1;
    if (column_ > last && wraps_) {
        column_ = 0;
        next_row();
    }
    cells_[row_][std::min(column_, last)] = c;
    column_ = std::min(column_ + 1, wraps_ ? last + 1 : last);
}

std::vector<std::string> Screen::lines() const
{
    std::vector<std::string> lines;
    size_t used = 0;
    for (const std::string &row : cells_) {
        lines.push_back(row.substr(0, row.find_last_not_of(' ') + 1));
        used = lines.back().empty() ? used : lines.size();
    }
    lines.resize(used);
    return lines;
}

std::string Screen::text() const
{
    std::string text;
    for (const std::string &line : lines()) {
        text += line + "\n";
    }
    return text;
}

TerminalRun::TerminalRun(const Words &arguments, const TerminalOptions &options)
    : screen_(options.rows, options.columns)
{
    winsize size{};
    size.ws_row = options.rows;
    size.ws_col = options.columns;
    child_ = forkpty(&terminal_, nullptr, nullptr, &size);
    if (child_ == 0) {
        set_environment(options);
        execute_tool(arguments);
        _exit(127);
    }
    if (child_ < 0) {
        terminal_ = -1;
    }
}

TerminalRun::~TerminalRun()
{
    if (child_ > 0) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    if (terminal_ >= 0) {
        close(terminal_);
    }
}

bool TerminalRun::read_some()
{
    pollfd waiting{terminal_, POLLIN, 0};
    char buffer[4096];
    if (poll(&waiting, 1, patience_ms) != 1) {
        return false;
    }
    ssize_t count = read(terminal_, buffer, sizeof buffer);
    if (count <= 0) {
        return false; // the tool has ended
    }
    std::string bytes(buffer, static_cast<size_t>(count));
    output_ += bytes;
    screen_.take(bytes);
    return true;
}

bool TerminalRun::wait_for(const std::function<bool()> &condition)
{
    while (!condition()) {
        if (!read_some()) {
            return false;
        }
    }
    return true;
}

void TerminalRun::type(const std::string &keys)
{
    ssize_t written = write(terminal_, keys.data(), keys.size());
    (void)written;
}

int TerminalRun::finish()
{
    while (read_some()) {
    }
    int status = 0;
    waitpid(child_, &status, 0);
    child_ = -1;
    return status;
}

} // namespace tspec::e2e
