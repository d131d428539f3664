// dman's status requests and the statistics reports that answer them, as lines
// of key=value text in one datagram to dman's reply port.
#pragma once

#include <cstdint>

// text: what follows the type byte of a TSPEC_DMAN_STATUS_REQ_MSG; length: that
// of the whole datagram, so that length - 1 bytes of text count, up to a NUL.
// Returns 0 when an answer was sent, -1 when the request names nothing that can
// be reported (there is no answer then) or the send failed.
int32_t tspec_process_dman_stats_msg(const uint8_t *text, uint32_t length);

// The reports: the access point; one radio (0 or 1); one VAP (0 to 15) of a
// radio. Each returns 0, or -1 when it could not be sent or, without a report,
// when there is no such radio or VAP.
int32_t fill_and_send_ap_tspec_stats();
int32_t fill_and_send_radio_tspec_stats(uint32_t radio);
int32_t fill_and_send_vap_tspec_stats(uint32_t radio, uint32_t vap);

// Radio index of the first "wlan" in the text: 1 for "wlan1", 0 for "wlan0",
// -1 for anything else.
int32_t find_radio_string(const char *text);

// Number after the first "vap" that follows the first "wlan" in the text, as
// atoi reads it; 0 when there is none. Not limited to any range.
int32_t find_vap_string(const char *text);
