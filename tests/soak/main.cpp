// tspec-soak: the real daemon on a busy access point for days of simulated time,
// held against the model at every step. TSPEC_DAEMON in the environment names
// another daemon than the one beside this program.
#include "audit.h"
#include "progress.h"
#include "sim/lib/private_world.h"

#include <CLI/CLI.hpp>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fmt/format.h>

namespace tspec::soak {

namespace {

volatile std::sig_atomic_t interrupted = 0;

void on_interrupt(int)
{
    interrupted = 1;
}

struct Settings {
    double days = 7;
    uint64_t seed = 1;
    uint64_t seconds = 0;
    bool test = false;
};

constexpr double day_seconds = 86400;
constexpr double short_days = 3.0 / 24;
class Run {
  public:
    Run(const Settings &settings, Progress &progress)
        : stage_(settings.seed), hostapd_(stage_), mapd_(stage_), device_(stage_),
          trouble_(stage_, hostapd_, mapd_), audit_(stage_, hostapd_, mapd_, device_, trouble_),
          progress_(progress), length_(static_cast<uint64_t>(settings.days * day_seconds))
    {
    }

    // Throws Finding.
    void live()
    {
        begin();
        const auto stop = [this] {
            progress_.show(stage_.tally(), stage_.streams());
            return interrupted != 0 || progress_.time_is_up();
        };
        for (uint64_t day = 1; stage_.now() < length_ && !stop(); day++) {
            stage_.run_until(std::min<uint64_t>(day * 86400, length_), stop);
            audit_.make();
            const Tally &tally = stage_.tally();
            progress_.say(fmt::format("{}: {} operations, {} admitted, {} refused, {} kB, {} "
                                      "descriptors: as they should be",
                                      length_text(tally.seconds), tally.operations(),
                                      tally.admitted, tally.refused, tally.measures.back().full_kb,
                                      tally.measures.back().descriptors));
        }
    }

    Stage &stage() { return stage_; }

  private:
    void begin()
    {
        hostapd_.begin();
        mapd_.begin();
        device_.begin();
        trouble_.begin();
        warm_up();
        audit_.make();
    }

    // What the daemon writes to once, such as the deepest part of its stack, is
    // written to before it is measured.
    void warm_up()
    {
        stage_.cli(Activity::audit, model::cli_debug_input({1, 2, 3, 4, 5, 6, 7}));
        stage_.play(Activity::audit, lockstep::TrapIs{lockstep::TrapState::reader});
        const model::HostapdInput request{.sta = Mac{0x02, 0x77, 0, 0, 0, 9}};
        stage_.play(Activity::audit, lockstep::StationIs{request.sta, "", "client_status=1\n", 0});
        for (const uint8_t cmd : std::initializer_list<uint8_t>{1, 6, 7, 3, 9, 4, 1, 8}) {
            model::HostapdInput input = request;
            input.cmd = cmd;
            stage_.udp(Activity::audit, input.bytes());
        }
        stage_.udp(Activity::audit, Bytes(1024, 0x77));
        stage_.play(Activity::audit, lockstep::StationIs{request.sta, "", "client_status=0\n", 0});
        stage_.cli(Activity::audit, model::cli_debug_input({0}));
    }

    Stage stage_;
    HostapdSide hostapd_;
    MapdSide mapd_;
    DeviceSide device_;
    Trouble trouble_;
    Audit audit_;
    Progress &progress_;
    uint64_t length_;
};

std::string replay_command(const Settings &settings)
{
    const char *daemon = std::getenv("TSPEC_DAEMON");
    return fmt::format("{}script/soak --days {} --seed {}",
                       daemon == nullptr ? "" : fmt::format("TSPEC_DAEMON={} ", daemon),
                       settings.days, settings.seed);
}

int play(const Settings &settings)
{
    Progress progress(static_cast<uint64_t>(settings.days * day_seconds), settings.seconds);
    progress.say(fmt::format("{} of simulated time, seed {}",
                             length_text(static_cast<uint64_t>(settings.days * day_seconds)),
                             settings.seed));
    Run run(settings, progress);
    std::string finding;
    try {
        run.live();
    } catch (const Finding &found) {
        finding = found.what();
    }
    progress.end();
    const Tally &tally = run.stage().tally();
    if (!finding.empty()) {
        fmt::print("\n{}\nThe last steps:\n{}\n", finding, run.stage().last_steps());
    }
    fmt::print("{}", report(tally));
    fmt::print("real time          {:.0f} s\n", progress.real_seconds());
    if (!finding.empty()) {
        fmt::print("result             FAILED at step {}; again with:\n  {}\n",
                   tally.all_steps() - 1, replay_command(settings));
        return 1;
    }
    fmt::print("result             {}at every step as the rules have it\n",
               interrupted != 0        ? "interrupted; "
               : progress.time_is_up() ? "bounded by --seconds; "
                                       : "");
    return 0;
}

} // namespace

} // namespace tspec::soak

int main(int argc, char **argv)
{
    using namespace tspec::soak;
    Settings settings;
    CLI::App app("The daemon on a busy access point for days of simulated time");
    app.add_option("--days", settings.days, "simulated days")
        ->check(CLI::Range(0.001, 1000.0))
        ->capture_default_str();
    app.add_option("--seed", settings.seed, "start of the random numbers")->capture_default_str();
    app.add_option("--seconds", settings.seconds, "end after that much real time");
    app.add_flag("--test", settings.test,
                 "three simulated hours, or as --days says when TSPEC_LONG is set");
    CLI11_PARSE(app, argc, argv);
    const char *long_form = std::getenv("TSPEC_LONG");
    if (settings.test && (long_form == nullptr || *long_form == '\0')) {
        settings.days = short_days;
    }
    struct sigaction action {};
    action.sa_handler = on_interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    try {
        tspec::sim::PrivateWorld::enter();
        return play(settings);
    } catch (const std::exception &error) {
        fmt::print(stderr, "tspec-soak: {}\n", error.what());
        return 2;
    }
}
