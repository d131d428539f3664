// Violation reports, to the system log and the SNMP agent, while mapd does not
// manage the access point. No report changes a record or a count. Both return 0.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// Reports every admitted stream that ever exceeded its medium time.
int32_t tspec_violation_report_notify();

// Reports traffic on an access category (ac_idx) without an admitted stream;
// msg names the client.
int32_t tspec_unauth_traffic_report_notify(const tspec_mapd_msg_t &msg, uint8_t ac_idx);
