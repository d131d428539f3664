// Client records in the order of their arrival, each with two banks of four streams.
#include "daemon.h"

#include <algorithm>

namespace tspec::model {

namespace {

void clear_entry(Entry &entry, Record &owner)
{
    entry = Entry{};
    entry.owner = &owner;
}

bool is_empty(const Record &record)
{
    for (const auto &bank : record.entries) {
        for (const Entry &entry : bank) {
            if (entry.in_use()) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

Record *Daemon::rec_get(const Mac &mac)
{
    for (Record &record : state_.clients) {
        if (record.sta_mac == mac) {
            return &record;
        }
    }
    return nullptr;
}

Record *Daemon::rec_add(const Mac &mac)
{
    if (Record *existing = rec_get(mac)) {
        trace(1, "%s:TSPEC record already exists for client %s\r\n", "tspec_rec_add",
              mac_text(mac).c_str());
        return existing;
    }
    if (environment_.out_of_memory()) {
        trace(1, "%s:Cannot allocate new TSPEC record for client %s\r\n", "tspec_rec_add",
              mac_text(mac).c_str());
        return nullptr;
    }
    Record &record = state_.clients.emplace_back();
    for (auto &bank : record.entries) {
        for (Entry &entry : bank) {
            clear_entry(entry, record);
        }
    }
    return &record;
}

int Daemon::rec_delete(Record *record)
{
    trace(1, "%s:Entry\r\n", "tspec_rec_delete");
    if (record == nullptr) {
        trace(2, "%s:Exit - Invalid input parameter\r\n", "tspec_rec_delete");
        return -1;
    }
    if (state_.client_ts_cursor.record == record) {
        state_.client_ts_cursor.record = nullptr;
    }
    state_.clients.remove_if([&](const Record &other) { return &other == record; });
    trace(1, "%s:Exit - Success\r\n", "tspec_rec_delete");
    return 0;
}

Record *Daemon::ts_rec_get(const Mac &mac, uint8_t ac_idx)
{
    Record *record = rec_get(mac);
    if (record == nullptr) {
        return nullptr;
    }
    const bool used = record->entries[0][ac_idx].in_use() || record->entries[1][ac_idx].in_use();
    return used ? record : nullptr;
}

// mode 0 matches the stream's own TID, mode 1 that of its pending request.
Entry *Daemon::rec_ts_find(Record &record, uint8_t tid, int mode)
{
    for (int ac = 0; ac < 4; ac++) {
        for (int bank = 0; bank < 2; bank++) {
            Entry &entry = record.entries[bank][ac];
            const uint8_t key = mode == 0 ? entry.tid : entry.pend_tid;
            if (entry.in_use() && key == tid) {
                return &entry;
            }
        }
    }
    return nullptr;
}

const Entry *Daemon::rec_ts_find(const Record &record, uint8_t tid) const
{
    for (int ac = 0; ac < 4; ac++) {
        for (int bank = 0; bank < 2; bank++) {
            const Entry &entry = record.entries[bank][ac];
            if (entry.in_use() && entry.tid == tid) {
                return &entry;
            }
        }
    }
    return nullptr;
}

Entry *Daemon::ts_rec_find_by_tid(const Mac &mac, uint8_t tid, int mode)
{
    Record *record = rec_get(mac);
    return record == nullptr ? nullptr : rec_ts_find(*record, tid, mode);
}

int Daemon::ts_rec_delete_tid(const Mac &mac, uint8_t ac_idx, uint8_t tid)
{
    Record *record = ts_rec_get(mac, ac_idx);
    if (record == nullptr) {
        trace(2, "%s:Failed to find tspec record for client %s with AC %u\r\n",
              "tspec_ts_rec_delete_tid", mac_text(mac).c_str(), ac_idx);
        return -1;
    }
    Entry *entry = rec_ts_find(*record, tid, 0);
    if (entry == nullptr || entry->ac_idx != ac_idx) {
        return 0;
    }
    entry->state = entry_free;
    Entry &alternate = record->entries[1][ac_idx];
    if (alternate.in_use()) {
        *entry = alternate;
        entry = &alternate;
    }
    clear_entry(*entry, *record);
    if (is_empty(*record)) {
        rec_delete(record);
    }
    state_.stream_count = static_cast<uint16_t>(state_.stream_count - 1);
    return 0;
}

int Daemon::ts_rec_delete(const Mac &mac, uint8_t ac_idx)
{
    Record *record = ts_rec_get(mac, ac_idx);
    if (record == nullptr) {
        trace(2, "%s:Failed to find tspec record for client %s with AC %u\r\n",
              "tspec_ts_rec_delete", mac_text(mac).c_str(), ac_idx);
        return -1;
    }
    int counted = 0;
    for (int bank = 0; bank < 2; bank++) {
        Entry &entry = record->entries[bank][ac_idx];
        if (entry.in_use()) {
            counted++;
        }
        clear_entry(entry, *record);
    }
    if (is_empty(*record)) {
        rec_delete(record);
    }
    state_.stream_count = static_cast<uint16_t>(state_.stream_count - counted);
    return 0;
}

void Daemon::cursor_first()
{
    state_.client_ts_cursor = Cursor{nullptr, -1};
    cursor_next();
}

void Daemon::cursor_next()
{
    Cursor &cursor = state_.client_ts_cursor;
    auto at = std::find_if(state_.clients.begin(), state_.clients.end(),
                           [&](const Record &record) { return &record == cursor.record; });
    if (cursor.record == nullptr) {
        at = state_.clients.begin();
        cursor.index = -1;
    }
    while (at != state_.clients.end()) {
        cursor.index++;
        if (cursor.index >= 8) {
            ++at;
            cursor.index = -1;
            continue;
        }
        if (rec_ts_find(*at, static_cast<uint8_t>(cursor.index)) != nullptr) {
            cursor.record = &*at;
            return;
        }
    }
    cursor.record = nullptr;
}

uint32_t Daemon::inactivity_timeout_get(size_t radio_index, uint8_t dir) const
{
    const RadioConfig &config = state_.config[radio_index];
    const uint32_t down = config.dl_inactivity_timeout;
    const uint32_t up = config.ul_inactivity_timeout;
    switch (dir) {
    case uplink:
        return up;
    case downlink:
        return down;
    case bidirectional:
        return down != 0 && up != 0 ? std::max(down, up) : 0;
    default:
        return 0;
    }
}

} // namespace tspec::model
