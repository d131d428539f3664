// The story of a run as a person reads it: who sent what to whom and when, the
// notes of the scenario, how full the air is, and which expectations held.
#pragma once

#include "sim/scenario/audience.h"

#include <cstdio>
#include <string>
#include <vector>

namespace tspec::sim::scenario {

struct TimelineOptions {
    bool quiet = false; // failures and the last line only
    bool colour = false;
};

class Timeline final : public Audience {
  public:
    Timeline(std::FILE *out, TimelineOptions options) : out_(out), options_(options) {}

    void begin(const Scenario &scenario, const std::string &world) override;
    void note(const std::string &text) override;
    void events(const Events &events, Time start) override;
    void act(Duration since_start, const std::string &who, const std::string &what) override;
    void load_changes(const Load &before, const Load &after) override;
    void held(const std::string &what) override;
    void failed(const Scenario &scenario, const Step &step,
                const ExpectationFailed &failure) override;
    void failed(const Scenario &scenario, const Step &step, const std::string &headline) override;
    void failed(const std::string &headline) override;
    void mute() override { muted_++; }
    void unmute() override { muted_--; }
    void remark(const std::string &text) override;
    void end(const Scenario &scenario, size_t expectations, size_t failures) override;

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
