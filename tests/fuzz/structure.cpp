#include "structure.h"

#include "bytes.h"
#include "plain_bytes.h"

#include "core/control_block.h"

#include <cstddef>
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

// ---- structure

// All but the owner.
bool is_cleared(const tspec_ts_rec_t &entry)
{
    constexpr size_t before = offsetof(tspec_ts_rec_t, owner);
    constexpr size_t after = before + sizeof(entry.owner);
    const auto *bytes = reinterpret_cast<const uint8_t *>(&entry);
    return all_zero(bytes, before) && all_zero(bytes + after, sizeof(entry) - after);
}

Difference broken_entry(const tspec_rec_t &rec, const tspec_ts_rec_t &entry, size_t ac_idx)
{
    if (entry.owner != &rec) {
        return "owner of an entry of client " + client_text(rec);
    }
    if (entry.state > TSPEC_TS_PENDING) {
        return text("state %u of an entry", entry.state);
    }
    if (entry.state == TSPEC_TS_FREE) {
        return is_cleared(entry) ? std::nullopt : Difference("a free entry that is not all zeros");
    }
    if (entry.ac_idx != ac_idx) {
        return text("an entry of access category %zu says %u", ac_idx, entry.ac_idx);
    }
    return std::nullopt;
}

Difference broken_record(const tspec_rec_t &rec)
{
    bool in_use = false;
    for (const auto &bank : rec.streams) {
        for (size_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
            if (auto broken = broken_entry(rec, bank[ac_idx], ac_idx)) {
                return broken;
            }
            in_use = in_use || bank[ac_idx].state != TSPEC_TS_FREE;
        }
    }
    if (!in_use) {
        return "client " + client_text(rec) + " without streams";
    }
    if (rec.radio_unit < 1 || rec.radio_unit > TSPEC_NUM_RADIOS) {
        return text("radio %u of a client", rec.radio_unit);
    }
    if (rec.ssid[TSPEC_SSID_LEN] != 0) {
        return "an SSID without its end";
    }
    return std::nullopt;
}

bool is_known_before(const tspec_rec_t &rec)
{
    for (const tspec_rec_t *other = tspec_cb->rec_head; other != &rec; other = other->next) {
        if (std::memcmp(other->sta_mac, rec.sta_mac, sizeof(rec.sta_mac)) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

Difference broken_structure()
{
    const tspec_client_ts_cursor_t &cursor = tspec_cb->client_ts_cursor;
    const tspec_rec_t *last = nullptr;
    bool cursor_found = cursor.rec == nullptr;
    size_t count = 0;
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        if (++count > 10 * TSPEC_MAX_TS) {
            return "the client list has no end";
        }
        if (auto broken = broken_record(*rec)) {
            return broken;
        }
        if (is_known_before(*rec)) {
            return "client " + client_text(*rec) + " is there twice";
        }
        cursor_found = cursor_found || rec == cursor.rec;
        last = rec;
    }
    if (tspec_cb->rec_tail != last) {
        return "the tail is not the last client";
    }
    if (!cursor_found) {
        return "dman's walk is at a client that is gone";
    }
    if (cursor.rec != nullptr && (cursor.index < 0 || cursor.index > 7)) {
        return text("dman's walk is at TID %d", cursor.index);
    }
    return std::nullopt;
}

} // namespace tspec::fuzz
