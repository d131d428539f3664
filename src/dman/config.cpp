#include "dman/config.h"

#include "core/control_block.h"
#include "core/trace.h"
#include "store/snapshot.h"

#include <cstring>

#define TSPEC_TRACE_NAME __func__

static constexpr uint32_t MICROSECONDS = 1000000;
static constexpr uint32_t UPDATE_ORDER[] = {TSPEC_AC_VI, TSPEC_AC_VO, TSPEC_AC_BE, TSPEC_AC_BK};

static void apply(const tspec_dman_config_msg_t &msg, tspec_radio_cfg_t &cfg)
{
    cfg.tspec_enabled = static_cast<uint8_t>(msg.tspec_enabled);
    cfg.acm[TSPEC_AC_BE] = static_cast<uint8_t>(msg.acm_be);
    cfg.acm[TSPEC_AC_BK] = static_cast<uint8_t>(msg.acm_bk);
    cfg.acm[TSPEC_AC_VI] = static_cast<uint8_t>(msg.acm_vi);
    cfg.acm[TSPEC_AC_VO] = static_cast<uint8_t>(msg.acm_vo);
    cfg.fbt_limit_percent[TSPEC_AC_VI] = static_cast<uint16_t>(msg.fbt_limit_vi);
    cfg.fbt_limit_percent[TSPEC_AC_VO] = static_cast<uint16_t>(msg.fbt_limit_vo);
    cfg.limit_percent[TSPEC_AC_BE] = static_cast<uint16_t>(msg.limit_be);
    cfg.limit_percent[TSPEC_AC_BK] = static_cast<uint16_t>(msg.limit_bk);
    cfg.limit_percent[TSPEC_AC_VI] = static_cast<uint16_t>(msg.limit_vi + msg.fbt_limit_vi);
    cfg.limit_percent[TSPEC_AC_VO] = static_cast<uint16_t>(msg.limit_vo + msg.fbt_limit_vo);
    cfg.roam_reserve_percent = static_cast<uint16_t>(msg.roam_reserve);
    cfg.dl_inactivity_timeout = msg.dl_inactivity_timeout * MICROSECONDS;
    cfg.ul_inactivity_timeout = msg.ul_inactivity_timeout * MICROSECONDS;
    cfg.radio_param = static_cast<uint8_t>(msg.radio_param);
}

// Copies a message that came whole. One that came short is traced in the name of its
// handler and left alone.
template <typename Message>
static bool read_message(const char *function, Message &message, const uint8_t *msg, uint32_t len)
{
    if (len < sizeof(message)) {
        TSPEC_TRACE_PLAIN(
            TSPEC_TRACE_DMAN,
            "%s:Error in config message from DMAN, length mismatch: exp=%d act=%d\r\n", function,
            static_cast<int32_t>(sizeof(message)), static_cast<int32_t>(len));
        return false;
    }
    memcpy(&message, msg, sizeof(message));
    return true;
}

int32_t tspec_ts_config_msg_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_DMAN, "Entry\r\n");
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\r\n");
        return -1;
    }
    tspec_dman_config_msg_t config;
    if (!read_message(__func__, config, msg, len)) {
        return 0;
    }
    if (config.radio_if < 1 || config.radio_if > TSPEC_NUM_RADIOS) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid radio_if parameter: %u\r\n", config.radio_if);
        return -1;
    }
    apply(config, tspec_cb->radio_cfg[config.radio_if - 1U]);
    for (const uint32_t ac_idx : UPDATE_ORDER) {
        tspec_ts_status_update(ac_idx);
    }
    return 0;
}

int32_t tspec_ts_config_violation_interval_process(const uint8_t *msg, uint32_t len)
{
    TSPEC_TRACE(TSPEC_TRACE_DMAN, "Entry\r\n");
    if (msg == nullptr) {
        TSPEC_TRACE(TSPEC_TRACE_ERROR, "Invalid input parameter\r\n");
        return -1;
    }
    tspec_dman_violation_interval_msg_t config;
    if (read_message(__func__, config, msg, len)) {
        tspec_cb->violation_interval = config.interval;
    }
    return 0;
}
