#include "side.h"

#include "airtime.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace tspec::air {

namespace {

constexpr uint16_t fast_transition_algorithm = 2;
constexpr size_t beacon_elements = 12, reassociation_elements = 10;
constexpr uint8_t ssid_element = 0;
constexpr std::array<uint8_t, 5> wmm_parameters{0x00, 0x50, 0xf2, 2, 1};
constexpr uint8_t of_user_priority[] = {TSPEC_AC_BE, TSPEC_AC_BK, TSPEC_AC_BK, TSPEC_AC_BE,
                                        TSPEC_AC_VI, TSPEC_AC_VI, TSPEC_AC_VO, TSPEC_AC_VO};
constexpr auto told_again_after = std::chrono::seconds(1);
constexpr uint32_t fixed_size = 0x8000;

template <typename Structure>
ByteView bytes_of(const Structure &structure)
{
    return {reinterpret_cast<const uint8_t *>(&structure), sizeof structure};
}

template <typename Structure>
Structure structure_of(ByteView datagram)
{
    Structure structure;
    std::memcpy(&structure, datagram.data(), sizeof structure);
    return structure;
}

uint8_t direction_of(const tspec_ie_t &tspec)
{
    return (tspec.ts_info[0] & 0x60) >> 5;
}

uint8_t user_priority_of(const tspec_ie_t &tspec)
{
    return (tspec.ts_info[1] & 0x38) >> 3;
}

uint16_t little_endian(ByteView bytes, size_t at)
{
    return bytes.size() < at + 2 ? uint16_t{0xffff} : tspec_wmm_get16(bytes.data() + at);
}

double microseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::micro>(duration).count();
}

std::string stream_text(const tspec_ie_t &tspec, uint8_t tid)
{
    return "tid " + std::to_string(tid) + " " + category_name(user_priority_of(tspec)) + " " +
           direction_name(direction_of(tspec));
}

std::string traffic_text(const tspec_ie_t &tspec)
{
    const unsigned size = tspec.nominal_msdu_size & ~fixed_size;
    return std::to_string(tspec.mean_data_rate) + " bit/s of " + std::to_string(size) +
           (tspec.nominal_msdu_size & fixed_size ? " bytes, fixed" : " bytes");
}

} // namespace

void Side::note(const std::string &from, const std::string &to, const std::string &text) const
{
    if (!quiet) {
        tell(from, to, text);
    }
}

const Station *Side::station(const Mac &mac) const
{
    auto found = stations_.find(mac);
    return found == stations_.end() ? nullptr : &found->second;
}

// ---- frames

bool Side::see(const Frame &frame)
{
    if (frame.kind == Kind::beacon) {
        beacon(frame);
        return false;
    }
    if (frame.kind == Kind::qos_data) {
        data(frame);
        return false;
    }
    if (!frame.is_management()) {
        return false;
    }
    auto bss = networks_.find(frame.third);
    if (bss == networks_.end()) {
        return false;
    }
    if (frame.transmitter == bss->first) {
        to_station(frame, bss->second);
        return false;
    }
    from_station(frame, bss->second);
    return frame.kind == Kind::action && action(frame, bss->second);
}

// The kernel's names follow "wlan<radio>" and "wlan<radio>vap<n>".
void Side::beacon(const Frame &frame)
{
    if (networks_.contains(frame.transmitter)) {
        return;
    }
    Bss bss;
    unsigned radio = 0, vap = 0;
    bss.interface = names_.of(frame.transmitter);
    if (std::sscanf(bss.interface.c_str(), "wlan%uvap%u", &radio, &vap) < 1) {
        return;
    }
    bss.radio_unit = static_cast<uint8_t>(radio + 1);
    bss.vap = static_cast<uint8_t>(vap);
    bss.address = frame.transmitter;
    const ByteView ssid = element(frame.body(), beacon_elements, ssid_element);
    bss.ssid.assign(ssid.begin(), ssid.end());
    // Four records of four bytes; bits 5 and 6 of the first are the category, bit 4 says
    // that admission is mandatory.
    const ByteView parameters = vendor_element(frame.body(), beacon_elements, wmm_parameters);
    for (size_t at = 8; at < parameters.size(); at += 4) {
        if ((parameters[at] & 0x10) != 0) {
            bss.mandatory |= static_cast<uint8_t>(1 << ((parameters[at] >> 5) & 3));
        }
    }
    networks_[bss.address] = bss;
}

void Side::from_station(const Frame &frame, const Bss &bss)
{
    Station &station = stations_[frame.transmitter];
    switch (frame.kind) {
    case Kind::authentication:
        station.fast_transition = little_endian(frame.body(), 0) == fast_transition_algorithm;
        break;
    case Kind::association_request:
    case Kind::reassociation_request:
        station.reassociates = frame.kind == Kind::reassociation_request;
        break;
    case Kind::disassociation:
    case Kind::deauthentication:
        if (station.bss == &bss) {
            note(names_.of(frame.transmitter), bss.interface, "leaves");
            left(frame.transmitter);
        }
        break;
    default:
        break;
    }
}

void Side::to_station(const Frame &frame, const Bss &bss)
{
    switch (frame.kind) {
    case Kind::association_response:
    case Kind::reassociation_response:
        if (little_endian(frame.body(), 2) == 0) {
            joined(frame.receiver, bss);
        }
        break;
    case Kind::disassociation:
    case Kind::deauthentication:
        for (auto &[mac, station] : stations_) {
            if (station.bss == &bss && (mac == frame.receiver || is_group(frame.receiver))) {
                note(bss.interface, names_.of(mac), "is sent away");
                left(mac);
            }
        }
        break;
    default:
        break;
    }
}

bool Side::action(const Frame &frame, const Bss &bss)
{
    tspec_hostapd_msg_t msg;
    const tspec_wmm_error_t error = tspec_wmm_read(frame.body().data(), frame.body().size(), &msg);
    if (error == TSPEC_WMM_OTHER_FRAME || hostapd_answers) {
        return false;
    }
    const std::string name = names_.of(frame.transmitter);
    if (error != TSPEC_WMM_OK && error != TSPEC_WMM_NO_NOMINAL_SIZE) {
        note(name, bss.interface, std::string("dropped: ") + tspec_wmm_error_text(error));
        return true;
    }
    const tspec_hostapd_msg_t read = msg;
    msg = message(read.cmd, frame.transmitter, bss);
    msg.tspec = read.tspec;
    msg.tid = read.tid;
    msg.aux_byte = read.aux_byte;
    if (error == TSPEC_WMM_NO_NOMINAL_SIZE) {
        msg.cmd = TSPEC_ADDTS_RESP_CMD;
        msg.result_code = TSPEC_RESULT_INVALID_PARAMETERS;
        send_frame(msg);
    } else if (msg.cmd == TSPEC_ADDTS_REQ_CMD) {
        note(name, bss.interface,
             "ADDTS request  " + stream_text(msg.tspec, msg.tid) + ", " + traffic_text(msg.tspec));
        asked_ = Clock::now();
        queried_ = answered_ = {};
        send(msg, "");
    } else if (msg.cmd == TSPEC_DELTS_REQ_CMD) {
        note(name, bss.interface, "DELTS  " + stream_text(msg.tspec, msg.tid));
        std::erase_if(stations_[frame.transmitter].streams,
                      [&](const Stream &stream) { return stream.tid == msg.tid; });
        send(msg, "");
    }
    return true;
}

void Side::data(const Frame &frame)
{
    const bool uplink = frame.to_access_point();
    auto found = stations_.find(uplink ? frame.transmitter : frame.receiver);
    if (found == stations_.end() || found->second.bss == nullptr) {
        return;
    }
    use(found->second, frame, uplink);
    if (uplink) {
        unauthorised(found->second, found->first, frame.user_priority());
    }
}

void Side::use(Station &station, const Frame &frame, bool uplink)
{
    const uint8_t other = uplink ? TSPEC_DIR_DOWNLINK : TSPEC_DIR_UPLINK;
    for (Stream &stream : station.streams) {
        if (of_user_priority[stream.user_priority] == of_user_priority[frame.user_priority()] &&
            stream.direction != other) {
            stream.last_used = Clock::now();
        }
    }
}

void Side::unauthorised(Station &station, const Mac &mac, uint8_t user_priority)
{
    const uint8_t category = of_user_priority[user_priority];
    const bool admitted =
        std::any_of(station.streams.begin(), station.streams.end(), [&](const Stream &stream) {
            return of_user_priority[stream.user_priority] == category &&
                   stream.direction != TSPEC_DIR_DOWNLINK;
        });
    if (admitted || (station.bss->mandatory >> category & 1) == 0) {
        return;
    }
    const Clock::time_point now = Clock::now();
    auto [last, first] = station.unauthorised.try_emplace(category, now);
    if (!first && now - last->second < told_again_after) {
        return;
    }
    last->second = now;
    tspec_hostapd_msg_t msg = message(TSPEC_TS_UNAUTH_TRAFFIC_CMD, mac, *station.bss);
    msg.tspec.ts_info[1] = static_cast<uint8_t>(user_priority << 3);
    send(msg, "unauthorised traffic of " + names_.of(mac) + " on " + category_name(user_priority));
}

// ---- coming and going

void Side::joined(const Mac &mac, const Bss &bss)
{
    Station &station = stations_[mac];
    const Bss *from = station.bss;
    const bool roams = from != nullptr && from != &bss && station.reassociates;
    const std::vector<Stream> streams = std::move(station.streams);
    station.streams.clear();
    if (from != nullptr) {
        ways_.to_driver("station " + from->interface + " " + text_of(mac) + " 0");
        if (leaving == Leaving::after && roams) {
            station.left_behind = from;
        } else if (leaving != Leaving::never || !roams) {
            tell_left(mac, *from);
        }
    }
    station.bss = &bss;
    ways_.to_driver("station " + bss.interface + " " + text_of(mac) + (roams ? " 41" : " 1"));
    note(names_.of(mac), bss.interface,
         !roams                    ? "associates"
         : station.fast_transition ? "comes by fast transition from " + from->interface
                                   : "comes from " + from->interface);
    if (roams && station.fast_transition) {
        carry_over(mac, station, streams);
    }
}

// Nothing on the air tells which streams come along: the packaged pair does not say so in
// its fast transition. They are taken to be those that the station had.
void Side::carry_over(const Mac &mac, Station &station, const std::vector<Stream> &streams)
{
    for (const Stream &stream : streams) {
        tspec_hostapd_msg_t msg = message(TSPEC_FBT_ADDTS_CMD, mac, *station.bss);
        msg.tspec = stream.tspec;
        msg.tid = stream.tid;
        send(msg, "fast-transition ADDTS  " + names_.of(mac) + " " +
                      stream_text(msg.tspec, msg.tid) + ", medium time " +
                      std::to_string(msg.tspec.medium_time));
        station.streams.push_back(stream);
    }
}

void Side::left(const Mac &mac)
{
    Station &station = stations_[mac];
    const Bss &bss = *station.bss;
    ways_.to_driver("station " + bss.interface + " " + text_of(mac) + " 0");
    station = {};
    tell_left(mac, bss);
}

void Side::tell_left(const Mac &mac, const Bss &bss)
{
    send(message(TSPEC_STA_DISASSOC_CMD, mac, bss),
         "station disassociated  " + names_.of(mac) + " from " + bss.interface);
}

// ---- the daemon

tspec_hostapd_msg_t Side::message(uint8_t cmd, const Mac &mac, const Bss &bss) const
{
    tspec_hostapd_msg_t msg = {};
    msg.msg_type = TSPEC_HOSTAPD_MSG;
    msg.cmd = cmd;
    std::copy(bss.address.begin(), bss.address.end(), msg.peer_addr1);
    std::copy(bss.address.begin(), bss.address.end(), msg.peer_addr2);
    std::copy(mac.begin(), mac.end(), msg.sta_mac);
    std::memcpy(msg.ssid, bss.ssid.data(), std::min(bss.ssid.size(), sizeof msg.ssid));
    msg.radio_unit = bss.radio_unit;
    msg.vap = bss.vap;
    return msg;
}

void Side::send(const tspec_hostapd_msg_t &msg, const std::string &text)
{
    if (!text.empty()) {
        note("hostapd", "daemon", text);
    }
    ways_.to_daemon(TSPEC_UDP_PORT, bytes_of(msg));
}

void Side::datagram(ByteView datagram)
{
    if (datagram.size() == sizeof(tspec_frame_dur_req_t) && datagram[0] == TSPEC_FRAME_DUR_MARKER) {
        answer(structure_of<tspec_frame_dur_req_t>(datagram));
    } else if (datagram.size() == sizeof(tspec_hostapd_msg_t) && datagram[0] == TSPEC_PEER_MSG) {
        response(structure_of<tspec_hostapd_msg_t>(datagram));
    }
}

void Side::answer(const tspec_frame_dur_req_t &query)
{
    queried_ = Clock::now();
    Answer answer{queried_ + answer_delay, static_cast<uint16_t>(query.reply_port), {}};
    answer.rsp.marker = TSPEC_FRAME_DUR_MARKER;
    const uint32_t size = query.nominal_msdu_size & ~fixed_size;
    answer.rsp.duration = airtime_of_exchange(size, query.min_phy_rate, 0);
    note("daemon", "hostapd",
         "frame duration?  " + std::to_string(size) + " bytes at " +
             std::to_string(query.min_phy_rate / 1000000) +
             " Mbit/s: " + std::to_string(answer.rsp.duration) + " us");
    answers_.push_back(answer);
    tick(queried_);
}

void Side::response(const tspec_hostapd_msg_t &msg)
{
    const Clock::time_point now = Clock::now();
    Mac mac, network;
    std::copy_n(msg.sta_mac, mac.size(), mac.begin());
    std::copy_n(msg.peer_addr2, network.size(), network.begin());
    Station &station = stations_[mac];
    std::erase_if(station.streams, [&](const Stream &stream) {
        return stream.tid == msg.tid &&
               (msg.cmd == TSPEC_DELTS_CMD || msg.result_code == TSPEC_RESULT_ACCEPTED);
    });
    const std::string bss = names_.of(network), name = names_.of(mac);
    if (msg.cmd == TSPEC_DELTS_CMD) {
        note(bss, name, "DELTS  " + stream_text(msg.tspec, msg.tid));
        send_frame(msg);
        return;
    }
    const bool accepted = msg.result_code == TSPEC_RESULT_ACCEPTED;
    if (accepted) {
        station.streams.push_back({msg.tspec, msg.tid, direction_of(msg.tspec),
                                   user_priority_of(msg.tspec),
                                   std::chrono::microseconds(msg.inactivity_timeout), now});
    }
    note(bss, name,
         "ADDTS response  " + stream_text(msg.tspec, msg.tid) + ", " +
             result_name(msg.result_code) +
             (accepted ? ", medium time " + std::to_string(msg.tspec.medium_time) : ""));
    send_frame(msg);
    durations.push_back(
        {microseconds(Clock::now() - asked_), microseconds(now - asked_ - (answered_ - queried_))});
    if (station.left_behind != nullptr) {
        tell_left(mac, *station.left_behind);
        station.left_behind = nullptr;
    }
}

// From the network at which the station is now: it hears no other.
void Side::send_frame(const tspec_hostapd_msg_t &msg)
{
    uint8_t body[TSPEC_WMM_FRAME_SIZE];
    size_t length = 0;
    const tspec_wmm_error_t error = tspec_wmm_write(&msg, body, sizeof body, &length);
    if (error != TSPEC_WMM_OK) {
        note("hostapd", "nobody", tspec_wmm_error_text(error));
        return;
    }
    Mac mac, network;
    std::copy_n(msg.sta_mac, mac.size(), mac.begin());
    std::copy_n(msg.peer_addr2, network.size(), network.begin());
    const Station *at = station(mac);
    if (at != nullptr && at->bss != nullptr) {
        network = at->bss->address;
    }
    ways_.to_air(management_frame(Kind::action, mac, network, network, {body, length}));
}

// ---- time

std::optional<Clock::time_point> Side::next_due() const
{
    std::optional<Clock::time_point> next;
    for (const Answer &answer : answers_) {
        next = std::min(next.value_or(answer.due), answer.due);
    }
    return next;
}

void Side::tick(Clock::time_point now)
{
    for (const Answer &answer : answers_) {
        if (answer.due <= now) {
            ways_.to_daemon(answer.port, bytes_of(answer.rsp));
            answered_ = Clock::now();
        }
    }
    std::erase_if(answers_, [&](const Answer &answer) { return answer.due <= now; });

    for (auto &[mac, station] : stations_) {
        for (Stream &stream : station.streams) {
            if (stream.timeout.count() == 0 || now - stream.last_used < stream.timeout) {
                continue;
            }
            stream.timeout = {}; // told once
            tspec_hostapd_msg_t msg = message(TSPEC_TS_INACTIVE_CMD, mac, *station.bss);
            msg.tspec = stream.tspec;
            msg.tid = stream.tid;
            send(msg, "stream inactive  " + names_.of(mac) + " " +
                          stream_text(stream.tspec, stream.tid));
        }
    }
}

} // namespace tspec::air
