// Every datagram that the timeline tells, and those of loops that it leaves out,
// as a capture that Wireshark opens: those on UDP as packets on the loopback
// interface, those of the local sockets as exported PDUs, which name the
// dissector of tools/wireshark/tspec.lua that reads them.
//
// A send that failed was never on a wire and is left out. What nobody received
// has a packet comment.
#pragma once

#include "sim/capture/pcapng.h"
#include "sim/scenario/audience.h"

#include <ostream>
#include <string>

namespace tspec::sim::capture {

class Capture final : public scenario::Audience {
  public:
    // Writes the file's head; the stream outlives the capture.
    Capture(std::ostream &out, std::string_view program);

    void begin(const scenario::Scenario &scenario, const std::string &world) override;
    void events(const Events &events, Time start) override;

  private:
    void add(const Event &event);

    PcapngWriter writer_;
    uint32_t loopback_;
    uint32_t local_;
    std::string scenario_; // whose first packet is still to come
};

} // namespace tspec::sim::capture
