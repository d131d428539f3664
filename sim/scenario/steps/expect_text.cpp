// Expectations about lines of text: console, system log, trap pipe, standard
// error, the operator's answer.
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/finding.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace tspec::sim::scenario {

namespace {

std::vector<Happening *> lines_of(Run &run, Channel channel, bool lost)
{
    std::vector<Happening *> open = run.window().open(channel);
    std::erase_if(
        open, [lost](const Happening *happening) { return happening->event.delivered == lost; });
    return open;
}

void expect_lines(Run &run, const Args &args, Channel channel, const std::string &where)
{
    bool lost = args.has("lost") && args.flag("lost");
    std::vector<std::string> found;
    auto find = [&](const std::string &key, auto fits) {
        for (const std::string &wanted : args.maybe<Texts>(key).value_or(Texts{})) {
            Compare compare_line = [&](const Event &event) {
                std::string actual = line_text(event);
                return Rows{{key, wanted, actual, fits(actual, wanted)}};
            };
            find_happening(lines_of(run, channel, lost), compare_line, "no such line " + where);
            found.push_back(wanted);
        }
    };
    find("text",
         [](const std::string &actual, const std::string &wanted) { return actual == wanted; });
    find("containing", [](const std::string &actual, const std::string &wanted) {
        return actual.find(wanted) != std::string::npos;
    });
    run.hold(fmt::format("{}{}: {}", where, lost ? ", lost" : "", fmt::join(found, " | ")));
}

std::string check_lines(const Args &args)
{
    return args.has("text") || args.has("containing") ? "" : "give text or containing";
}

StepKind text_step(std::string name, std::string help, void (*run)(Run &, const Args &))
{
    return {.name = std::move(name),
            .role = Role::expect,
            .help = std::move(help),
            .keys = {optional("text", types::texts, "lines, each as it stands without line end"),
                     optional("containing", types::texts, "pieces, each inside a line")},
            .shorthand = "text",
            .run = run,
            .check = check_lines};
}

StepKind trap_step()
{
    StepKind step = text_step("expect.trap", "Records written to the trap pipe, in this order.",
                              [](Run &run, const Args &args) {
                                  expect_lines(run, args, Channel::trap, "in the trap pipe");
                              });
    step.keys.push_back(
        with_default("lost", types::flag, "false", "records that were written in vain"));
    return step;
}

} // namespace

const StepGroup &text_expectations()
{
    static const StepGroup steps{
        text_step("expect.console",
                  "Lines on the console, in this order, with others between them or not.",
                  [](Run &run, const Args &args) {
                      expect_lines(run, args, Channel::console, "on the console");
                  }),
        text_step("expect.operator", "The operator's tool has got an answer.",
                  [](Run &run, const Args &args) {
                      expect_lines(run, args, Channel::operator_tool, "at the operator's tool");
                  }),
        text_step("expect.syslog", "Lines in the system log, in this order.",
                  [](Run &run, const Args &args) {
                      expect_lines(run, args, Channel::syslog, "in the system log");
                  }),
        trap_step(),
        text_step("expect.stderr", "Lines on standard error, in this order.",
                  [](Run &run, const Args &args) {
                      expect_lines(run, args, Channel::standard_error, "on standard error");
                  }),
    };
    return steps;
}

} // namespace tspec::sim::scenario
