// The program under measurement as a child process: pinned, timed by its own
// CPU clock, stopped when done.
#pragma once

#include "sim/lib/socket.h"

#include <chrono>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tspec::bench {

using Nanoseconds = std::chrono::nanoseconds;
using Clock = std::chrono::steady_clock;

struct Plan {
    std::vector<std::string> words{};  // program and arguments; a wrapper comes first
    std::filesystem::path preload{};   // none when empty
    std::filesystem::path proc_file{}; // what the preloaded driver gives for it
    std::optional<int> processor{};    // pinned to this one
    std::filesystem::path output{};    // /dev/null when empty
};

class Process {
  public:
    // Throws std::system_error when the child cannot be made.
    explicit Process(const Plan &plan);
    ~Process(); // kills it
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    int pid() const { return pid_; }
    bool running();

    // User and system time consumed so far, of all its threads.
    Nanoseconds cpu() const;

    // The same, once it sleeps: whoever sends it a datagram has woken it up
    // before the sending returns.
    Nanoseconds settled_cpu() const;

    void terminate(); // and wait for its end

  private:
    bool sleeps() const;

    int pid_ = -1;
    clockid_t clock_{};
    sim::Socket stat_; // its state in /proc
};

// Processors that this process may run on.
std::vector<int> processors();

// False when the machine does not allow it.
bool pin_to(int processor);

} // namespace tspec::bench
