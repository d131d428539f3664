/*
 * The story of a run as a person reads it: who sent what to whom and when, the
 * notes of the scenario, how full the air is, and which expectations held.
 */
#ifndef TSPEC_SIM_SCENARIO_TIMELINE_H
#define TSPEC_SIM_SCENARIO_TIMELINE_H

#include <cstdio>
#include <string>
#include <vector>

#include "sim/lib/event.h"
#include "sim/scenario/comparison.h"
#include "sim/scenario/load.h"
#include "sim/scenario/scenario.h"

namespace tspec::sim::scenario {

struct TimelineOptions {
    bool quiet = false; /* failures and the last line only */
    bool colour = false;
};

class Timeline {
  public:
    Timeline(std::FILE *out, TimelineOptions options) : out_(out), options_(options) {}

    /* World: which surroundings the run has. */
    void begin(const Scenario &scenario, const std::string &world);

    void note(const std::string &text);
    /* What happened at a simulated time since the start of the run. */
    void events(const Events &events, Time start);
    /* An act that is no event by itself. */
    void act(Duration since_start, const std::string &who, const std::string &what);
    void load_changes(const Load &before, const Load &after);
    void held(const std::string &what);
    void failed(const Scenario &scenario, const Step &step, const ExpectationFailed &failure);
    void failed(const Scenario &scenario, const Step &step, const std::string &headline);
    void failed(const std::string &headline);

    /* Between mute and unmute only failures are shown. */
    void mute() { ++muted_; }
    void unmute() { --muted_; }
    void remark(const std::string &text);

    void end(const Scenario &scenario, std::size_t expectations, std::size_t failures);

  private:
    enum class Colour { none, bold, dim, good, bad, bar };

    bool silent() const { return options_.quiet || muted_ > 0; }
    std::string paint(Colour colour, const std::string &text) const;
    void line(const std::string &text);
    void told(const std::string &time, const std::string &text);
    std::string time_column(Duration since_start);
    void status_bars(const Event &event);

    std::FILE *out_;
    TimelineOptions options_;
    int muted_ = 0;
    std::string last_time_;
};

} // namespace tspec::sim::scenario

#endif
