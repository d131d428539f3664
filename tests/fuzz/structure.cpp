#include "structure.h"

#include "bytes.h"
#include "plain_bytes.h"

#include "core/control_block.h"

#include <algorithm>
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

Difference broken_load(const tspec_rec_t &rec, size_t ac_idx)
{
    uint32_t streams = 0;
    uint32_t time = 0;
    for (const auto &bank : rec.streams) {
        const tspec_ts_rec_t &entry = bank[ac_idx];
        if (entry.state == TSPEC_TS_ADMITTED) {
            const bool both_ways = entry.dir == TSPEC_DIR_BIDIRECTIONAL;
            streams++;
            time += entry.params.ie.medium_time * (both_ways ? 2U : 1U);
        }
    }
    if (rec.streams[TSPEC_BANK_PRIMARY][ac_idx].state != TSPEC_TS_ADMITTED) {
        streams = time = 0;
    }
    const uint32_t num_active = rec.load.num_active[ac_idx];
    const uint32_t med_time = rec.load.med_time[ac_idx];
    if (num_active == streams && med_time == time) {
        return std::nullopt;
    }
    return text("a load of %u streams and %u on access category %zu instead of %u and %u",
                num_active, med_time, ac_idx, streams, time);
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
    for (size_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (auto broken = broken_load(rec, ac_idx)) {
            return broken;
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

// A survey that holds must be what a walk would find now.
Difference broken_survey()
{
    const tspec_load_survey_t &survey = tspec_cb->load_survey;
    if (survey.valid == 0) {
        return std::nullopt;
    }
    tspec_load_sum_t expected[TSPEC_NUM_RADIOS][TSPEC_VAPS_PER_RADIO + 1]{};
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        const uint32_t num_active = rec->load.num_active[survey.ac_idx];
        if (rec == tspec_cb->rec_found.rec || num_active == 0) {
            continue;
        }
        const size_t place = std::min<size_t>(rec->vap, TSPEC_VAPS_PER_RADIO);
        tspec_load_sum_t &sum = expected[rec->radio_unit - 1][place];
        sum.num_active += num_active;
        sum.num_clients++;
        sum.num_roam_clients += rec->roam_flag;
        sum.med_time += rec->load.med_time[survey.ac_idx];
    }
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        for (size_t place = 0; place <= TSPEC_VAPS_PER_RADIO; place++) {
            const bool in_use = expected[radio][place].num_clients != 0;
            if (std::memcmp(&expected[radio][place], &survey.by_vap[radio][place],
                            sizeof(tspec_load_sum_t)) != 0 ||
                ((survey.in_use[radio] >> place & 1U) != 0) != in_use) {
                return text("the survey of access category %u on radio %zu, VAP %zu", survey.ac_idx,
                            radio, place);
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
    const tspec_rec_found_t &found = tspec_cb->rec_found;
    const tspec_rec_t *last = nullptr;
    bool client_found = found.rec == nullptr;
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
        client_found = client_found || (rec == found.rec && last == found.previous);
        last = rec;
    }
    if (tspec_cb->rec_tail != last) {
        return "the tail is not the last client";
    }
    if (auto broken = broken_survey()) {
        return broken;
    }
    if (!client_found) {
        return "the client found last is gone or moved";
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
