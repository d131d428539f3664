#include "sim/scenario/steps/stream_keys.h"

namespace tspec::sim::scenario {

namespace {

constexpr uint8_t highest_tid_with_own_priority = 7;
constexpr uint8_t voice_priority = 6;

struct NumberField {
    const char *key;
    uint32_t TrafficSpec::*field;
    const KeyType *type;
    const char *fallback;
    const char *help;
};

const NumberField number_fields[] = {
    {"mean_data_rate", &TrafficSpec::mean_data_rate, &types::bits_per_second, "83200",
     "mean data rate"},
    {"min_data_rate", &TrafficSpec::min_data_rate, &types::bits_per_second, "83200",
     "lowest data rate"},
    {"peak_data_rate", &TrafficSpec::peak_data_rate, &types::bits_per_second, "83200",
     "highest data rate"},
    {"min_phy_rate", &TrafficSpec::min_phy_rate, &types::bits_per_second, "6M",
     "lowest PHY rate; asked of hostapd with the frame size"},
    {"min_service_interval", &TrafficSpec::min_service_interval, &types::microseconds, "0us",
     "shortest service interval"},
    {"max_service_interval", &TrafficSpec::max_service_interval, &types::microseconds, "0us",
     "longest service interval"},
    {"inactivity_interval", &TrafficSpec::inactivity_interval, &types::microseconds, "0us",
     "the station's own inactivity interval"},
    {"suspension_interval", &TrafficSpec::suspension_interval, &types::microseconds, "0us",
     "suspension interval"},
    {"service_start_time", &TrafficSpec::service_start_time, &types::microseconds, "0us",
     "service start time"},
    {"burst_size", &TrafficSpec::burst_size, &types::u32, "0", "bytes of the largest burst"},
    {"delay_bound", &TrafficSpec::delay_bound, &types::microseconds, "0us", "delay bound"},
};

} // namespace

std::vector<Key> stream_keys()
{
    static const KeyType ts_info_tid = types::number(0, 15);
    return {
        with_default("tid", types::u8, "6", "traffic identifier of the message"),
        optional("up", types::up,
                 "user priority, which decides the access category; the TID where that is 0 "
                 "to 7, else 6"),
        with_default("direction", types::direction, "uplink", "direction of the stream"),
        optional("ts_info_tid", ts_info_tid, "TID inside TS Info, where it shall differ from tid")};
}

std::vector<Key> traffic_keys()
{
    static const KeyType frame_size = types::number(0, 32767);
    std::vector<Key> keys{
        with_default("nominal_msdu", frame_size, "208", "bytes of a frame"),
        with_default("fixed", types::flag, "true", "all frames have this size"),
        with_default("max_msdu", types::u16, "208", "bytes of the largest frame"),
        with_default("surplus", types::surplus, "1.0",
                     "surplus bandwidth allowance: airtime for retries, as a factor"),
        with_default("medium_time", types::u16, "0",
                     "medium time in units of 32 us per second; what a fast transition has "
                     "negotiated, otherwise worked out by the daemon")};
    for (const NumberField &field : number_fields) {
        keys.push_back(with_default(field.key, *field.type, field.fallback, field.help));
    }
    return keys;
}

TrafficSpec stream_of(const Args &args)
{
    TrafficSpec traffic;
    auto tid = args.narrow<uint8_t>("tid");
    traffic.tid = args.maybe_narrow<uint8_t>("ts_info_tid").value_or(tid);
    uint8_t own_priority = tid <= highest_tid_with_own_priority ? tid : voice_priority;
    traffic.user_priority = args.maybe_narrow<uint8_t>("up").value_or(own_priority);
    traffic.direction = args.narrow<uint8_t>("direction");
    return traffic;
}

TrafficSpec traffic_of(const Args &args)
{
    TrafficSpec traffic = stream_of(args);
    traffic.nominal_msdu_size = args.narrow<uint16_t>("nominal_msdu");
    traffic.fixed_size = args.flag("fixed");
    traffic.max_msdu_size = args.narrow<uint16_t>("max_msdu");
    traffic.surplus_bandwidth_allowance = args.narrow<uint16_t>("surplus");
    traffic.medium_time = args.narrow<uint16_t>("medium_time");
    for (const NumberField &field : number_fields) {
        traffic.*field.field = args.narrow<uint32_t>(field.key);
    }
    return traffic;
}

std::vector<Key> operator+(std::vector<Key> first, const std::vector<Key> &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

} // namespace tspec::sim::scenario
