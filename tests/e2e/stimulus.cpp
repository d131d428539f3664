#include "stimulus.h"

#include "datagram.h"

#include <cerrno>

namespace tspec::e2e {

namespace {

constexpr size_t result_code_of_hostapd_msg = 132;

TrafficSpec spec_of(const Stream &stream)
{
    TrafficSpec spec;
    spec.tid = stream.tid;
    spec.user_priority = stream.user_priority;
    spec.direction = stream.direction;
    spec.medium_time = stream.medium_time;
    spec.mean_data_rate = stream.mean_data_rate;
    return spec;
}

} // namespace

HostapdMessage from_hostapd(uint8_t cmd, const Stream &stream)
{
    HostapdMessage message;
    message.cmd = cmd;
    message.sta = station_mac(stream.station);
    message.radio_unit = stream.radio_unit;
    message.vap = stream.vap;
    message.tspec = spec_of(stream);
    return message;
}

MapdMessage from_mapd(uint8_t cmd, const Stream &stream, uint8_t result)
{
    MapdMessage message;
    message.cmd = cmd;
    message.sta = station_mac(stream.station);
    message.radio_unit = stream.radio_unit;
    message.ac_idx = ac_of(stream);
    message.tspec = spec_of(stream);
    message.result_code = result;
    return message;
}

uint8_t ac_of(const Stream &stream)
{
    return ac_of_user_priority(stream.user_priority);
}

void associate(AccessPoint &ap)
{
    ap.driver().set_station(station_mac(1), StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
}

void associate_all(AccessPoint &ap)
{
    ap.driver().set_default(StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
}

void configure_voice_and_video(AccessPoint &ap)
{
    ap.dman().send(DmanConfig{}.bytes());
    ap.settle();
}

void manage(AccessPoint &ap, bool managed)
{
    ap.mapd().send(ApState{.managed_mode = managed ? uint8_t{1} : uint8_t{0}}.bytes());
    ap.settle();
}

Events request(AccessPoint &ap, const HostapdMessage &message)
{
    ap.settle();
    ap.hostapd().send(message.bytes());
    return ap.settle();
}

Events respond(AccessPoint &ap, const MapdMessage &message)
{
    ap.settle();
    ap.mapd().send(message.bytes());
    return ap.settle();
}

void admit(AccessPoint &ap, const Stream &stream)
{
    Events events = request(ap, from_hostapd(TSPEC_ADDTS_REQ_CMD, stream));
    std::vector<Bytes> forwarded;
    for (const Bytes &datagram : sent_to(events, Peer::mapd)) {
        if (datagram.size() == sizeof(tspec_mapd_msg_t)) {
            forwarded.push_back(datagram);
        }
    }
    if (!forwarded.empty()) {
        ap.mapd().send(MapdMessage::response_to(wire_of<tspec_mapd_msg_t>(forwarded.front()),
                                                TSPEC_RESULT_ACCEPTED));
        events = ap.settle();
    }
    std::vector<Bytes> responses;
    for (const Bytes &datagram : sent_to(events, Peer::hostapd)) {
        if (datagram.size() == sizeof(tspec_hostapd_msg_t) && datagram[1] == TSPEC_ADDTS_RESP_CMD) {
            responses.push_back(datagram);
        }
    }
    ASSERT_EQ(responses.size(), 1U) << "stream not answered";
    ASSERT_EQ(u32_at(responses.front(), result_code_of_hostapd_msg), 0U) << "stream refused";
}

void break_sends(AccessPoint &ap, uint16_t port, unsigned times)
{
    ap.driver().inject(
        Fault{.call = Call::sendto, .error = ENETUNREACH, .times = times, .port = port});
}

} // namespace tspec::e2e
