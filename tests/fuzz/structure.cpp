#include "structure.h"

#include "bytes.h"
#include "core/control_block.h"
#include "plain_bytes.h"

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

// What the records add up to, by the entries alone.
struct Sums {
    uint32_t num_active = 0;
    uint32_t num_clients = 0;
    uint32_t num_roam_clients = 0;
    uint32_t med_time = 0;

    bool operator==(const Sums &) const = default;

    void add(const tspec_rec_t &rec, size_t ac_idx)
    {
        if (rec.streams[TSPEC_BANK_PRIMARY][ac_idx].state != TSPEC_TS_ADMITTED) {
            return;
        }
        num_clients++;
        num_roam_clients += rec.roam_flag != 0 ? 1 : 0;
        for (const auto &bank : rec.streams) {
            const tspec_ts_rec_t &entry = bank[ac_idx];
            if (entry.state == TSPEC_TS_ADMITTED) {
                num_active++;
                med_time +=
                    entry.params.ie.medium_time * (entry.dir == TSPEC_DIR_BIDIRECTIONAL ? 2U : 1U);
            }
        }
    }
};

Sums figures(const tspec_stats_entry_t &entry)
{
    return {entry.num_active, entry.num_clients, entry.num_roam_clients, entry.med_time_admitted};
}

struct Expected {
    Sums access_point;
    Sums radio[TSPEC_NUM_RADIOS];
    Sums vap[TSPEC_NUM_RADIOS][TSPEC_VAPS_PER_RADIO];
};

Expected walk(size_t ac_idx)
{
    Expected expected;
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        const size_t radio = rec->radio_unit - 1U;
        expected.access_point.add(*rec, ac_idx);
        expected.radio[radio].add(*rec, ac_idx);
        if (rec->vap < TSPEC_VAPS_PER_RADIO) {
            expected.vap[radio][rec->vap].add(*rec, ac_idx);
        }
    }
    expected.access_point.med_time = 0; // has no such figure
    return expected;
}

Difference broken_ledger(size_t ac_idx)
{
    const tspec_ac_stats_t &ledger = tspec_cb->ledger[ac_idx];
    const Expected expected = walk(ac_idx);
    if (expected.access_point !=
        Sums{ledger.num_active, ledger.num_clients, ledger.num_roam_clients, 0}) {
        return text("the ledger of access category %zu", ac_idx);
    }
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        if (expected.radio[radio] != figures(ledger.radio[radio])) {
            return text("the ledger of access category %zu on radio %zu", ac_idx, radio);
        }
        for (size_t vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
            if (expected.vap[radio][vap] != figures(ledger.vap[radio][vap])) {
                return text("the ledger of access category %zu on radio %zu, VAP %zu", ac_idx,
                            radio, vap);
            }
        }
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
        if (rec->previous != last) {
            return "client " + client_text(*rec) + " does not know who is before it";
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
    for (size_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (auto broken = broken_ledger(ac_idx)) {
            return broken;
        }
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
