// Reports of the driver library turned into events, and what the peers do on
// them; session_output.cpp has those on output.
#include "sim/lib/session.h"

#include <algorithm>
#include <string_view>

namespace tspec::sim {

namespace {

constexpr std::string_view cli_reply_name = "@" TSPEC_CLI_REPLY_NAME;

// The daemon reads no more than its buffer holds.
bool is_read_of(ByteView read, ByteView sent)
{
    if (read.empty() || read.size() > sent.size()) {
        return read.size() == sent.size();
    }
    return std::equal(read.begin(), read.end(), sent.begin());
}

Peer sender_by_type(ByteView data)
{
    switch (data.empty() ? 0 : data[0]) {
    case TSPEC_DMAN_CONFIG_MSG:
    case TSPEC_DMAN_STATUS_REQ_MSG:
    case TSPEC_DMAN_VIOLATION_INTERVAL_MSG:
        return Peer::dman;
    case TSPEC_HOSTAPD_MSG:
    case TSPEC_FRAME_DUR_MARKER:
        return Peer::hostapd;
    case TSPEC_MAPD_MSG:
    case TSPEC_MAPD_DIRECT_MSG:
        return Peer::mapd;
    default:
        return Peer::other;
    }
}

} // namespace

ByteView AccessPoint::Session::data_of(const control::Report &report)
{
    return ByteView(report.data, report.length);
}

std::optional<Door> AccessPoint::Session::door_of(const control::Report &report)
{
    std::string_view name = report.name;
    if (report.port == TSPEC_UDP_PORT) {
        return Door::udp;
    }
    if (report.port == TSPEC_FRAME_DUR_REPLY_PORT) {
        return Door::reply;
    }
    if (name == TSPEC_DMAN_SOCK_PATH) {
        return Door::dman;
    }
    if (name == "@" TSPEC_CLI_SOCK_NAME) {
        return Door::cli;
    }
    return std::nullopt;
}

UdpPeer *AccessPoint::Session::udp_peer(uint32_t port)
{
    for (UdpPeer *peer : {static_cast<UdpPeer *>(&ap_.hostapd_), static_cast<UdpPeer *>(&ap_.mapd_),
                          static_cast<UdpPeer *>(&ap_.dman_)}) {
        if (peer->port() == port) {
            return peer;
        }
    }
    return nullptr;
}

bool AccessPoint::Session::any_reaction() const
{
    return ap_.hostapd_.reaction_ || ap_.mapd_.reaction_ || ap_.dman_.reaction_;
}

Event AccessPoint::Session::new_event(Kind kind, Peer peer) const
{
    Event event;
    event.kind = kind;
    event.peer = peer;
    event.time = Time{Duration(wall_)};
    return event;
}

void AccessPoint::Session::add(Event event)
{
    ap_.history_.push_back(std::move(event));
}

void AccessPoint::Session::take_report(const control::Report &report)
{
    wall_ = report.wall;
    mono_ = report.mono;
    switch (report.type) {
    case control::ReportType::hello:
        pid_ = static_cast<int>(report.value);
        return;
    case control::ReportType::done:
        return on_done(report);
    case control::ReportType::received:
        return on_received(report);
    case control::ReportType::sent:
        return on_sent(report);
    case control::ReportType::console:
        return on_console(report);
    case control::ReportType::standard_error:
        return on_standard_error(report);
    case control::ReportType::system_log:
        return on_system_log(report);
    case control::ReportType::trap_opened:
        return on_trap_opened();
    case control::ReportType::trap:
        return on_trap(report);
    case control::ReportType::station_query:
        return on_station_query(report);
    case control::ReportType::proc_read:
        return on_proc_read(report);
    case control::ReportType::fault:
        return on_fault(report);
    }
}

void AccessPoint::Session::on_done(const control::Report &report)
{
    if (auto place = awaited_.find(report.id); place != awaited_.end()) {
        place->second = Done{report.port, report.flags, report.value};
    }
}

void AccessPoint::Session::on_received(const control::Report &report)
{
    std::optional<Door> door = door_of(report);
    if (!door) {
        return;
    }
    ByteView data = data_of(report);
    Event event = new_event(Kind::to_daemon, Peer::other);
    event.data.assign(data.begin(), data.end());
    event.destination_port = static_cast<uint16_t>(report.port);
    event.door = *door;
    std::deque<Unread> &queue = unread_[*door];
    auto sent = std::find_if(queue.begin(), queue.end(),
                             [&](const Unread &unread) { return is_read_of(data, unread.data); });
    if (sent != queue.end()) {
        event.peer = sent->who;
        event.source_port = sent->source_port;
        event.sent_size = sent->data.size();
        queue.erase(sent);
    } else {
        event.peer = stranger(event);
    }
    add(std::move(event));
}

// Who sends something that the simulator did not: one that somebody else plays.
Peer AccessPoint::Session::stranger(const Event &event) const
{
    Peer peer = event.door == Door::cli ? Peer::cli : sender_by_type(event.data);
    return ap_.is_away(peer) ? peer : Peer::other;
}

void AccessPoint::Session::on_sent(const control::Report &report)
{
    ByteView data = data_of(report);
    Event event = new_event(Kind::from_daemon, Peer::other);
    event.data.assign(data.begin(), data.end());
    event.source_port = static_cast<uint16_t>(report.option);
    event.destination_port = static_cast<uint16_t>(report.port);
    event.error = report.error;
    event.delivered = report.result >= 0;
    if (UdpPeer *peer = udp_peer(report.port)) {
        event.peer = peer->who();
    } else if (report.name == cli_reply_name) {
        event.peer = Peer::cli;
    }
    if (event.delivered) {
        match_receiver(event, (report.flags & control::flag_bound) != 0);
    }
    add(event);
    if (event.peer == Peer::hostapd) {
        answer_frame_duration(event);
    }
    call_reaction(event);
}

bool AccessPoint::Session::is_anothers(const UdpPeer &peer) const
{
    return ap_.is_away(peer.who()) && !peer.is_on();
}

// Takes the datagram out of the receiver's socket, where it has arrived if
// anybody is there: datagrams on one host are handed over at once. Of a socket
// that is not ours no more is known than whether somebody had the port.
void AccessPoint::Session::match_receiver(Event &event, bool bound)
{
    const Socket *socket = nullptr;
    UdpPeer *peer = udp_peer(event.destination_port);
    if (peer && !peer->is_on()) {
        event.delivered = bound;
        return;
    }
    if (peer) {
        socket = &peer->socket_;
    } else if (event.peer == Peer::cli) {
        socket = &ap_.operator_.socket_;
    }
    if (!socket || !socket->is_open()) {
        return;
    }
    event.delivered = false;
    while (std::optional<Received> received = receive_waiting(*socket)) {
        if (received->data == event.data) {
            event.delivered = true;
            event.source_port = received->source_port;
            return;
        }
    }
}

void AccessPoint::Session::answer_frame_duration(const Event &query)
{
    bool is_query = query.delivered && query.data.size() == sizeof(tspec_frame_dur_req_t) &&
                    query.data[0] == TSPEC_FRAME_DUR_MARKER;
    if (!is_query || !ap_.hostapd_.policy_ || is_anothers(ap_.hostapd_)) {
        return;
    }
    std::optional<FrameDurationAnswer> answer =
        ap_.hostapd_.policy_(wire_of<tspec_frame_dur_req_t>(query.data));
    if (!answer) {
        return;
    }
    int64_t when = monotonic_now() + answer->delay.count();
    auto after = std::find_if(due_.begin(), due_.end(),
                              [when](const DueAnswer &due) { return due.when > when; });
    due_.insert(after, {when, std::move(answer->datagram)});
    send_due_answers();
}

void AccessPoint::Session::call_reaction(const Event &event)
{
    UdpPeer *peer = udp_peer(event.destination_port);
    if (event.delivered && peer && peer->reaction_ && !is_anothers(*peer)) {
        Reaction reaction = peer->reaction_;
        reaction(event);
    }
}

void AccessPoint::Session::on_trap_opened()
{
    ap_.trap_.leave_after_next_open_ = false;
    ap_.trap_.close_reader();
    control::Request go_on = make_request(control::RequestType::continue_trap);
    link_.send(go_on);
}

void AccessPoint::Session::on_trap(const control::Report &report)
{
    Event event = new_event(Kind::trap, Peer::trap);
    ByteView data = data_of(report);
    event.data.assign(data.begin(), data.end());
    event.error = report.error;
    event.delivered = report.result == static_cast<int>(data.size()) && report.error == 0;
    ap_.trap_.read_available();
    add(std::move(event));
}

void AccessPoint::Session::on_station_query(const control::Report &report)
{
    DriverQuery query;
    query.interface = report.name;
    query.station = Mac::from(report.mac);
    query.sub_command = static_cast<uint32_t>(report.option);
    query.length = static_cast<uint32_t>(report.priority);
    query.flags = static_cast<uint8_t>(report.flags);
    query.request_clean = (report.flags & control::flag_clean) != 0;
    query.error = report.error;
    query.reply = text_of(data_of(report));
    Event event = new_event(Kind::driver_query, Peer::driver);
    event.error = report.error;
    event.detail = std::move(query);
    add(std::move(event));
}

void AccessPoint::Session::on_proc_read(const control::Report &report)
{
    ProcRead read;
    read.interface = report.name;
    read.present = (report.flags & control::flag_absent) == 0;
    read.text = text_of(data_of(report));
    Event event = new_event(Kind::proc_read, Peer::driver);
    event.detail = std::move(read);
    add(std::move(event));
}

void AccessPoint::Session::on_fault(const control::Report &report)
{
    Event event = new_event(Kind::fault, Peer::none);
    event.error = report.error;
    event.detail = FaultHit{report.name, report.error};
    add(std::move(event));
}

// Once the daemon waits again, what it has not read it will not read.
void AccessPoint::Session::note_unread()
{
    for (auto &[door, queue] : unread_) {
        for (Unread &unread : queue) {
            Event event = new_event(Kind::to_daemon, unread.who);
            event.time = unread.time;
            event.data = std::move(unread.data);
            event.sent_size = event.data.size();
            event.source_port = unread.source_port;
            event.door = door;
            event.destination_port = door == Door::udp     ? TSPEC_UDP_PORT
                                     : door == Door::reply ? TSPEC_FRAME_DUR_REPLY_PORT
                                                           : 0;
            event.delivered = false;
            add(std::move(event));
        }
        queue.clear();
    }
}

} // namespace tspec::sim
