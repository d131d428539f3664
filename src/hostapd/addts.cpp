#include "hostapd/addts.h"

#include "admission/medium_time.h"
#include "core/control_block.h"
#include "core/element.h"
#include "core/text.h"
#include "core/trace.h"
#include "driver/station_state.h"
#include "hostapd/booking.h"
#include "hostapd/fast_transition.h"
#include "hostapd/send.h"
#include "store/client.h"
#include "store/ledger.h"
#include "store/stream.h"

#include <cstring>
#include <optional>

#define TSPEC_TRACE_NAME "tspec_hostapd_process"

// What an admitted stream holds already and the request replaces.
namespace {
struct replaced_t {
    uint16_t medium_time;
    uint8_t ac_idx;
};
} // namespace

static tspec_outcome_t reject(const tspec_hostapd_req_t &req, uint32_t result_code)
{
    return tspec_leave(
        tspec_build_and_send_hostapd_addts_reject_msg(req.msg, req.ac_idx, result_code));
}

static tspec_outcome_t ignore_unassociated(const tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                "Received ADDTS request from unassociated client %s. Request ignored.\r\n",
                tspec_mac_text(req.msg.sta_mac).text);
    return tspec_leave(-1);
}

// The client has the TID on another access category: it must delete that stream
// first, or wait for the answer to its request.
static tspec_outcome_t refuse_tid_on_other_ac(const tspec_hostapd_req_t &req,
                                              const tspec_ts_rec_t &stream)
{
    if (stream.state == TSPEC_TS_PENDING) {
        TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                    "Received ADDTS request while one currently pending for same TID %u but "
                    "different ac_idx %u. Request ignored.\r\n",
                    req.msg.tid, stream.ac_idx);
        return tspec_leave(-1);
    }
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                "Received ADDTS request for existing TID %u but different ac_idx %u (current "
                "ac_idx %u). Sending 'Invalid Parameters' response.\r\n",
                req.msg.tid, req.ac_idx, stream.ac_idx);
    return reject(req, TSPEC_RESULT_INVALID_PARAMETERS);
}

static tspec_outcome_t refuse_without_medium_time(const tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD,
                "Failed to calculate ADDTS medium time for TID %u on client %s. Sending "
                "'Refused' response.\r\n",
                req.msg.tid, tspec_mac_text(req.msg.sta_mac).text);
    return reject(req, TSPEC_RESULT_REFUSED);
}

static tspec_outcome_t refuse_above_max_ts(const tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_ERROR,
                "MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n",
                TSPEC_MAX_TS);
    return reject(req, TSPEC_RESULT_REFUSED);
}

static tspec_outcome_t ignore_without_record(const tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_ERROR, "Failed to add tspec_rec to the database for client %s \r\n",
                tspec_mac_text(req.msg.sta_mac).text);
    return tspec_leave(-1);
}

static tspec_outcome_t ignore_while_pending(const tspec_hostapd_req_t &req)
{
    TSPEC_TRACE(TSPEC_TRACE_ERROR,
                "Received an ADDTS request for client %s on ac %uwhile one is currently "
                "pending. Request ignored.\r\n",
                tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
    return tspec_leave(-1);
}

static bool room_for_stream()
{
    return tspec_cb->ts_count < TSPEC_MAX_TS;
}

static bool runs_other_way(const tspec_ts_rec_t &entry, uint8_t dir)
{
    return entry.dir != TSPEC_DIR_BIDIRECTIONAL && entry.dir != dir;
}

// The entry that the request is for. A one-way stream whose TID is new goes to
// the alternate entry when the primary one runs the other way.
static tspec_ts_rec_t &chosen_entry_for(const tspec_hostapd_req_t &req, tspec_rec_t &rec,
                                        tspec_ts_rec_t *same_tid)
{
    tspec_ts_rec_t &primary = rec.streams[TSPEC_BANK_PRIMARY][req.ac_idx];
    const uint8_t dir = req.ts_info.dir;
    if (dir == TSPEC_DIR_BIDIRECTIONAL) {
        return primary;
    }
    if (same_tid != nullptr) {
        return same_tid->dir == dir ? *same_tid : primary;
    }
    if (primary.state != TSPEC_TS_FREE && runs_other_way(primary, dir)) {
        return rec.streams[TSPEC_BANK_ALTERNATE][req.ac_idx];
    }
    return primary;
}

// A renegotiation replaces the entry's stream, and with a change of direction
// also the alternate one that no longer fits beside it.
static replaced_t replaced_by(const tspec_hostapd_req_t &req, const tspec_ts_rec_t &entry)
{
    if (entry.state == TSPEC_TS_FREE) {
        return {0, 0};
    }
    const tspec_ts_rec_t &alternate = entry.owner->streams[TSPEC_BANK_ALTERNATE][req.ac_idx];
    const bool ends_alternate = alternate.state != TSPEC_TS_FREE && &alternate != &entry &&
                                runs_other_way(entry, req.ts_info.dir);
    const uint32_t medium_time =
        tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir) +
        (ends_alternate ? alternate.params.ie.medium_time : 0U);
    return {static_cast<uint16_t>(medium_time), req.ac_idx};
}

static void book(const tspec_hostapd_req_t &req, tspec_ts_rec_t &entry)
{
    tspec_rec_t &rec = *entry.owner;
    tspec_cb->ts_count++;
    tspec_booking_fill_record(rec, req.msg);
    rec.roam_flag = tspec_client_roam_flag_get(req.msg.sta_mac, req.msg.radio_unit, req.msg.vap);
    tspec_booking_fill_entry(entry, req.msg, req.ac_idx, req.ts_info.dir, TSPEC_TS_PENDING);
    tspec_ledger_update(rec); // streams on other access categories move with the client
}

static void note_request(const tspec_hostapd_req_t &req, tspec_ts_rec_t &entry,
                         uint16_t medium_time)
{
    entry.pend.tid = req.msg.tid;
    entry.pend.dir = req.ts_info.dir;
    entry.pend.aux_byte = req.msg.aux_byte;
    memcpy(entry.pend.aux_addr, req.msg.aux_addr, sizeof(entry.pend.aux_addr));
    if (entry.state == TSPEC_TS_PENDING) {
        entry.params.ie.medium_time = medium_time;
    }
}

static void fill_out(tspec_hostapd_req_t &req, uint16_t medium_time, const replaced_t &replaced)
{
    req.out.cmd = TSPEC_ADDTS_REQ_CMD;
    tspec_ie_pack(&req.out.tspec, &req.msg.tspec);
    req.out.tspec.medium_time = medium_time;
    req.out.prev_medium_time = replaced.medium_time;
    req.out.prev_ac_index = replaced.ac_idx;
}

// The client's record, or null. A client that came by fast transition and asks for
// itself now first loses the streams that were booked for it.
static tspec_rec_t *client_of(const tspec_hostapd_req_t &req)
{
    tspec_rec_t *const rec = tspec_rec_get(req.msg.sta_mac);
    const bool dropped = rec != nullptr && tspec_fbt_ts_delete(rec, req.msg, req.ac_idx, req.len);
    return dropped ? tspec_rec_get(req.msg.sta_mac) : rec;
}

// 0 where admission is not mandatory, nothing where hostapd does not say what it needs.
static std::optional<uint16_t> medium_time_for(const tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    uint16_t medium_time = 0;
    if (req.medium_time_needed && tspec_ts_medium_time_calc(&msg.tspec, msg.radio_unit, msg.vap,
                                                            msg.sta_mac, &medium_time) != 0) {
        return std::nullopt;
    }
    return medium_time;
}

tspec_outcome_t tspec_hostapd_addts(tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    TSPEC_TRACE(TSPEC_TRACE_HOSTAPD, "ADDTS Request message\r\n");
    if (!tspec_client_is_associated(msg.sta_mac, msg.radio_unit, msg.vap)) {
        return ignore_unassociated(req);
    }
    tspec_rec_t *const known = client_of(req);
    tspec_ts_rec_t *const same_tid =
        known == nullptr ? nullptr : tspec_rec_ts_find(known, msg.tid, TSPEC_FIND_BY_TID);
    if (same_tid != nullptr && same_tid->ac_idx != req.ac_idx) {
        return refuse_tid_on_other_ac(req, *same_tid);
    }
    const std::optional<uint16_t> medium_time = medium_time_for(req);
    if (!medium_time) {
        return refuse_without_medium_time(req);
    }
    const bool first_on_ac = known == nullptr || !tspec_rec_has_stream(known, req.ac_idx);
    if (first_on_ac && !room_for_stream()) {
        return refuse_above_max_ts(req);
    }
    tspec_rec_t *const rec = first_on_ac ? tspec_rec_add(msg.sta_mac, known) : known;
    if (rec == nullptr) {
        return ignore_without_record(req);
    }
    tspec_ts_rec_t &entry = chosen_entry_for(req, *rec, same_tid);
    if (entry.state == TSPEC_TS_PENDING) {
        return ignore_while_pending(req);
    }
    const bool is_new = entry.state == TSPEC_TS_FREE;
    if (is_new && !room_for_stream()) {
        return refuse_above_max_ts(req);
    }
    const replaced_t replaced = replaced_by(req, entry);
    if (is_new) {
        book(req, entry);
    }
    note_request(req, entry, *medium_time);
    fill_out(req, *medium_time, replaced);
    return tspec_send_on(0, rec);
}
