// Everything that the daemon remembers between two datagrams.
#pragma once

#include "bytes.h"
#include "layout.h"

#include <array>
#include <list>

namespace tspec::model {

enum EntryState : uint8_t { entry_free = 0, entry_admitted = 1, entry_pending = 2 };
enum Direction : uint8_t { uplink = 0, downlink = 1, direct_link = 2, bidirectional = 3 };
enum AccessCategory : uint8_t { be = 0, bk = 1, vi = 2, vo = 3 };

struct Record;

struct Entry {
    Record *owner = nullptr;
    uint8_t tid = 0;
    uint8_t ac_idx = 0;
    uint8_t dir = 0;
    uint8_t state = entry_free;
    uint32_t inactivity_timeout = 0;
    uint8_t aux_byte = 0;
    Mac aux_addr{};
    std::array<uint8_t, element_at::stored_size> stored{}; // element and four bytes after
    uint32_t excess_events = 0;
    uint8_t pend_tid = 0;
    uint8_t pend_dir = 0;
    uint8_t pend_aux_byte = 0;
    Mac pend_aux_addr{};

    bool in_use() const { return state != entry_free; }
    uint16_t medium_time() const { return u16_at(stored, element_at::medium_time); }
    void set_medium_time(uint16_t value) { put_u16(stored, element_at::medium_time, value); }
    // A bidirectional stream uses the medium both ways.
    uint32_t booked_time() const
    {
        return dir == bidirectional ? 2U * medium_time() : medium_time();
    }
};

struct Record {
    Mac sta_mac{};
    Mac peer_addr1{};
    Mac peer_addr2{};
    uint8_t radio_unit = 0;
    std::array<uint8_t, 33> ssid{};
    uint8_t vap = 0;
    uint8_t roam = 0;
    uint8_t fbt = 0;
    Entry entries[2][4]; // [bank][ac_idx]
};

struct RadioConfig {
    uint8_t tspec_enabled = 0;
    std::array<uint8_t, 4> acm{};
    std::array<uint16_t, 4> limit_percent{};
    std::array<uint16_t, 4> fbt_limit_percent{};
    uint16_t roam_reserve_percent = 0;
    uint32_t dl_inactivity_timeout = 0;
    uint32_t ul_inactivity_timeout = 0;
    uint8_t radio_param = 0;
};

struct StatsEntry {
    uint32_t num_active = 0;
    uint32_t num_clients = 0;
    uint32_t num_roam_clients = 0;
    uint8_t oper_status = 0;
    uint32_t med_time_admitted = 0;
    uint32_t med_time_unalloc = 0;
    uint32_t med_time_roam_unalloc = 0;
};

struct AcStats {
    uint32_t changed = 0;
    uint32_t num_active = 0;
    uint32_t num_clients = 0;
    uint32_t num_roam_clients = 0;
    std::array<StatsEntry, 2> radio{};
    std::array<std::array<StatsEntry, 16>, 2> vap{};
};

struct AcTotals {
    uint32_t accepted = 0;
    uint32_t rejected = 0;
    uint32_t roam_accepted = 0;
    uint32_t roam_rejected = 0;
};

struct Cursor {
    const Record *record = nullptr;
    int index = 0;
};

struct State {
    std::list<Record> clients;
    std::array<RadioConfig, 2> config{};
    std::array<std::array<uint16_t, 4>, 2> admitted_med_time{};
    std::array<std::array<uint16_t, 4>, 2> fbt_admitted_med_time{};
    uint8_t disassoc_mode = 0;
    uint8_t ap_state = 1;
    std::array<AcStats, 4> ac_stats{};
    std::array<AcTotals, 4> ac_totals{};
    uint32_t trace_mask = 0;
    uint32_t violation_interval = 300;
    uint32_t last_violation_report = 0;
    uint16_t stream_count = 0;
    Cursor client_ts_cursor;
    Bytes receive_buffer = Bytes(receive_buffer_size, 0);
    bool ended = false;
};

} // namespace tspec::model
