#include "state_difference.h"

#include "core/control_block.h"
#include "plain_bytes.h"

#include <cstring>

namespace tspec::fuzz {

using model::text;

namespace {

using Difference = std::optional<std::string>;

std::string client_text(const tspec_rec_t &rec)
{
    model::Mac mac{};
    std::memcpy(mac.data(), rec.sta_mac, mac.size());
    return model::mac_text(mac);
}

template <typename Actual, typename Expected>
bool same_bytes(const Actual &actual, const Expected &expected)
{
    static_assert(sizeof(Actual) == sizeof(Expected));
    return same_memory(&actual, &expected, sizeof(actual));
}

// Compares values one by one; keeps the first that differs.
class Comparison {
  public:
    explicit Comparison(std::string where) : where_(std::move(where)) {}

    template <typename Actual, typename Expected>
    Comparison &value(const char *name, const Actual &actual, const Expected &expected)
    {
        if (!difference_ && static_cast<long long>(actual) != static_cast<long long>(expected)) {
            difference_ = where_ + " " + name +
                          text(": expected %lld, actual %lld", static_cast<long long>(expected),
                               static_cast<long long>(actual));
        }
        return *this;
    }

    template <typename Actual, typename Expected>
    Comparison &bytes(const char *name, const Actual &actual, const Expected &expected)
    {
        if (!difference_ && !same_bytes(actual, expected)) {
            difference_ = where_ + " " + name + ": the bytes differ";
        }
        return *this;
    }

    template <typename Actual, typename Expected>
    Comparison &values(const char *name, const Actual &actual, const Expected &expected)
    {
        for (size_t i = 0; i < std::size(actual); i++) {
            value(name, actual[i], expected[i]);
        }
        return *this;
    }

    const Difference &difference() const { return difference_; }

  private:
    std::string where_;
    Difference difference_;
};

Difference entry_difference(const tspec_ts_rec_t &actual, const model::Entry &expected)
{
    return Comparison("stream")
        .value("tid", actual.tid, expected.tid)
        .value("ac_idx", actual.ac_idx, expected.ac_idx)
        .value("dir", actual.dir, expected.dir)
        .value("state", actual.state, expected.state)
        .value("inactivity_timeout", actual.inactivity_timeout, expected.inactivity_timeout)
        .value("aux_byte", actual.aux_byte, expected.aux_byte)
        .bytes("aux_addr", actual.aux_addr, expected.aux_addr)
        .bytes("stored element", actual.params, expected.stored)
        .value("excess_usage_events", actual.excess_usage_events, expected.excess_events)
        .value("pending tid", actual.pend.tid, expected.pend_tid)
        .value("pending dir", actual.pend.dir, expected.pend_dir)
        .value("pending aux_byte", actual.pend.aux_byte, expected.pend_aux_byte)
        .bytes("pending aux_addr", actual.pend.aux_addr, expected.pend_aux_addr)
        .difference();
}

Difference record_difference(const tspec_rec_t &actual, const model::Record &expected)
{
    Comparison comparison("client");
    comparison.bytes("sta_mac", actual.sta_mac, expected.sta_mac)
        .bytes("peer_addr1", actual.peer_addr1, expected.peer_addr1)
        .bytes("peer_addr2", actual.peer_addr2, expected.peer_addr2)
        .value("radio_unit", actual.radio_unit, expected.radio_unit)
        .bytes("ssid", actual.ssid, expected.ssid)
        .value("vap", actual.vap, expected.vap)
        .value("roam_flag", actual.roam_flag, expected.roam)
        .value("fbt_flag", actual.fbt_flag, expected.fbt);
    Difference difference = comparison.difference();
    for (size_t bank = 0; bank < 2 && !difference; bank++) {
        for (size_t ac = 0; ac < 4 && !difference; ac++) {
            difference = entry_difference(actual.streams[bank][ac], expected.entries[bank][ac]);
            if (difference) {
                difference = text("bank %zu, access category %zu: ", bank, ac) + *difference;
            }
        }
    }
    return difference ? Difference(client_text(actual) + " " + *difference) : std::nullopt;
}

Difference client_difference(const model::State &expected)
{
    const tspec_rec_t *actual = tspec_cb->rec_head;
    for (const model::Record &record : expected.clients) {
        if (actual == nullptr) {
            return "client " + model::mac_text(record.sta_mac) + " is missing";
        }
        if (auto difference = record_difference(*actual, record)) {
            return difference;
        }
        actual = actual->next;
    }
    return actual == nullptr ? std::nullopt
                             : Difference("client " + client_text(*actual) + " should be gone");
}

Difference config_difference(const tspec_radio_cfg_t &actual, const model::RadioConfig &expected)
{
    return Comparison("configuration")
        .value("tspec_enabled", actual.tspec_enabled, expected.tspec_enabled)
        .values("acm", actual.acm, expected.acm)
        .values("limit_percent", actual.limit_percent, expected.limit_percent)
        .values("fbt_limit_percent", actual.fbt_limit_percent, expected.fbt_limit_percent)
        .value("roam_reserve_percent", actual.roam_reserve_percent, expected.roam_reserve_percent)
        .value("dl_inactivity_timeout", actual.dl_inactivity_timeout,
               expected.dl_inactivity_timeout)
        .value("ul_inactivity_timeout", actual.ul_inactivity_timeout,
               expected.ul_inactivity_timeout)
        .value("radio_param", actual.radio_param, expected.radio_param)
        .difference();
}

bool same_load(const tspec_stats_entry_t &actual, const model::StatsEntry &expected)
{
    return actual.num_active == expected.num_active && actual.num_clients == expected.num_clients &&
           actual.num_roam_clients == expected.num_roam_clients &&
           actual.oper_status == expected.oper_status &&
           actual.med_time_admitted == expected.med_time_admitted &&
           actual.med_time_unalloc == expected.med_time_unalloc &&
           actual.med_time_roam_unalloc == expected.med_time_roam_unalloc;
}

Difference snapshot_difference(const tspec_ac_stats_t &actual, const model::AcStats &expected)
{
    Comparison comparison("snapshot");
    comparison.value("changed", actual.changed, expected.changed)
        .value("num_active", actual.num_active, expected.num_active)
        .value("num_clients", actual.num_clients, expected.num_clients)
        .value("num_roam_clients", actual.num_roam_clients, expected.num_roam_clients);
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        comparison.value("radio is right", same_load(actual.radio[radio], expected.radio[radio]),
                         true);
        for (size_t vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
            comparison.value("vap is right",
                             same_load(actual.vap[radio][vap], expected.vap[radio][vap]), true);
        }
    }
    return comparison.difference();
}

Difference totals_difference(const tspec_ac_totals_t &actual, const model::AcTotals &expected)
{
    return Comparison("totals")
        .value("accepted", actual.tot_accepted, expected.accepted)
        .value("rejected", actual.tot_rejected, expected.rejected)
        .value("roam_accepted", actual.tot_roam_accepted, expected.roam_accepted)
        .value("roam_rejected", actual.tot_roam_rejected, expected.roam_rejected)
        .difference();
}

Difference cursor_difference(const model::Cursor &expected)
{
    const tspec_client_ts_cursor_t &actual = tspec_cb->client_ts_cursor;
    if ((actual.rec == nullptr) != (expected.record == nullptr)) {
        return "dman's walk";
    }
    if (actual.rec == nullptr) {
        return std::nullopt;
    }
    return Comparison("dman's walk")
        .bytes("client", actual.rec->sta_mac, expected.record->sta_mac)
        .value("TID", actual.index, expected.index)
        .difference();
}

Difference block_difference(const model::State &expected)
{
    Comparison comparison("control block");
    comparison.value("ts_count", tspec_cb->ts_count, expected.stream_count)
        .value("disassoc_mode", tspec_cb->disassoc_mode, expected.disassoc_mode)
        .value("ap_state", tspec_cb->ap_state, expected.ap_state)
        .value("trace_mask", tspec_cb->trace_mask, expected.trace_mask)
        .value("violation_interval", tspec_cb->violation_interval, expected.violation_interval)
        .value("violation_report_time", tspec_cb->violation_report_time,
               expected.last_violation_report);
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        comparison
            .values("admitted_med_time", tspec_cb->acu[radio].admitted_med_time,
                    expected.admitted_med_time[radio])
            .values("fbt_admitted_med_time", tspec_cb->acu[radio].fbt_admitted_med_time,
                    expected.fbt_admitted_med_time[radio]);
    }
    return comparison.difference();
}

} // namespace

Difference state_difference(const model::State &expected, const uint8_t *receive_buffer)
{
    Difference difference = block_difference(expected);
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS && !difference; radio++) {
        difference = config_difference(tspec_cb->radio_cfg[radio], expected.config[radio]);
    }
    for (size_t ac = 0; ac < TSPEC_NUM_ACS && !difference; ac++) {
        difference = snapshot_difference(tspec_cb->ac_stats[ac], expected.ac_stats[ac]);
        if (!difference) {
            difference = totals_difference(tspec_cb->ac_totals[ac], expected.ac_totals[ac]);
        }
    }
    if (!difference) {
        difference = client_difference(expected);
    }
    if (!difference) {
        difference = cursor_difference(expected.client_ts_cursor);
    }
    if (!difference && receive_buffer != nullptr &&
        !same_memory(receive_buffer, expected.receive_buffer.data(),
                     expected.receive_buffer.size())) {
        difference = "receive buffer";
    }
    return difference;
}

} // namespace tspec::fuzz
