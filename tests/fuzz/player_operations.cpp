// What each operation of an input is: a datagram, time, or a change to the world.
#include "inputs.h"
#include "layout.h"
#include "player.h"

#include <algorithm>
#include <utility>

namespace tspec::fuzz {

namespace {

std::string padded(uint8_t padding, const Bytes &text)
{
    return std::string(padding, 'x') + std::string(text.begin(), text.end());
}

} // namespace

// ---- datagrams

Player::Effect Player::put(Door door, Bytes datagram)
{
    auto &place = turn_.doors[static_cast<size_t>(door)];
    place.emplace();
    place->data = std::move(datagram);
    place->error = std::exchange(read_errors_[static_cast<size_t>(door)], 0);
    something_waits_ = true;
    return kept_waiting_ ? Effect::none : Effect::wake;
}

void Player::put_again()
{
    if (repeat_both_) {
        std::swap(last_, before_last_);
    }
    kept_waiting_ = false;
    put(last_.door, last_.datagram);
}

Player::Effect Player::deliver(Door door, Bytes datagram)
{
    const Door chosen = door_.value_or(door);
    if (turn_.doors[static_cast<size_t>(chosen)]) {
        return Effect::wake_first;
    }
    for (const Patch &patch : patches_) {
        if (patch.offset < datagram.size()) {
            datagram[patch.offset] = patch.value;
        }
    }
    if (length_) {
        datagram.resize(*length_, filler_);
    }
    door_.reset();
    patches_.clear();
    length_.reset();
    before_last_ = std::move(last_);
    last_ = {chosen, datagram};
    const Effect effect = put(chosen, std::move(datagram));
    kept_waiting_ = false;
    return effect;
}

Player::Effect Player::take(const FromHostapd &op)
{
    model::HostapdInput input;
    input.cmd = op.cmd;
    input.sta = op.sta;
    input.tid = op.tid;
    input.info_tid = op.other_info_tid != 0 ? 0 : 255;
    input.dir = op.dir;
    input.up = op.up;
    input.radio_unit = op.radio_unit;
    input.vap = op.vap;
    input.vap_addr = op.second_vap_address != 0 ? SECOND_VAP_ADDRESS : FIRST_VAP_ADDRESS;
    input.nominal = op.nominal;
    input.mean_rate = op.mean_rate;
    input.surplus = op.surplus;
    input.medium_time = op.medium_time;
    input.aux_byte = op.aux_byte;
    input.filler = op.with_filler != 0 ? 0xa5 : 0;
    return deliver(Door::udp, input.bytes());
}

Player::Effect Player::take(const FromMapd &op)
{
    model::MapdInput input;
    input.cmd = op.cmd;
    input.sta = op.sta;
    input.tid = op.tid;
    input.dir = op.dir;
    input.up = op.up;
    input.radio_unit = op.odd_radio != 0 ? 3 * op.radio_is_second : 1 + op.radio_is_second;
    input.ac_idx = op.ac_idx;
    input.medium_time = op.medium_time;
    input.result = op.result;
    input.filler = op.with_filler != 0 ? 0xa5 : 0;
    return deliver(Door::udp, input.bytes());
}

Player::Effect Player::take(const AnswerForwarded &op)
{
    if (forwarded_.empty()) {
        return Effect::none;
    }
    Bytes answer = forwarded_;
    answer[model::mapd_at::msg_type] = 4;
    answer[model::mapd_at::cmd] = 2;
    answer[model::mapd_at::result_code] = op.result;
    if (op.own_medium_time != 0) {
        model::put_u16(answer, model::mapd_at::medium_time, op.medium_time);
    }
    return deliver(Door::udp, std::move(answer));
}

Player::Effect Player::take(const ConfigureRadio &op)
{
    model::ConfigInput input;
    input.radio_if = op.radio_if;
    input.enabled = op.enabled;
    for (size_t ac = 0; ac < op.acm.size(); ac++) {
        input.acm[ac] = op.acm[ac];
        input.limit[ac] = op.limit[ac];
    }
    input.fbt_vi = op.fbt_vi;
    input.fbt_vo = op.fbt_vo;
    input.roam_reserve = op.roam_reserve;
    input.downlink_timeout = op.downlink_timeout;
    input.uplink_timeout = op.uplink_timeout;
    return deliver(Door::dman, input.bytes());
}

Player::Effect Player::take(const SetInterval &op)
{
    return deliver(Door::dman, model::interval_input(op.seconds));
}

Player::Effect Player::take(const SetApState &op)
{
    return deliver(Door::udp, model::ap_state_input(op.managed_mode));
}

Player::Effect Player::take(const RequestStatus &op)
{
    Bytes request = model::status_request_input(std::string(op.command));
    if (op.without_nul != 0) {
        request.pop_back();
    }
    return deliver(Door::dman, std::move(request));
}

Player::Effect Player::take(const Ping &)
{
    return deliver(Door::cli, {1});
}

Player::Effect Player::take(const SetDebugLevels &op)
{
    Bytes command = {2};
    command.insert(command.end(), op.levels.begin(), op.levels.end());
    return deliver(Door::cli, std::move(command));
}

Player::Effect Player::take(const DeleteClient &op)
{
    return deliver(Door::cli, model::cli_mac_input(3, op.sta, 0));
}

Player::Effect Player::take(const DeleteStream &op)
{
    return deliver(Door::cli, model::cli_mac_input(4, op.sta, op.tid));
}

Player::Effect Player::take(const SetDisassocMode &op)
{
    return deliver(Door::cli, {5, op.mode});
}

Player::Effect Player::take(const Show &op)
{
    return deliver(Door::cli, {6, op.all});
}

Player::Effect Player::take(const Raw &op)
{
    return deliver(op.door, op.data);
}

Player::Effect Player::take(const CutOrPad &op)
{
    length_ = op.length;
    filler_ = op.filler;
    return Effect::none;
}

Player::Effect Player::take(const Patch &op)
{
    patches_.push_back(op);
    return Effect::none;
}

Player::Effect Player::take(const ToDoor &op)
{
    door_ = op.door;
    return Effect::none;
}

Player::Effect Player::take(const KeepWaiting &)
{
    kept_waiting_ = true;
    return Effect::none;
}

// ---- time

Player::Effect Player::take(const PassTime &op)
{
    if (something_waits_) {
        return Effect::wake_first;
    }
    seconds_ = op.seconds - 1U;
    platform_.set_time(platform_.time() + 1);
    model_.set_time(model_.time() + 1);
    return Effect::wake;
}

Player::Effect Player::take(const StepClock &op)
{
    const auto step = static_cast<uint32_t>(op.seconds);
    platform_.set_time(platform_.time() + step);
    model_.set_time(model_.time() + step);
    return Effect::none;
}

Player::Effect Player::take(const Repeat &op)
{
    if (last_.datagram.empty()) {
        return Effect::none;
    }
    if (something_waits_) {
        return Effect::wake_first;
    }
    repeats_ = op.times - 1U;
    repeat_both_ = op.both != 0;
    put_again();
    return Effect::wake;
}

// ---- surroundings

void Player::set_driver(const Mac &sta, bool everybody, DriverReply reply)
{
    if (everybody) {
        around_.driver = {};
        around_.driver_for_others = std::move(reply);
        return;
    }
    const auto found = std::find(STATIONS.begin(), STATIONS.end(), sta);
    around_.driver[static_cast<size_t>(found - STATIONS.begin())] = std::move(reply);
}

Player::Effect Player::take(const DriverAnswers &op)
{
    set_driver(op.sta, op.everybody != 0, {std::string(op.text), 0});
    return Effect::none;
}

Player::Effect Player::take(const DriverFails &op)
{
    set_driver(op.sta, op.everybody != 0, {"", op.error});
    return Effect::none;
}

Player::Effect Player::take(const DriverText &op)
{
    set_driver(STATIONS[0], true, {padded(op.padding, op.text), 0});
    return Effect::none;
}

Player::Effect Player::take(const ProcFile &op)
{
    around_.proc_files[op.radio] =
        op.absent != 0 ? std::nullopt : std::optional<std::string>(op.text);
    return Effect::none;
}

Player::Effect Player::take(const ProcText &op)
{
    around_.proc_files.fill(padded(op.padding, op.text));
    return Effect::none;
}

Player::Effect Player::take(const FramesLast &op)
{
    around_.silent = false;
    around_.frame_answer = model::PlainEnvironment::frame_answer_bytes(op.microseconds);
    around_.frame_answer_late = op.late;
    return Effect::none;
}

Player::Effect Player::take(const FrameAnswer &op)
{
    around_.silent = op.silence != 0;
    around_.frame_answer = op.data;
    around_.frame_answer_late = 0;
    return Effect::none;
}

Player::Effect Player::take(const CallsFail &op)
{
    platform_.failures().add(op);
    model_around_.failures().add(op);
    return Effect::none;
}

Player::Effect Player::take(const NothingFails &)
{
    platform_.failures().clear();
    model_around_.failures().clear();
    return Effect::none;
}

Player::Effect Player::take(const TrapPipeIs &op)
{
    around_.trap = op.state;
    return Effect::none;
}

Player::Effect Player::take(const ToolIs &op)
{
    around_.tool_listens = op.off == 0;
    return Effect::none;
}

Player::Effect Player::take(const WaitFails &op)
{
    if (something_waits_) {
        return Effect::wake_first;
    }
    turn_.error = op.error;
    return Effect::wake;
}

Player::Effect Player::take(const ReadFails &op)
{
    read_errors_[static_cast<size_t>(op.door)] = op.error;
    return Effect::none;
}

} // namespace tspec::fuzz
