#include "hwsim.h"

#include <algorithm>
#include <netlink/genl/ctrl.h>
#include <netlink/genl/genl.h>
#include <netlink/netlink.h>
#include <stdexcept>

namespace tspec::air {

namespace {

enum Command : uint8_t { register_us = 1, frame = 2, transmit_status = 3 };

enum Attribute : int {
    receiver = 1,
    transmitter = 2,
    frame_bytes = 3,
    flags = 4,
    receive_rate = 5,
    signal_strength = 6,
    transmit_info = 7,
    cookie = 8,
    frequency = 19,
    last_attribute = 32,
};

constexpr uint32_t acknowledged_flag = 4;
constexpr uint32_t good_signal = static_cast<uint32_t>(-50); // dBm
constexpr int receive_buffer = 4 << 20;

Bytes bytes_of(nlattr *attribute)
{
    const auto *data = static_cast<const uint8_t *>(nla_data(attribute));
    return {data, data + nla_len(attribute)};
}

} // namespace

Radios::Radios(std::function<void(const Sent &)> on_frame) : on_frame_(std::move(on_frame))
{
    socket_ = nl_socket_alloc();
    if (socket_ == nullptr || genl_connect(socket_) < 0) {
        throw std::runtime_error("no generic netlink");
    }
    family_ = genl_ctrl_resolve(socket_, "MAC80211_HWSIM");
    if (family_ < 0) {
        throw std::runtime_error("no simulated radios: is mac80211_hwsim loaded?");
    }
    nl_socket_disable_seq_check(socket_);
    nl_socket_disable_auto_ack(socket_);
    nl_socket_set_buffer_size(socket_, receive_buffer, receive_buffer);
    nl_socket_modify_cb(socket_, NL_CB_VALID, NL_CB_CUSTOM, take, this);
    // The kernel answers EINVAL to frames for a radio that is not up.
    nl_socket_modify_err_cb(
        socket_, NL_CB_CUSTOM, [](sockaddr_nl *, nlmsgerr *, void *) -> int { return NL_SKIP; },
        nullptr);
    send(message(register_us));
    nl_socket_set_nonblocking(socket_);
}

Radios::~Radios()
{
    nl_socket_free(socket_);
}

int Radios::descriptor() const
{
    return nl_socket_get_fd(socket_);
}

void Radios::read()
{
    nl_recvmsgs_default(socket_);
}

int Radios::take(nl_msg *message, void *radios)
{
    nlattr *attributes[last_attribute + 1];
    auto *header = static_cast<genlmsghdr *>(nlmsg_data(nlmsg_hdr(message)));
    if (header->cmd != frame ||
        genlmsg_parse(nlmsg_hdr(message), 0, attributes, last_attribute, nullptr) < 0) {
        return NL_SKIP;
    }
    if (attributes[transmitter] == nullptr || nla_len(attributes[transmitter]) != 6 ||
        attributes[frame_bytes] == nullptr) {
        return NL_SKIP;
    }
    Sent sent;
    nla_memcpy(sent.radio.data(), attributes[transmitter], 6);
    sent.frame = bytes_of(attributes[frame_bytes]);
    if (attributes[flags] != nullptr) {
        sent.flags = nla_get_u32(attributes[flags]);
    }
    if (attributes[frequency] != nullptr) {
        sent.frequency = nla_get_u32(attributes[frequency]);
    }
    if (attributes[cookie] != nullptr) {
        sent.cookie = nla_get_u64(attributes[cookie]);
    }
    if (attributes[transmit_info] != nullptr) {
        sent.rates = bytes_of(attributes[transmit_info]);
    }
    static_cast<Radios *>(radios)->on_frame_(sent);
    return NL_OK;
}

nl_msg *Radios::message(uint8_t command) const
{
    nl_msg *message = nlmsg_alloc();
    if (message == nullptr || genlmsg_put(message, NL_AUTO_PORT, NL_AUTO_SEQ, family_, 0,
                                          NLM_F_REQUEST, command, 1) == nullptr) {
        throw std::bad_alloc();
    }
    return message;
}

// What does not fit is lost, as on the air.
void Radios::send(nl_msg *message)
{
    nl_send_auto(socket_, message);
    nlmsg_free(message);
}

void Radios::deliver(const Mac &radio, ByteView bytes, uint32_t on_frequency, int rate_index)
{
    nl_msg *out = message(frame);
    nla_put(out, receiver, 6, radio.data());
    nla_put(out, frame_bytes, static_cast<int>(bytes.size()), bytes.data());
    nla_put_u32(out, receive_rate, static_cast<uint32_t>(std::max(rate_index, 0)));
    nla_put_u32(out, signal_strength, good_signal);
    nla_put_u32(out, frequency, on_frequency);
    send(out);
}

void Radios::report(const Sent &sent, bool acknowledged)
{
    nl_msg *out = message(transmit_status);
    nla_put(out, transmitter, 6, sent.radio.data());
    nla_put_u32(out, flags, sent.flags | (acknowledged ? acknowledged_flag : 0));
    nla_put_u32(out, signal_strength, good_signal);
    nla_put(out, transmit_info, static_cast<int>(sent.rates.size()), sent.rates.data());
    nla_put_u64(out, cookie, sent.cookie);
    send(out);
}

} // namespace tspec::air
