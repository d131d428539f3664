// The layout of every wire structure, the codes and the endpoints.
#include "core/message_layout_c11.h"
#include "tspec/message.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

struct Field {
    const char *name;
    size_t offset, size;           // as compiled
    size_t wire_offset, wire_size; // as the peers have it
};

#define FIELD(type, name, wire_offset, wire_size)                                                  \
    Field                                                                                          \
    {                                                                                              \
#name, offsetof(type, name), sizeof(type::name), wire_offset, wire_size                    \
    }

// Also checks that the fields follow each other without a gap up to the end.
void check_layout(const std::vector<Field> &fields, size_t size, size_t wire_size)
{
    EXPECT_EQ(size, wire_size);
    size_t end = 0;
    for (const Field &field : fields) {
        EXPECT_EQ(field.offset, field.wire_offset) << field.name;
        EXPECT_EQ(field.size, field.wire_size) << field.name;
        EXPECT_EQ(field.offset, end) << "gap before " << field.name;
        end = field.offset + field.size;
    }
    EXPECT_EQ(end, wire_size);
}

TEST(MessageLayout, TspecElement)
{
    using T = tspec_ie_t;
    check_layout({FIELD(T, element_id, 0, 1),
                  FIELD(T, length, 1, 1),
                  FIELD(T, oui, 2, 3),
                  FIELD(T, oui_type, 5, 1),
                  FIELD(T, oui_subtype, 6, 1),
                  FIELD(T, version, 7, 1),
                  FIELD(T, ts_info, 8, 3),
                  FIELD(T, reserved, 11, 1),
                  FIELD(T, nominal_msdu_size, 12, 2),
                  FIELD(T, max_msdu_size, 14, 2),
                  FIELD(T, min_service_interval, 16, 4),
                  FIELD(T, max_service_interval, 20, 4),
                  FIELD(T, inactivity_interval, 24, 4),
                  FIELD(T, suspension_interval, 28, 4),
                  FIELD(T, service_start_time, 32, 4),
                  FIELD(T, min_data_rate, 36, 4),
                  FIELD(T, mean_data_rate, 40, 4),
                  FIELD(T, peak_data_rate, 44, 4),
                  FIELD(T, burst_size, 48, 4),
                  FIELD(T, delay_bound, 52, 4),
                  FIELD(T, min_phy_rate, 56, 4),
                  FIELD(T, surplus_bandwidth_allowance, 60, 2),
                  FIELD(T, medium_time, 62, 2)},
                 sizeof(T), 64);
}

TEST(MessageLayout, TspecBody)
{
    using T = tspec_body_t;
    check_layout({FIELD(T, reserved, 0, 1), FIELD(T, ts_info, 1, 3),
                  FIELD(T, nominal_msdu_size, 4, 2), FIELD(T, max_msdu_size, 6, 2),
                  FIELD(T, min_service_interval, 8, 4), FIELD(T, max_service_interval, 12, 4),
                  FIELD(T, inactivity_interval, 16, 4), FIELD(T, suspension_interval, 20, 4),
                  FIELD(T, service_start_time, 24, 4), FIELD(T, min_data_rate, 28, 4),
                  FIELD(T, mean_data_rate, 32, 4), FIELD(T, peak_data_rate, 36, 4),
                  FIELD(T, burst_size, 40, 4), FIELD(T, delay_bound, 44, 4),
                  FIELD(T, min_phy_rate, 48, 4), FIELD(T, surplus_bandwidth_allowance, 52, 2),
                  FIELD(T, medium_time, 54, 2)},
                 sizeof(T), 56);
}

TEST(MessageLayout, Hostapd)
{
    using T = tspec_hostapd_msg_t;
    check_layout({FIELD(T, msg_type, 0, 1), FIELD(T, cmd, 1, 1), FIELD(T, peer_addr1, 2, 6),
                  FIELD(T, peer_addr2, 8, 6), FIELD(T, sta_addr, 14, 6),
                  FIELD(T, radio_unit, 20, 1), FIELD(T, ssid, 21, 32), FIELD(T, vap, 53, 1),
                  FIELD(T, reserved1, 54, 2), FIELD(T, sta_mac, 56, 6), FIELD(T, reserved2, 62, 2),
                  FIELD(T, tspec, 64, 64), FIELD(T, aux_flag, 128, 1), FIELD(T, reserved3, 129, 3),
                  FIELD(T, result_code, 132, 4), FIELD(T, inactivity_timeout, 136, 4),
                  FIELD(T, tid, 140, 1), FIELD(T, aux_byte, 141, 1), FIELD(T, aux_addr, 142, 6)},
                 sizeof(T), 148);
}

TEST(MessageLayout, Mapd)
{
    using T = tspec_mapd_msg_t;
    check_layout({FIELD(T, msg_type, 0, 1), FIELD(T, cmd, 1, 1), FIELD(T, peer_addr1, 2, 6),
                  FIELD(T, peer_addr2, 8, 6), FIELD(T, sta_mac, 14, 6), FIELD(T, radio_unit, 20, 1),
                  FIELD(T, ssid, 21, 32), FIELD(T, ac_idx, 53, 1), FIELD(T, reserved, 54, 2),
                  FIELD(T, tspec, 56, 56), FIELD(T, wlan_util, 112, 4),
                  FIELD(T, prev_medium_time, 116, 2), FIELD(T, prev_ac_index, 118, 1),
                  FIELD(T, result_code, 119, 1)},
                 sizeof(T), 120);
}

TEST(MessageLayout, MapdDirect)
{
    using T = tspec_mapd_direct_msg_t;
    check_layout({FIELD(T, msg_type, 0, 1), FIELD(T, cmd, 1, 1), FIELD(T, managed_mode, 2, 1)},
                 sizeof(T), 3);
}

TEST(MessageLayout, MapdStatus)
{
    using E = tspec_mapd_status_entry_t;
    check_layout({FIELD(E, oper_status, 0, 4), FIELD(E, num_active, 4, 4),
                  FIELD(E, num_clients, 8, 4), FIELD(E, num_roam_clients, 12, 4),
                  FIELD(E, med_time_admitted, 16, 4), FIELD(E, med_time_unalloc, 20, 4),
                  FIELD(E, med_time_roam_unalloc, 24, 4)},
                 sizeof(E), 28);
    using T = tspec_mapd_status_msg_t;
    check_layout({FIELD(T, msg_type, 0, 1), FIELD(T, cmd, 1, 1), FIELD(T, ac_idx, 2, 1),
                  FIELD(T, reserved, 3, 1), FIELD(T, num_active, 4, 4), FIELD(T, num_clients, 8, 4),
                  FIELD(T, num_roam_clients, 12, 4), FIELD(T, tot_accepted, 16, 4),
                  FIELD(T, tot_rejected, 20, 4), FIELD(T, tot_roam_accepted, 24, 4),
                  FIELD(T, tot_roam_rejected, 28, 4), FIELD(T, radio, 32, 2 * 28),
                  FIELD(T, vap, 88, 2 * 16 * 28)},
                 sizeof(T), 984);
}

TEST(MessageLayout, FrameDuration)
{
    using Q = tspec_frame_dur_req_t;
    check_layout({FIELD(Q, marker, 0, 1), FIELD(Q, reserved1, 1, 3), FIELD(Q, reply_port, 4, 4),
                  FIELD(Q, radio_unit, 8, 1), FIELD(Q, sta_mac, 9, 6), FIELD(Q, reserved2, 15, 1),
                  FIELD(Q, min_phy_rate, 16, 4), FIELD(Q, nominal_msdu_size, 20, 4),
                  FIELD(Q, vap, 24, 1), FIELD(Q, reserved3, 25, 3)},
                 sizeof(Q), 28);
    using A = tspec_frame_dur_rsp_t;
    check_layout({FIELD(A, marker, 0, 1), FIELD(A, reserved, 1, 3), FIELD(A, duration, 4, 4)},
                 sizeof(A), 8);
}

TEST(MessageLayout, DmanConfig)
{
    using T = tspec_dman_config_msg_t;
    check_layout({FIELD(T, msg_type, 0, 1), FIELD(T, radio_if, 1, 1), FIELD(T, reserved, 2, 2),
                  FIELD(T, tspec_enabled, 4, 4), FIELD(T, acm_be, 8, 4), FIELD(T, acm_bk, 12, 4),
                  FIELD(T, acm_vo, 16, 4), FIELD(T, acm_vi, 20, 4), FIELD(T, limit_be, 24, 4),
                  FIELD(T, limit_bk, 28, 4), FIELD(T, limit_vo, 32, 4), FIELD(T, limit_vi, 36, 4),
                  FIELD(T, roam_reserve, 40, 4), FIELD(T, dl_inactivity_timeout, 44, 4),
                  FIELD(T, ul_inactivity_timeout, 48, 4), FIELD(T, radio_param, 52, 4),
                  FIELD(T, fbt_limit_vo, 56, 4), FIELD(T, fbt_limit_vi, 60, 4)},
                 sizeof(T), 64);
    using V = tspec_dman_violation_interval_msg_t;
    check_layout({FIELD(V, msg_type, 0, 1), FIELD(V, reserved, 1, 3), FIELD(V, interval, 4, 4)},
                 sizeof(V), 8);
}

TEST(MessageLayout, DriverRequestIsNaturallyAligned)
{
    using T = tspec_driver_req_t;
    constexpr size_t POINTER = sizeof(void *);
    EXPECT_EQ(offsetof(T, sub_command), 0U);
    EXPECT_EQ(sizeof(T::sub_command), 4U);
    EXPECT_EQ(offsetof(T, buffer), POINTER);
    EXPECT_EQ(offsetof(T, length), 2 * POINTER);
    EXPECT_EQ(sizeof(T::length), 4U);
    EXPECT_EQ(offsetof(T, flags), 2 * POINTER + 4);
    EXPECT_EQ(sizeof(T::flags), 1U);
}

TEST(MessageLayout, IsTheSameForPeersInC)
{
    const layout_sizes_t sizes = layout_sizes_in_c();
    EXPECT_EQ(sizes.hostapd_msg, 148U);
    EXPECT_EQ(sizes.mapd_msg, 120U);
    EXPECT_EQ(sizes.mapd_direct_msg, 3U);
    EXPECT_EQ(sizes.mapd_status_msg, 984U);
    EXPECT_EQ(sizes.ie, 64U);
    EXPECT_EQ(sizes.body, 56U);
    EXPECT_EQ(sizes.frame_dur_req, 28U);
    EXPECT_EQ(sizes.frame_dur_rsp, 8U);
    EXPECT_EQ(sizes.dman_config_msg, 64U);
    EXPECT_EQ(sizes.dman_violation_interval_msg, 8U);
    EXPECT_EQ(sizes.driver_req, sizeof(tspec_driver_req_t));
}

TEST(MessageCodes, Endpoints)
{
    EXPECT_EQ(TSPEC_UDP_PORT, 55263);
    EXPECT_EQ(TSPEC_HOSTAPD_PORT, 57773);
    EXPECT_EQ(TSPEC_MAPD_PORT, 57774);
    EXPECT_EQ(TSPEC_DMAN_REPLY_PORT, 55265);
    EXPECT_EQ(TSPEC_FRAME_DUR_REPLY_PORT, 55301);
    EXPECT_STREQ(TSPEC_DMAN_SOCK_PATH, "/tmp/tspec_dman_config");
    EXPECT_STREQ(TSPEC_CLI_SOCK_NAME, "tspec-cli");
    EXPECT_STREQ(TSPEC_CLI_REPLY_NAME, "cli-tspec");
    EXPECT_STREQ(SNMP_TRAP_TSPEC_FIFO_FILE, "/tmp/snmp_hostapd_trap");
    EXPECT_EQ(TSPEC_RECV_BUF_SIZE, 1024);
    EXPECT_EQ(TSPEC_CLI_BUF_SIZE, 64);
}

TEST(MessageCodes, TypesAndCommands)
{
    EXPECT_EQ(TSPEC_DMAN_CONFIG_MSG, 1);
    EXPECT_EQ(TSPEC_DMAN_STATUS_REQ_MSG, 2);
    EXPECT_EQ(TSPEC_HOSTAPD_MSG, 3);
    EXPECT_EQ(TSPEC_MAPD_MSG, 4);
    EXPECT_EQ(TSPEC_DMAN_VIOLATION_INTERVAL_MSG, 5);
    EXPECT_EQ(TSPEC_MAPD_DIRECT_MSG, 6);
    EXPECT_EQ(TSPEC_PEER_MSG, 0x23);
    EXPECT_EQ(TSPEC_FRAME_DUR_MARKER, '$');
    EXPECT_EQ(TSPEC_MAPD_STATUS_MSG, 0x28);
    EXPECT_EQ(TSPEC_ADDTS_REQ_CMD, 1);
    EXPECT_EQ(TSPEC_ADDTS_RESP_CMD, 2);
    EXPECT_EQ(TSPEC_DELTS_REQ_CMD, 3);
    EXPECT_EQ(TSPEC_TS_INACTIVE_CMD, 4);
    EXPECT_EQ(TSPEC_DELTS_CMD, 5);
    EXPECT_EQ(TSPEC_TS_EXCEED_TIME_CMD, 6);
    EXPECT_EQ(TSPEC_TS_UNAUTH_TRAFFIC_CMD, 7);
    EXPECT_EQ(TSPEC_STA_DISASSOC_CMD, 8);
    EXPECT_EQ(TSPEC_FBT_ADDTS_CMD, 9);
    EXPECT_EQ(TSPEC_MAPD_DIRECT_AP_STATE_CMD, 1);
    EXPECT_EQ(TSPEC_MAPD_STATUS_CMD, 1);
    EXPECT_EQ(TSPEC_CLI_PING_CMD, 1);
    EXPECT_EQ(TSPEC_CLI_DEBUG_CMD, 2);
    EXPECT_EQ(TSPEC_CLI_DEL_CLIENT_CMD, 3);
    EXPECT_EQ(TSPEC_CLI_DEL_TID_CMD, 4);
    EXPECT_EQ(TSPEC_CLI_DISASSOC_MODE_CMD, 5);
    EXPECT_EQ(TSPEC_CLI_SHOW_CMD, 6);
    EXPECT_STREQ(TSPEC_CLI_PING_REPLY, "PONG");
}

TEST(MessageCodes, ValuesOfFields)
{
    EXPECT_EQ(TSPEC_RESULT_ACCEPTED, 0);
    EXPECT_EQ(TSPEC_RESULT_INVALID_PARAMETERS, 1);
    EXPECT_EQ(TSPEC_RESULT_REFUSED, 3);
    EXPECT_EQ(TSPEC_DIR_UPLINK, 0);
    EXPECT_EQ(TSPEC_DIR_DOWNLINK, 1);
    EXPECT_EQ(TSPEC_DIR_BIDIRECTIONAL, 3);
    EXPECT_EQ(TSPEC_AC_BE, 0);
    EXPECT_EQ(TSPEC_AC_BK, 1);
    EXPECT_EQ(TSPEC_AC_VI, 2);
    EXPECT_EQ(TSPEC_AC_VO, 3);
    EXPECT_EQ(TSPEC_MAX_TS, 512);
    EXPECT_EQ(TSPEC_MEDIUM_TIME_PER_SECOND, 31250);
    EXPECT_EQ(TSPEC_DRIVER_IOCTL, 0x89F0);
    EXPECT_EQ(TSPEC_DRIVER_CLIENT_STATUS_CMD, 65);
    EXPECT_EQ(TSPEC_DRIVER_REPLY_SIZE, 4096);
    EXPECT_EQ(TSPEC_CLIENT_ASSOCIATED, 0x01);
    EXPECT_EQ(TSPEC_CLIENT_ROAMING, 0x40);
}

TEST(MessageCodes, StatusRequests)
{
    EXPECT_STREQ(TSPEC_DMAN_AP_STATS, "tspec-ap-stats");
    EXPECT_STREQ(TSPEC_DMAN_RADIO_STATS, "tspec-radio-wlan");
    EXPECT_STREQ(TSPEC_DMAN_VAP_STATS, "tspec-vap-wlan");
    EXPECT_STREQ(TSPEC_DMAN_CLIENT_TS_FIRST, "tspec-client-ts-first");
    EXPECT_STREQ(TSPEC_DMAN_CLIENT_TS_NEXT, "tspec-client-ts-next");
}

} // namespace
