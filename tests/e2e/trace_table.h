// A table of things that happen to the daemon and of what its console shows of
// them: each is played once for every trace level alone, once with none and once
// with all, and the console must hold the lines of those levels and not a byte
// more.
#pragma once

#include "trace_lines.h"

#include <functional>
#include <ostream>
#include <string>

namespace tspec::e2e {

using Action = std::function<void(AccessPoint &)>;

struct TraceCase {
    std::string name;
    Action prepare; // before tracing is on
    Action provoke;
    Trace lines;
    std::string standard_error{};
    // Needs an allocation that fails; a sanitizer's allocator is not ours.
    bool fails_allocation = false;
};

void PrintTo(const TraceCase &trace_case, std::ostream *out);

class TraceTable : public DaemonTest, public ::testing::WithParamInterface<TraceCase> {
  protected:
    // Plays the case under one mask.
    void play(const TraceCase &trace_case, uint32_t mask);
};

std::string case_name(const ::testing::TestParamInfo<TraceCase> &case_info);

// Preparations and provocations in short.
Action nothing();
Action in_turn(std::vector<Action> actions);
Action hostapd_sends(const HostapdMessage &message);
Action mapd_sends(const MapdMessage &message);
Action udp_sends(const Bytes &datagram);
Action dman_sends(const Bytes &datagram);
Action cli_sends(const Bytes &datagram);
Action admits(const Stream &stream = {});
Action managed();
Action sends_break(uint16_t port, unsigned times = 1);
Action injects(const Fault &fault);

#define TSPEC_TRACE_CASES(group, cases)                                                            \
    INSTANTIATE_TEST_SUITE_P(group, TraceTable, ::testing::ValuesIn(cases), case_name)

} // namespace tspec::e2e
