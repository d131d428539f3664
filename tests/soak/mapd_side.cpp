#include "mapd_side.h"

namespace tspec::soak {

namespace mapd_at = model::mapd_at;

namespace {

constexpr uint32_t hour = 3600;

} // namespace

MapdSide::MapdSide(Stage &stage) : stage_(stage), chance_(stage.chance())
{
    stage_.listen([this](const model::Sent &sent) { hear(sent); });
}

void MapdSide::begin()
{
    leave(Activity::peer_restart);
    stage_.every([this] { return chance_.about(hour * 3 / 4); },
                 [this] {
                     if (!on_) {
                         come();
                     } else if (chance_.percent(70)) {
                         go();
                     } else {
                         vanish();
                     }
                 });
    stage_.every([this] { return chance_.about(600); }, [this] { take_a_stream_back(); });
    stage_.every([this] { return chance_.about(hour); },
                 [this] {
                     silent_ = true;
                     stage_.in(chance_.between(5, 240), [this] { silent_ = false; });
                 });
}

void MapdSide::be_on(Activity activity)
{
    if (!on_) {
        stage_.play(activity, lockstep::PeerIs{lockstep::Neighbour::mapd, true});
        on_ = true;
    }
}

void MapdSide::leave(Activity activity)
{
    stage_.play(activity, lockstep::PeerIs{lockstep::Neighbour::mapd, false});
    on_ = false;
}

void MapdSide::set_mode(Activity activity, uint8_t managed)
{
    stage_.udp(activity, model::ap_state_input(managed));
}

void MapdSide::come()
{
    be_on(Activity::peer_restart);
    set_mode(Activity::mode_switch, chance_.percent(10) ? 2 : 1); // 2 is none
}

void MapdSide::go()
{
    set_mode(Activity::mode_switch, 0);
    leave(Activity::peer_restart);
}

// The daemon goes on asking, and nobody is there.
void MapdSide::vanish()
{
    leave(Activity::peer_restart);
    stage_.in(chance_.between(5, 900), [this] {
        if (on_) {
            return;
        }
        be_on(Activity::peer_restart);
        set_mode(Activity::mode_switch, chance_.percent(80) ? 1 : 0);
    });
}

void MapdSide::hear(const model::Sent &sent)
{
    const bool asked = sent.port == model::mapd_port && sent.bytes.size() == mapd_at::size &&
                       sent.bytes[mapd_at::cmd] == 1;
    if (!asked || !on_ || silent_ || chance_.percent(2)) {
        return;
    }
    const uint64_t speed = chance_.below(100);
    const uint32_t delay = speed < 80   ? 0
                           : speed < 95 ? chance_.between(1, 3)
                                        : chance_.between(4, 90);
    stage_.in(delay, [this, request = sent.bytes] {
        if (on_) {
            answer(request);
        }
    });
}

void MapdSide::answer(Bytes request)
{
    request[mapd_at::msg_type] = 4;
    request[mapd_at::cmd] = 2;
    request[mapd_at::result_code] = 0;
    if (chance_.percent(8)) {
        request[mapd_at::result_code] = chance_.one_of<uint8_t>({1, 2, 3, 3, 3});
    }
    if (chance_.percent(3)) {
        model::put_u16(request, mapd_at::medium_time,
                       static_cast<uint16_t>(chance_.between(100, 900)));
    }
    if (!chance_.percent(6)) {
        stage_.udp(Activity::mapd_answer, request);
        return;
    }
    switch (chance_.below(6)) {
    case 0: // about another stream
        request[mapd_at::ts_info] ^= 0x02;
        break;
    case 1: // about nobody
        request[mapd_at::sta_mac + 1] ^= 0xff;
        break;
    case 2:
        request.resize(chance_.one_of<size_t>({2, 64, 119, 121}));
        break;
    case 3:
        request[mapd_at::radio_unit] = chance_.one_of<uint8_t>({0, 3});
        break;
    case 4:
        request[mapd_at::ac_idx] = chance_.one_of<uint8_t>({0, 4, 255});
        break;
    default: // twice
        stage_.udp(Activity::mapd_answer, request);
        break;
    }
    stage_.udp(Activity::wrong_mapd_answer, request);
}

void MapdSide::take_a_stream_back()
{
    const size_t streams = stage_.streams();
    if (!on_ || streams == 0) {
        return;
    }
    uint64_t chosen = chance_.below(streams);
    for (const model::Record &record : stage_.state().clients) {
        for (const auto &bank : record.entries) {
            for (const model::Entry &entry : bank) {
                if (!entry.in_use() || chosen-- > 0) {
                    continue;
                }
                const model::MapdInput input{.cmd = 5,
                                             .sta = record.sta_mac,
                                             .tid = entry.tid,
                                             .dir = entry.dir,
                                             .radio_unit = record.radio_unit,
                                             .ac_idx = entry.ac_idx,
                                             .medium_time = entry.medium_time()};
                stage_.udp(Activity::mapd_removal, input.bytes());
                return;
            }
        }
    }
}

} // namespace tspec::soak
