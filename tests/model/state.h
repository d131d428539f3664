/*
 * Everything that the daemon remembers between two datagrams.
 */
#ifndef TSPEC_MODEL_STATE_H
#define TSPEC_MODEL_STATE_H

#include "bytes.h"
#include "layout.h"

#include <array>
#include <list>

namespace tspec::model {

enum EntryState : std::uint8_t { entry_free = 0, entry_admitted = 1, entry_pending = 2 };
enum Direction : std::uint8_t { uplink = 0, downlink = 1, direct_link = 2, bidirectional = 3 };
enum AccessCategory : std::uint8_t { be = 0, bk = 1, vi = 2, vo = 3 };

struct Record;

struct Entry {
    Record *owner = nullptr;
    std::uint8_t tid = 0;
    std::uint8_t ac_idx = 0;
    std::uint8_t dir = 0;
    std::uint8_t state = entry_free;
    std::uint32_t inactivity_timeout = 0;
    std::uint8_t aux_byte = 0;
    Mac aux_addr{};
    std::array<std::uint8_t, element_at::stored_size> stored{}; /* element and four bytes after */
    std::uint32_t excess_events = 0;
    std::uint8_t pend_tid = 0;
    std::uint8_t pend_dir = 0;
    std::uint8_t pend_aux_byte = 0;
    Mac pend_aux_addr{};

    bool in_use() const { return state != entry_free; }
    std::uint16_t medium_time() const { return u16_at(stored, element_at::medium_time); }
    void set_medium_time(std::uint16_t value) { put_u16(stored, element_at::medium_time, value); }
    /* A bidirectional stream uses the medium both ways. */
    std::uint32_t booked_time() const
    {
        return dir == bidirectional ? 2U * medium_time() : medium_time();
    }
};

struct Record {
    Mac sta_mac{};
    Mac peer_addr1{};
    Mac peer_addr2{};
    std::uint8_t radio_unit = 0;
    std::array<std::uint8_t, 33> ssid{};
    std::uint8_t vap = 0;
    std::uint8_t roam = 0;
    std::uint8_t fbt = 0;
    Entry entries[2][4]; /* [bank][ac_idx] */
};

struct RadioConfig {
    std::uint8_t tspec_enabled = 0;
    std::array<std::uint8_t, 4> acm{};
    std::array<std::uint16_t, 4> limit_percent{};
    std::array<std::uint16_t, 4> fbt_limit_percent{};
    std::uint16_t roam_reserve_percent = 0;
    std::uint32_t dl_inactivity_timeout = 0;
    std::uint32_t ul_inactivity_timeout = 0;
    std::uint8_t radio_param = 0;
};

struct StatsEntry {
    std::uint32_t num_active = 0;
    std::uint32_t num_clients = 0;
    std::uint32_t num_roam_clients = 0;
    std::uint8_t oper_status = 0;
    std::uint32_t med_time_admitted = 0;
    std::uint32_t med_time_unalloc = 0;
    std::uint32_t med_time_roam_unalloc = 0;
};

struct AcStats {
    std::uint32_t changed = 0;
    std::uint32_t num_active = 0;
    std::uint32_t num_clients = 0;
    std::uint32_t num_roam_clients = 0;
    std::array<StatsEntry, 2> radio{};
    std::array<std::array<StatsEntry, 16>, 2> vap{};
};

struct AcTotals {
    std::uint32_t accepted = 0;
    std::uint32_t rejected = 0;
    std::uint32_t roam_accepted = 0;
    std::uint32_t roam_rejected = 0;
};

struct Cursor {
    const Record *record = nullptr;
    int index = 0;
};

struct State {
    std::list<Record> clients;
    std::array<RadioConfig, 2> config{};
    std::array<std::array<std::uint16_t, 4>, 2> admitted_med_time{};
    std::array<std::array<std::uint16_t, 4>, 2> fbt_admitted_med_time{};
    std::uint8_t disassoc_mode = 0;
    std::uint8_t ap_state = 1;
    std::array<AcStats, 4> ac_stats{};
    std::array<AcTotals, 4> ac_totals{};
    std::uint32_t trace_mask = 0;
    std::uint32_t violation_interval = 300;
    std::uint32_t last_violation_report = 0;
    std::uint16_t stream_count = 0;
    Cursor client_ts_cursor;
    Bytes receive_buffer = Bytes(receive_buffer_size, 0);
    bool ended = false;
};

} // namespace tspec::model

#endif
