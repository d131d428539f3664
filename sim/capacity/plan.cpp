#include "sim/capacity/plan.h"

#include "airtime.h"
#include "sim/lib/access_point.h"
#include "sim/lib/messages.h"
#include "sim/scenario/load.h"
#include "sim/scenario/window.h"

#include <optional>
#include <stdexcept>

namespace tspec::sim::capacity {

namespace {

constexpr uint32_t fixed_size_flag = 0x8000;
constexpr uint32_t whole_medium = 100; // percent

Options options_for(const Plan &plan)
{
    Options options;
    options.daemon = plan.daemon;
    return options;
}

// A simulated access point whose hostapd knows the timing of 802.11.
class Bench {
  public:
    explicit Bench(const Plan &plan) : plan_(plan), ap_(options_for(plan))
    {
        ap_.driver().set_default(StationAnswer::flags(TSPEC_CLIENT_ASSOCIATED));
        ap_.hostapd().answer_frame_duration([this](const tspec_frame_dur_req_t &query) {
            exchange_ = airtime_of_exchange(query.nominal_msdu_size & ~fixed_size_flag,
                                            query.min_phy_rate, plan_.encrypted ? AIRTIME_CCMP : 0);
            return FrameDurationAnswer{.datagram = frame_duration_answer(exchange_)};
        });
    }

    // A daemon without calls, and this limit for voice.
    void begin(uint32_t limit)
    {
        if (!ap_.start()) {
            throw std::runtime_error("the daemon does not start");
        }
        ap_.dman().send(
            DmanConfig{.mandatory = {.voice = 1}, .limit_percent = {.voice = limit}}.bytes());
        ap_.settle();
        calls_ = 0;
    }

    // The medium time of one direction; none when the call is refused.
    std::optional<uint32_t> add_call(const Codec &codec, uint32_t phy_rate)
    {
        ap_.hostapd().send(request(codec, phy_rate, ++calls_).bytes());
        for (const Event &event : with_peer(ap_.settle(), Peer::hostapd, Kind::from_daemon)) {
            bool is_response = event.data.size() == sizeof(tspec_hostapd_msg_t) &&
                               event.data[1] == TSPEC_ADDTS_RESP_CMD;
            if (is_response) {
                auto response = wire_of<tspec_hostapd_msg_t>(event.data);
                bool accepted = response.result_code == TSPEC_RESULT_ACCEPTED;
                return accepted ? std::optional<uint32_t>(response.tspec.medium_time)
                                : std::nullopt;
            }
        }
        throw std::runtime_error("the daemon does not answer a request");
    }

    uint32_t exchange() const { return exchange_; }

    scenario::Admitted voice()
    {
        ap_.cli().send(cli_show());
        for (const Event &event : of_kind(ap_.settle(), Kind::console)) {
            if (auto load = scenario::parse_load(scenario::line_text(event))) {
                return (*load)[0][TSPEC_AC_VO];
            }
        }
        throw std::runtime_error("the daemon does not tell what is admitted");
    }

  private:
    HostapdMessage request(const Codec &codec, uint32_t phy_rate, uint32_t call) const
    {
        HostapdMessage message{.sta = station_mac(call)};
        TrafficSpec &traffic = message.tspec;
        traffic.direction = TSPEC_DIR_BIDIRECTIONAL;
        traffic.nominal_msdu_size = static_cast<uint16_t>(codec.msdu_size());
        traffic.max_msdu_size = traffic.nominal_msdu_size;
        traffic.min_data_rate = codec.mean_data_rate();
        traffic.mean_data_rate = codec.mean_data_rate();
        traffic.peak_data_rate = codec.mean_data_rate();
        traffic.min_phy_rate = phy_rate;
        traffic.surplus_bandwidth_allowance = surplus_of(plan_.surplus);
        return message;
    }

    const Plan &plan_;
    AccessPoint ap_;
    uint32_t exchange_ = 0;
    uint32_t calls_ = 0;
};

// What a call costs is seen where there is room for one.
void measure_call(Bench &bench, Row &row)
{
    bench.begin(whole_medium);
    std::optional<uint32_t> medium_time = bench.add_call(*row.codec, row.phy_rate);
    if (!medium_time) {
        throw std::runtime_error("not one call fits into the whole medium");
    }
    row.exchange = bench.exchange();
    row.stream_medium_time = *medium_time;
    row.call_medium_time = bench.voice().now;
}

void fill_up(Bench &bench, Row &row)
{
    bench.begin(row.limit);
    while (bench.add_call(*row.codec, row.phy_rate)) {
        row.calls++;
    }
    scenario::Admitted voice = bench.voice();
    row.admitted = voice.now;
    row.limit_medium_time = voice.limit;
}

} // namespace

std::vector<Row> carry_out(const Plan &plan)
{
    Bench bench(plan);
    std::vector<Row> rows;
    for (uint32_t limit : plan.limits) {
        for (uint32_t phy_rate : plan.phy_rates) {
            for (const Codec *codec : plan.codecs) {
                Row row{.codec = codec, .phy_rate = phy_rate, .limit = limit};
                measure_call(bench, row);
                fill_up(bench, row);
                rows.push_back(row);
            }
        }
    }
    return rows;
}

} // namespace tspec::sim::capacity
