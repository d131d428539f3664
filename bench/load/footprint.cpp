#include "bench/load/footprint.h"

#include "bench/load/rounds.h"
#include "sim/lib/probe.h"
#include "tspec/message.h"

namespace tspec::bench {

namespace {

constexpr int starts = 15;

double private_kb(const Process &process)
{
    return static_cast<double>(sim::private_memory_kb(process.pid()));
}

// As on the device: without a preloaded library.
Plan bare_plan(const Programs &programs)
{
    Plan plan;
    plan.words = {programs.daemon.string()};
    plan.processor = programs.processor;
    return plan;
}

double start_time(const Programs &programs, Peers &peers)
{
    std::vector<double> times;
    for (int i = 0; i < starts; i++) {
        const auto begin = Clock::now();
        const auto process = start(bare_plan(programs), peers);
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    }
    return median_of(times);
}

double kb_with_streams(const Programs &programs, Peers &peers, int streams)
{
    Run run(programs, peers, Subject::daemon, {Kind::addts, Style::one, streams});
    return private_kb(run.process());
}

} // namespace

Footprint measure_footprint(const Programs &programs, Peers &peers)
{
    Footprint footprint;
    footprint.executable = std::filesystem::file_size(programs.daemon);
    footprint.idle_kb = private_kb(*start(bare_plan(programs), peers));
    footprint.client_kb =
        (kb_with_streams(programs, peers, TSPEC_MAX_TS) - kb_with_streams(programs, peers, 1)) /
        (TSPEC_MAX_TS - 1);
    footprint.start_milliseconds = start_time(programs, peers);
    return footprint;
}

} // namespace tspec::bench
