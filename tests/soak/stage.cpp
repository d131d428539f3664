#include "stage.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <memory>

namespace tspec::soak {

namespace {

constexpr size_t steps_kept = 1500;

} // namespace

uint32_t Chance::about(uint32_t seconds)
{
    const double share = (static_cast<double>(below(1'000'000)) + 1) / 1'000'001;
    return static_cast<uint32_t>(std::max(1.0, -std::log(share) * seconds));
}

Stage::Stage(uint64_t seed)
    : lockstep_(lockstep::Start{.own_group = true}), chance_(seed), clock_(lockstep_.model().time())
{
}

void Stage::play(Activity activity, const Step &step)
{
    last_.emplace_back(activity, step);
    if (last_.size() > steps_kept) {
        last_.pop_front();
    }
    const uint32_t before = lockstep_.model().time();
    const std::optional<std::string> difference = lockstep_.play(step);
    count(activity, step);
    if (difference) {
        throw Finding("the daemon and the rules part:\n" + *difference);
    }
    if (!lockstep_.alive()) {
        throw Finding("the daemon has ended\n");
    }
    lockstep_.forget();
    // Where the clock is set no time passes; late answers make the daemon wait.
    if (!std::holds_alternative<lockstep::StepClock>(step)) {
        now_ += lockstep_.model().time() - before;
    }
    tally_.seconds = now_;
    tell_listeners();
}

void Stage::count(Activity activity, const Step &step)
{
    tally_.steps[static_cast<size_t>(activity)]++;
    if (const auto *deliver = std::get_if<lockstep::Deliver>(&step)) {
        tally_.to_daemon +=
            (deliver->udp ? 1U : 0U) + (deliver->dman ? 1U : 0U) + (deliver->cli ? 1U : 0U);
    }
    for (const model::Effect &effect : lockstep_.last_effects()) {
        const auto *sent = std::get_if<model::Sent>(&effect);
        if (sent == nullptr && !std::holds_alternative<model::SentToTool>(effect)) {
            tally_.other_effects++;
            continue;
        }
        tally_.from_daemon++;
        if (activity != Activity::audit && sent != nullptr && sent->port == model::hostapd_port &&
            sent->bytes.size() == model::hostapd_at::size &&
            sent->bytes[model::hostapd_at::cmd] == 2) {
            const bool admitted = sent->bytes[model::hostapd_at::result_code] == 0;
            (admitted ? tally_.admitted : tally_.refused)++;
        }
    }
    if (activity != Activity::audit) {
        tally_.most_streams = std::max(tally_.most_streams, streams());
    }
}

size_t Stage::streams() const
{
    size_t found = 0;
    for (const model::Record &record : state().clients) {
        for (const auto &bank : record.entries) {
            found += static_cast<size_t>(std::count_if(
                std::begin(bank), std::end(bank), [](const auto &one) { return one.in_use(); }));
        }
    }
    return found;
}

// Listeners may plan what they do, not do it.
void Stage::tell_listeners()
{
    for (const model::Effect &effect : lockstep_.last_effects()) {
        const auto *sent = std::get_if<model::Sent>(&effect);
        if (sent == nullptr || sent->error != 0) {
            continue;
        }
        for (const Listener &listener : listeners_) {
            listener(*sent);
        }
    }
}

void Stage::udp(Activity activity, Bytes datagram)
{
    play(activity, lockstep::Deliver{.udp = std::move(datagram)});
}

void Stage::dman(Activity activity, Bytes datagram)
{
    play(activity, lockstep::Deliver{.dman = std::move(datagram)});
}

void Stage::cli(Activity activity, Bytes datagram)
{
    play(activity, lockstep::Deliver{.cli = std::move(datagram)});
}

void Stage::in(uint32_t seconds, Action action)
{
    plan_.push({now_ + seconds, order_++, std::move(action)});
}

void Stage::every(std::function<uint32_t()> pause, const Action &action)
{
    in(pause(), [this, pause, action] {
        action();
        every(pause, action);
    });
}

void Stage::pass_to(uint64_t second)
{
    while (now_ < second) {
        const uint64_t length = std::min<uint64_t>(second - now_, 600);
        play(Activity::waiting, lockstep::Advance{static_cast<unsigned>(length)});
    }
}

void Stage::run_until(uint64_t second, const std::function<bool()> &stop)
{
    while (!plan_.empty() && plan_.top().second <= second) {
        if (stop()) {
            return;
        }
        pass_to(plan_.top().second);
        const Action action = plan_.top().action;
        plan_.pop();
        action();
    }
    if (!stop()) {
        pass_to(second);
    }
}

std::string Stage::last_steps() const
{
    std::string text;
    const uint64_t first = tally_.all_steps() - last_.size();
    for (size_t i = 0; i < last_.size(); i++) {
        text += fmt::format("  {}. [{}] {}\n", first + i, activity_name(last_[i].first),
                            lockstep::describe(last_[i].second));
    }
    return text;
}

} // namespace tspec::soak
