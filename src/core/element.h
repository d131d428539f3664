// The two forms of a TSPEC: the aligned element of hostapd's messages and the
// packed body of mapd's.
#pragma once

#include "tspec/message.h"

// Fills the packed body from the aligned element.
void tspec_ie_pack(tspec_body_t *packed, const tspec_ie_t *aligned);

// Writes the fields of the packed body into the aligned element, and leaves its
// header and padding as they were. Either does nothing if a pointer is null.
void tspec_ie_unpack(tspec_ie_t *aligned, const tspec_body_t *packed);
