// The daemon as a child process: how it is started, its output, its end.
#pragma once

#include "sim/lib/event.h"
#include "sim/lib/socket.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tspec::sim {

struct ChildPlan {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::vector<std::string> wrapper;
    std::vector<std::pair<std::string, std::string>> environment;
    int control_fd = -1; // arrive in the child at fixed high numbers
    int console_fd = -1;
    unsigned descriptor_limit = 0;
    bool own_group = false; // what a terminal sends to the simulator's group passes it by
};

class ChildProcess {
  public:
    // Throws std::runtime_error naming the program when it cannot be executed.
    explicit ChildProcess(const ChildPlan &plan);
    ~ChildProcess(); // kills it when it still runs
    ChildProcess(const ChildProcess &) = delete;
    ChildProcess &operator=(const ChildProcess &) = delete;

    // Of the wrapper, where there is one.
    int pid() const { return pid_; }
    const Socket &out() const { return out_; }
    const Socket &err() const { return err_; }

    // How it ended; none while it runs.
    std::optional<ProcessEnd> reap();
    void kill_now();

  private:
    int pid_ = -1;
    Socket out_;
    Socket err_;
    std::optional<ProcessEnd> end_;
};

// Both ends of a pipe, close-on-exec; the first is for reading and does not
// block.
std::pair<Socket, Socket> make_pipe();

// Appends what the pipe holds now.
void read_available(const Socket &pipe, std::string &text);

// The daemon that Options::daemon stands for.
std::filesystem::path find_daemon(const std::filesystem::path &wanted);

// Whether the program was built with the address sanitizer, whose runtime keeps
// allocations to itself.
bool has_address_sanitizer(const std::filesystem::path &program);

// Value for ASAN_OPTIONS and UBSAN_OPTIONS: what the simulator needs, before
// what the user has set.
std::string sanitizer_options(const char *variable);

// What LD_PRELOAD must hold for the program.
std::string preload_for(const std::filesystem::path &program);

} // namespace tspec::sim
