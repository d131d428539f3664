// tspec-sim: the simulated access point from the command line.
//
// Exit status of "run" and "apply": 0 when every expectation held, 1 when one did not, 2
// when a scenario or the command line is wrong, 3 when there is no access point
// to play on, 4 when a file of --pcap or --html cannot be written.
#include "sim/capacity/command.h"
#include "sim/completion.h"
#include "sim/lib/private_world.h"
#include "sim/lib/terminal.h"
#include "sim/report/records.h"
#include "sim/scenario/run.h"
#include "sim/scenario/scenario.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/timeline.h"
#include "sim/serve/command.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <fmt/format.h>
#include <string>
#include <vector>

namespace {

using namespace tspec::sim;
using namespace tspec::sim::scenario;

enum Status {
    all_held = 0,
    not_all_held = 1,
    wrong_input = 2,
    no_access_point = 3,
    not_written = 4
};

struct RunRequest {
    std::vector<std::string> files;
    std::string daemon;
    std::string pcap;
    std::string html;
    bool quiet = false;
    bool no_colour = false;
    bool list_steps = false;
};

// Reads every file, so that all complaints come at once.
bool read_all(const std::vector<std::string> &files, std::vector<Scenario> &scenarios)
{
    bool good = true;
    for (const std::string &file : files) {
        try {
            scenarios.push_back(read_scenario(file));
        } catch (const std::runtime_error &error) {
            fmt::print(stderr, "{}\n", error.what());
            good = false;
        }
    }
    return good;
}

Status play(const std::vector<Scenario> &scenarios, const RunRequest &request)
{
    report::Records records(request.pcap, request.html, "tspec-sim " TSPEC_VERSION);
    PrivateWorld::enter();
    Timeline timeline(stdout, {.quiet = request.quiet, .colour = shows_colour(request.no_colour)});
    Audiences audiences({&timeline});
    records.listen(audiences);
    Status status = all_held;
    for (const Scenario &scenario : scenarios) {
        Options options;
        options.daemon = request.daemon;
        Run run(scenario, audiences, std::move(options));
        if (run.play().failures > 0) {
            status = not_all_held;
        }
    }
    records.finish();
    return status;
}

Status run_scenarios(const RunRequest &request)
{
    std::vector<Scenario> scenarios;
    if (!read_all(request.files, scenarios)) {
        return wrong_input;
    }
    try {
        return play(scenarios, request);
    } catch (const report::NotWritten &error) {
        fmt::print(stderr, "tspec-sim: {}\n", error.what());
        return not_written;
    } catch (const std::exception &error) {
        fmt::print(stderr, "tspec-sim: {}\n", error.what());
        return no_access_point;
    }
}

void add_run(CLI::App &app, RunRequest &request)
{
    CLI::App *run = app.add_subcommand("run", "Plays scenarios on a simulated access point");
    run->add_option("FILE", request.files, "Scenario (YAML); see docs/scenarios.md");
    run->add_option("--daemon", request.daemon,
                    "The daemon to run (default: $TSPEC_DAEMON, else tspec-daemon beside "
                    "tspec-sim)")
        ->type_name("FILE");
    run->add_option("--pcap", request.pcap,
                    "Write every datagram to this file, for Wireshark (pcapng)")
        ->type_name("FILE");
    run->add_option("--html", request.html, "Write the runs to this file, as a page to read")
        ->type_name("FILE");
    run->add_flag("--quiet", request.quiet, "Tell failures and results only");
    run->add_flag("--no-colour,--no-color", request.no_colour,
                  "No colours, also on a terminal (as with NO_COLOR in the environment)");
    run->add_flag("--list-steps", request.list_steps, "Describe every step and end");
}

} // namespace

int main(int argc, char **argv)
{
    CLI::App app("Simulated access point for tspec-daemon", "tspec-sim");
    RunRequest request;
    int status = all_held;
    app.set_version_flag("--version", "tspec-sim " TSPEC_VERSION);
    app.require_subcommand(1);
    add_run(app, request);
    add_completion(app);
    serve::add_commands(app, status);
    capacity::add_command(app, status);
    try {
        app.parse(argc, argv);
        if (app.got_subcommand("run") && !request.list_steps && request.files.empty()) {
            throw CLI::RequiredError("FILE");
        }
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? all_held : wrong_input;
    }
    if (!app.got_subcommand("run")) {
        return status;
    }
    if (request.list_steps) {
        fmt::print("{}", describe_steps());
        return all_held;
    }
    return run_scenarios(request);
}
