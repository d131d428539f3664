// The simulator's end of the control channel to the driver library.
#pragma once

#include "sim/driver/control.h"
#include "sim/lib/driver.h"
#include "sim/lib/socket.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tspec::sim {

// Requests with everything else zero.
control::Request make_request(control::RequestType type);
control::Request station_request(const Mac &station, const std::string &interface,
                                 const StationAnswer &answer);
control::Request fault_request(const Fault &fault);
void put_name(control::Request &request, std::string_view name);
void put_data(control::Request &request, std::string_view data);

class ControlLink {
  public:
    // Opens the pair; the far end is for the daemon.
    ControlLink();

    int fd() const { return near_.fd(); }
    int far_fd() const { return far_.fd(); }
    void close_far() { far_.close(); }

    // Numbers the request and sends it; false when the daemon is gone.
    bool send(control::Request &request);

    enum class Result { report, nothing, closed };
    // The next report waiting; report() stays valid until the next call.
    Result receive();
    const control::Report &report() const { return *report_; }

  private:
    Socket near_;
    Socket far_;
    uint32_t last_id_ = 0;
    std::unique_ptr<control::Report> report_;
};

} // namespace tspec::sim
