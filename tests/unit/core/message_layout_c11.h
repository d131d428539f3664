// The wire headers as a peer written in C sees it.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct {
    size_t hostapd_msg, mapd_msg, mapd_direct_msg, mapd_status_msg, ie, body, frame_dur_req,
        frame_dur_rsp, dman_config_msg, dman_violation_interval_msg, driver_req;
} layout_sizes_t;

layout_sizes_t layout_sizes_in_c(void);

// tspec_wmm_write of a tspec_hostapd_msg_t into TSPEC_WMM_FRAME_SIZE bytes: its result.
int wmm_write_in_c(const void *msg, uint8_t *body);

#ifdef __cplusplus
}
#endif
