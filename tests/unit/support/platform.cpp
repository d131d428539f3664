#include "support/platform.h"

#include "core/control_block.h"
#include "core/main_loop.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>
#include <utility>

namespace tspec::test {

static Platform *active_platform = nullptr;

Platform::Platform()
{
    if (active_platform != nullptr) {
        throw std::logic_error("two platforms at a time");
    }
    reserve_descriptors();
    active_platform = this;
}

Platform::~Platform()
{
    active_platform = nullptr;
}

Platform *Platform::active()
{
    return active_platform;
}

void Platform::reserve_descriptors()
{
    static bool reserved = false;
    if (std::exchange(reserved, true)) {
        return;
    }
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (int fd = 3; fd < 64; fd++) {
        if (fcntl(fd, F_GETFD) == -1) {
            dup3(null, fd, O_CLOEXEC);
        }
    }
}

// ---- failures and records

const Failure *Platform::next_failure(Call call)
{
    counts_[call]++;
    const auto rule =
        std::find_if(failures_.begin(), failures_.end(), [=](const Failure &candidate) {
            return candidate.call == call && candidate.times > 0;
        });
    if (rule == failures_.end()) {
        return nullptr;
    }
    if (rule->skip > 0) {
        rule->skip--;
        return nullptr;
    }
    if (rule->times != EVERY_TIME) {
        rule->times--;
    }
    failing_ = *rule;
    errno = failing_.error;
    return &failing_;
}

unsigned Platform::count(Call call) const
{
    const auto found = counts_.find(call);
    return found == counts_.end() ? 0 : found->second;
}

void Platform::note(std::string line, const Failure *failure)
{
    if (failure != nullptr && failure->error != 0) {
        const char *name = strerrorname_np(failure->error);
        line += ' ' + (name != nullptr ? name : std::to_string(failure->error));
    }
    journal.push_back(std::move(line));
}

void Platform::perror(const char *text)
{
    perrors.push_back(std::string(text) + ": " + std::strerror(errno));
    // What a C library may leave behind.
    errno = ENOTTY;
}

// ---- memory

void *Platform::allocate(size_t size, const std::function<void *()> &allocate_block)
{
    if (allocating_) {
        return allocate_block();
    }
    allocating_ = true;
    void *block = nullptr;
    if (next_failure(Call::alloc) == nullptr) {
        block = allocate_block();
        blocks_[block] = size;
    }
    allocating_ = false;
    return block;
}

void Platform::forget_block(void *block)
{
    if (!allocating_) {
        allocating_ = true;
        if (on_free && blocks_.contains(block)) {
            on_free(block);
        }
        blocks_.erase(block);
        allocating_ = false;
    }
}

std::vector<size_t> Platform::live_blocks() const
{
    std::vector<size_t> sizes;
    for (const auto &[block, size] : blocks_) {
        sizes.push_back(size);
    }
    return sizes;
}

// ---- the main loop

void Platform::run_main_loop(unsigned turns, const std::function<void(unsigned)> &before_turn)
{
    before_turn_ = before_turn;
    turn_ = 0;
    turns_ = turns;
    in_main_loop_ = true;
    if (setjmp(leave_) == 0) {
        tspec_main_loop();
    }
    in_main_loop_ = false;
    before_turn_ = {};
}

// A wait for anything else than the daemon's three sockets is not the loop's.
static bool waits_for_stranger(const fd_set *read_set)
{
    for (int fd = 0; fd < FD_SETSIZE; fd++) {
        if (FD_ISSET(fd, read_set) && fd != tspec_cb->tspec_sock && fd != dman_sock &&
            fd != cli_sock) {
            return true;
        }
    }
    return false;
}

void Platform::on_main_loop_select(const fd_set *read_set)
{
    if (!in_main_loop_ || waits_for_stranger(read_set)) {
        return;
    }
    if (turn_ == turns_) {
        leave_main_loop();
    }
    const unsigned turn = turn_++;
    if (before_turn_) {
        before_turn_(turn);
    }
}

void Platform::leave_main_loop()
{
    std::longjmp(leave_, 1);
}

} // namespace tspec::test
