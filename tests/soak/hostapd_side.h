// hostapd and the stations it serves: they come by a daily curve, ask for voice
// and video, change their minds, exceed what they were granted, fall silent,
// roam and leave, with or without saying so.
#pragma once

#include "stage.h"

#include <vector>

namespace tspec::soak {

class HostapdSide {
  public:
    explicit HostapdSide(Stage &stage);

    // Plans everything that these do by themselves.
    void begin();

    // Its socket closes, and opens again a little later; all stations are gone.
    void restart();

    // Everybody leaves at once, as when the radio is switched off.
    void send_everybody_away();

    bool is_on() const { return on_; }
    void be_on(Activity activity);

    // How busy it is at this time of day, in percent of the busiest hour.
    static unsigned load_percent(uint64_t second);

  private:
    struct Station {
        Mac mac{};
        bool present = false;
        uint8_t radio_unit = 1;
        uint8_t vap = 0;
        uint32_t visit = 0; // plans of an earlier visit are void
    };
    struct Wish {
        uint8_t tid;
        uint8_t up;
        uint8_t dir;
        uint32_t mean_rate;
        uint32_t seconds; // on average
    };

    void plan_next_arrival();
    void arrive(size_t number);
    void settle_in(size_t number, bool roaming);
    void plan_call(size_t number);
    void call(size_t number);
    void open_stream(size_t number, const Wish &wish);
    void renegotiate(size_t number, const Wish &wish);
    void exceed(size_t number, const Wish &wish);
    void end_stream(size_t number, const Wish &wish);
    void leave(size_t number);
    void roam(size_t number);
    void report_idle_streams();
    void set_state(const Station &station, const char *text);
    void send(Activity activity, const model::HostapdInput &input);
    void in_visit(size_t number, uint32_t seconds, Stage::Action action);
    model::HostapdInput input_of(const Station &station) const;
    Wish wish();
    Station *station_of(const Mac &mac);

    Stage &stage_;
    Chance &chance_;
    std::vector<Station> stations_;
    bool on_ = true;
};

} // namespace tspec::soak
