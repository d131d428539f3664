// Who follows a run while it is played: the timeline on the terminal, and the
// records that a run can leave behind. Everything is told in the order in which
// it happened.
#pragma once

#include "sim/lib/event.h"
#include "sim/scenario/comparison.h"
#include "sim/scenario/load.h"
#include "sim/scenario/refusal.h"
#include "sim/scenario/scenario.h"

#include <string>
#include <vector>

namespace tspec::sim::scenario {

// Each does nothing unless overridden: a listener takes what it is there for.
class Audience {
  public:
    virtual ~Audience() = default;

    // World: which surroundings the run has.
    virtual void begin(const Scenario &scenario, const std::string &world);

    virtual void note(const std::string &text);
    // What happened at a simulated time since the start of the run.
    virtual void events(const Events &events, Time start);
    // An act that is no event by itself.
    virtual void act(Duration since_start, const std::string &who, const std::string &what);
    virtual void load_changes(const Load &before, const Load &after);
    virtual void held(const std::string &what);
    virtual void failed(const Scenario &scenario, const Step &step,
                        const ExpectationFailed &failure);
    virtual void failed(const Scenario &scenario, const Step &step, const std::string &headline);
    virtual void failed(const std::string &headline);

    // Between mute and unmute only failures belong to the story.
    virtual void mute();
    virtual void unmute();
    virtual void remark(const std::string &text);

    virtual void end(const Scenario &scenario, size_t expectations, size_t failures);
};

// Several as one; they outlive it. Of a request that comes to nothing it remarks why.
class Audiences final : public Audience {
  public:
    explicit Audiences(std::vector<Audience *> members = {}) : members_(std::move(members)) {}
    void add(Audience &member) { members_.push_back(&member); }

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
    void mute() override;
    void unmute() override;
    void remark(const std::string &text) override;
    void end(const Scenario &scenario, size_t expectations, size_t failures) override;

  private:
    template <typename Tell>
    void all(Tell tell)
    {
        for (Audience *member : members_) {
            tell(*member);
        }
    }

    std::vector<Audience *> members_;
    Refusals refusals_;
};

} // namespace tspec::sim::scenario
