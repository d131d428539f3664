#include "store/access_category.h"

#include "core/control_block.h"

#include <algorithm>

uint32_t tspec_ac_convert(uint32_t ac_idx, uint32_t *out)
{
    if (out == nullptr) {
        return ac_idx;
    }
    if (ac_idx >= TSPEC_NUM_ACS) {
        return TSPEC_NUM_ACS;
    }
    *out = ac_idx;
    return ac_idx;
}

uint32_t tspec_ts_inactivity_timeout_get(uint32_t radio_idx, uint8_t dir)
{
    const tspec_radio_cfg_t &cfg = tspec_cb->radio_cfg[radio_idx];
    const uint32_t downlink = cfg.dl_inactivity_timeout;
    const uint32_t uplink = cfg.ul_inactivity_timeout;
    switch (dir) {
    case TSPEC_DIR_UPLINK:
        return uplink;
    case TSPEC_DIR_DOWNLINK:
        return downlink;
    case TSPEC_DIR_BIDIRECTIONAL:
        return downlink != 0 && uplink != 0 ? std::max(downlink, uplink) : 0;
    default:
        return 0;
    }
}

int32_t tspec_rec_addts_status_get(uint8_t result_code)
{
    return result_code == TSPEC_RESULT_ACCEPTED ? 0 : -1;
}
