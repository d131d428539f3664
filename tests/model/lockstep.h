// The real daemon and the model side by side: every step is done to both, and
// everything that anybody could see of it is compared.
#pragma once

#include "daemon.h"
#include "steps.h"

#include <memory>
#include <optional>
#include <string>

namespace tspec::lockstep {

struct Start {
    bool console_opens = true;
    // A signal from the terminal does not reach the daemon.
    bool own_group = false;
};

class Lockstep {
  public:
    explicit Lockstep(const Start &start = {});
    ~Lockstep();
    Lockstep(const Lockstep &) = delete;
    Lockstep &operator=(const Lockstep &) = delete;

    // Nothing when both did the same, else what differs.
    std::optional<std::string> play(const Step &step);

    // Drops the simulator's record of what happened so far, so that a run of any
    // length fits into memory.
    void forget();

    // Of the daemon, 0 once it has ended.
    int pid() const;

    // Descriptors that the daemon should hold: those of its start, the console
    // and what failed queries have left open.
    size_t descriptors() const;

    // Descriptors that the daemon holds against those that it should.
    std::optional<std::string> check_descriptors();

    // One wake-up at which the wait or a read fails; the datagrams, if any,
    // are read on the next.
    std::optional<std::string> play_wait_error(int error);
    std::optional<std::string> play_read_error(const Deliver &deliver, int error);

    // Whether the process (and the model of it) still lives.
    bool alive() const;

    const model::Daemon &model() const;

    // What the last step did, the model's account.
    const model::Effects &last_effects() const;

  private:
    class Both;
    std::unique_ptr<Both> both_;
};

struct Failure {
    size_t index; // of the step at which the two part
    std::string report;
};

std::optional<Failure> run(const Steps &steps, const Start &start = {});

// Leaves out steps as long as the two still part.
Steps minimise(Steps steps, const Start &start = {}, unsigned tries = 400);

} // namespace tspec::lockstep
