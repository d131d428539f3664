// The scenes that many tests begin with: stations that the driver knows,
// admission control configured, streams admitted.
#pragma once

#include "support.h"

namespace tspec::e2e {

inline constexpr uint8_t uplink = TSPEC_DIR_UPLINK;
inline constexpr uint8_t downlink = TSPEC_DIR_DOWNLINK;
inline constexpr uint8_t bidirectional = TSPEC_DIR_BIDIRECTIONAL;

// User priorities, one for each access category.
inline constexpr uint8_t up_best_effort = 0;
inline constexpr uint8_t up_background = 1;
inline constexpr uint8_t up_video = 5;
inline constexpr uint8_t up_voice = 6;

// A stream of station 1 on wlan0; the default is an uplink voice stream whose
// medium time is 625 at a frame duration of 400 microseconds.
struct Stream {
    uint8_t tid = 6;
    uint8_t user_priority = up_voice;
    uint8_t direction = uplink;
    uint32_t station = 1;
    uint8_t radio_unit = 1;
    uint8_t vap = 0;
    uint16_t medium_time = 0; // in the element, where fast transitions carry it
    uint32_t mean_data_rate = 83200;
};

HostapdMessage from_hostapd(uint8_t cmd, const Stream &stream = {});
MapdMessage from_mapd(uint8_t cmd, const Stream &stream = {},
                      uint8_t result = TSPEC_RESULT_ACCEPTED);
uint8_t ac_of(const Stream &stream);

// The driver says that station 1 (or every station) is associated.
void associate(AccessPoint &ap);
void associate_all(AccessPoint &ap);

// Admission control mandatory on wlan0 for voice and video, 50 % each.
void configure_voice_and_video(AccessPoint &ap);

// mapd takes or gives back the access point; what it is told then is over when
// this returns.
void manage(AccessPoint &ap, bool managed = true);

// Sends and settles.
Events request(AccessPoint &ap, const HostapdMessage &message);
Events respond(AccessPoint &ap, const MapdMessage &message);

// Carries the stream through its admission, in either mode, and expects that it
// is accepted.
void admit(AccessPoint &ap, const Stream &stream = {});

// Every send to this port fails that many times, "Network is unreachable".
void break_sends(AccessPoint &ap, uint16_t port, unsigned times = 1);

} // namespace tspec::e2e
