#include "bench/load/calls.h"

#include <cstdlib>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <regex>
#include <stdexcept>
#include <thread>

namespace tspec::bench {

namespace fs = std::filesystem;

namespace {

using namespace std::chrono_literals;
using Calls = std::vector<std::string>;

// Pings of this length stand before and behind the request in the trace.
constexpr size_t marker_length = 7;
constexpr std::string_view marker = "recvfrom 7";

// "sendto 57773 148" of a line that strace wrote; empty for one without a call.
std::string call_of(const std::string &line)
{
    static const std::regex form(R"(^(\w+)\(.*\) += (-?\d+).*)");
    static const std::regex port(R"(htons\((\d+)\))");
    std::smatch match;
    if (!std::regex_match(line, match, form)) {
        return {};
    }
    const std::string name = match[1];
    const bool has_size = name == "sendto" || name == "read" || name == "recvfrom";
    std::string call = name;
    std::smatch port_match;
    if (name == "sendto" && std::regex_search(line, port_match, port)) {
        call += " " + port_match[1].str();
    }
    return has_size ? call + " " + match[2].str() : call;
}

Calls calls_between_markers(const fs::path &trace)
{
    Calls all;
    std::ifstream in(trace);
    for (std::string line; std::getline(in, line);) {
        all.push_back(call_of(line));
    }
    const auto last = std::find(all.rbegin(), all.rend(), marker);
    if (last == all.rend()) {
        throw std::runtime_error("strace shows no marker");
    }
    const auto first = std::find(std::next(last), all.rend(), marker);
    return {first.base(), std::prev(last.base())};
}

bool tracer_is_done(const fs::path &trace)
{
    std::ifstream in(trace);
    for (std::string line; std::getline(in, line);) {
        if (line.find("+++ killed") != std::string::npos) {
            return true;
        }
    }
    return false;
}

void make_marked_request(Run &run, Peers &peers)
{
    Requests &requests = run.requests();
    requests.prepare();
    run.process().settled_cpu();
    peers.ping_of_length(marker_length);
    requests.perform();
    std::this_thread::sleep_for(20ms); // strace stops the program at every call
    peers.ping_of_length(marker_length);
    run.process().terminate();
}

Calls trace(const Programs &programs, Peers &peers, Subject subject, const Setting &setting)
{
    const fs::path file = fs::temp_directory_path() / "tspec-bench-trace";
    fs::remove(file);
    // -D: the program stays our own child.
    Run run(programs, peers, subject, setting, {"strace", "-D", "-qqq", "-o", file.string()});
    make_marked_request(run, peers);
    for (int i = 0; i < 500 && !tracer_is_done(file); i++) {
        std::this_thread::sleep_for(10ms);
    }
    return calls_between_markers(file);
}

void compare(const Programs &programs, Peers &peers, Kind kind, Style style, Comparison &result)
{
    Setting setting{kind, style, 1};
    {
        Run run(programs, peers, Subject::daemon, setting);
        setting.reply_length = run.requests().reply_length();
    }
    const Calls daemon = trace(programs, peers, Subject::daemon, setting);
    const Calls floor = trace(programs, peers, Subject::floor, setting);
    result.text += fmt::format("{}:\n  {}\n", info_of(kind).title, fmt::join(daemon, ", "));
    if (daemon != floor) {
        result.same = false;
        result.text += fmt::format("  but the floor: {}\n", fmt::join(floor, ", "));
    }
}

} // namespace

bool has_strace()
{
    return std::system("strace -V >/dev/null 2>&1") == 0;
}

Comparison compare_calls(const Programs &programs, Peers &peers)
{
    Comparison result;
    for (const KindInfo &info : kinds) {
        compare(programs, peers, info.kind, Style::one, result);
    }
    compare(programs, peers, Kind::managed_addts, Style::pipelined, result);
    return result;
}

} // namespace tspec::bench
