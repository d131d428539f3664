#include "bench/load/report.h"

#include <algorithm>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tspec::bench {

namespace {

constexpr std::string_view begin_mark = "<!-- figures -->\n";
constexpr std::string_view end_mark = "<!-- end of figures -->\n";

using Line = std::vector<std::string>;

// A Markdown table with its columns in line; all but the first `text_columns`
// are numbers.
std::string table(const std::vector<Line> &lines, size_t text_columns)
{
    std::vector<size_t> widths(lines.front().size(), 3);
    for (const Line &line : lines) {
        for (size_t i = 0; i < line.size(); i++) {
            widths[i] = std::max(widths[i], line[i].size());
        }
    }
    std::string text;
    for (size_t number = 0; number < lines.size(); number++) {
        for (size_t i = 0; i < widths.size(); i++) {
            text += i < text_columns ? fmt::format("| {:<{}} ", lines[number][i], widths[i])
                                     : fmt::format("| {:>{}} ", lines[number][i], widths[i]);
        }
        text += "|\n";
        if (number == 0) {
            for (size_t i = 0; i < widths.size(); i++) {
                const std::string dashes(widths[i] + (i < text_columns ? 2 : 1), '-');
                text += "|" + dashes + (i < text_columns ? "" : ":");
            }
            text += "|\n";
        }
    }
    return text;
}

std::string name_of(const Row &row)
{
    const KindInfo &info = info_of(row.kind);
    if (row.style == Style::one || info.remark.empty()) {
        return std::string(info.title);
    }
    return fmt::format("{} ({})", info.title, info.remark);
}

std::string ratio_text(const Ratio &ratio)
{
    return fmt::format("{:.2f} ({:.2f}-{:.2f})", ratio.median, ratio.low, ratio.high);
}

std::string latencies(const Cost &cost)
{
    return fmt::format("{:.1f} / {:.1f} / {:.1f}", cost.p50, cost.p99, cost.p999);
}

Line line_of(const Row &row)
{
    return {name_of(row),
            std::to_string(row.others),
            row.style == Style::one ? "1" : std::to_string(pipeline_depth),
            fmt::format("{:.0f}", row.daemon.rate),
            fmt::format("{:.0f}", row.floor.rate),
            latencies(row.daemon),
            latencies(row.floor),
            fmt::format("{:.2f}", row.daemon.cpu),
            fmt::format("{:.2f}", row.floor.cpu),
            row.walks_cpu > 0 ? fmt::format("{:.2f}", row.walks_cpu) : "",
            ratio_text(row.cpu),
            row.walks_cpu > 0 ? ratio_text(row.over_walks) : "",
            ratio_text(row.wall)};
}

std::string cost_table(const std::vector<Row> &rows)
{
    std::vector<Line> lines = {{"request", "other streams", "outstanding", "daemon req/s",
                                "floor req/s", "daemon p50 / p99 / p99.9 us",
                                "floor p50 / p99 / p99.9 us", "daemon CPU us", "floor CPU us",
                                "floor + walks CPU us", "CPU ratio", "CPU ratio with walks",
                                "wall ratio"}};
    std::transform(rows.begin(), rows.end(), std::back_inserter(lines), line_of);
    return table(lines, 1);
}

// The counts of one kind, in the order of the store sizes.
std::vector<Count> counts_of(const std::vector<Count> &counts, Kind kind)
{
    std::vector<Count> result;
    std::copy_if(counts.begin(), counts.end(), std::back_inserter(result),
                 [kind](const Count &count) { return count.kind == kind; });
    return result;
}

// Each client more, from the smallest store to the largest.
double growth_of(const std::vector<Count> &row)
{
    const double span = row.back().others - row.front().others;
    const auto growth = static_cast<double>(row.back().instructions - row.front().instructions);
    return span > 0 ? growth / span : 0;
}

std::string instruction_table(const std::vector<Count> &counts)
{
    Line head = {"request"};
    for (const Count &count : counts_of(counts, counts.front().kind)) {
        head.push_back(fmt::format("{} other streams", count.others));
    }
    head.push_back("each client more");
    std::vector<Line> lines = {head};
    for (const KindInfo &info : kinds) {
        const std::vector<Count> row = counts_of(counts, info.kind);
        if (row.empty()) {
            continue;
        }
        Line line = {std::string(info.title)};
        for (const Count &count : row) {
            line.push_back(fmt::format("{}{}", count.instructions, count.repeated ? "" : " *"));
        }
        line.push_back(fmt::format("{:.1f}", growth_of(row)));
        lines.push_back(line);
    }
    return table(lines, 1);
}

// A figure that the machine's speed has no part in.
struct Bounded {
    std::string name;
    double measured;
    double bound;
    std::string unit;
    int digits;
};

std::vector<Bounded> bounded_figures(const Results &results)
{
    std::vector<Bounded> figures = {
        {"stripped executable", static_cast<double>(results.footprint.executable), 65536, "bytes",
         0},
        {"private memory, no streams", results.footprint.idle_kb, 200, "KB", 0},
        {"private memory, each client more", results.footprint.client_kb, 1, "KB", 2},
    };
    const std::vector<Count> addts = counts_of(results.counts, Kind::addts);
    if (!addts.empty()) {
        figures.push_back({"instructions of an ADDTS, each client more", growth_of(addts), 80,
                           "instructions", 0});
    }
    return figures;
}

std::string with_unit(const Bounded &figure, double value)
{
    return fmt::format("{:.{}f} {}", value, figure.digits, figure.unit);
}

std::string bounds_table(const Results &results)
{
    std::vector<Line> lines = {{"", "measured", "bound"}};
    for (const Bounded &figure : bounded_figures(results)) {
        lines.push_back(
            {figure.name, with_unit(figure, figure.measured), with_unit(figure, figure.bound)});
    }
    lines.push_back({"start to the first answered ping",
                     fmt::format("{:.1f} ms", results.footprint.start_milliseconds), ""});
    return table(lines, 1);
}

// The chief functions of a new stream's ADDTS in the smallest store.
std::string addts_profile(const std::vector<Count> &counts)
{
    const std::vector<Count> addts = counts_of(counts, Kind::addts);
    return addts.empty() ? "" : "```\n" + profile_of(addts.front(), 32) + "```\n\n";
}

} // namespace

std::string report_of(const Results &results)
{
    std::string text = results.machine + "\n\n";
    text += "Cost of a request:\n\n" + cost_table(results.rows) + "\n";
    if (!results.counts.empty()) {
        text += "User-space instructions of a request (executable and C library):\n\n" +
                instruction_table(results.counts) + "\n" + addts_profile(results.counts);
    }
    text += "Figures that do not depend on the machine's speed, and the start:\n\n" +
            bounds_table(results);
    if (!results.rooms.empty()) {
        text += "\nThe rooms alone:\n\n```\n" + results.rooms + "```\n";
    }
    return text;
}

std::string beyond_bounds(const Results &results)
{
    std::string text;
    for (const Bounded &figure : bounded_figures(results)) {
        if (figure.measured > figure.bound) {
            text +=
                fmt::format("{}: {}, beyond its bound of {}\n", figure.name,
                            with_unit(figure, figure.measured), with_unit(figure, figure.bound));
        }
    }
    return text;
}

std::string profile_of(const Count &count, size_t functions)
{
    std::vector<std::pair<int64_t, std::string>> order;
    for (const auto &[function, instructions] : count.profile) {
        order.emplace_back(instructions.count,
                           function + (instructions.of_library ? " (C library)" : ""));
    }
    std::sort(order.rbegin(), order.rend());
    order.resize(std::min(order.size(), functions));
    std::string text = fmt::format(
        "{}, {} other streams: {} instructions, {} of them the C library's\n",
        info_of(count.kind).title, count.others, count.instructions, count.of_library());
    for (const auto &[instructions, function] : order) {
        text += fmt::format("{:>8}  {}\n", instructions, function);
    }
    return text;
}

void put_into_document(const std::filesystem::path &document, const std::string &text)
{
    std::ifstream in(document);
    std::string content{std::istreambuf_iterator<char>(in), {}};
    const size_t begin = content.find(begin_mark);
    const size_t end = content.find(end_mark);
    if (begin == std::string::npos || end == std::string::npos) {
        throw std::runtime_error("no marks for the figures in " + document.string());
    }
    const size_t from = begin + begin_mark.size();
    content.replace(from, end - from, "\n" + text + "\n");
    std::ofstream(document) << content;
}

} // namespace tspec::bench
