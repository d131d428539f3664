// One run of a scenario on a simulated access point. Steps are given the run
// and do their work through it.
#pragma once

#include "sim/lib/access_point.h"
#include "sim/scenario/audience.h"
#include "sim/scenario/comparison.h"
#include "sim/scenario/load.h"
#include "sim/scenario/scenario.h"
#include "sim/scenario/window.h"

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

// A step that cannot be carried out: the run ends there.
class RunTrouble : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct RunResult {
    size_t expectations = 0;
    size_t failures = 0;
};

class Run {
  public:
    Run(const Scenario &scenario, Audience &audience, Options options);
    // On an access point that runs already and goes on running.
    Run(const Scenario &scenario, Audience &audience, AccessPoint &running);

    RunResult play();

    // For the steps.
    AccessPoint &ap() { return ap_; }
    Window &window() { return window_; }
    Audience &audience() { return audience_; }

    // An act that no event shows.
    void say(const std::string &who, const std::string &what);
    // An expectation that holds, in words; said once the step is through.
    void hold(const std::string &what) { held_ = what; }

    // Starts a daemon; what it did before is forgotten.
    void start();
    void stop();
    // Somebody expects the daemon's end.
    void end_is_known() { end_known_ = true; }

    // Sends a question of an expectation's own and yields what came of it,
    // neither shown nor open to other expectations.
    Events ask_dman(const Bytes &request);
    Events ask_operator(const Bytes &command);

    // The operator's figures of admitted medium time.
    Load load();

    // The latest request forwarded to mapd, of a station and TID where given.
    std::optional<tspec_mapd_msg_t> forwarded(const std::optional<Mac> &station,
                                              const std::optional<uint8_t> &tid) const;

    // Sends of the daemon that are set to fail.
    void faults_armed(unsigned count) { armed_faults_ += count; }
    void faults_cleared() { armed_faults_ = 0; }

  private:
    void play_steps(const std::vector<Step> &steps);
    void play_step(const Step &step);
    void play_turns(const Step &step);
    void play_turn(const std::vector<Step> &steps, bool told);
    void fail(const std::string &what);
    void carry_out(const Step &step);
    void expect(const Step &step);
    void act(const Step &step);
    void settle();
    void take(const Events &events);
    void note_load();
    void check_end();
    Events answers_to(const Events &events, Peer peer);

    const Scenario &scenario_;
    Audience &audience_;
    std::unique_ptr<AccessPoint> own_; // none where the access point is another's
    AccessPoint &ap_;
    Window window_;
    RunResult result_;
    std::vector<tspec_mapd_msg_t> forwarded_;
    std::optional<Load> load_;
    std::string held_;
    Time start_time_{};
    unsigned armed_faults_ = 0;
    bool expected_before_ = false;
    const Step *step_ = nullptr; // the latest
    bool untold_ = false;        // in a turn of a loop that is not told
    bool started_ = false;
    bool end_known_ = false;
};

} // namespace tspec::sim::scenario
