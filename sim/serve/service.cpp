#include "sim/serve/service.h"

#include "sim/lib/host_share.h"
#include "sim/lib/messages.h"
#include "sim/lib/terminal.h"
#include "sim/scenario/complaint.h"
#include "sim/scenario/run.h"
#include "sim/serve/client_stream.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <poll.h>
#include <utility>

namespace tspec::sim::serve {

namespace {

struct PlayedPeer {
    Peer peer;
    uint16_t port;
};
constexpr PlayedPeer played_peers[] = {{Peer::hostapd, TSPEC_HOSTAPD_PORT},
                                       {Peer::mapd, TSPEC_MAPD_PORT},
                                       {Peer::dman, TSPEC_DMAN_REPLY_PORT}};

bool has(const std::vector<Peer> &peers, Peer peer)
{
    return std::find(peers.begin(), peers.end(), peer) != peers.end();
}

Options options_for(const ServeRequest &request)
{
    Options options;
    options.daemon = request.daemon;
    options.clock = Clock::real;
    options.start_time = std::chrono::time_point_cast<Duration>(std::chrono::system_clock::now());
    options.away = request.away;
    options.away.push_back(Peer::cli);
    options.own_group = true;
    return options;
}

// Who has a place that is taken, and what can be done about it.
std::string advice_for(const TakenPlace &place)
{
    for (const PlayedPeer &played : played_peers) {
        if (place.port == played.port) {
            return fmt::format(" ({}'s: --without {} leaves it alone)", peer_name(played.peer),
                               peer_name(played.peer));
        }
    }
    return "";
}

} // namespace

std::vector<std::string> obstacles_to(const ServeRequest &request)
{
    HostUse use{.ports = {TSPEC_UDP_PORT, TSPEC_FRAME_DUR_REPLY_PORT},
                .names = {TSPEC_CLI_SOCK_NAME},
                .paths = {TSPEC_DMAN_SOCK_PATH}};
    for (const PlayedPeer &played : played_peers) {
        if (!has(request.away, played.peer)) {
            use.ports.push_back(played.port);
        }
    }
    std::vector<std::string> obstacles;
    for (const TakenPlace &place : taken_places(use)) {
        obstacles.push_back(place.text() + advice_for(place));
    }
    return obstacles;
}

Service::Service(const ServeRequest &request, int signals)
    : request_(request), signals_(signals), colour_(shows_colour(request.no_colour)),
      ap_(options_for(request)), timeline_(stdout, {.colour = colour_}), load_watch_(ap_)
{
    Driver &driver = ap_.driver();
    driver.set_default(
        StationAnswer::flags(request.stations.empty() ? TSPEC_CLIENT_ASSOCIATED : 0));
    for (const StationOption &station : request.stations) {
        driver.set_station(station.mac, StationAnswer::flags(station.flags));
    }
    ap_.mapd().answer_requests(TSPEC_RESULT_ACCEPTED);
    return_to_tool();

    watch_for({});
}

void Service::watch_for(std::vector<Interrupt> more)
{
    more.push_back({signals_, POLLIN});
    ap_.interrupt_on(std::move(more));
}

void Service::announce() const
{
    std::vector<std::string> played{"driver"};
    std::vector<std::string> awaited;
    for (const PlayedPeer &peer : played_peers) {
        std::string place = fmt::format("{} (UDP {})", peer_name(peer.peer), peer.port);
        (has(request_.away, peer.peer) ? awaited : played).push_back(place);
    }
    fmt::print("An access point on this machine's own ports, until interrupted\n"
               "  played here     {}\n"
               "  left to others  {}\n"
               "  for you         tspec-cli, as on the device; tspec-sim apply FILE\n\n",
               fmt::join(played, ", "),
               awaited.empty() ? "nobody" : fmt::format("{}", fmt::join(awaited, ", ")));
    std::fflush(stdout);
}

void Service::start()
{
    ap_.start();
    say("daemon",
        ap_.running() ? fmt::format("starts, pid {}", ap_.pid()) : "starts, and ends at once");
    if (ap_.running() && !has(request_.away, Peer::dman)) {
        for (uint8_t radio = 1; radio <= TSPEC_NUM_RADIOS; radio++) {
            ap_.dman().send(DmanConfig{.radio_if = radio}.bytes());
        }
    }
    if (ap_.running() && request_.managed) {
        ap_.mapd().send(ApState{}.bytes());
    }
    tell(ap_.settle());
    load_watch_.ask();
    tell(ap_.settle());
}

Status Service::run()
{
    try {
        announce();
        start();
        if (ap_.running()) {
            timeline_.note("Ready.");
        }
        while (ap_.running()) {
            load_watch_.ask();
            std::fflush(stdout);
            tell(ap_.follow(control_.descriptors()));
            if (std::optional<ApplyRequest> request = control_.next()) {
                apply(std::move(*request));
            }
        }
    } catch (const Interrupted &) {
        return end();
    }
    tell(ap_.settle());
    std::fflush(stdout);
    return daemon_lost;
}

Status Service::end()
{
    ap_.interrupt_on({});
    ap_.stop();
    tell(ap_.settle());
    return ended;
}

void Service::tell(const Events &events)
{
    auto tell_why = [this](const std::optional<std::string> &why) {
        if (why) {
            timeline_.remark("why  " + *why);
        }
    };
    for (const Event &event : events) {
        tell_why(refusals_.before(event));
        if (!load_watch_.takes(event)) {
            timeline_.events({event}, ap_.options().start_time);
        } else if (auto change = load_watch_.change()) {
            timeline_.load_changes(change->first, change->second);
        }
        tell_why(refusals_.after(event));
    }
    ap_.forget();
}

void Service::say(const std::string &who, const std::string &what)
{
    timeline_.act(ap_.now() - ap_.options().start_time, who, what);
}

// Daemon and surroundings as a scenario finds them that runs by itself.
void Service::clear()
{
    ap_.stop();
    ap_.driver().forget_everything();
    ap_.hostapd().answer_frame_duration(frame_duration::normal(400));
    ap_.mapd().answer_requests(std::nullopt);
    tell(ap_.settle());
}

// Where answers to the operator and to dman come in belongs to the real tool; a
// scenario has it while it is played, unless the tool is just at work.
void Service::borrow_from_tool()
{
    try {
        ap_.cli().turn_on();
        if (!has(request_.away, Peer::dman)) {
            ap_.dman().turn_on();
        }
    } catch (const std::system_error &) {
        say("operator", "tspec-cli is at work: the scenario misses the answers that it takes");
    }
}

void Service::return_to_tool()
{
    ap_.cli().turn_off();
    ap_.dman().turn_off();
}

void Service::apply(ApplyRequest request)
{
    tell(ap_.settle());
    borrow_from_tool();
    int status = play(request);
    return_to_tool();
    send_status(request.client, status);
    watch_for({});
    if (!ap_.running()) {
        start();
    }
    load_watch_.begin_anew();
}

// The story goes to both, each as its reader wants it.
int Service::play(const ApplyRequest &request)
{
    ClientStream stream(request.client);
    scenario::Timeline there(stream.file(), {.quiet = request.quiet, .colour = request.colour});
    scenario::Audiences both({&timeline_, &there});
    try {
        scenario::Scenario scenario = scenario::parse_scenario(request.text, request.file);
        if (request.fresh) {
            clear();
        }
        watch_for({{request.client.fd(), 0}});
        scenario::Run run(scenario, both, ap_);
        return run.play().failures == 0 ? 0 : 1;
    } catch (const scenario::ScenarioError &error) {
        both.failed(error.what());
        return wrong_input;
    } catch (const Interrupted &interrupted) {
        if (interrupted.fd() == signals_) {
            throw;
        }
        both.failed(request.file + ": left here, as nobody waits for it any more");
    } catch (const std::exception &error) {
        both.failed(error.what());
    }
    return 1;
}

} // namespace tspec::sim::serve
