#include "player.h"

#include "layout.h"
#include "state_difference.h"
#include "structure.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace tspec::fuzz {

namespace {

constexpr uint32_t START_TIME = 1'700'000'000;
constexpr int UDP_SOCKET = 3;
constexpr size_t OWN_SOCKETS = 3;
constexpr const char *NO_ERROR_NUMBER = "4242"; // as the fake platform has it

template <typename Kind>
bool append_to(model::Effects &effects, const model::Effect &effect, std::string Kind::*text)
{
    const auto *piece = std::get_if<Kind>(&effect);
    auto *last = effects.empty() ? nullptr : std::get_if<Kind>(&effects.back());
    if (piece == nullptr || last == nullptr) {
        return false;
    }
    last->*text += piece->*text;
    return true;
}

// An error number that nobody can know before is the fake platform's.
void put_error_number(model::Effect &effect)
{
    auto *line = std::get_if<model::ConsoleLine>(&effect);
    const size_t at = line == nullptr ? std::string::npos : line->bytes.find(model::unknown_errno);
    if (at != std::string::npos) {
        line->bytes.replace(at, std::string_view(model::unknown_errno).size(), NO_ERROR_NUMBER);
    }
}

// As the fake platform records them: console and standard error in one piece.
model::Effects in_pieces(const model::Effects &effects)
{
    model::Effects result;
    result.reserve(effects.size());
    for (model::Effect effect : effects) {
        put_error_number(effect);
        if (!std::holds_alternative<model::DescriptorLeaked>(effect) &&
            !append_to(result, effect, &model::ConsoleLine::bytes) &&
            !append_to(result, effect, &model::StandardError::text)) {
            result.push_back(std::move(effect));
        }
    }
    return result;
}

std::string listed(const char *who, const model::Effects &effects)
{
    std::string result;
    for (const model::Effect &effect : effects) {
        result += std::string("    ") + who + "  " + model::describe(effect) + "\n";
    }
    return result;
}

} // namespace

Player::Player(std::span<const uint8_t> input, bool transcript, uint64_t max_turns)
    : input_(input), transcript_(transcript), max_turns_(max_turns), decoder_(input),
      platform_(around_), model_around_(around_),
      model_(model_around_, model::Settings{UDP_SOCKET, START_TIME, true}),
      descriptors_(OWN_SOCKETS)
{
}

Played Player::play()
{
    platform_.set_time(START_TIME);
    if (const auto rejected = platform_.run([this] { return next(); })) {
        report("the daemon makes a call that it never makes: " + *rejected);
    } else if (in_turn_) {
        compare(); // the daemon ended in the middle of it
    }
    played_.failed_calls = platform_.failures().hits();
    played_.ended_itself = model_.state().ended;
    platform_.clean_up();
    return played_;
}

// Called whenever the daemon waits: the last turn is over.
std::optional<WakeUp> Player::next()
{
    if (in_turn_) {
        compare();
        in_turn_ = false;
    }
    if (model_.state().ended) {
        report("the daemon goes on where it should have ended");
    }
    if (played_.difference || played_.turns == max_turns_ || !make_up_turn()) {
        return std::nullopt;
    }
    played_.turns++;
    in_turn_ = true;
    foresee(turn_);
    return std::exchange(turn_, {});
}

bool Player::make_up_turn()
{
    something_waits_ = false;
    kept_waiting_ = false;
    if (repeats_ > 0) {
        repeats_--;
        put_again();
        return true;
    }
    if (seconds_ > 0) {
        seconds_--;
        platform_.set_time(platform_.time() + 1);
        model_.set_time(model_.time() + 1);
        return true;
    }
    return take_operation();
}

// Takes operations until one wakes the daemon up. False at the end.
bool Player::take_operation()
{
    for (;;) {
        std::optional<Operation> operation = std::exchange(again_, std::nullopt);
        if (!operation) {
            operation = decode_next(decoder_);
            if (operation && transcript_) {
                std::printf("%s\n", describe(*operation).c_str());
            }
        }
        if (!operation) {
            return something_waits_;
        }
        switch (apply(*operation)) {
        case Effect::none:
            break;
        case Effect::wake:
            return true;
        case Effect::wake_first:
            again_ = std::move(operation);
            return true;
        }
    }
}

Player::Effect Player::apply(const Operation &operation)
{
    return std::visit([this](const auto &one) { return take(one); }, operation);
}

// ---- the model

namespace {

void set_ready(const std::optional<Delivery> &delivery, std::optional<Bytes> &data, int &error)
{
    if (delivery && delivery->error != 0) {
        error = delivery->error;
    } else if (delivery) {
        data = delivery->data;
    }
}

} // namespace

void Player::foresee(const WakeUp &wake_up)
{
    if (wake_up.error != 0) {
        expected_ = model_.wait_error(wake_up.error);
        return;
    }
    model::Ready ready;
    set_ready(wake_up.doors[0], ready.udp, ready.udp_error);
    set_ready(wake_up.doors[1], ready.dman, ready.dman_error);
    set_ready(wake_up.doors[2], ready.cli, ready.cli_error);
    expected_ = model_.turn(ready);
}

void Player::note_forwarded(const model::Effects &effects)
{
    for (const model::Effect &effect : effects) {
        const auto *sent = std::get_if<model::Sent>(&effect);
        if (sent != nullptr && sent->port == model::mapd_port &&
            sent->bytes.size() == model::mapd_at::size && sent->bytes[model::mapd_at::cmd] == 1) {
            forwarded_ = sent->bytes;
        }
    }
}

void Player::compare_effects()
{
    descriptors_ += static_cast<size_t>(
        std::count_if(expected_.begin(), expected_.end(), [](const model::Effect &effect) {
            return std::holds_alternative<model::DescriptorLeaked>(effect);
        }));
    const model::Effects expected = in_pieces(expected_);
    const model::Effects actual = platform_.take_effects();
    if (transcript_) {
        std::printf("%s", listed("       ", actual).c_str());
    }
    if (expected != actual) {
        report("the daemon did something else:\n" + listed("expected", expected) +
               listed("actual  ", actual));
    }
    note_forwarded(actual);
}

void Player::compare()
{
    compare_effects();
    if (const auto broken = broken_structure()) {
        report("the structure is broken: " + *broken);
    }
    if (const auto difference = state_difference(model_.state(), Platform::receive_buffer())) {
        report("the daemon remembers something else: " + *difference);
    }
    if (platform_.time() != model_.time()) {
        report("another time has passed");
    }
    if (platform_.open_descriptors() != descriptors_) {
        report(model::text("%zu descriptors are open, expected %zu", platform_.open_descriptors(),
                           descriptors_));
    }
}

void Player::report(const std::string &difference)
{
    if (!played_.difference) {
        played_.difference = "after\n" + operations_so_far() + difference;
    }
}

std::string Player::operations_so_far() const
{
    std::string operations;
    Decoder decoder(input_.first(std::min(decoder_.position(), input_.size())));
    while (const auto operation = decode_next(decoder)) {
        operations += "  " + describe(*operation) + "\n";
    }
    return operations;
}

} // namespace tspec::fuzz
