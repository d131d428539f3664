// What goes wrong around the daemon now and then: calls and driver queries that
// fail, hostapd's frame durations late or missing, a trap pipe whose reader comes
// and goes, a clock that is set, datagrams that no peer sends.
#pragma once

#include "hostapd_side.h"
#include "mapd_side.h"
#include "stage.h"

namespace tspec::soak {

class Trouble {
  public:
    Trouble(Stage &stage, HostapdSide &hostapd, MapdSide &mapd);

    void begin();
    // All works again.
    void end_all(Activity activity);

  private:
    void calls_fail();
    void driver_fails();
    void frames_are_odd();
    void trap_changes();
    void file_changes();
    void clock_is_set();
    void send_malformed();
    Bytes malformed_udp();
    Bytes malformed_dman();
    bool would_divide_by_zero(const Bytes &datagram) const;

    Stage &stage_;
    Chance &chance_;
    HostapdSide &hostapd_;
    MapdSide &mapd_;
    size_t descriptors_at_start_;
};

} // namespace tspec::soak
