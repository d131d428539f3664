#include "mapd/response.h"

#include "core/control_block.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "mapd/ie.h"
#include "mapd/status.h"
#include "mapd/superseded.h"
#include "store/access_category.h"
#include "store/client.h"
#include "store/load.h"
#include "store/stream.h"

#include <cstdio>
#include <cstring>

#define MAPD_TRACE(level, fmt, ...)                                                                \
    TSPEC_TRACE_AS("tspec_mapd_process", level, fmt __VA_OPT__(, ) __VA_ARGS__)

// Result codes from here on are mapd's own affair and not sent to hostapd.
static constexpr uint8_t FIRST_INTERNAL_RESULT = 4;

namespace {
// One message with what it is about.
struct answer_t {
    tspec_mapd_msg_t msg;
    uint8_t tid;
    uint8_t dir;
    uint8_t ac_idx;
    tspec_rec_t *client;
    tspec_ts_rec_t *entry;
    uint8_t result_code;
    tspec_hostapd_msg_t reply;
};

enum class verdict_t : uint8_t { KEEP, REMOVE, INVALID };
} // namespace

static tspec_mac_text_t sta_text(const answer_t &answer)
{
    return tspec_mac_text(answer.msg.sta_mac);
}

// Checks the message's form. Its content is in answer.msg on success.
static int32_t read_message(const uint8_t *msg, uint32_t len, answer_t &answer)
{
    if (msg == nullptr) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:Invalid input parameter\r\n");
        return -1;
    }
    if (msg[0] != TSPEC_MAPD_MSG) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:Invalid message type %u\r\n", msg[0]);
        return -1;
    }
    if (len != sizeof(answer.msg)) {
        MAPD_TRACE(TSPEC_TRACE_ERROR,
                   "%s:Error in message from MAPD, length mismatch: exp=%d act=%d\r\n",
                   static_cast<int32_t>(sizeof(answer.msg)), static_cast<int32_t>(len));
        return -1;
    }
    memcpy(&answer.msg, msg, sizeof(answer.msg));
    if (answer.msg.radio_unit < 1 || answer.msg.radio_unit > TSPEC_NUM_RADIOS) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:Error in message from MAPD, radio_unit=%u\r\n",
                   answer.msg.radio_unit);
        return -1;
    }
    return 0;
}

// The client's stream that the message is for: by its own TID, else by that of
// the request it waits with.
static tspec_ts_rec_t *find_entry(const answer_t &answer)
{
    tspec_ts_rec_t *entry = tspec_rec_ts_find(answer.client, answer.tid, TSPEC_FIND_BY_TID);
    if (entry == nullptr) {
        entry = tspec_rec_ts_find(answer.client, answer.tid, TSPEC_FIND_BY_PENDING);
    }
    const bool fits = entry != nullptr && entry->owner != nullptr && entry->ac_idx == answer.ac_idx;
    return fits ? entry : nullptr;
}

static int32_t find_stream(answer_t &answer)
{
    const tspec_mapd_msg_t &msg = answer.msg;
    const tspec_ts_info_t ts_info = tspec_ts_info_decode(msg.tspec.ts_info);
    answer.tid = ts_info.tid;
    answer.dir = ts_info.dir;
    MAPD_TRACE(TSPEC_TRACE_MAPD, "%s: Client=%s AC=%u TID=%u Dir=%u\r\n", sta_text(answer).text,
               msg.ac_idx, answer.tid, answer.dir);
    uint32_t place;
    const uint32_t ac_idx = tspec_ac_convert(msg.ac_idx, &place);
    if (ac_idx >= TSPEC_NUM_ACS) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:Invalid AC %u (mapped to ac_idx %u)\r\n", msg.ac_idx,
                   ac_idx);
        return -1;
    }
    answer.ac_idx = static_cast<uint8_t>(ac_idx);
    tspec_rec_get_and_survey(msg.sta_mac, ac_idx);
    answer.client = tspec_ts_rec_get(msg.sta_mac, ac_idx);
    if (answer.client == nullptr) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:No TS record found for client %s on AC %u\n",
                   sta_text(answer).text, msg.ac_idx);
        return -1;
    }
    answer.entry = find_entry(answer);
    if (answer.entry == nullptr) {
        MAPD_TRACE(TSPEC_TRACE_ERROR, "%s:No TS info record found for client %s AC %u TID %u\n",
                   sta_text(answer).text, msg.ac_idx, answer.tid);
        return -1;
    }
    return 0;
}

static void copy_identity(answer_t &answer)
{
    tspec_hostapd_msg_t &reply = answer.reply;
    tspec_copy_identity(reply, answer.msg);
    reply.vap = answer.client->vap;
    memcpy(reply.sta_mac, answer.client->sta_mac, sizeof(reply.sta_mac));
}

// The client's element comes back with what mapd made of it. A downlink stream
// is the access point's own to send, so the client gets no time for it.
static void build_reply(answer_t &answer)
{
    const tspec_ts_rec_t &entry = *answer.entry;
    tspec_hostapd_msg_t &reply = answer.reply;
    tspec_start_msg(reply, answer.msg.cmd);
    copy_identity(answer);
    reply.tspec = entry.params.ie;
    reply.aux_flag = entry.params.aux_flag;
    memcpy(reply.reserved3, entry.params.reserved, sizeof(reply.reserved3));
    tspec_ie_unpack(&reply.tspec, &answer.msg.tspec);
    if (answer.dir == TSPEC_DIR_DOWNLINK) {
        reply.tspec.medium_time = 0;
    }
    reply.inactivity_timeout = entry.inactivity_timeout;
    reply.tid = entry.tid;
}

// The request becomes the stream.
static void promote(answer_t &answer)
{
    const tspec_mapd_msg_t &msg = answer.msg;
    tspec_ts_rec_t &entry = *answer.entry;
    MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:TS Admitted for AC %u TID %u Dir %u, med_time=%u\r\n",
               msg.ac_idx, answer.tid, answer.dir, msg.tspec.medium_time);
    entry.aux_byte = entry.pend.aux_byte;
    memcpy(entry.aux_addr, entry.pend.aux_addr, sizeof(entry.aux_addr));
    tspec_ts_rec_pending_reset(&entry);
    entry.state = TSPEC_TS_ADMITTED;
    entry.tid = answer.tid;
    entry.ac_idx = answer.ac_idx;
    entry.dir = answer.dir;
    entry.inactivity_timeout = tspec_ts_inactivity_timeout_get(msg.radio_unit - 1U, answer.dir);
    tspec_ie_unpack(&entry.params.ie, &msg.tspec);
    tspec_rec_load_update(*entry.owner, answer.ac_idx);
    answer.reply.inactivity_timeout = entry.inactivity_timeout;
    answer.reply.tid = entry.tid;
    tspec_ts_status_update(answer.ac_idx);
}

static void admit(answer_t &answer)
{
    MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:ADDTS Response: Success\r\n");
    if (tspec_mapd_old_ts_removal(answer.client, answer.ac_idx, answer.tid) != 0) {
        MAPD_TRACE(TSPEC_TRACE_MAPD,
                   "%s:Problem cleaning up old TS(s) for TID %u on client %s AC %u\r\n", answer.tid,
                   sta_text(answer).text, answer.msg.ac_idx);
    }
    // The clean-up may have taken the very entry.
    if (answer.entry->state == TSPEC_TS_PENDING || answer.entry->state == TSPEC_TS_ADMITTED) {
        promote(answer);
    }
}

static verdict_t handle_addts_response(answer_t &answer)
{
    const tspec_ts_rec_t &entry = *answer.entry;
    answer.result_code = answer.msg.result_code;
    if (answer.result_code < FIRST_INTERNAL_RESULT) {
        answer.reply.result_code = answer.result_code;
    }
    answer.reply.aux_flag = entry.pend.aux_byte;
    answer.reply.aux_byte = entry.pend.aux_byte;
    memcpy(answer.reply.aux_addr, entry.pend.aux_addr, sizeof(answer.reply.aux_addr));
    if (tspec_rec_addts_status_get(answer.result_code) == 0) {
        admit(answer);
        return verdict_t::KEEP;
    }
    MAPD_TRACE(TSPEC_TRACE_MAPD,
               "%s:ADDTS Response: TSPEC rejected by admission control with result code %u for "
               "client %s TID %u on AC %u\r\n",
               answer.result_code, sta_text(answer).text, answer.tid, answer.msg.ac_idx);
    // A refused renegotiation leaves the admitted stream as it is.
    return entry.state == TSPEC_TS_PENDING ? verdict_t::REMOVE : verdict_t::KEEP;
}

static verdict_t handle_delts(answer_t &answer)
{
    MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:DELTS message\r\n");
    memcpy(answer.reply.aux_addr, answer.entry->aux_addr, sizeof(answer.reply.aux_addr));
    answer.reply.aux_byte = 0;
    answer.reply.aux_flag = 0;
    return verdict_t::REMOVE;
}

static verdict_t handle_command(answer_t &answer)
{
    switch (answer.msg.cmd) {
    case TSPEC_ADDTS_RESP_CMD:
        return handle_addts_response(answer);
    case TSPEC_DELTS_CMD:
        return handle_delts(answer);
    default:
        MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:Invalid command: %u\r\n", answer.msg.cmd);
        return verdict_t::INVALID;
    }
}

static int32_t remove_stream(const answer_t &answer)
{
    int32_t rc = 0;
    if (tspec_rec_ts_delete_tid(answer.client, answer.ac_idx, answer.tid) != 0) {
        MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:Unable to delete tspec record for client %s, TID %u\n",
                   sta_text(answer).text, answer.tid);
        rc = -1;
    }
    tspec_ts_status_update(answer.ac_idx);
    return rc;
}

// hostapd must never be without word of a stream that the daemon holds.
static int32_t tell_hostapd(const answer_t &answer)
{
    if (send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_HOSTAPD_PORT, &answer.reply,
                                  sizeof(answer.reply)) == 0) {
        return 0;
    }
    MAPD_TRACE(TSPEC_TRACE_MAPD, "%s:Error sending data to hostapd.\n");
    tspec_ts_rec_delete_tid(answer.msg.sta_mac, answer.ac_idx, answer.tid);
    perror("Error sending data to hostapd.\n");
    return -1;
}

int32_t tspec_mapd_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "%s:Entry\r\n");
    answer_t answer;
    if (read_message(msg, len, answer) < 0 || find_stream(answer) < 0) {
        return -1;
    }
    answer.result_code = TSPEC_RESULT_REFUSED;
    build_reply(answer);
    const verdict_t verdict = handle_command(answer);
    if (verdict == verdict_t::INVALID) {
        return -1;
    }
    const int32_t rc = verdict == verdict_t::REMOVE ? remove_stream(answer) : 0;
    // Only the removal may have taken the client's record.
    const tspec_rec_t *const client =
        verdict == verdict_t::REMOVE ? tspec_rec_get(answer.msg.sta_mac) : answer.client;
    tspec_rec_statistics_update(answer.ac_idx, client, answer.msg.cmd, answer.result_code);
    if (answer.result_code < FIRST_INTERNAL_RESULT && tell_hostapd(answer) < 0) {
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "%s:Exit\r\n");
    return rc;
}
