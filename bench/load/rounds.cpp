#include "bench/load/rounds.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace tspec::bench {

namespace {

// Share of a program's turn that goes to the burst; the rest is for starting it,
// filling its store and counting CPU time.
constexpr double burst_share = 0.5;
constexpr size_t cpu_samples = 150;
constexpr Nanoseconds shortest_burst = std::chrono::milliseconds(5);

struct Cell {
    Kind kind;
    Style style;
    int others;
};

// What the rounds of one program yield.
struct Series {
    std::vector<double> latencies;
    std::vector<double> p50;
    std::vector<double> cpu;
    std::vector<double> microseconds_a_request;
};

std::vector<Cell> cells_of(const Effort &effort)
{
    std::vector<Cell> cells;
    for (const KindInfo &info : effort.measured) {
        for (const int others : effort.others) {
            cells.push_back({info.kind, Style::one, others});
            if (has_pipelined(info.kind)) {
                cells.push_back({info.kind, Style::pipelined, others});
            }
        }
    }
    return cells;
}

std::vector<Subject> subjects_of(const Cell &cell, int round)
{
    std::vector<Subject> subjects = {Subject::daemon, Subject::floor};
    if (cell.style == Style::one) {
        subjects.push_back(Subject::floor_with_walks);
    }
    if (round % 2 == 1) {
        std::reverse(subjects.begin(), subjects.end());
    }
    return subjects;
}

size_t turns_of(const std::vector<Cell> &cells, const Effort &effort)
{
    size_t turns = 0;
    for (const Cell &cell : cells) {
        turns += subjects_of(cell, 0).size() * static_cast<size_t>(effort.rounds);
    }
    return turns;
}

double cpu_a_request(Run &run, const Cell &cell, const Burst &burst, Nanoseconds consumed)
{
    if (cell.style == Style::one) {
        return median_of(run.requests().cpu_of_requests(cpu_samples));
    }
    return std::chrono::duration<double, std::micro>(consumed).count() /
           static_cast<double>(burst.requests);
}

void add_round(Run &run, const Cell &cell, Nanoseconds length, Series &series)
{
    Requests &requests = run.requests();
    const Nanoseconds before = run.process().settled_cpu();
    const auto end = Clock::now() + length;
    const Burst burst =
        cell.style == Style::one ? requests.run_one_at_a_time(end) : requests.run_pipelined(end);
    const Nanoseconds consumed = run.process().settled_cpu() - before;
    series.latencies.insert(series.latencies.end(), burst.latencies.begin(), burst.latencies.end());
    series.p50.push_back(median_of(burst.latencies));
    series.microseconds_a_request.push_back(burst.seconds * 1e6 /
                                            static_cast<double>(burst.requests));
    series.cpu.push_back(cpu_a_request(run, cell, burst, consumed));
}

Cost cost_of(const Series &series)
{
    return {1e6 / median_of(series.microseconds_a_request), percentile_of(series.latencies, 50),
            percentile_of(series.latencies, 99), percentile_of(series.latencies, 99.9),
            median_of(series.cpu)};
}

Ratio ratio_of(const std::vector<double> &over, const std::vector<double> &under)
{
    std::vector<double> ratios;
    std::transform(over.begin(), over.end(), under.begin(), std::back_inserter(ratios),
                   [](double a, double b) { return a / b; });
    return {median_of(ratios), *std::min_element(ratios.begin(), ratios.end()),
            *std::max_element(ratios.begin(), ratios.end())};
}

Row row_of(const Cell &cell, const Series &daemon, const Series &floor, const Series &walks)
{
    Row row{cell.kind, cell.style, cell.others, cost_of(daemon), cost_of(floor), 0, {}, {}, {}};
    if (!walks.cpu.empty()) {
        row.walks_cpu = median_of(walks.cpu);
        row.over_walks = ratio_of(daemon.cpu, walks.cpu);
    }
    row.cpu = ratio_of(daemon.cpu, floor.cpu);
    row.wall = cell.style == Style::one
                   ? ratio_of(daemon.p50, floor.p50)
                   : ratio_of(daemon.microseconds_a_request, floor.microseconds_a_request);
    return row;
}

size_t reply_length(const Programs &programs, Peers &peers, Kind kind)
{
    Run run(programs, peers, Subject::daemon, {kind, Style::one, 1});
    return run.requests().reply_length();
}

} // namespace

double percentile_of(std::vector<double> values, double percent)
{
    if (values.empty()) {
        return 0;
    }
    const double place = percent / 100 * static_cast<double>(values.size() - 1);
    const auto at = values.begin() + static_cast<ptrdiff_t>(std::lround(place));
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double median_of(std::vector<double> values)
{
    return percentile_of(std::move(values), 50);
}

std::vector<Row> measure_rows(const Programs &programs, Peers &peers, const Effort &effort,
                              const Progress &progress)
{
    const std::vector<Cell> cells = cells_of(effort);
    const auto turn = std::chrono::duration_cast<Nanoseconds>(
        effort.total / static_cast<double>(turns_of(cells, effort)));
    const Nanoseconds length =
        std::max(shortest_burst, std::chrono::duration_cast<Nanoseconds>(turn * burst_share));
    std::vector<Row> rows;
    for (const Cell &cell : cells) {
        progress(static_cast<double>(rows.size()) / static_cast<double>(cells.size()),
                 fmt::format("{}, {} other streams{}", info_of(cell.kind).title, cell.others,
                             cell.style == Style::one ? "" : ", 32 outstanding"));
        Setting setting{cell.kind, cell.style, cell.others};
        setting.reply_length = reply_length(programs, peers, cell.kind);
        Series series[3];
        for (int round = 0; round < effort.rounds; round++) {
            for (const Subject subject : subjects_of(cell, round)) {
                Run run(programs, peers, subject, setting);
                add_round(run, cell, length, series[static_cast<size_t>(subject)]);
            }
        }
        rows.push_back(row_of(cell, series[0], series[1], series[2]));
    }
    progress(1, "done");
    return rows;
}

} // namespace tspec::bench
