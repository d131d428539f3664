// Steps that move the clock, start and end the daemon, and change its
// surroundings.
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/units.h"

#include <csignal>
#include <fmt/format.h>
#include <sys/socket.h>

namespace tspec::sim::scenario {

namespace {

void set_trap_pipe(Run &run, const Args &args)
{
    TrapPipe &pipe = run.ap().trap();
    const std::string &state = args.text("state");
    if (state == "absent") {
        pipe.remove();
    } else if (state == "no-reader") {
        pipe.create();
        pipe.close_reader();
    } else if (state == "reader") {
        pipe.open_reader();
    } else if (state == "reader-leaves") {
        pipe.open_reader();
        pipe.leave_after_next_open();
    } else if (state == "full") {
        pipe.open_reader();
        pipe.fill();
    } else if (state == "drained") {
        pipe.drain();
    } else {
        pipe.put_directory();
    }
    run.say("trap pipe", state);
}

template <typename Switch>
void turn(Switch &peer, bool on)
{
    on ? peer.turn_on() : peer.turn_off();
}

void turn_peer(Run &run, const std::string &who, bool on)
{
    AccessPoint &ap = run.ap();
    if (who == "hostapd") {
        turn(ap.hostapd(), on);
    } else if (who == "mapd") {
        turn(ap.mapd(), on);
    } else if (who == "dman") {
        turn(ap.dman(), on);
    } else if (who == "operator") {
        turn(ap.cli(), on);
    } else {
        turn(ap.system_log(), on);
    }
    run.say(who, on ? "is there again" : "goes away");
}

void fail_sends(Run &run, const Args &args)
{
    const std::string &to = args.text("to");
    auto times = args.narrow<unsigned>("count");
    Fault fault{.call = Call::sendto,
                .error = args.narrow<int>("error"),
                .after = args.narrow<unsigned>("after"),
                .times = times};
    if (to == "operator") {
        fault.family = AF_UNIX;
    } else {
        fault.port = to == "mapd"      ? TSPEC_MAPD_PORT
                     : to == "hostapd" ? TSPEC_HOSTAPD_PORT
                                       : TSPEC_DMAN_REPLY_PORT;
    }
    run.ap().driver().inject(fault);
    run.faults_armed(times);
    run.say("surroundings", fmt::format("the daemon's next {} to {} will fail with {}",
                                        times == 1 ? "send" : fmt::format("{} sends", times), to,
                                        errno_word(fault.error)));
}

void stop_daemon(Run &run, const Args &args)
{
    if (!args.has("signal")) {
        return run.stop();
    }
    int signal = args.narrow<int>("signal");
    run.say("daemon", fmt::format("gets signal SIG{}", sigabbrev_np(signal)));
    run.ap().kill(signal);
    run.end_is_known();
}

void advance(Run &run, const Args &args)
{
    Duration by = args.duration("by");
    bool is_served = run.ap().options().clock == Clock::real;
    is_served ? run.ap().skip(by) : run.ap().advance(by);
}

void set_clock(Run &run, const Args &args)
{
    Duration difference = args.duration("by");
    run.ap().step_clock(difference);
    run.say("clock", fmt::format("is set {} by {}", difference.count() < 0 ? "back" : "forth",
                                 duration_text(std::chrono::abs(difference))));
}

} // namespace

const StepGroup &surroundings_steps()
{
    static const KeyType count = types::number(1, 1000000);
    static const KeyType after = types::number(0, 1000000);
    static const KeyType peer = types::word_of({"hostapd", "mapd", "dman", "operator", "syslog"});
    static const KeyType receiver = types::word_of({"hostapd", "mapd", "dman", "operator"});
    static const KeyType pipe_state = types::word_of(
        {"absent", "no-reader", "reader", "reader-leaves", "full", "drained", "directory"});
    static const StepGroup steps{
        {.name = "clock.advance",
         .help = "Simulated time passes; no real time does.",
         .keys = {required("by", types::some_time, "how much")},
         .shorthand = "by",
         .run = advance},
        {.name = "clock.set",
         .help = "Sets the wall clock forth or back, as an operator would.",
         .keys = {required("by", types::time_step, "difference")},
         .shorthand = "by",
         .run = set_clock},
        {.name = "daemon.start",
         .help = "Starts the daemon. Any step that needs it starts it by itself, so this is for "
                 "starts that are part of the story.",
         .keys = {with_default("keep_leftover", types::flag, "false",
                               "leave the socket file of an earlier daemon where it is")},
         .run =
             [](Run &run, const Args &args) {
                 run.ap().keep_leftovers(args.flag("keep_leftover"));
                 run.start();
             },
         .needs_daemon = false},
        {.name = "daemon.stop",
         .help = "Ends the daemon.",
         .keys = {optional("signal", types::signal_name,
                           "the signal that ends it; an orderly end when left out")},
         .shorthand = "signal",
         .run = stop_daemon},
        {.name = "daemon.restart",
         .help = "Ends the daemon and starts it anew. The peers are not told.",
         .run =
             [](Run &run, const Args &) {
                 run.stop();
                 run.start();
             }},
        {.name = "peer.stop",
         .help = "A peer goes away: nobody receives on its socket.",
         .keys = {required("who", peer, "the peer")},
         .shorthand = "who",
         .run = [](Run &run, const Args &args) { turn_peer(run, args.text("who"), false); },
         .needs_daemon = false},
        {.name = "peer.start",
         .help = "A peer is there again.",
         .keys = {required("who", peer, "the peer")},
         .shorthand = "who",
         .run = [](Run &run, const Args &args) { turn_peer(run, args.text("who"), true); },
         .needs_daemon = false},
        {.name = "send_failure",
         .help = "The daemon's next sends to a receiver fail.",
         .keys = {required("to", receiver, "the receiver"),
                  with_default("error", types::error_name, "EPERM", "the error"),
                  with_default("count", count, "1", "how many sends fail"),
                  with_default("after", after, "0", "sends that still succeed before")},
         .run = fail_sends},
        {.name = "send_works",
         .help = "Ends what send_failure has set.",
         .run =
             [](Run &run, const Args &) {
                 run.ap().driver().clear_faults();
                 run.faults_cleared();
                 run.say("surroundings", "the daemon's sends succeed again");
             }},
        {.name = "trap_pipe",
         .help = "State of the SNMP agent's pipe: absent (at the start), without a reader, with "
                 "one, with one that leaves between the daemon's next open and its write, full to "
                 "the last byte, drained again, or a directory in its place.",
         .keys = {required("state", pipe_state, "the state")},
         .shorthand = "state",
         .run = set_trap_pipe,
         .needs_daemon = false},
    };
    return steps;
}

} // namespace tspec::sim::scenario
