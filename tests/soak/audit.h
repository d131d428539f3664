// The look into the books, once a simulated day: everybody is sent away, the
// daemon is asked for everything in both modes, filled to the last stream that it
// takes and emptied again. What it holds of the machine must be what it held the
// first time, and a stream that was miscounted shows as one too few or too many.
#pragma once

#include "device_side.h"
#include "hostapd_side.h"
#include "mapd_side.h"
#include "trouble.h"

namespace tspec::soak {

class Audit {
  public:
    Audit(Stage &stage, HostapdSide &hostapd, MapdSide &mapd, DeviceSide &device, Trouble &trouble);

    // Throws Finding.
    void make();

  private:
    void clear();
    void fill();
    void ask_in_both_modes();
    void show_accounts();
    void check_descriptors();
    void check_memory(const Measure &measure) const;
    void bring(unsigned client, uint8_t up);
    uint64_t written_memory();
    void play(const Step &step) { stage_.play(Activity::audit, step); }

    Stage &stage_;
    HostapdSide &hostapd_;
    MapdSide &mapd_;
    DeviceSide &device_;
    Trouble &trouble_;
    size_t descriptors_at_start_ = 0;
    bool memory_counts_;
};

} // namespace tspec::soak
