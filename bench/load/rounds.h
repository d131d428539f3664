// Daemon and floor measured in turns, several rounds of short bursts, so that
// whatever else the machine does meets both.
#pragma once

#include "bench/load/subject.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace tspec::bench {

struct Cost {
    double rate = 0; // requests a second
    double p50 = 0;  // microseconds
    double p99 = 0;
    double p999 = 0;
    double cpu = 0; // microseconds a request
};

// Daemon over floor: the median of the rounds, and their range.
struct Ratio {
    double median = 0;
    double low = 0;
    double high = 0;
};

struct Row {
    Kind kind;
    Style style;
    int others;
    Cost daemon;
    Cost floor;
    double walks_cpu = 0; // floor plus the bare walks; 0 where it was not measured
    Ratio cpu;
    Ratio over_walks; // CPU over that of floor plus walks, where it was measured
    Ratio wall;       // of the median latency; of the time a request with several outstanding
};

struct Effort {
    std::vector<KindInfo> measured;
    std::vector<int> others;
    int rounds;
    std::chrono::duration<double> total;
};

using Progress = std::function<void(double done, const std::string &what)>;

std::vector<Row> measure_rows(const Programs &programs, Peers &peers, const Effort &effort,
                              const Progress &progress);

double median_of(std::vector<double> values);
double percentile_of(std::vector<double> values, double percent);

} // namespace tspec::bench
