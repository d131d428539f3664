/*
 * hostapd and the stations it serves: they come by a daily curve, ask for voice
 * and video, change their minds, exceed what they were granted, fall silent,
 * roam and leave, with or without saying so.
 */
#ifndef TSPEC_SOAK_HOSTAPD_SIDE_H
#define TSPEC_SOAK_HOSTAPD_SIDE_H

#include "stage.h"

#include <vector>

namespace tspec::soak {

class HostapdSide {
  public:
    explicit HostapdSide(Stage &stage);

    /* Plans everything that these do by themselves. */
    void begin();

    /* Its socket closes, and opens again a little later; all stations are gone. */
    void restart();

    /* Everybody leaves at once, as when the radio is switched off. */
    void send_everybody_away();

    bool is_on() const { return on_; }
    void be_on(Activity activity);

    /* How busy it is at this time of day, in percent of the busiest hour. */
    static unsigned load_percent(std::uint64_t second);

  private:
    struct Station {
        Mac mac{};
        bool present = false;
        std::uint8_t radio_unit = 1;
        std::uint8_t vap = 0;
        std::uint32_t visit = 0; /* plans of an earlier visit are void */
    };
    struct Wish {
        std::uint8_t tid;
        std::uint8_t up;
        std::uint8_t dir;
        std::uint32_t mean_rate;
        std::uint32_t seconds; /* on average */
    };

    void plan_next_arrival();
    void arrive(std::size_t number);
    void settle_in(std::size_t number, bool roaming);
    void plan_call(std::size_t number);
    void call(std::size_t number);
    void open_stream(std::size_t number, const Wish &wish);
    void renegotiate(std::size_t number, const Wish &wish);
    void exceed(std::size_t number, const Wish &wish);
    void end_stream(std::size_t number, const Wish &wish);
    void leave(std::size_t number);
    void roam(std::size_t number);
    void report_idle_streams();
    void set_state(const Station &station, const char *text);
    void send(Activity activity, const model::HostapdInput &input);
    void in_visit(std::size_t number, std::uint32_t seconds, Stage::Action action);
    model::HostapdInput input_of(const Station &station) const;
    Wish wish();
    Station *station_of(const Mac &mac);

    Stage &stage_;
    Chance &chance_;
    std::vector<Station> stations_;
    bool on_ = true;
};

} // namespace tspec::soak

#endif
