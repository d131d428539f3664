#include "hostapd/addts.h"

#include "admission/medium_time.h"
#include "core/control_block.h"
#include "core/text.h"
#include "core/trace.h"
#include "driver/station_state.h"
#include "hostapd/booking.h"
#include "hostapd/fast_transition.h"
#include "hostapd/send.h"
#include "mapd/ie.h"
#include "store/access_category.h"
#include "store/client.h"
#include "store/load.h"
#include "store/stream.h"

#include <cstring>

#define ADDTS_TRACE(level, fmt, ...)                                                               \
    TSPEC_TRACE_AS(TSPEC_HOSTAPD_PROCESS, level, fmt __VA_OPT__(, ) __VA_ARGS__)

// What an admitted stream holds already and the request replaces.
namespace {
struct replaced_t {
    uint32_t medium_time;
    uint8_t ac_idx;
};
} // namespace

static int32_t reject(const tspec_hostapd_req_t &req, uint32_t result_code)
{
    return tspec_build_and_send_hostapd_addts_reject_msg(req.msg, req.ac_idx, result_code);
}

// The client has the TID on another access category: it must delete that stream
// first, or wait for the answer to its request.
static int32_t refuse_tid_on_other_ac(const tspec_hostapd_req_t &req, const tspec_ts_rec_t &stream)
{
    if (stream.state == TSPEC_TS_PENDING) {
        ADDTS_TRACE(TSPEC_TRACE_HOSTAPD,
                    "%s:Received ADDTS request while one currently pending for same TID %u but "
                    "different ac_idx %u. Request ignored.\r\n",
                    req.msg.tid, stream.ac_idx);
        return -1;
    }
    ADDTS_TRACE(TSPEC_TRACE_HOSTAPD,
                "%s:Received ADDTS request for existing TID %u but different ac_idx %u (current "
                "ac_idx %u). Sending 'Invalid Parameters' response.\r\n",
                req.msg.tid, req.ac_idx, stream.ac_idx);
    return reject(req, TSPEC_RESULT_INVALID_PARAMETERS);
}

static int32_t refuse_without_medium_time(const tspec_hostapd_req_t &req)
{
    ADDTS_TRACE(TSPEC_TRACE_HOSTAPD,
                "%s:Failed to calculate ADDTS medium time for TID %u on client %s. Sending "
                "'Refused' response.\r\n",
                req.msg.tid, tspec_mac_text(req.msg.sta_mac).text);
    return reject(req, TSPEC_RESULT_REFUSED);
}

static int32_t refuse_above_max_ts(const tspec_hostapd_req_t &req)
{
    ADDTS_TRACE(TSPEC_TRACE_ERROR,
                "%s:MAX TS (%d) allowed per AP exceeded. Sending 'Refused' response.\r\n",
                TSPEC_MAX_TS);
    return reject(req, TSPEC_RESULT_REFUSED);
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
    uint32_t medium_time = tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
    const tspec_ts_rec_t &alternate = entry.owner->streams[TSPEC_BANK_ALTERNATE][req.ac_idx];
    if (alternate.state != TSPEC_TS_FREE && &alternate != &entry &&
        runs_other_way(entry, req.ts_info.dir)) {
        medium_time += alternate.params.ie.medium_time;
    }
    return {medium_time, req.ac_idx};
}

static void book(const tspec_hostapd_req_t &req, tspec_ts_rec_t &entry)
{
    tspec_rec_t &rec = *entry.owner;
    tspec_cb->ts_count++;
    tspec_booking_fill_record(rec, req.msg);
    rec.roam_flag = static_cast<uint8_t>(
        tspec_client_roam_flag_get(req.msg.sta_mac, req.msg.radio_unit, req.msg.vap));
    tspec_booking_fill_entry(entry, req.msg, req.ac_idx, req.ts_info.dir, TSPEC_TS_PENDING);
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
    req.out.prev_medium_time = static_cast<uint16_t>(replaced.medium_time);
    req.out.prev_ac_index = replaced.ac_idx;
}

// Books the request in the store and leaves it in req.out.
static tspec_outcome_t request_stream(tspec_hostapd_req_t &req, tspec_rec_t &rec,
                                      tspec_ts_rec_t *same_tid, uint16_t medium_time)
{
    tspec_ts_rec_t &entry = chosen_entry_for(req, rec, same_tid);
    replaced_t replaced = {0, 0};
    switch (entry.state) {
    case TSPEC_TS_PENDING:
        ADDTS_TRACE(TSPEC_TRACE_ERROR,
                    "%s:Received an ADDTS request for client %s on ac %uwhile one is currently "
                    "pending. Request ignored.\r\n",
                    tspec_mac_text(req.msg.sta_mac).text, req.ac_idx);
        return {tspec_next_t::LEAVE, -1};
    case TSPEC_TS_FREE:
        if (!room_for_stream()) {
            return {tspec_next_t::LEAVE, refuse_above_max_ts(req)};
        }
        book(req, entry);
        break;
    default:
        replaced = replaced_by(req, entry);
        break;
    }
    note_request(req, entry, medium_time);
    fill_out(req, medium_time, replaced);
    return {tspec_next_t::SEND, 0};
}

tspec_outcome_t tspec_hostapd_addts(tspec_hostapd_req_t &req)
{
    const tspec_hostapd_msg_t &msg = req.msg;
    ADDTS_TRACE(TSPEC_TRACE_HOSTAPD, "%s:ADDTS Request message\r\n");
    if (tspec_client_is_associated(msg.sta_mac, msg.radio_unit, msg.vap) != 1) {
        ADDTS_TRACE(TSPEC_TRACE_HOSTAPD,
                    "%s:Received ADDTS request from unassociated client %s. Request ignored.\r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return {tspec_next_t::LEAVE, -1};
    }
    tspec_rec_t *rec = tspec_rec_get_and_survey(msg.sta_mac, req.ac_idx);
    if (rec != nullptr && rec->fbt_flag != 0) {
        tspec_fbt_ts_delete(msg, req.ac_idx, req.len);
        rec = tspec_rec_get(msg.sta_mac);
    }

    tspec_ts_rec_t *const same_tid =
        rec == nullptr ? nullptr : tspec_rec_ts_find(rec, msg.tid, TSPEC_FIND_BY_TID);
    if (same_tid != nullptr && same_tid->ac_idx != req.ac_idx) {
        return {tspec_next_t::LEAVE, refuse_tid_on_other_ac(req, *same_tid)};
    }
    uint16_t medium_time = 0;
    if (req.medium_time_needed && tspec_ts_medium_time_calc(&msg.tspec, msg.radio_unit, msg.vap,
                                                            msg.sta_mac, &medium_time) != 0) {
        return {tspec_next_t::LEAVE, refuse_without_medium_time(req)};
    }
    const bool first_on_ac = rec == nullptr || !tspec_rec_has_stream(rec, req.ac_idx);
    if (first_on_ac && !room_for_stream()) {
        return {tspec_next_t::LEAVE, refuse_above_max_ts(req)};
    }
    if (rec == nullptr) {
        rec = tspec_rec_create(msg.sta_mac);
    } else if (first_on_ac) {
        rec = tspec_rec_add(msg.sta_mac); // traces that it is there
    }
    if (rec == nullptr) {
        ADDTS_TRACE(TSPEC_TRACE_ERROR,
                    "%s:Failed to add tspec_rec to the database for client %s \r\n",
                    tspec_mac_text(msg.sta_mac).text);
        return {tspec_next_t::LEAVE, -1};
    }
    return request_stream(req, *rec, same_tid, medium_time);
}
