// tspec-bench: what the daemon costs, beside what its system calls alone cost.
#include "bench/load/calls.h"
#include "bench/load/chart.h"
#include "bench/load/report.h"
#include "sim/lib/messages.h"
#include "sim/lib/private_world.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <iostream>
#include <string>
#include <sys/utsname.h>
#include <unistd.h>

namespace tspec::bench {

namespace {

namespace fs = std::filesystem;

struct Settings {
    bool quick = false;
    bool smoke = false;
    bool verify = false;
    bool profile = false;
    bool no_counts = false;
    double seconds = 0;
    std::string only;
    std::string daemon;
    std::string document;
    std::string chart;
    std::string rooms;
};

constexpr double full_seconds = 240;
constexpr double quick_seconds = 20;
constexpr double smoke_seconds = 1;

fs::path own_directory()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

Programs find_programs(const Settings &settings)
{
    Programs programs;
    programs.daemon =
        settings.daemon.empty() ? own_directory() / "tspec-daemon" : fs::path(settings.daemon);
    programs.daemon = fs::canonical(programs.daemon);
    programs.floor = fs::canonical(own_directory() / "tspec-floor");
    programs.driver = fs::canonical(own_directory() / "../lib/libtspec-bench-driver.so");
    return programs;
}

void write_proc_file(Programs &programs)
{
    programs.proc_file = fs::temp_directory_path() / "tspec-bench-proc";
    std::ofstream(programs.proc_file) << sim::channel_utilisation_text(120);
}

// The program under measurement on one processor, this one on another. Returns
// how it went, for the report.
std::string share_processors(Programs &programs)
{
    const std::vector<int> numbers = processors();
    const std::string count =
        fmt::format("{} processor{}", numbers.size(), numbers.size() == 1 ? "" : "s");
    if (numbers.size() < 2 || !pin_to(numbers[1])) {
        return count + ", not pinned to them";
    }
    programs.processor = numbers[0];
    return count + ", daemon and load pinned to one each";
}

std::string processor_model()
{
    std::ifstream in("/proc/cpuinfo");
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("model name", 0) == 0) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown processor";
}

std::string machine(const std::string &sharing)
{
    utsname name{};
    uname(&name);
    std::ifstream load("/proc/loadavg");
    double busy = 0;
    load >> busy;
    return fmt::format("Measured on {} ({}), Linux {}, load average at the start {:.1f}.",
                       processor_model(), sharing, name.release, busy);
}

void show_progress(double done, const std::string &what)
{
    const bool terminal = isatty(STDERR_FILENO) == 1;
    fmt::print(stderr, "{}[{:3.0f} %] {:<72}{}", terminal ? "\r" : "", done * 100, what,
               terminal && done < 1 ? "" : "\n");
    std::fflush(stderr);
}

void write_file(const fs::path &path, const std::string &text)
{
    std::ofstream out(path);
    out << text;
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

int verify(const Programs &programs, Peers &peers)
{
    if (!has_strace()) {
        fmt::print("strace is missing: the floor's system calls were not compared\n");
        return 0;
    }
    const Comparison comparison = compare_calls(programs, peers);
    fmt::print("{}{}\n", comparison.text,
               comparison.same ? "The floor makes the daemon's system calls."
                               : "The floor differs from the daemon.");
    return comparison.same ? 0 : 1;
}

void show_profile(const Programs &programs, Peers &peers, const Effort &effort)
{
    for (const Count &count : count_instructions(programs, peers, effort, show_progress)) {
        fmt::print("{}\n", profile_of(count, 60));
    }
}

Effort effort_of(const Settings &settings)
{
    Effort effort{{}, {1, 64, 256, 511}, 7, {}};
    double standard = full_seconds;
    if (settings.quick) {
        effort = {{}, {1, 511}, 2, {}};
        standard = quick_seconds;
    }
    if (settings.smoke) {
        effort = {{}, {1, 8}, 1, {}};
        standard = smoke_seconds;
    }
    for (const KindInfo &info : kinds) {
        if (settings.only.empty() || info.floor == settings.only) {
            effort.measured.push_back(info);
        }
    }
    effort.total =
        std::chrono::duration<double>(settings.seconds > 0 ? settings.seconds : standard);
    return effort;
}

std::vector<std::string> kind_names()
{
    std::vector<std::string> names;
    for (const KindInfo &info : kinds) {
        names.emplace_back(info.floor);
    }
    return names;
}

std::string content_of(const fs::path &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

int run(const Settings &settings)
{
    Programs programs = find_programs(settings);
    std::cerr << sim::PrivateWorld::enter().description() << "\n";
    write_proc_file(programs);
    const std::string sharing = share_processors(programs);
    Peers peers;
    if (settings.verify) {
        return verify(programs, peers);
    }
    const Effort effort = effort_of(settings);
    if (settings.profile) {
        show_profile(programs, peers, effort);
        return 0;
    }
    Results results;
    results.machine = machine(sharing);
    results.rows = measure_rows(programs, peers, effort, show_progress);
    if (!settings.no_counts && has_valgrind()) {
        results.counts = count_instructions(programs, peers, effort, show_progress);
    }
    results.footprint = measure_footprint(programs, peers);
    if (!settings.rooms.empty()) {
        results.rooms = content_of(settings.rooms);
    }
    const std::string text = report_of(results);
    fmt::print("{}", text);
    if (!settings.document.empty()) {
        put_into_document(settings.document, text);
    }
    if (!settings.chart.empty()) {
        write_file(settings.chart, cost_chart(results.rows, results.counts));
    }
    const std::string complaint = beyond_bounds(results);
    fmt::print("{}", complaint);
    return complaint.empty() ? 0 : 1;
}

} // namespace

} // namespace tspec::bench

int main(int argc, char **argv)
{
    tspec::bench::Settings settings;
    CLI::App app{"Measures the daemon beside a bare loop that makes the same system calls."};
    app.add_flag("--quick", settings.quick, "two store sizes, two rounds");
    app.add_flag("--smoke", settings.smoke, "two small stores, one round: does it work at all?");
    app.add_option("--seconds", settings.seconds, "time for the bursts, about")
        ->check(CLI::PositiveNumber);
    app.add_option("--only", settings.only, "this kind of request alone")
        ->check(CLI::IsMember(tspec::bench::kind_names()));
    app.add_flag("--verify", settings.verify, "only compare the floor's system calls (strace)");
    app.add_flag("--profile", settings.profile, "only count instructions, by function (valgrind)");
    app.add_flag("--no-counts", settings.no_counts, "leave out the counting of instructions");
    app.add_option("--daemon", settings.daemon, "executable (default: beside this program)");
    app.add_option("--document", settings.document, "Markdown file to put the tables into");
    app.add_option("--chart", settings.chart, "SVG file to write");
    app.add_option("--rooms", settings.rooms, "file with what tspec-microbench printed");
    CLI11_PARSE(app, argc, argv);
    try {
        return tspec::bench::run(settings);
    } catch (const std::exception &error) {
        fmt::print(stderr, "tspec-bench: {}\n", error.what());
        return 1;
    }
}
