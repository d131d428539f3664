// Programs that run beside the test: started, listened to, signalled, ended.
#pragma once

#include "sim/lib/socket.h"

#include <optional>
#include <string>
#include <vector>

namespace tspec::tests {

// Waits until nobody else uses the machine's own ports, and keeps them to this process
// and each Serve.
void take_turn();

class Command {
  public:
    explicit Command(std::vector<std::string> words, bool shares_turn = false);
    ~Command(); // kills it when it still runs
    Command(const Command &) = delete;
    Command &operator=(const Command &) = delete;

    // Reads until the text has come, behind what earlier calls have found; false
    // when the program ends or is silent too long before.
    bool says(const std::string &text);
    // Standard output and standard error, as far as read.
    const std::string &output() const { return output_; }

    void signal(int number);
    int pid() const { return pid_; }

    // Waits for the end; the exit status, or -1 when a signal ended it.
    int end();

  private:
    bool read_more();

    int pid_ = -1;
    sim::Socket pipe_;
    std::string output_;
    size_t found_ = 0;
    std::optional<int> status_;
};

// tspec-sim serve; returns when it is ready.
class Serve : public Command {
  public:
    explicit Serve(const std::vector<std::string> &options = {});
    ~Serve();

    int daemon_pid() const;
};

// tspec-sim apply, to its end.
struct Applied {
    int status;
    std::string output;
};
Applied apply(const std::vector<std::string> &words);

} // namespace tspec::tests
