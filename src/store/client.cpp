#include "store/client.h"

#include "core/text.h"
#include "core/trace.h"
#include "store/ledger.h"

#include <cstdlib>
#include <cstring>

#define TSPEC_TRACE_NAME __func__

tspec_rec_t *tspec_rec_get(const uint8_t *mac)
{
    if (mac == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameters\r\n");
        return nullptr;
    }
    tspec_rec_t *rec = tspec_cb->rec_head;
    while (rec != nullptr && memcmp(rec->sta_mac, mac, TSPEC_MAC_LEN) != 0) {
        rec = rec->next;
    }
    return rec;
}

static void own_entries(tspec_rec_t *rec)
{
    for (auto &bank : rec->streams) {
        for (tspec_ts_rec_t &entry : bank) {
            entry.owner = rec;
        }
    }
}

static void append(tspec_rec_t *rec)
{
    rec->previous = tspec_cb->rec_tail;
    if (rec->previous == nullptr) {
        tspec_cb->rec_head = rec;
    } else {
        rec->previous->next = rec;
    }
    tspec_cb->rec_tail = rec;
}

tspec_rec_t *tspec_rec_add(const uint8_t *mac)
{
    if (mac == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameters\r\n");
        return nullptr;
    }
    return tspec_rec_add(mac, tspec_rec_get(mac));
}

tspec_rec_t *tspec_rec_add(const uint8_t *mac, tspec_rec_t *found)
{
    if (found != nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_INFO, "TSPEC record already exists for client %s\r\n",
                    tspec_mac_text(mac).text);
        return found;
    }
    auto *const rec = static_cast<tspec_rec_t *>(calloc(1, sizeof(tspec_rec_t)));
    if (rec == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_INFO, "Cannot allocate new TSPEC record for client %s\r\n",
                    tspec_mac_text(mac).text);
        return nullptr;
    }
    own_entries(rec);
    append(rec);
    return rec;
}

static bool is_in_list(const tspec_rec_t *rec)
{
    return rec->previous != nullptr || tspec_cb->rec_head == rec;
}

static void unlink(tspec_rec_t *rec)
{
    (rec->previous == nullptr ? tspec_cb->rec_head : rec->previous->next) = rec->next;
    (rec->next == nullptr ? tspec_cb->rec_tail : rec->next->previous) = rec->previous;
}

// dman's walk must not go on from a record that is gone.
static void take_cursor_off(const tspec_rec_t *rec)
{
    tspec_client_ts_cursor_t &cursor = tspec_cb->client_ts_cursor;
    if (cursor.rec == rec) {
        cursor = {nullptr, -1};
    }
}

int32_t tspec_rec_delete(tspec_rec_t *rec)
{
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Entry\r\n");
    if (rec == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Exit - Invalid input parameter\r\n");
        return -1;
    }
    if (is_in_list(rec)) {
        unlink(rec);
        take_cursor_off(rec);
        tspec_ledger_remove(*rec);
        explicit_bzero(rec, sizeof(*rec)); // a memset before free would be left out
        free(rec);
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "Exit - Success\r\n");
    return 0;
}

bool tspec_rec_is_empty(const tspec_rec_t *rec)
{
    for (const auto &bank : rec->streams) {
        for (const tspec_ts_rec_t &entry : bank) {
            if (entry.state != TSPEC_TS_FREE) {
                return false;
            }
        }
    }
    return true;
}
