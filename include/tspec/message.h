/*
 * The wire interface of the TSPEC daemon: ports, socket names, message and
 * command codes, and the layout of every datagram and driver request.
 *
 * Plain C11, so that peers written in C and the daemon itself, written in C++,
 * compile the same definitions.
 *
 * Every structure is naturally aligned and carried as it stands in memory.
 * Multi-byte fields are in host byte order: all peers live on the same host,
 * and only socket addresses are in network order. A sender fills a whole
 * structure with zeros first, so that reserved bytes travel as 0. Receivers
 * copy a datagram into a structure with memcpy; the bytes of a datagram carry
 * no alignment guarantee.
 */
#ifndef TSPEC_MESSAGE_H
#define TSPEC_MESSAGE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define TSPEC_STATIC_ASSERT(condition, text) static_assert(condition, text)
extern "C" {
#else
#define TSPEC_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#endif

/* ---- endpoints ---------------------------------------------------------- */

/* UDP ports on the loopback address. */
#define TSPEC_UDP_PORT 55263             /* the daemon: hostapd and mapd send here */
#define TSPEC_HOSTAPD_PORT 57773         /* hostapd: responses, DELTS, frame-duration queries */
#define TSPEC_MAPD_PORT 57774            /* mapd: forwarded requests, status messages */
#define TSPEC_DMAN_REPLY_PORT 55265      /* dman: text answers to its status requests */
#define TSPEC_FRAME_DUR_REPLY_PORT 55301 /* the daemon awaits frame-duration answers here */

/* Local datagram sockets. The command-line names are in the abstract
 * namespace: a NUL byte, the name, and zeros up to the full sockaddr_un. */
#define TSPEC_DMAN_SOCK_PATH "/tmp/tspec_dman_config"
#define TSPEC_CLI_SOCK_NAME "tspec-cli"
#define TSPEC_CLI_REPLY_NAME "cli-tspec"

/* Named pipe of the SNMP agent; created by the agent, never by the daemon. */
#define SNMP_TRAP_TSPEC_FIFO_FILE "/tmp/snmp_hostapd_trap"

/* The daemon reads datagrams of up to this many bytes; longer ones are cut. */
#define TSPEC_RECV_BUF_SIZE 1024
#define TSPEC_CLI_BUF_SIZE 64

/* ---- limits and units --------------------------------------------------- */

#define TSPEC_MAC_LEN 6
#define TSPEC_SSID_LEN 32
#define TSPEC_NUM_RADIOS 2
#define TSPEC_NUM_ACS 4
#define TSPEC_VAPS_PER_RADIO 16
#define TSPEC_MAX_TS 512 /* admitted and pending streams on the access point */

/* Medium time counts units of 32 microseconds per second. */
#define TSPEC_MEDIUM_TIME_PER_SECOND 31250

/* ---- message types (first byte of every datagram) ----------------------- */

/* Received by the daemon. */
#define TSPEC_DMAN_CONFIG_MSG 1
#define TSPEC_DMAN_STATUS_REQ_MSG 2
#define TSPEC_HOSTAPD_MSG 3
#define TSPEC_MAPD_MSG 4
#define TSPEC_DMAN_VIOLATION_INTERVAL_MSG 5
#define TSPEC_MAPD_DIRECT_MSG 6

/* Sent by the daemon; distinct from what it receives. */
#define TSPEC_PEER_MSG 0x23         /* tspec_hostapd_msg_t to hostapd, tspec_mapd_msg_t to mapd */
#define TSPEC_FRAME_DUR_MARKER 0x24 /* frame-duration query and its answer */
#define TSPEC_MAPD_STATUS_MSG 0x28  /* tspec_mapd_status_msg_t to mapd */

/* ---- commands (second byte) --------------------------------------------- */

/* One number space for tspec_hostapd_msg_t and tspec_mapd_msg_t. */
#define TSPEC_ADDTS_REQ_CMD 1
#define TSPEC_ADDTS_RESP_CMD 2
#define TSPEC_DELTS_REQ_CMD 3
#define TSPEC_TS_INACTIVE_CMD 4
#define TSPEC_DELTS_CMD 5
#define TSPEC_TS_EXCEED_TIME_CMD 6
#define TSPEC_TS_UNAUTH_TRAFFIC_CMD 7
#define TSPEC_STA_DISASSOC_CMD 8
#define TSPEC_FBT_ADDTS_CMD 9

/* tspec_mapd_direct_msg_t */
#define TSPEC_MAPD_DIRECT_AP_STATE_CMD 1

/* tspec_mapd_status_msg_t */
#define TSPEC_MAPD_STATUS_CMD 1

/* Operator commands: first byte of a datagram on the command-line socket. */
#define TSPEC_CLI_PING_CMD 1
#define TSPEC_CLI_DEBUG_CMD 2
#define TSPEC_CLI_DEL_CLIENT_CMD 3
#define TSPEC_CLI_DEL_TID_CMD 4
#define TSPEC_CLI_DISASSOC_MODE_CMD 5
#define TSPEC_CLI_SHOW_CMD 6

#define TSPEC_CLI_PING_REPLY "PONG" /* four bytes, sent without the NUL */

/* Status requests: text after the type byte of TSPEC_DMAN_STATUS_REQ_MSG.
 * The radio and VAP requests go on with a number: "tspec-radio-wlan1",
 * "tspec-vap-wlan0vap3". */
#define TSPEC_DMAN_AP_STATS "tspec-ap-stats"
#define TSPEC_DMAN_RADIO_STATS "tspec-radio-wlan"
#define TSPEC_DMAN_VAP_STATS "tspec-vap-wlan"
#define TSPEC_DMAN_CLIENT_TS_FIRST "tspec-client-ts-first"
#define TSPEC_DMAN_CLIENT_TS_NEXT "tspec-client-ts-next"

/* WMM ADDTS status codes. */
#define TSPEC_RESULT_ACCEPTED 0
#define TSPEC_RESULT_INVALID_PARAMETERS 1
#define TSPEC_RESULT_REFUSED 3

/* Stream directions in TS Info. */
#define TSPEC_DIR_UPLINK 0
#define TSPEC_DIR_DOWNLINK 1
#define TSPEC_DIR_DIRECT_LINK 2
#define TSPEC_DIR_BIDIRECTIONAL 3

/* Access category indexes. */
#define TSPEC_AC_BE 0
#define TSPEC_AC_BK 1
#define TSPEC_AC_VI 2
#define TSPEC_AC_VO 3

/* ---- the WMM TSPEC element ---------------------------------------------- */

/* The published element with natural alignment: one padding byte after
 * ts_info. Rates are in bits per second, intervals in microseconds. */
typedef struct {
    uint8_t element_id;
    uint8_t length;
    uint8_t oui[3];
    uint8_t oui_type;
    uint8_t oui_subtype;
    uint8_t version;
    uint8_t ts_info[3]; /* TID b0.1-4, direction b0.5-6, user priority b1.3-5 */
    uint8_t reserved;
    uint16_t nominal_msdu_size; /* bit 15: fixed size */
    uint16_t max_msdu_size;
    uint32_t min_service_interval;
    uint32_t max_service_interval;
    uint32_t inactivity_interval;
    uint32_t suspension_interval;
    uint32_t service_start_time;
    uint32_t min_data_rate;
    uint32_t mean_data_rate;
    uint32_t peak_data_rate;
    uint32_t burst_size;
    uint32_t delay_bound;
    uint32_t min_phy_rate;
    uint16_t surplus_bandwidth_allowance; /* 3.13 fixed point */
    uint16_t medium_time;                 /* 32-microsecond units per second */
} tspec_ie_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_ie_t) == 64, "aligned TSPEC element");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, length) == 1, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, oui) == 2, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, oui_type) == 5, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, oui_subtype) == 6, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, version) == 7, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, ts_info) == 8, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, reserved) == 11, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, nominal_msdu_size) == 12, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, max_msdu_size) == 14, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, min_service_interval) == 16, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, max_service_interval) == 20, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, inactivity_interval) == 24, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, suspension_interval) == 28, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, service_start_time) == 32, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, min_data_rate) == 36, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, mean_data_rate) == 40, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, peak_data_rate) == 44, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, burst_size) == 48, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, delay_bound) == 52, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, min_phy_rate) == 56, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, surplus_bandwidth_allowance) == 60, "tspec_ie_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_ie_t, medium_time) == 62, "tspec_ie_t");

/* The same fields without element header and padding, as tspec_mapd_msg_t
 * carries them from its byte 56 on. */
typedef struct {
    uint8_t reserved; /* always 0 */
    uint8_t ts_info[3];
    uint16_t nominal_msdu_size;
    uint16_t max_msdu_size;
    uint32_t min_service_interval;
    uint32_t max_service_interval;
    uint32_t inactivity_interval;
    uint32_t suspension_interval;
    uint32_t service_start_time;
    uint32_t min_data_rate;
    uint32_t mean_data_rate;
    uint32_t peak_data_rate;
    uint32_t burst_size;
    uint32_t delay_bound;
    uint32_t min_phy_rate;
    uint16_t surplus_bandwidth_allowance;
    uint16_t medium_time;
} tspec_body_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_body_t) == 56, "packed TSPEC body");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, ts_info) == 1, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, nominal_msdu_size) == 4, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, max_msdu_size) == 6, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, min_service_interval) == 8, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, max_service_interval) == 12, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, inactivity_interval) == 16, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, suspension_interval) == 20, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, service_start_time) == 24, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, min_data_rate) == 28, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, mean_data_rate) == 32, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, peak_data_rate) == 36, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, burst_size) == 40, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, delay_bound) == 44, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, min_phy_rate) == 48, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, surplus_bandwidth_allowance) == 52, "tspec_body_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_body_t, medium_time) == 54, "tspec_body_t");

/* ---- hostapd ------------------------------------------------------------ */

/* hostapd to daemon (msg_type TSPEC_HOSTAPD_MSG) and daemon to hostapd
 * (msg_type TSPEC_PEER_MSG). */
typedef struct {
    uint8_t msg_type;
    uint8_t cmd;
    uint8_t peer_addr1[TSPEC_MAC_LEN]; /* stored with the client and echoed */
    uint8_t peer_addr2[TSPEC_MAC_LEN]; /* likewise; the VAP's address */
    uint8_t sta_addr[TSPEC_MAC_LEN];   /* not read on receipt */
    uint8_t radio_unit;                /* 1 = wlan0, 2 = wlan1 */
    uint8_t ssid[TSPEC_SSID_LEN];
    uint8_t vap; /* VAP index on the radio; 0 = the radio's main interface */
    uint8_t reserved1[2];
    uint8_t sta_mac[TSPEC_MAC_LEN]; /* the client station */
    uint8_t reserved2[2];
    tspec_ie_t tspec;
    uint8_t aux_flag;
    uint8_t reserved3[3];
    uint32_t result_code;
    uint32_t inactivity_timeout; /* microseconds */
    uint8_t tid;
    uint8_t aux_byte;
    uint8_t aux_addr[TSPEC_MAC_LEN];
} tspec_hostapd_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_hostapd_msg_t) == 148, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, cmd) == 1, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, peer_addr1) == 2, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, peer_addr2) == 8, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, sta_addr) == 14, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, radio_unit) == 20, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, ssid) == 21, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, vap) == 53, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, reserved1) == 54, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, sta_mac) == 56, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, reserved2) == 62, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, tspec) == 64, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, aux_flag) == 128, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, reserved3) == 129, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, result_code) == 132, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, inactivity_timeout) == 136,
                    "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, tid) == 140, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, aux_byte) == 141, "tspec_hostapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_hostapd_msg_t, aux_addr) == 142, "tspec_hostapd_msg_t");

/* Frame-duration query: the airtime of one frame exchange, asked of hostapd. */
typedef struct {
    uint8_t marker; /* TSPEC_FRAME_DUR_MARKER */
    uint8_t reserved1[3];
    uint32_t reply_port;
    uint8_t radio_unit; /* 1 = wlan0, 2 = wlan1 */
    uint8_t sta_mac[TSPEC_MAC_LEN];
    uint8_t reserved2;
    uint32_t min_phy_rate;      /* bits per second */
    uint32_t nominal_msdu_size; /* bytes; bit 15: fixed size */
    uint8_t vap;
    uint8_t reserved3[3];
} tspec_frame_dur_req_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_frame_dur_req_t) == 28, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, reserved1) == 1, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, reply_port) == 4, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, radio_unit) == 8, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, sta_mac) == 9, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, reserved2) == 15, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, min_phy_rate) == 16, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, nominal_msdu_size) == 20,
                    "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, vap) == 24, "tspec_frame_dur_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_req_t, reserved3) == 25, "tspec_frame_dur_req_t");

/* Answer to it, sent to the query's reply_port. */
typedef struct {
    uint8_t marker; /* TSPEC_FRAME_DUR_MARKER */
    uint8_t reserved[3];
    uint32_t duration; /* microseconds */
} tspec_frame_dur_rsp_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_frame_dur_rsp_t) == 8, "tspec_frame_dur_rsp_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_rsp_t, reserved) == 1, "tspec_frame_dur_rsp_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_frame_dur_rsp_t, duration) == 4, "tspec_frame_dur_rsp_t");

/* ---- mapd --------------------------------------------------------------- */

/* mapd to daemon (msg_type TSPEC_MAPD_MSG) and daemon to mapd (msg_type
 * TSPEC_PEER_MSG). */
typedef struct {
    uint8_t msg_type;
    uint8_t cmd;
    uint8_t peer_addr1[TSPEC_MAC_LEN];
    uint8_t peer_addr2[TSPEC_MAC_LEN];
    uint8_t sta_mac[TSPEC_MAC_LEN];
    uint8_t radio_unit; /* 1 = wlan0, 2 = wlan1 */
    uint8_t ssid[TSPEC_SSID_LEN];
    uint8_t ac_idx; /* TSPEC_AC_... */
    uint8_t reserved[2];
    tspec_body_t tspec;
    uint32_t wlan_util;
    uint16_t prev_medium_time; /* what the request replaces; 0 for a new stream */
    uint8_t prev_ac_index;
    uint8_t result_code;
} tspec_mapd_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_mapd_msg_t) == 120, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, cmd) == 1, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, peer_addr1) == 2, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, peer_addr2) == 8, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, sta_mac) == 14, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, radio_unit) == 20, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, ssid) == 21, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, ac_idx) == 53, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, reserved) == 54, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, tspec) == 56, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, wlan_util) == 112, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, prev_medium_time) == 116, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, prev_ac_index) == 118, "tspec_mapd_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_msg_t, result_code) == 119, "tspec_mapd_msg_t");

/* mapd tells whether it manages the access point. */
typedef struct {
    uint8_t msg_type;     /* TSPEC_MAPD_DIRECT_MSG */
    uint8_t cmd;          /* TSPEC_MAPD_DIRECT_AP_STATE_CMD */
    uint8_t managed_mode; /* 0 = not managed, 1 = managed */
} tspec_mapd_direct_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_mapd_direct_msg_t) == 3, "tspec_mapd_direct_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_direct_msg_t, cmd) == 1, "tspec_mapd_direct_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_direct_msg_t, managed_mode) == 2,
                    "tspec_mapd_direct_msg_t");

/* Load of one radio or VAP in one access category. */
typedef struct {
    uint32_t oper_status; /* 1 = admission control operational */
    uint32_t num_active;
    uint32_t num_clients;
    uint32_t num_roam_clients;
    uint32_t med_time_admitted;
    uint32_t med_time_unalloc;
    uint32_t med_time_roam_unalloc;
} tspec_mapd_status_entry_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_mapd_status_entry_t) == 28, "tspec_mapd_status_entry_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, num_active) == 4, "status entry");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, num_clients) == 8, "status entry");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, num_roam_clients) == 12, "status entry");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, med_time_admitted) == 16, "status entry");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, med_time_unalloc) == 20, "status entry");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_entry_t, med_time_roam_unalloc) == 24,
                    "status entry");

/* Daemon to mapd while it manages the access point: one access category's
 * load and admission counters. */
typedef struct {
    uint8_t msg_type; /* TSPEC_MAPD_STATUS_MSG */
    uint8_t cmd;      /* TSPEC_MAPD_STATUS_CMD */
    uint8_t ac_idx;
    uint8_t reserved;
    uint32_t num_active;
    uint32_t num_clients;
    uint32_t num_roam_clients;
    uint32_t tot_accepted;
    uint32_t tot_rejected;
    uint32_t tot_roam_accepted;
    uint32_t tot_roam_rejected;
    tspec_mapd_status_entry_t radio[TSPEC_NUM_RADIOS];
    tspec_mapd_status_entry_t vap[TSPEC_NUM_RADIOS][TSPEC_VAPS_PER_RADIO];
} tspec_mapd_status_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_mapd_status_msg_t) == 984, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, cmd) == 1, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, ac_idx) == 2, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, num_active) == 4, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, num_clients) == 8, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, num_roam_clients) == 12,
                    "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, tot_accepted) == 16,
                    "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, tot_rejected) == 20,
                    "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, tot_roam_accepted) == 24,
                    "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, tot_roam_rejected) == 28,
                    "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, radio) == 32, "tspec_mapd_status_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_mapd_status_msg_t, vap) == 88, "tspec_mapd_status_msg_t");

/* ---- dman --------------------------------------------------------------- */

/* Configuration of one radio. Percentages are shares of airtime; the
 * fast-transition limits come on top of the limits of VO and VI. Flags keep
 * their low 8 bits, percentages their low 16 bits. Note the order of the
 * access categories: BE, BK, VO, VI. */
typedef struct {
    uint8_t msg_type; /* TSPEC_DMAN_CONFIG_MSG */
    uint8_t radio_if; /* 1 = wlan0, 2 = wlan1 */
    uint8_t reserved[2];
    uint32_t tspec_enabled;
    uint32_t acm_be;
    uint32_t acm_bk;
    uint32_t acm_vo;
    uint32_t acm_vi;
    uint32_t limit_be;
    uint32_t limit_bk;
    uint32_t limit_vo;
    uint32_t limit_vi;
    uint32_t roam_reserve;
    uint32_t dl_inactivity_timeout; /* seconds */
    uint32_t ul_inactivity_timeout; /* seconds */
    uint32_t radio_param;
    uint32_t fbt_limit_vo;
    uint32_t fbt_limit_vi;
} tspec_dman_config_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_dman_config_msg_t) == 64, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, radio_if) == 1, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, tspec_enabled) == 4,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, acm_be) == 8, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, acm_bk) == 12, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, acm_vo) == 16, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, acm_vi) == 20, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, limit_be) == 24, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, limit_bk) == 28, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, limit_vo) == 32, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, limit_vi) == 36, "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, roam_reserve) == 40,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, dl_inactivity_timeout) == 44,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, ul_inactivity_timeout) == 48,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, radio_param) == 52,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, fbt_limit_vo) == 56,
                    "tspec_dman_config_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_config_msg_t, fbt_limit_vi) == 60,
                    "tspec_dman_config_msg_t");

typedef struct {
    uint8_t msg_type; /* TSPEC_DMAN_VIOLATION_INTERVAL_MSG */
    uint8_t reserved[3];
    uint32_t interval; /* seconds; 0 = no periodic reports */
} tspec_dman_violation_interval_msg_t;

TSPEC_STATIC_ASSERT(sizeof(tspec_dman_violation_interval_msg_t) == 8,
                    "tspec_dman_violation_interval_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_violation_interval_msg_t, reserved) == 1,
                    "tspec_dman_violation_interval_msg_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_dman_violation_interval_msg_t, interval) == 4,
                    "tspec_dman_violation_interval_msg_t");

/* ---- wireless driver ---------------------------------------------------- */

#define TSPEC_DRIVER_IOCTL 0x89F0           /* SIOCDEVPRIVATE */
#define TSPEC_DRIVER_CLIENT_STATUS_CMD 0x41 /* station status query */
#define TSPEC_DRIVER_REPLY_SIZE 4096

/* Flag word of the reply's "client_status=" line. */
#define TSPEC_CLIENT_ASSOCIATED 0x01
#define TSPEC_CLIENT_ROAMING 0x40

/* Private request block behind ifr_data. On entry the buffer holds the
 * station's MAC address, on return the driver's text. */
typedef struct {
    uint32_t sub_command;
    void *buffer;
    uint32_t length;
    uint8_t flags;
} tspec_driver_req_t;

TSPEC_STATIC_ASSERT(offsetof(tspec_driver_req_t, buffer) == sizeof(void *), "tspec_driver_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_driver_req_t, length) == 2 * sizeof(void *),
                    "tspec_driver_req_t");
TSPEC_STATIC_ASSERT(offsetof(tspec_driver_req_t, flags) == 2 * sizeof(void *) + 4,
                    "tspec_driver_req_t");

#ifdef __cplusplus
}
#endif

#endif
