// Everything that is told of the runs, as the data of the page that shows them.
//
//     {program, layouts: [[field name, ...], ...],
//      runs: [{name, file, about, world, expectations, failures,
//              items: [item, ...],
//              airtime: [{radio, ac, points: [{item, t, admitted, limit}, ...]}, ...]}, ...]}
//
// Items stand in the order in which they happened; t counts microseconds of
// simulated time since the start of the run. Every item has a kind:
//
//     message   {from, to, name, title, summary, layout, values, type, bytes, remark, fate}
//               a datagram or, without bytes, a question to the driver; a value is
//               its text, or [bare value, text] where these differ
//     output    {stream, text}: "console", "system log", "trap pipe", ...
//     act       {who, what}, clock {text}, note {text}, remark {text}
//     held      {text}, failed {text, place, rows: [[name, expected, actual, holds], ...],
//               remarks}
//
// As on the terminal, only the first and the last turn of a loop are told.
#pragma once

#include "sim/lib/decode.h"
#include "sim/report/airtime.h"
#include "sim/scenario/audience.h"

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tspec::sim::report {

class Recorder final : public scenario::Audience {
  public:
    explicit Recorder(std::string program) : program_(std::move(program)) {}

    nlohmann::json data() const;

    void begin(const scenario::Scenario &scenario, const std::string &world) override;
    void note(const std::string &text) override;
    void events(const Events &events, Time start) override;
    void act(Duration since_start, const std::string &who, const std::string &what) override;
    void load_changes(const scenario::Load &before, const scenario::Load &after) override;
    void held(const std::string &what) override;
    void failed(const scenario::Scenario &scenario, const scenario::Step &step,
                const scenario::ExpectationFailed &failure) override;
    void failed(const scenario::Scenario &scenario, const scenario::Step &step,
                const std::string &headline) override;
    void failed(const std::string &headline) override;
    void mute() override { muted_++; }
    void unmute() override { muted_--; }
    void remark(const std::string &text) override;
    void end(const scenario::Scenario &scenario, size_t expectations, size_t failures) override;

  private:
    using Json = nlohmann::json;

    void add(const char *kind, Json item);
    void add_event(const Event &event);
    Json message(const Event &event);
    size_t layout_of(const std::vector<Field> &fields);
    size_t last_item() const;
    Json airtime() const;

    std::string program_;
    Json runs_ = Json::array();
    Json run_;
    Json items_ = Json::array();
    Airtime airtime_;
    std::map<std::vector<std::string>, size_t> layouts_;
    Duration now_{};
    int muted_ = 0;
};

} // namespace tspec::sim::report
