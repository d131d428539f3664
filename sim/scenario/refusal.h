// Why a station's request came to nothing, from what the daemon was seen to ask
// and to be told between the request and its end. Of a request that fits nowhere
// the datagrams do not tell whether it was the limit or the number of streams;
// lines on the console do, where the operator has them traced.
#pragma once

#include "sim/lib/event.h"

#include <optional>
#include <string>

namespace tspec::sim::scenario {

class Refusals {
  public:
    // A sentence that belongs before the event, or one that belongs after it.
    // Every event of a run is to be shown to both, in order.
    std::optional<std::string> before(const Event &event);
    std::optional<std::string> after(const Event &event);

    // The daemon is through with everything that it has read.
    std::optional<std::string> settled();

  private:
    // A request that the daemon has read and not ended.
    struct Request {
        std::string who;        // "station 02:..., TID 6"
        bool other_tid = false; // in TS Info than in the message
        bool asked_driver = false;
        bool asked_duration = false;
        bool got_duration = false;
        bool got_other = false;
        std::string traced; // what the console has said of it
    };

    static Request request_of(const Event &event);
    std::optional<std::string> take_query(const DriverQuery &query);
    std::optional<std::string> take_response(const Event &event);
    void take_line(const std::string &line);
    std::string reason_of_rejection() const;
    std::string reason_of_refusal() const;

    std::optional<Request> open_;
    bool mapd_speaks_ = false; // the answer that comes is mapd's
};

} // namespace tspec::sim::scenario
