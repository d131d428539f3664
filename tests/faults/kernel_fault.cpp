#include "kernel_fault.h"

#include "sim/driver/control.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <fstream>
#include <numeric>

namespace tspec::faults {

namespace {

bool can_trace()
{
    return std::system("strace -o /dev/null true >/dev/null 2>&1") == 0;
}

bool is_call(const std::string &line, const std::string &name)
{
    return line.starts_with(name + "(");
}

// The simulator's own descriptors inside the process have high numbers.
bool is_simulators(const std::string &line)
{
    return std::atoi(line.c_str() + line.find('(') + 1) >= control::first_fd;
}

bool is_meant(const std::string &line, const KernelFault &fault)
{
    return is_call(line, fault.call) && !is_simulators(line) &&
           line.find(fault.shown_as) != std::string::npos;
}

// A failed call shows less than one that was made, and addresses differ.
std::string begin_of(const std::string &line)
{
    return line.substr(0, std::min(line.find_first_of(",)"), line.find("0x")));
}

std::string joined(const std::vector<std::string> &names)
{
    return std::accumulate(std::next(names.begin()), names.end(), names.front(),
                           [](const auto &one, const auto &other) { return one + "," + other; });
}

std::vector<std::string> names_of(const KernelFault &fault)
{
    return fault.all_from_then_on.empty() ? std::vector<std::string>{fault.call}
                                          : fault.all_from_then_on;
}

// brk() does not fail with an error number: it returns where the heap ends.
std::string outcome(const std::string &call, int error)
{
    return call == "brk" ? "retval=0" : std::string("error=") + strerrorname_np(error);
}

std::string trace_of(const KernelFault &fault)
{
    return "trace=" + joined(names_of(fault));
}

std::string injection(const std::string &call, int error, ptrdiff_t place, bool from_then_on)
{
    return fmt::format("inject={}:{}:when={}{}", call, outcome(call, error), place,
                       from_then_on ? "+" : "");
}

} // namespace

void KernelFaultTest::SetUp()
{
    if (!can_trace()) {
        GTEST_SKIP() << "the kernel lets strace trace nothing here";
    }
    log_ = scratch_file("kernel_fault");
}

void KernelFaultTest::TearDown()
{
    if (!IsSkipped()) {
        DaemonTest::TearDown();
        std::filesystem::remove(log_);
    }
}

Options KernelFaultTest::traced(const std::vector<std::string> &expressions) const
{
    Options options;
    options.wrapper = {"strace", "-o", log_.string(), "-s", "200"};
    for (const std::string &expression : expressions) {
        options.wrapper.insert(options.wrapper.end(), {"-e", expression});
    }
    options.patience = std::chrono::seconds(60);
    return options;
}

std::vector<std::string> KernelFaultTest::traced_lines() const
{
    std::vector<std::string> lines;
    std::ifstream file(log_);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

// From the lines of a run without faults.
std::vector<std::string> KernelFaultTest::injections(const KernelFault &fault)
{
    const std::vector<std::string> lines = traced_lines();
    auto from_end = fault.from_end;
    const auto meant = std::find_if(lines.rbegin(), lines.rend(), [&](const std::string &line) {
        return is_meant(line, fault) && --from_end == 0;
    });
    if (meant == lines.rend()) {
        ADD_FAILURE() << "the scene makes no such call: " << fault.call << " " << fault.shown_as;
        return {};
    }
    meant_ = *meant;
    std::vector<std::string> expressions;
    for (const std::string &name : names_of(fault)) {
        const auto before = std::count_if(lines.begin(), meant.base() - 1,
                                          [&](const auto &line) { return is_call(line, name); });
        expressions.push_back(
            injection(name, fault.error, before + 1, !fault.all_from_then_on.empty()));
    }
    return expressions;
}

// Plays the scene with the fault at the place of the last run; false when
// another call came to that place.
bool KernelFaultTest::play_with(const KernelFault &fault, const Scene &scene)
{
    const std::string trace = trace_of(fault);
    scene(prepare(traced({trace})));
    ap().stop();
    std::vector<std::string> expressions = injections(fault);
    if (expressions.empty()) {
        return false;
    }
    expressions.insert(expressions.begin(), trace);
    scene(prepare(traced(expressions)));
    const std::vector<std::string> lines = traced_lines();
    const auto injected = std::find_if(lines.begin(), lines.end(), [](const std::string &line) {
        return line.find("(INJECTED)") != std::string::npos;
    });
    return injected != lines.end() && begin_of(*injected) == begin_of(meant_);
}

void KernelFaultTest::play(const KernelFault &fault, const Scene &scene)
{
    // How often the simulator asks the process something is not always the same.
    constexpr int tries = 10;
    for (int i = 0; i < tries; i++) {
        if (play_with(fault, scene)) {
            return;
        }
        expect_no_daemon();
        ASSERT_FALSE(HasFatalFailure() || HasNonfatalFailure());
    }
    FAIL() << "in " << tries << " tries another call failed than " << meant_;
}

} // namespace tspec::faults
