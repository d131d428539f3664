#include "sim/scenario/audience.h"

namespace tspec::sim::scenario {

void Audience::begin(const Scenario &, const std::string &) {}
void Audience::note(const std::string &) {}
void Audience::events(const Events &, Time) {}
void Audience::act(Duration, const std::string &, const std::string &) {}
void Audience::load_changes(const Load &, const Load &) {}
void Audience::held(const std::string &) {}
void Audience::failed(const Scenario &, const Step &, const ExpectationFailed &) {}
void Audience::failed(const Scenario &, const Step &, const std::string &) {}
void Audience::failed(const std::string &) {}
void Audience::mute() {}
void Audience::unmute() {}
void Audience::remark(const std::string &) {}
void Audience::end(const Scenario &, size_t, size_t) {}

void Audiences::begin(const Scenario &scenario, const std::string &world)
{
    all([&](Audience &member) { member.begin(scenario, world); });
}

void Audiences::note(const std::string &text)
{
    all([&](Audience &member) { member.note(text); });
}

void Audiences::events(const Events &events, Time start)
{
    auto tell_why = [this](const std::optional<std::string> &why) {
        if (why) {
            remark("why  " + *why);
        }
    };
    for (const Event &event : events) {
        tell_why(refusals_.before(event));
        all([&](Audience &member) { member.events({event}, start); });
        tell_why(refusals_.after(event));
    }
    tell_why(refusals_.settled());
}

void Audiences::act(Duration since_start, const std::string &who, const std::string &what)
{
    all([&](Audience &member) { member.act(since_start, who, what); });
}

void Audiences::load_changes(const Load &before, const Load &after)
{
    all([&](Audience &member) { member.load_changes(before, after); });
}

void Audiences::held(const std::string &what)
{
    all([&](Audience &member) { member.held(what); });
}

void Audiences::failed(const Scenario &scenario, const Step &step, const ExpectationFailed &failure)
{
    all([&](Audience &member) { member.failed(scenario, step, failure); });
}

void Audiences::failed(const Scenario &scenario, const Step &step, const std::string &headline)
{
    all([&](Audience &member) { member.failed(scenario, step, headline); });
}

void Audiences::failed(const std::string &headline)
{
    all([&](Audience &member) { member.failed(headline); });
}

void Audiences::mute()
{
    all([](Audience &member) { member.mute(); });
}

void Audiences::unmute()
{
    all([](Audience &member) { member.unmute(); });
}

void Audiences::remark(const std::string &text)
{
    all([&](Audience &member) { member.remark(text); });
}

void Audiences::end(const Scenario &scenario, size_t expectations, size_t failures)
{
    all([&](Audience &member) { member.end(scenario, expectations, failures); });
}

} // namespace tspec::sim::scenario
