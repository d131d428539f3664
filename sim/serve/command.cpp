#include "sim/serve/command.h"

#include "sim/lib/host_share.h"
#include "sim/lib/private_world.h"
#include "sim/lib/terminal.h"
#include "sim/scenario/scenario.h"
#include "sim/serve/control_socket.h"
#include "sim/serve/service.h"

#include <csignal>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/signalfd.h>

namespace tspec::sim::serve {

namespace {

void complain(const std::string &what)
{
    fmt::print(stderr, "tspec-sim: {}\n", what);
}

// Blocks the signals that end the service, so that they are read instead.
Socket ending_signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return Socket(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

int serve(const ServeRequest &request)
{
    Socket signals = ending_signals();
    std::optional<int> lock = try_host_lock();
    std::vector<std::string> obstacles = obstacles_to(request);
    if (!lock) {
        obstacles.push_back(fmt::format("{} is held: another tspec-sim is at work on this "
                                        "machine's own ports",
                                        host_lock_path));
    }
    for (const std::string &obstacle : obstacles) {
        complain(obstacle);
    }
    if (!obstacles.empty()) {
        return no_access_point;
    }
    try {
        PrivateWorld::join_host();
        return Service(request, signals.fd()).run();
    } catch (const std::exception &error) {
        complain(error.what());
        return no_access_point;
    }
}

struct ApplyWords {
    std::vector<std::string> files;
    bool fresh = false;
    bool quiet = false;
    bool no_colour = false;
};

// Reads and checks every file, so that all complaints come at once.
bool read_all(const ApplyWords &words, std::vector<ApplyRequest> &requests)
{
    bool good = true;
    for (const std::string &file : words.files) {
        std::ifstream stream(file);
        std::string text{std::istreambuf_iterator<char>(stream), {}};
        try {
            scenario::read_scenario(file);
            requests.push_back({.file = file,
                                .text = text,
                                .colour = shows_colour(words.no_colour),
                                .quiet = words.quiet,
                                .fresh = words.fresh});
        } catch (const std::exception &error) {
            fmt::print(stderr, "{}\n", error.what());
            good = false;
        }
    }
    return good;
}

int apply_all(const ApplyWords &words)
{
    std::vector<ApplyRequest> requests;
    if (!read_all(words, requests)) {
        return wrong_input;
    }
    int worst = 0;
    for (const ApplyRequest &request : requests) {
        std::string unfinished;
        std::optional<int> status = apply(request, [&](std::string_view story) {
            unfinished += story;
            const size_t end = unfinished.rfind('\n') + 1;
            fmt::print("{}", harmless(unfinished.substr(0, end), request.colour));
            std::fflush(stdout);
            unfinished.erase(0, end);
        });
        if (!status) {
            complain("no \"tspec-sim serve\" of yours runs here, or it has ended");
            return no_access_point;
        }
        worst = std::max(worst, *status);
    }
    return worst;
}

std::vector<Peer> peers_of(const std::vector<std::string> &words)
{
    std::vector<Peer> peers;
    for (Peer peer : {Peer::hostapd, Peer::mapd, Peer::dman}) {
        if (std::find(words.begin(), words.end(), peer_name(peer)) != words.end()) {
            peers.push_back(peer);
        }
    }
    return peers;
}

std::string check_station(const std::string &word)
{
    return station_option(word)
               ? ""
               : fmt::format("expected MAC or MAC=STATE,..., the states being {}, got \"{}\"",
                             station_states(), word);
}

void add_no_colour(CLI::App &app, bool &no_colour)
{
    app.add_flag("--no-colour,--no-color", no_colour,
                 "No colours, also on a terminal (as with NO_COLOR in the environment)");
}

struct ServeWords {
    ServeRequest request;
    std::vector<std::string> without;
    std::vector<std::string> stations;
};

void add_serve(CLI::App &app, int &status)
{
    auto words = std::make_shared<ServeWords>();
    CLI::App *serve_app = app.add_subcommand(
        "serve", "Runs the daemon for parts of your own, on this machine's own ports");
    serve_app
        ->add_option("--without", words->without,
                     "Peers that you bring yourself: hostapd, mapd, dman")
        ->delimiter(',')
        ->check(CLI::IsMember({"hostapd", "mapd", "dman"}));
    serve_app
        ->add_option("--station", words->stations,
                     "MAC or MAC=associated,roaming or MAC=none; may be repeated. Every other "
                     "station is then not associated (default: every station is)")
        ->allow_extra_args(false)
        ->check(CLI::Validator(check_station, "MAC[=STATE,...]"));
    serve_app->add_flag("--managed", words->request.managed,
                        "mapd, as played here, manages the access point and admits everything");
    serve_app
        ->add_option("--daemon", words->request.daemon,
                     "The daemon to run (default: $TSPEC_DAEMON, else tspec-daemon beside "
                     "tspec-sim)")
        ->type_name("FILE");
    add_no_colour(*serve_app, words->request.no_colour);
    serve_app->callback([words, &status] {
        ServeRequest &request = words->request;
        request.away = peers_of(words->without);
        for (const std::string &station : words->stations) {
            request.stations.push_back(*station_option(station));
        }
        bool mapd_is_away =
            std::find(request.away.begin(), request.away.end(), Peer::mapd) != request.away.end();
        if (request.managed && mapd_is_away) {
            throw CLI::ValidationError("--managed", "is for mapd to say, which you bring yourself");
        }
        status = serve(request);
    });
}

void add_apply(CLI::App &app, int &status)
{
    auto words = std::make_shared<ApplyWords>();
    CLI::App *apply_app =
        app.add_subcommand("apply", "Plays scenarios on the access point that serve runs");
    apply_app->add_option("FILE", words->files, "Scenario (YAML); see docs/scenarios.md")
        ->required();
    apply_app->add_flag("--fresh", words->fresh,
                        "Each on a daemon started for it, with nothing set, as run does");
    apply_app->add_flag("--quiet", words->quiet, "Tell failures and results only");
    add_no_colour(*apply_app, words->no_colour);
    apply_app->callback([words, &status] { status = apply_all(*words); });
}

} // namespace

void add_commands(CLI::App &app, int &status)
{
    add_serve(app, status);
    add_apply(app, status);
}

} // namespace tspec::sim::serve
