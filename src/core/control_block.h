// The daemon's state: one zero-filled block that lives from start-up to the end
// of the process, and the types of everything it holds. Their behaviour is in
// the rooms that own them: store/, admission/, mapd/, dman/, report/.
#pragma once

#include "tspec/message.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <type_traits>

// ap_state: who decides on admission.
constexpr uint8_t TSPEC_AP_UNMANAGED = 1; // this daemon
constexpr uint8_t TSPEC_AP_MANAGED = 2;   // mapd

// States of a stream entry. An entry is in use exactly when its state is not
// TSPEC_TS_FREE.
constexpr uint8_t TSPEC_TS_FREE = 0;
constexpr uint8_t TSPEC_TS_ADMITTED = 1;
constexpr uint8_t TSPEC_TS_PENDING = 2; // ADDTS forwarded, answer awaited

constexpr uint8_t TSPEC_TID_NONE = 255; // pend_tid of an entry without a request

// A client's two entries on one access category: the primary one, and the
// alternate one for a second stream in the other direction.
constexpr uint8_t TSPEC_BANK_PRIMARY = 0;
constexpr uint8_t TSPEC_BANK_ALTERNATE = 1;
constexpr uint8_t TSPEC_NUM_BANKS = 2;

constexpr uint32_t TSPEC_VIOLATION_INTERVAL_DEFAULT = 300; // seconds

struct tspec_rec_t;

// What a stream keeps of hostapd's request from the TSPEC element on. Responses
// and DELTS return these 68 bytes as they came.
struct tspec_ts_params_t {
    tspec_ie_t ie;
    uint8_t aux_flag;
    uint8_t reserved[3];
};
static_assert(sizeof(tspec_ts_params_t) == 68);
static_assert(offsetof(tspec_hostapd_msg_t, result_code) - offsetof(tspec_hostapd_msg_t, tspec) ==
              sizeof(tspec_ts_params_t));

// A request on an entry that has not been answered yet.
struct tspec_ts_pending_t {
    uint8_t tid; // TSPEC_TID_NONE once a request has been admitted
    uint8_t dir;
    uint8_t aux_byte;
    uint8_t aux_addr[TSPEC_MAC_LEN];
};
static_assert(sizeof(tspec_ts_pending_t) == 9);

// One traffic stream.
struct tspec_ts_rec_t {
    tspec_rec_t *owner;           // always the record that holds this entry
    uint32_t inactivity_timeout;  // microseconds, 0 = none
    uint32_t excess_usage_events; // over the stream's lifetime
    tspec_ts_params_t params;     // params.ie.medium_time is the stream's medium time
    uint8_t tid;
    uint8_t ac_idx;
    uint8_t dir;
    uint8_t state;
    uint8_t aux_byte;
    uint8_t aux_addr[TSPEC_MAC_LEN];
    tspec_ts_pending_t pend;
};

// What some clients hold together, or what one of them does, on one access category.
struct tspec_load_t {
    uint32_t num_active; // admitted streams
    uint32_t num_clients;
    uint32_t num_roam_clients;
    uint32_t med_time; // in 32-microsecond units per second
};

// What the ledger holds of a client, and where.
struct tspec_rec_entered_t {
    uint8_t radio_unit; // 0 until the first stream is booked
    uint8_t vap;
    tspec_load_t load[TSPEC_NUM_ACS];
};

// One client station. Allocated with the client's first stream, freed when its
// last entry becomes free. What a look-up reads comes first, so that it touches one
// cache line of each record that it passes.
struct tspec_rec_t {
    tspec_rec_t *next;
    tspec_rec_t *previous;          // null in the head, and in a record outside the list
    uint8_t sta_mac[TSPEC_MAC_LEN]; // the key
    uint8_t radio_unit;             // 1 or 2
    uint8_t vap;
    uint8_t roam_flag;
    uint8_t fbt_flag;            // set up by a fast transition whose time is still booked
    tspec_rec_entered_t entered; // see store/ledger.h
    uint8_t peer_addr1[TSPEC_MAC_LEN];
    uint8_t peer_addr2[TSPEC_MAC_LEN];
    uint8_t ssid[TSPEC_SSID_LEN + 1];
    tspec_ts_rec_t streams[TSPEC_NUM_BANKS][TSPEC_NUM_ACS];
};

// Configuration of one radio, as dman gave it.
struct tspec_radio_cfg_t {
    uint8_t tspec_enabled;
    uint8_t acm[TSPEC_NUM_ACS];
    uint16_t limit_percent[TSPEC_NUM_ACS]; // with the fast-transition share
    uint16_t fbt_limit_percent[TSPEC_NUM_ACS];
    uint16_t roam_reserve_percent;
    uint32_t dl_inactivity_timeout; // microseconds
    uint32_t ul_inactivity_timeout; // microseconds
    uint8_t radio_param;            // stored for dman, not read
};
static_assert(sizeof(tspec_radio_cfg_t) == 9 * sizeof(uint32_t));
static_assert(offsetof(tspec_radio_cfg_t, acm) == 1);
static_assert(offsetof(tspec_radio_cfg_t, dl_inactivity_timeout) == 6 * sizeof(uint32_t));
static_assert(offsetof(tspec_radio_cfg_t, ul_inactivity_timeout) == 7 * sizeof(uint32_t));

// Load of one radio or one VAP in one access category. Medium times are in
// 32-microsecond units per second.
struct tspec_stats_entry_t {
    uint32_t num_active;
    uint32_t num_clients;
    uint32_t num_roam_clients;
    uint8_t oper_status; // 1 = admission control operational
    uint32_t med_time_admitted;
    uint32_t med_time_unalloc;
    uint32_t med_time_roam_unalloc;
};

// Load of the access point in one access category.
struct tspec_ac_stats_t {
    uint32_t changed; // 1 = holds news for mapd
    uint32_t num_active;
    uint32_t num_clients;
    uint32_t num_roam_clients;
    tspec_stats_entry_t radio[TSPEC_NUM_RADIOS];
    tspec_stats_entry_t vap[TSPEC_NUM_RADIOS][TSPEC_VAPS_PER_RADIO];
};

// Admission outcomes of one access category since start-up. They only grow.
struct tspec_ac_totals_t {
    uint32_t tot_accepted;
    uint32_t tot_rejected;
    uint32_t tot_roam_accepted;
    uint32_t tot_roam_rejected;
};

// A place in the walk over all streams: clients in list order, TIDs 0 to 7.
struct tspec_client_ts_cursor_t {
    tspec_rec_t *rec; // null before the first and after the last stream
    int32_t index;
};

// Medium time booked by the admission control unit on one radio.
struct tspec_acu_radio_t {
    uint16_t admitted_med_time[TSPEC_NUM_ACS]; // fast-transition streams included
    uint16_t fbt_admitted_med_time[TSPEC_NUM_ACS];
};

struct tspec_cb_t {
    tspec_rec_t *rec_head;
    tspec_rec_t *rec_tail;
    tspec_radio_cfg_t radio_cfg[TSPEC_NUM_RADIOS];
    int32_t tspec_sock;    // UDP socket of hostapd and mapd traffic; all sends leave from it
    uint8_t disassoc_mode; // non-zero: station disassociations are ignored
    uint8_t ap_state;      // TSPEC_AP_..., 0 before start-up
    tspec_ac_stats_t ledger[TSPEC_NUM_ACS];   // what the records add up to now, see store/ledger.h
    tspec_ac_stats_t ac_stats[TSPEC_NUM_ACS]; // snapshots of it, see store/snapshot.h
    tspec_ac_totals_t ac_totals[TSPEC_NUM_ACS];
    uint32_t trace_mask;
    uint32_t violation_interval;    // seconds, 0 = no periodic reports
    uint32_t violation_report_time; // of the last run, or of the last change of ap_state
    uint16_t ts_count;              // entries in use over all clients
    tspec_acu_radio_t acu[TSPEC_NUM_RADIOS];
    tspec_client_ts_cursor_t client_ts_cursor; // dman's walk
};

static_assert(std::is_trivially_copyable_v<tspec_cb_t>);
static_assert(std::is_trivially_copyable_v<tspec_rec_t>);

// Null before start-up and after tear-down.
extern tspec_cb_t *tspec_cb;

// Sockets of dman and of the operator's tool; -1 when not open.
extern int32_t dman_sock;
extern int32_t cli_sock;
