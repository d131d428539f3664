// The TS Info field of a TSPEC element: three octets, of which the daemon reads
// TID, direction and user priority (IEEE 802.11e, 7.3.2.30).
#pragma once

#include "tspec/message.h"

#include <array>
#include <cstdint>

struct tspec_ts_info_t {
    uint8_t tid;           // octet 0, bits 1 to 4
    uint8_t dir;           // octet 0, bits 5 and 6: TSPEC_DIR_...
    uint8_t user_priority; // octet 1, bits 3 to 5
};

constexpr tspec_ts_info_t tspec_ts_info_decode(const uint8_t *ts_info)
{
    return {static_cast<uint8_t>((ts_info[0] & 0x1e) >> 1),
            static_cast<uint8_t>((ts_info[0] & 0x60) >> 5),
            static_cast<uint8_t>((ts_info[1] & 0x38) >> 3)};
}

// Access category index by 802.1D user priority.
inline constexpr std::array<uint8_t, 8> wme_prio2ac = {TSPEC_AC_BE, TSPEC_AC_BK, TSPEC_AC_BK,
                                                       TSPEC_AC_BE, TSPEC_AC_VI, TSPEC_AC_VI,
                                                       TSPEC_AC_VO, TSPEC_AC_VO};
