// What the wireless driver knows about a client. Each query is one private ioctl
// on the client's interface, "wlan0" or "wlan1vap3".
#pragma once

#include <cstdint>

// Stores the driver's flag word for the client (TSPEC_CLIENT_...) in *out_flags,
// unless that is null; 0 when the driver does not say. Returns 0; -1 for a
// radio_unit other than 1 and 2, without a socket, or when the query failed,
// which leaves its descriptor open.
int32_t tspec_client_status_flags_get(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap,
                                      uint32_t *out_flags);

// Whether the driver says that the client is associated; a failed query says no.
bool tspec_client_is_associated(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap);

// Whether the driver says that the client is associated and roaming. Asks only on a
// managed access point; on any other no client roams.
bool tspec_client_roam_flag_get(const uint8_t *sta_mac, int32_t radio_unit, uint32_t vap);
