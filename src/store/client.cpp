#include "store/client.h"

#include "core/text.h"
#include "core/trace.h"

#include <cstdlib>
#include <cstring>

tspec_rec_t *tspec_rec_get(const uint8_t *mac)
{
    if (mac == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Invalid input parameters\r\n");
        return nullptr;
    }
    tspec_rec_found_t &found = tspec_cb->rec_found;
    if (found.rec != nullptr && tspec_rec_is_of(*found.rec, mac)) {
        return found.rec;
    }
    tspec_rec_t *previous = nullptr;
    for (tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        if (tspec_rec_is_of(*rec, mac)) {
            found = {rec, previous};
            tspec_cb->load_survey.valid = 0; // it left out another client
            return rec;
        }
        previous = rec;
    }
    return nullptr;
}

void tspec_rec_found_forget()
{
    tspec_cb->rec_found = {};
    tspec_cb->load_survey.valid = 0;
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
    if (tspec_cb->rec_head == nullptr) {
        tspec_cb->rec_head = rec;
    } else {
        tspec_cb->rec_tail->next = rec;
    }
    if (tspec_cb->rec_found.rec != nullptr) {
        tspec_cb->load_survey.valid = 0;
    }
    tspec_cb->rec_found = {rec, tspec_cb->rec_tail};
    tspec_cb->rec_tail = rec;
}

tspec_rec_t *tspec_rec_create(const uint8_t *mac)
{
    auto *const rec = static_cast<tspec_rec_t *>(calloc(1, sizeof(tspec_rec_t)));
    if (rec == nullptr) {
        TSPEC_TRACE_AS("tspec_rec_add", TSPEC_TRACE_INFO,
                       "%s:Cannot allocate new TSPEC record for client %s\r\n",
                       tspec_mac_text(mac).text);
        return nullptr;
    }
    own_entries(rec);
    append(rec);
    return rec;
}

tspec_rec_t *tspec_rec_add(const uint8_t *mac)
{
    if (mac == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Invalid input parameters\r\n");
        return nullptr;
    }
    tspec_rec_t *const rec = tspec_rec_get(mac);
    if (rec == nullptr) {
        return tspec_rec_create(mac);
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:TSPEC record already exists for client %s\r\n",
                tspec_mac_text(mac).text);
    return rec;
}

// Stores the record in front. False when the record is not in the list.
static bool find_previous(const tspec_rec_t *rec, tspec_rec_t *&previous)
{
    if (tspec_cb->rec_found.rec == rec) {
        previous = tspec_cb->rec_found.previous;
        return true;
    }
    previous = nullptr;
    for (tspec_rec_t *at = tspec_cb->rec_head; at != rec; at = at->next) {
        if (at == nullptr) {
            return false;
        }
        previous = at;
    }
    return true;
}

// Takes the record off the list. False when it is not in the list.
static bool unlink(tspec_rec_t *rec)
{
    tspec_rec_t *previous;
    if (!find_previous(rec, previous)) {
        return false;
    }
    if (tspec_cb->rec_found.rec != rec) {
        tspec_cb->load_survey.valid = 0;
    }
    tspec_cb->rec_found = {};
    if (previous == nullptr) {
        tspec_cb->rec_head = rec->next;
    } else {
        previous->next = rec->next;
    }
    if (tspec_cb->rec_tail == rec) {
        tspec_cb->rec_tail = previous;
    }
    return true;
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
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Entry\r\n");
    if (rec == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "%s:Exit - Invalid input parameter\r\n");
        return -1;
    }
    if (unlink(rec)) {
        take_cursor_off(rec);
        explicit_bzero(rec, sizeof(*rec)); // a memset before free would be left out
        free(rec);
    }
    TSPEC_TRACE(TSPEC_TRACE_INFO, "%s:Exit - Success\r\n");
    return 0;
}

int32_t tspec_rec_is_empty(const tspec_rec_t *rec)
{
    for (const auto &bank : rec->streams) {
        for (const tspec_ts_rec_t &entry : bank) {
            if (entry.state != TSPEC_TS_FREE) {
                return 0;
            }
        }
    }
    return 1;
}
