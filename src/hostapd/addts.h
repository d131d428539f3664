// ADDTS request: a client asks to set up or change a traffic stream.
#pragma once

#include "hostapd/request.h"

// Checks the client with the driver, computes the medium time where admission
// is mandatory, books the stream as pending and leaves the request for
// admission control in req.out. Refusals that need no decision are answered
// here, with an ADDTS reject.
tspec_outcome_t tspec_hostapd_addts(tspec_hostapd_req_t &req);
