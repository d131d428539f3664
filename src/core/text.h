// Texts that several rooms print.
#pragma once

#include "tspec/message.h"

#include <cstdint>

// A MAC address as "%2.2x:%2.2x:%2.2x:%2.2x:%2.2x:%2.2x" prints it. A value of
// its own, so that it can be an argument of a trace and cost nothing when the
// trace is masked off.
struct tspec_mac_text_t {
    char text[3 * TSPEC_MAC_LEN];
};
tspec_mac_text_t tspec_mac_text(const uint8_t *mac);
