#include "mapd/response.h"

#include "core/element.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/text.h"
#include "core/trace.h"
#include "core/ts_info.h"
#include "mapd/superseded.h"
#include "store/access_category.h"
#include "store/client.h"
#include "store/ledger.h"
#include "store/snapshot.h"
#include "store/stream.h"

#include <cstdio>
#include <cstring>

#define TSPEC_TRACE_NAME "tspec_mapd_process"

// Result codes from here on are mapd's own affair and not sent to hostapd.
static constexpr uint8_t FIRST_INTERNAL_RESULT = 4;

namespace {
// What the message says of the stream that it is about.
struct answer_t {
    const tspec_mapd_msg_t &msg;
    uint8_t tid;
    uint8_t dir;
    uint8_t ac_idx;
    uint8_t result_code; // of a response; a deletion counts as refused
};
} // namespace

static tspec_mac_text_t sta_text(const tspec_mapd_msg_t &msg)
{
    return tspec_mac_text(msg.sta_mac);
}

static bool is_well_formed(const uint8_t *msg, uint32_t len)
{
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\r\n");
        return false;
    }
    if (msg[0] != TSPEC_MAPD_MSG) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid message type %u\r\n", msg[0]);
        return false;
    }
    if (len != sizeof(tspec_mapd_msg_t)) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR,
                    "Error in message from MAPD, length mismatch: exp=%d act=%d\r\n",
                    static_cast<int32_t>(sizeof(tspec_mapd_msg_t)), static_cast<int32_t>(len));
        return false;
    }
    const uint8_t radio_unit = msg[offsetof(tspec_mapd_msg_t, radio_unit)];
    if (radio_unit < 1 || radio_unit > TSPEC_NUM_RADIOS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Error in message from MAPD, radio_unit=%u\r\n", radio_unit);
        return false;
    }
    return true;
}

static answer_t parse(const tspec_mapd_msg_t &msg)
{
    const tspec_ts_info_t ts_info = tspec_ts_info_decode(msg.tspec.ts_info);
    TSPEC_TRACE(TSPEC_TRACE_MAPD, " Client=%s AC=%u TID=%u Dir=%u\r\n", sta_text(msg).text,
                msg.ac_idx, ts_info.tid, ts_info.dir);
    const uint8_t result_code =
        msg.cmd == TSPEC_ADDTS_RESP_CMD ? msg.result_code : uint8_t{TSPEC_RESULT_REFUSED};
    return {msg, ts_info.tid, ts_info.dir, msg.ac_idx, result_code};
}

// The client's stream that the message is for: by its own TID, else by that of
// the request it waits with. Null when there is none on the access category.
static tspec_ts_rec_t *find_entry(const answer_t &answer, tspec_rec_t *client)
{
    tspec_ts_rec_t *const same_tid = tspec_rec_ts_find(client, answer.tid, TSPEC_FIND_BY_TID);
    tspec_ts_rec_t *const entry =
        same_tid != nullptr ? same_tid
                            : tspec_rec_ts_find(client, answer.tid, TSPEC_FIND_BY_PENDING);
    return entry != nullptr && entry->ac_idx == answer.ac_idx ? entry : nullptr;
}

static tspec_ts_rec_t *find_stream(const answer_t &answer, tspec_rec_t *client)
{
    const tspec_mapd_msg_t &msg = answer.msg;
    uint32_t place;
    const uint32_t ac_idx = tspec_ac_convert(msg.ac_idx, &place);
    if (ac_idx >= TSPEC_NUM_ACS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid AC %u (mapped to ac_idx %u)\r\n", msg.ac_idx,
                    ac_idx);
        return nullptr;
    }
    if (client == nullptr || !tspec_rec_has_stream(client, ac_idx)) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "No TS record found for client %s on AC %u\n",
                    sta_text(msg).text, msg.ac_idx);
        return nullptr;
    }
    tspec_ts_rec_t *const entry = find_entry(answer, client);
    if (entry == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "No TS info record found for client %s AC %u TID %u\n",
                    sta_text(msg).text, msg.ac_idx, answer.tid);
    }
    return entry;
}

// What hostapd gets for any command: the client's element with what mapd made of
// it. A downlink stream is the access point's own to send, so the client gets no
// time for it.
static tspec_hostapd_msg_t build_reply(const answer_t &answer, const tspec_ts_rec_t &entry)
{
    const tspec_rec_t &client = *entry.owner;
    auto reply = tspec_new_msg<tspec_hostapd_msg_t>(answer.msg.cmd);
    tspec_copy_identity(reply, answer.msg);
    reply.vap = client.vap;
    memcpy(reply.sta_mac, client.sta_mac, sizeof(reply.sta_mac));
    reply.tspec = entry.params.ie;
    memcpy(reply.reserved3, entry.params.reserved, sizeof(reply.reserved3));
    tspec_ie_unpack(&reply.tspec, &answer.msg.tspec);
    if (answer.dir == TSPEC_DIR_DOWNLINK) {
        reply.tspec.medium_time = 0;
    }
    reply.inactivity_timeout = entry.inactivity_timeout;
    reply.tid = entry.tid;
    return reply;
}

static tspec_hostapd_msg_t build_response(const answer_t &answer, const tspec_ts_rec_t &entry)
{
    tspec_hostapd_msg_t reply = build_reply(answer, entry);
    if (answer.result_code < FIRST_INTERNAL_RESULT) {
        reply.result_code = answer.result_code;
    }
    reply.aux_flag = entry.pend.aux_byte;
    reply.aux_byte = entry.pend.aux_byte;
    memcpy(reply.aux_addr, entry.pend.aux_addr, sizeof(reply.aux_addr));
    return reply;
}

static tspec_hostapd_msg_t build_delts(const answer_t &answer, const tspec_ts_rec_t &entry)
{
    tspec_hostapd_msg_t reply = build_reply(answer, entry);
    memcpy(reply.aux_addr, entry.aux_addr, sizeof(reply.aux_addr));
    return reply;
}

// The request becomes the stream.
static void promote(const answer_t &answer, tspec_ts_rec_t &entry)
{
    const tspec_mapd_msg_t &msg = answer.msg;
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "TS Admitted for AC %u TID %u Dir %u, med_time=%u\r\n",
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
    tspec_ledger_update(*entry.owner);
    tspec_ts_status_update(answer.ac_idx);
}

// Completes the reply with what the stream is now.
static void admit(const answer_t &answer, tspec_ts_rec_t &entry, tspec_hostapd_msg_t &reply)
{
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "ADDTS Response: Success\r\n");
    if (tspec_mapd_old_ts_removal(entry.owner, answer.ac_idx, answer.tid) != 0) {
        TSPEC_TRACE(TSPEC_TRACE_MAPD,
                    "Problem cleaning up old TS(s) for TID %u on client %s AC %u\r\n", answer.tid,
                    sta_text(answer.msg).text, answer.msg.ac_idx);
    }
    // The clean-up may have taken the very entry.
    if (entry.state == TSPEC_TS_PENDING || entry.state == TSPEC_TS_ADMITTED) {
        promote(answer, entry);
        reply.inactivity_timeout = entry.inactivity_timeout;
        reply.tid = entry.tid;
    }
}

static int32_t remove_stream(const answer_t &answer, tspec_rec_t *client)
{
    const bool removed = tspec_ts_rec_delete_tid(client, answer.ac_idx, answer.tid) == 0;
    if (!removed) {
        TSPEC_TRACE(TSPEC_TRACE_MAPD, "Unable to delete tspec record for client %s, TID %u\n",
                    sta_text(answer.msg).text, answer.tid);
    }
    tspec_ts_status_update(answer.ac_idx);
    return removed ? 0 : -1;
}

// hostapd must never be without word of a stream that the daemon holds.
static int32_t tell_hostapd(const answer_t &answer, const tspec_hostapd_msg_t &reply)
{
    if (answer.result_code >= FIRST_INTERNAL_RESULT ||
        send_msg_to_other_process(tspec_cb->tspec_sock, TSPEC_HOSTAPD_PORT, &reply,
                                  sizeof(reply)) == 0) {
        return 0;
    }
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "Error sending data to hostapd.\n");
    tspec_ts_rec_delete_tid(answer.msg.sta_mac, answer.ac_idx, answer.tid);
    perror("Error sending data to hostapd.\n");
    return -1;
}

// client: the record as it is now, or null.
static int32_t finish(const answer_t &answer, const tspec_rec_t *client,
                      const tspec_hostapd_msg_t &reply, int32_t rc)
{
    tspec_ap_statistics_update(answer.ac_idx, client, answer.msg.cmd, answer.result_code);
    if (tell_hostapd(answer, reply) < 0) {
        return -1;
    }
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "Exit\r\n");
    return rc;
}

static int32_t end_stream(const answer_t &answer, tspec_rec_t *client,
                          const tspec_hostapd_msg_t &reply)
{
    const int32_t rc = remove_stream(answer, client);
    return finish(answer, tspec_rec_get(answer.msg.sta_mac), reply, rc);
}

static int32_t handle_addts_response(const answer_t &answer, tspec_ts_rec_t &entry)
{
    tspec_rec_t *const client = entry.owner;
    tspec_hostapd_msg_t reply = build_response(answer, entry);
    if (tspec_rec_addts_status_get(answer.result_code) == 0) {
        admit(answer, entry, reply);
        return finish(answer, client, reply, 0);
    }
    TSPEC_TRACE(TSPEC_TRACE_MAPD,
                "ADDTS Response: TSPEC rejected by admission control with result code %u for "
                "client %s TID %u on AC %u\r\n",
                answer.result_code, sta_text(answer.msg).text, answer.tid, answer.msg.ac_idx);
    // A refused renegotiation leaves the admitted stream as it is.
    return entry.state == TSPEC_TS_PENDING ? end_stream(answer, client, reply)
                                           : finish(answer, client, reply, 0);
}

static int32_t handle_delts(const answer_t &answer, tspec_ts_rec_t &entry)
{
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "DELTS message\r\n");
    return end_stream(answer, entry.owner, build_delts(answer, entry));
}

static int32_t handle(const tspec_mapd_msg_t &msg, tspec_rec_t *client)
{
    const answer_t answer = parse(msg);
    tspec_ts_rec_t *const entry = find_stream(answer, client);
    if (entry == nullptr) {
        return -1;
    }
    switch (msg.cmd) {
    case TSPEC_ADDTS_RESP_CMD:
        return handle_addts_response(answer, *entry);
    case TSPEC_DELTS_CMD:
        return handle_delts(answer, *entry);
    default:
        TSPEC_TRACE(TSPEC_TRACE_MAPD, "Invalid command: %u\r\n", msg.cmd);
        return -1;
    }
}

int32_t tspec_mapd_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "Entry\r\n");
    if (!is_well_formed(msg, len)) {
        return -1;
    }
    tspec_mapd_msg_t content;
    memcpy(&content, msg, sizeof(content));
    return handle(content, tspec_rec_get(content.sta_mac));
}

int32_t tspec_mapd_response(const tspec_mapd_msg_t &msg, tspec_rec_t *client)
{
    TSPEC_TRACE(TSPEC_TRACE_MAPD, "Entry\r\n");
    return handle(msg, client);
}
