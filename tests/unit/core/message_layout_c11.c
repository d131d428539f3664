#include "message_layout_c11.h"

#include "tspec/message.h"
#include "tspec/wmm.h"

layout_sizes_t layout_sizes_in_c(void)
{
    return (layout_sizes_t){
        .hostapd_msg = sizeof(tspec_hostapd_msg_t),
        .mapd_msg = sizeof(tspec_mapd_msg_t),
        .mapd_direct_msg = sizeof(tspec_mapd_direct_msg_t),
        .mapd_status_msg = sizeof(tspec_mapd_status_msg_t),
        .ie = sizeof(tspec_ie_t),
        .body = sizeof(tspec_body_t),
        .frame_dur_req = sizeof(tspec_frame_dur_req_t),
        .frame_dur_rsp = sizeof(tspec_frame_dur_rsp_t),
        .dman_config_msg = sizeof(tspec_dman_config_msg_t),
        .dman_violation_interval_msg = sizeof(tspec_dman_violation_interval_msg_t),
        .driver_req = sizeof(tspec_driver_req_t),
    };
}

int wmm_write_in_c(const void *msg, uint8_t *body)
{
    size_t length;
    return (int)tspec_wmm_write(msg, body, TSPEC_WMM_FRAME_SIZE, &length);
}
