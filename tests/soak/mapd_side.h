// mapd: comes and takes the access point over, answers requests at once, late,
// wrongly or never, takes streams back, and goes, with or without saying so.
#pragma once

#include "stage.h"

namespace tspec::soak {

class MapdSide {
  public:
    explicit MapdSide(Stage &stage);

    void begin();
    bool is_on() const { return on_; }
    void be_on(Activity activity);
    void leave(Activity activity); // its socket closes
    // Its word on who decides: 1 managed, 0 not.
    void set_mode(Activity activity, uint8_t managed);

  private:
    void come();
    void go();
    void vanish();
    void hear(const model::Sent &sent);
    void answer(Bytes request);
    void take_a_stream_back();

    Stage &stage_;
    Chance &chance_;
    bool on_ = false;
    bool silent_ = false;
};

} // namespace tspec::soak
