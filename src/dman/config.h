// Configuration from dman. Neither message is answered.
#pragma once

#include <cstdint>

// Handles one datagram of type TSPEC_DMAN_CONFIG_MSG: the settings of one radio,
// which take effect at once. Returns 0, also for one of less than 64 bytes,
// which is traced and ignored; -1 for a radio that does not exist.
int32_t tspec_ts_config_msg_process(const uint8_t *msg, uint32_t len);

// Handles one datagram of type TSPEC_DMAN_VIOLATION_INTERVAL_MSG; one of less
// than 8 bytes is traced and ignored. Returns 0, or -1 for null.
int32_t tspec_ts_config_violation_interval_process(const uint8_t *msg, uint32_t len);
