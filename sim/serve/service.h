// An access point on the host's own ports for as long as somebody wants to try
// his own parts on it: the daemon on the simulated driver, the peers that he
// does not bring, and the story of what goes on.
#pragma once

#include "sim/lib/access_point.h"
#include "sim/scenario/refusal.h"
#include "sim/scenario/timeline.h"
#include "sim/serve/control_socket.h"
#include "sim/serve/load_watch.h"
#include "sim/serve/station_option.h"

#include <filesystem>
#include <string>
#include <vector>

namespace tspec::sim::serve {

enum Status { ended = 0, daemon_lost = 1, wrong_input = 2, no_access_point = 3 };

struct ServeRequest {
    std::vector<Peer> away; // of hostapd, mapd and dman
    std::vector<StationOption> stations;
    bool managed = false;
    std::filesystem::path daemon;
    bool no_colour = false;
};

class Service {
  public:
    // Throws when the daemon cannot be run. Signals that end the service are
    // read from the descriptor.
    Service(const ServeRequest &request, int signals);

    // Returns when a signal has come (ended) or the daemon has gone by itself.
    Status run();

  private:
    void start();
    void announce() const;
    Status end();
    void tell(const Events &events);
    void say(const std::string &who, const std::string &what);
    void clear();
    void borrow_from_tool();
    void return_to_tool();
    void apply(ApplyRequest request);
    int play(const ApplyRequest &request);
    void watch_for(std::vector<Interrupt> more);

    ServeRequest request_;
    int signals_;
    bool colour_;
    AccessPoint ap_;
    scenario::Timeline timeline_;
    LoadWatch load_watch_;
    scenario::Refusals refusals_;
    ControlServer control_;
};

// What a service of this request needs for itself and finds taken, one sentence
// each.
std::vector<std::string> obstacles_to(const ServeRequest &request);

} // namespace tspec::sim::serve
