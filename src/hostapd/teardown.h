// The ends of a stream, and the other events that hostapd observes on one.
#pragma once

#include "hostapd/request.h"

// The client deletes a stream: it goes from the store and admission control is
// told. hostapd needs no answer.
tspec_outcome_t tspec_hostapd_delts(tspec_hostapd_req_t &req);

// A stream was idle for its inactivity time-out: hostapd gets a DELTS, and the
// rest is as above.
tspec_outcome_t tspec_hostapd_ts_inactive(tspec_hostapd_req_t &req);

// A stream used more than its medium time: it is counted.
tspec_outcome_t tspec_hostapd_ts_exceed_time(tspec_hostapd_req_t &req);

// A client sent on an access category without a stream: forwarded, to mapd or
// to the report.
tspec_outcome_t tspec_hostapd_unauth_traffic(tspec_hostapd_req_t &req);

// The client left: its streams go, unless the operator has switched that off.
// Only msg and len of the request are read.
tspec_outcome_t tspec_hostapd_sta_disassoc(tspec_hostapd_req_t &req);
