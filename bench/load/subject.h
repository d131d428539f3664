// The programs that are measured side by side, and how one of them is started.
#pragma once

#include "bench/load/kinds.h"
#include "bench/load/peers.h"
#include "bench/load/process.h"
#include "bench/load/requests.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tspec::bench {

enum class Subject { daemon, floor, floor_with_walks };

struct Programs {
    std::filesystem::path daemon;
    std::filesystem::path floor;
    std::filesystem::path driver; // preloaded into both
    std::filesystem::path proc_file;
    std::optional<int> processor; // theirs
};

// What is run, and with how many other streams.
struct Setting {
    Kind kind;
    Style style;
    int others;
    size_t reply_length = 1; // of the daemon's reports, for the floor to send
};

// Ready for requests. The wrapper, if any, runs the program as its own argument.
class Run {
  public:
    Run(const Programs &programs, Peers &peers, Subject subject, const Setting &setting,
        const std::vector<std::string> &wrapper = {});

    Requests &requests() { return *requests_; }
    Process &process() { return *process_; }

  private:
    std::unique_ptr<Process> process_;
    std::unique_ptr<Requests> requests_;
};

// Starts the program and returns when it answers a ping. Throws
// std::runtime_error when it ends instead.
std::unique_ptr<Process> start(const Plan &plan, Peers &peers);

Plan plan_for(const Programs &programs, Subject subject, const Setting &setting);

} // namespace tspec::bench
