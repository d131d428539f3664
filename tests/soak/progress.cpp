#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <unistd.h>

namespace tspec::soak {

namespace {

using namespace std::chrono_literals;

constexpr auto between_plain_lines = 30s;
constexpr auto between_renewals = 250ms;

} // namespace

Progress::Progress(uint64_t simulated, uint64_t seconds)
    : simulated_(simulated), seconds_(seconds), terminal_(isatty(STDOUT_FILENO) == 1),
      next_(begin_ + (terminal_ ? Clock::duration(0) : Clock::duration(between_plain_lines)))
{
}

double Progress::real_seconds() const
{
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

bool Progress::time_is_up() const
{
    return seconds_ > 0 && real_seconds() >= static_cast<double>(seconds_);
}

uint64_t Progress::seconds_left(const Tally &tally) const
{
    const double spent = real_seconds();
    const double done = static_cast<double>(std::max<uint64_t>(tally.seconds, 1));
    double left = spent * (static_cast<double>(simulated_) - done) / done;
    if (seconds_ > 0) {
        left = std::min(left, static_cast<double>(seconds_) - spent);
    }
    return static_cast<uint64_t>(std::max(left, 0.0));
}

void Progress::show(const Tally &tally, size_t streams)
{
    const Clock::time_point now = Clock::now();
    if (now < next_) {
        return;
    }
    next_ = now +
            (terminal_ ? Clock::duration(between_renewals) : Clock::duration(between_plain_lines));
    const std::string line = fmt::format(
        "{} of {}, {} operations, {} streams, {} left", length_text(tally.seconds),
        length_text(simulated_), tally.operations(), streams, length_text(seconds_left(tally)));
    if (terminal_) {
        fmt::print("\r\033[K{}", line);
    } else {
        fmt::print("{}\n", line);
    }
    std::fflush(stdout);
}

void Progress::say(const std::string &line)
{
    end();
    fmt::print("{}\n", line);
    std::fflush(stdout);
}

void Progress::end()
{
    if (terminal_) {
        fmt::print("\r\033[K");
    }
    std::fflush(stdout);
}

} // namespace tspec::soak
