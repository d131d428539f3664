#include "sim/scenario/refusal.h"

#include "sim/lib/messages.h"
#include "tspec/message.h"

#include <cstdio>
#include <fmt/format.h>
#include <utility>

namespace tspec::sim::scenario {

namespace {

constexpr const char *no_answer = "hostapd gets no answer";

bool is_read(const Event &event)
{
    return event.kind == Kind::to_daemon && event.delivered;
}

bool is_request(const Event &event)
{
    return is_read(event) && event.door == Door::udp && event.data.size() > 1 &&
           event.data[0] == TSPEC_HOSTAPD_MSG && event.data[1] == TSPEC_ADDTS_REQ_CMD;
}

bool is_mapds_answer(const Event &event)
{
    return is_read(event) && event.door == Door::udp && event.data.size() > 1 &&
           event.data[0] == TSPEC_MAPD_MSG && event.data[1] == TSPEC_ADDTS_RESP_CMD;
}

bool is_sent_to(const Event &event, Peer peer, uint8_t type, uint8_t cmd)
{
    return event.kind == Kind::from_daemon && event.peer == peer && event.data.size() > 1 &&
           event.data[0] == type && event.data[1] == cmd;
}

bool is_associated(const DriverQuery &query)
{
    unsigned flags = 0;
    size_t at = query.reply.find("client_status=");
    return query.error == 0 && at != std::string::npos &&
           std::sscanf(query.reply.c_str() + at, "client_status=%x", &flags) == 1 &&
           (flags & TSPEC_CLIENT_ASSOCIATED) != 0;
}

} // namespace

Refusals::Request Refusals::request_of(const Event &event)
{
    auto message = wire_of<tspec_hostapd_msg_t>(event.data);
    int named = message.tspec.ts_info[0] >> 1 & 0xf;
    Request request;
    request.who = fmt::format("station {}, TID {}", Mac::from(message.sta_mac).text(), message.tid);
    request.other_tid = named != message.tid;
    return request;
}

std::optional<std::string> Refusals::settled()
{
    if (!open_) {
        return std::nullopt;
    }
    Request request = *std::exchange(open_, std::nullopt);
    const char *why = !request.asked_driver ? ": the message names no radio of this access point"
                      : request.other_tid   ? ": its TS Info names another TID"
                                            : " has an earlier request that is still pending";
    return fmt::format("dropped: {}{}; {}", request.who, why, no_answer);
}

std::optional<std::string> Refusals::before(const Event &event)
{
    if (event.kind == Kind::process_end) {
        open_.reset();
        return std::nullopt;
    }
    bool is_next = is_read(event) && event.door != Door::reply;
    return is_next ? settled() : std::nullopt;
}

std::optional<std::string> Refusals::take_query(const DriverQuery &query)
{
    if (open_->asked_driver) {
        return std::nullopt;
    }
    open_->asked_driver = true;
    if (is_associated(query)) {
        return std::nullopt;
    }
    Request request = *std::exchange(open_, std::nullopt);
    return fmt::format("dropped: {}: the driver does not say that it is associated; {}",
                       request.who, no_answer);
}

void Refusals::take_line(const std::string &line)
{
    unsigned limit = 0;
    unsigned current = 0;
    size_t at = line.find("limit=");
    if (at != std::string::npos &&
        std::sscanf(line.c_str() + at, "limit=%u,current=%u", &limit, &current) == 2) {
        open_->traced = fmt::format("limit: {} units would be admitted, {} may be", current, limit);
    }
    if (line.find("MAX TS (") != std::string::npos) {
        open_->traced = fmt::format("count: there are {} streams", TSPEC_MAX_TS);
    }
}

std::string Refusals::reason_of_refusal() const
{
    if (open_->asked_duration && !open_->got_duration) {
        return open_->got_other ? "hostapd's answer was no frame duration"
                                : "hostapd gave no frame duration in 2 s";
    }
    return open_->traced.empty() ? "limit or count" : open_->traced;
}

// The TID is looked at before the frame duration is asked for.
std::string Refusals::reason_of_rejection() const
{
    return open_->asked_duration ? "no airtime: it comes to a medium time of 0"
                                 : "other category: the TID has a stream on another one";
}

std::optional<std::string> Refusals::take_response(const Event &event)
{
    auto response = wire_of<tspec_hostapd_msg_t>(event.data);
    bool was_mapd = std::exchange(mapd_speaks_, false);
    std::optional<std::string> sentence;
    if (response.result_code != TSPEC_RESULT_ACCEPTED) {
        std::string reason = was_mapd || !open_ ? "mapd says so"
                             : response.result_code == TSPEC_RESULT_INVALID_PARAMETERS
                                 ? reason_of_rejection()
                                 : reason_of_refusal();
        sentence = fmt::format("result {}: station {}, TID {}: {}", response.result_code,
                               Mac::from(response.sta_mac).text(), response.tid, reason);
    }
    open_.reset();
    return sentence;
}

std::optional<std::string> Refusals::after(const Event &event)
{
    if (is_request(event)) {
        open_ = request_of(event);
        return std::nullopt;
    }
    if (is_mapds_answer(event)) {
        mapd_speaks_ = true;
        return std::nullopt;
    }
    if (is_sent_to(event, Peer::hostapd, TSPEC_PEER_MSG, TSPEC_ADDTS_RESP_CMD)) {
        return take_response(event);
    }
    if (!open_) {
        return std::nullopt;
    }
    if (const DriverQuery *query = event.as<DriverQuery>()) {
        return take_query(*query);
    }
    if (event.kind == Kind::console) {
        take_line(event.text());
    } else if (is_read(event)) {
        bool is_duration = event.data.size() == sizeof(tspec_frame_dur_rsp_t) &&
                           event.data[0] == TSPEC_FRAME_DUR_MARKER;
        (is_duration ? open_->got_duration : open_->got_other) = true;
    } else if (event.kind == Kind::from_daemon && event.data.size() > 1) {
        open_->asked_duration |= event.data[0] == TSPEC_FRAME_DUR_MARKER;
        if (is_sent_to(event, Peer::mapd, TSPEC_PEER_MSG, TSPEC_ADDTS_REQ_CMD)) {
            open_.reset(); // it is pending now, and mapd will say
        }
    }
    return std::nullopt;
}

} // namespace tspec::sim::scenario
