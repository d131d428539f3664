// Expectations that ask the daemon, or look at its process, by themselves.
#include "sim/lib/messages.h"
#include "sim/lib/probe.h"
#include "sim/scenario/figures.h"
#include "sim/scenario/names.h"
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/finding.h"

#include <algorithm>
#include <csignal>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

// Access categories in the keys of dman's reports.
struct ReportCategory {
    const char *key;
    const char *report;
    size_t ac;
};
constexpr ReportCategory report_categories[] = {{"voice", "vo", TSPEC_AC_VO},
                                                {"video", "vi", TSPEC_AC_VI},
                                                {"best-effort", "be", TSPEC_AC_BE},
                                                {"background", "bk", TSPEC_AC_BK}};

constexpr size_t longest_walk = 4 * TSPEC_MAX_TS;

Decoded ask(Run &run, const std::string &request)
{
    for (const Event &event : run.ask_dman(status_request(request))) {
        if (event.kind == Kind::from_daemon) {
            return decode(event);
        }
    }
    throw ExpectationFailed(fmt::format("no answer to \"{}\"", request));
}

// "num-active" of voice is "ts-vo-num-active", "tot-accepted" is
// "tspec-vo-tot-accepted".
WantedFields report_fields(const Args &args, const ReportCategory &category)
{
    WantedFields wanted_fields = args.maybe<WantedFields>(category.key).value_or(WantedFields{});
    for (Wanted &wanted : wanted_fields) {
        const char *group = figure_group(wanted.name);
        wanted.fields = {fmt::format("{}-{}-{}", group, category.report, wanted.name)};
        wanted.name = fmt::format("{} {}", category.key, wanted.name);
    }
    return wanted_fields;
}

void expect_status(Run &run, const Args &args)
{
    std::string of = args.maybe<std::string>("vap").value_or(
        args.maybe<std::string>("radio").value_or("access point"));
    std::string request = args.has("vap")     ? TSPEC_DMAN_VAP_STATS + of.substr(4)
                          : args.has("radio") ? TSPEC_DMAN_RADIO_STATS + of.substr(4)
                                              : TSPEC_DMAN_AP_STATS;
    WantedFields all;
    for (const ReportCategory &category : report_categories) {
        WantedFields wanted = report_fields(args, category);
        all.insert(all.end(), wanted.begin(), wanted.end());
    }
    Rows rows = compare(all, ask(run, request).fields);
    if (!all_hold(rows)) {
        throw ExpectationFailed(fmt::format("statistics of {}", of), rows);
    }
    run.hold(fmt::format("statistics of {}: {}", of, words_of(all)));
}

std::string check_status(const Args &args)
{
    if (args.has("radio") && args.has("vap")) {
        return "give radio or vap, not both";
    }
    bool whole = !args.has("radio") && !args.has("vap");
    const std::vector<std::string> &known = whole ? access_point_figures() : radio_figures();
    bool any = false;
    for (const ReportCategory &category : report_categories) {
        for (const Wanted &wanted :
             args.maybe<WantedFields>(category.key).value_or(WantedFields{})) {
            any = true;
            if (std::find(known.begin(), known.end(), wanted.name) == known.end()) {
                return fmt::format("{} have no figure \"{}\" (figures: {})",
                                   whole ? "the statistics of the whole access point"
                                         : "the statistics of a radio or VAP",
                                   wanted.name, one_of(known));
            }
        }
    }
    return any ? "" : "name at least one figure of a category";
}

std::vector<Decoded> walk(Run &run)
{
    std::vector<Decoded> streams;
    std::string request = TSPEC_DMAN_CLIENT_TS_FIRST;
    for (Decoded stream = ask(run, request); stream.name != "end"; stream = ask(run, request)) {
        streams.push_back(std::move(stream));
        request = TSPEC_DMAN_CLIENT_TS_NEXT;
        if (streams.size() > longest_walk) {
            throw ExpectationFailed("the walk over the streams does not end");
        }
    }
    return streams;
}

std::vector<std::string> summaries(const std::vector<Decoded> &streams)
{
    std::vector<std::string> lines{"the daemon's streams:"};
    for (const Decoded &stream : streams) {
        lines.push_back("  " + stream.summary);
    }
    return lines;
}

void expect_streams(Run &run, const Args &args)
{
    std::vector<Decoded> streams = walk(run);
    auto wanted = args.maybe<WantedStreams>("list").value_or(WantedStreams{});
    size_t count = args.has("list") ? wanted.size() : args.narrow<size_t>("count");
    if (streams.size() != count) {
        throw ExpectationFailed(
            "number of streams",
            {{"streams", std::to_string(count), std::to_string(streams.size()), false}},
            summaries(streams));
    }
    for (size_t i = 0; i < wanted.size(); i++) {
        Rows rows = compare(wanted[i], streams[i].fields);
        if (!all_hold(rows)) {
            throw ExpectationFailed(fmt::format("stream {} of {}", i + 1, count), rows,
                                    summaries(streams));
        }
    }
    run.hold(count == 1 ? "the daemon holds 1 stream"
                        : fmt::format("the daemon holds {} streams", count));
}

std::string check_streams(const Args &args)
{
    return args.has("list") == args.has("count") ? "give either list or count" : "";
}

void expect_admitted(Run &run, const Args &args)
{
    Load load = run.load();
    const auto &radio = load[args.narrow<size_t>("radio") - 1];
    Rows rows;
    std::string told;
    for (const ReportCategory &category : report_categories) {
        std::optional<Share> wanted = args.maybe<Share>(category.key);
        if (!wanted) {
            continue;
        }
        const Admitted &actual = radio[category.ac];
        bool holds =
            actual.now == wanted->admitted && actual.limit == wanted->limit.value_or(actual.limit);
        std::string expected = wanted->limit
                                   ? fmt::format("{}/{}", wanted->admitted, *wanted->limit)
                                   : std::to_string(wanted->admitted);
        told += fmt::format("{}{} {}", told.empty() ? "" : ", ", category.key, expected);
        rows.push_back(
            {category.key, expected, fmt::format("{}/{}", actual.now, actual.limit), holds});
    }
    if (!all_hold(rows)) {
        throw ExpectationFailed("medium time admitted", rows);
    }
    run.hold(fmt::format("medium time admitted: {}", told));
}

std::string check_admitted(const Args &args)
{
    int64_t radio = args.number("radio");
    bool any = std::any_of(std::begin(report_categories), std::end(report_categories),
                           [&](const ReportCategory &category) { return args.has(category.key); });
    return radio != 1 && radio != 2 ? "radio is wlan0 or wlan1"
           : any                    ? ""
                                    : "name at least one access category";
}

std::string state_text(const std::optional<ProcessEnd> &end, bool running)
{
    return running ? "alive" : end ? end->text() : "not started";
}

std::string expected_end(const Args &args)
{
    if (args.has("signal")) {
        return fmt::format("killed by signal {} (SIG{})", args.number("signal"),
                           sigabbrev_np(args.narrow<int>("signal")));
    }
    return args.has("exit") ? fmt::format("exit status {}", args.number("exit")) : "alive";
}

bool is_expected_end(const Args &args, const std::optional<ProcessEnd> &end)
{
    if (!end) {
        return false;
    }
    return args.has("signal")
               ? end->signalled && end->signal == args.number("signal")
               : args.has("exit") && !end->signalled && end->exit_status == args.number("exit");
}

void expect_process(Run &run, const Args &args)
{
    bool running = run.ap().running();
    std::optional<ProcessEnd> end = running ? std::nullopt : run.ap().end();
    bool holds = args.has("is") ? running : is_expected_end(args, end);
    if (!running) {
        run.end_is_known();
    }
    if (!holds) {
        throw ExpectationFailed("the daemon's process",
                                {{"process", expected_end(args), state_text(end, running), false}});
    }
    run.hold("the daemon: " + expected_end(args));
}

std::string check_process(const Args &args)
{
    int given =
        (args.has("is") ? 1 : 0) + (args.has("signal") ? 1 : 0) + (args.has("exit") ? 1 : 0);
    return given == 1 ? "" : "give one of alive, signal and exit";
}

void expect_descriptors(Run &run, const Args &args)
{
    if (!run.ap().running()) {
        throw ExpectationFailed("the daemon does not run");
    }
    std::vector<OpenDescriptor> open = open_descriptors(run.ap().pid());
    auto sockets = std::count_if(open.begin(), open.end(), [](const OpenDescriptor &descriptor) {
        return descriptor.target.starts_with("socket:");
    });
    int64_t wanted = args.number("sockets");
    if (sockets != wanted) {
        std::vector<std::string> remarks{"open:"};
        for (const OpenDescriptor &descriptor : open) {
            remarks.push_back(fmt::format("  {} {}", descriptor.fd, descriptor.target));
        }
        throw ExpectationFailed(
            "open descriptors",
            {{"sockets", std::to_string(wanted), std::to_string(sockets), false}}, remarks);
    }
    run.hold(fmt::format("the daemon has {} sockets open", wanted));
}

std::vector<Key> category_keys(const KeyType &type, const std::string &help)
{
    std::vector<Key> keys;
    for (const ReportCategory &category : report_categories) {
        keys.push_back(optional(category.key, type, help));
    }
    return keys;
}

std::vector<Key> with(std::vector<Key> keys, const std::vector<Key> &more)
{
    keys.insert(keys.end(), more.begin(), more.end());
    return keys;
}

} // namespace

const StepGroup &state_expectations()
{
    static const KeyType count = types::number(0, 1000000);
    static const KeyType status_byte = types::number(0, 255);
    static const StepGroup steps{
        {.name = "expect.status",
         .role = Role::expect,
         .help = "Asks for the statistics of a radio, a VAP or, with neither, the whole access "
                 "point.",
         .keys = with({optional("radio", types::interface_name, "the radio"),
                       optional("vap", types::interface_name, "the VAP, such as wlan0vap3")},
                      category_keys(types::figures, "figures of this access category")),
         .run = expect_status,
         .check = check_status},
        {.name = "expect.streams",
         .role = Role::expect,
         .help = "Walks over all streams: the whole list, in the daemon's order, or their number. "
                 "Only TIDs 0 to 7 are in the walk. The daemon has one walk; one that dman has "
                 "begun is over after this.",
         .keys = {optional("list", types::streams, "every stream; [] for none"),
                  optional("count", count, "only their number")},
         .shorthand = "list",
         .run = expect_streams,
         .check = check_streams},
        {.name = "expect.admitted",
         .role = Role::expect,
         .help = "Asks for the medium time that the daemon's own admission control has booked, "
                 "in units of 32 us per second, and its limit.",
         .keys = with({with_default("radio", types::radio, "wlan0", "the radio")},
                      category_keys(types::share, "admitted, or admitted/limit")),
         .run = expect_admitted,
         .check = check_admitted},
        {.name = "expect.process",
         .role = Role::expect,
         .help = "The daemon is alive, or has ended in this way. A daemon that ends although no "
                 "step expects it fails the scenario.",
         .keys = {optional("is", types::word_of({"alive"}), "it is alive"),
                  optional("signal", types::signal_name, "the signal that killed it"),
                  optional("exit", status_byte, "its exit status")},
         .shorthand = "is",
         .run = expect_process,
         .needs_daemon = false,
         .check = check_process},
        {.name = "expect.descriptors",
         .role = Role::expect,
         .help = "Descriptors that the daemon holds open. After the start it has 3 sockets.",
         .keys = {required("sockets", count, "its sockets")},
         .run = expect_descriptors,
         .check = nullptr},
    };
    return steps;
}

} // namespace tspec::sim::scenario
