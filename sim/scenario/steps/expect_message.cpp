// Expectations about datagrams that the daemon sends.
#include "sim/scenario/names.h"
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/finding.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

bool names_message(const WantedFields &fields)
{
    return std::any_of(fields.begin(), fields.end(),
                       [](const Wanted &wanted) { return wanted.name == "cmd"; });
}

// Sends that failed are expected as such; all others must have arrived.
std::vector<Happening *> candidates(Run &run, Channel channel, const Args &args)
{
    std::optional<int> error = args.maybe_narrow<int>("failed");
    std::vector<Happening *> open = run.window().open(channel);
    std::erase_if(open, [&](const Happening *happening) {
        const Event &event = happening->event;
        bool is_unasked_query =
            happening->channel == Channel::frame_duration_query && !names_message(args.fields);
        bool fits = error ? event.error == *error : event.delivered && event.error == 0;
        return is_unasked_query || !fits;
    });
    return open;
}

void expect_messages(Run &run, const Args &args, Channel channel, const std::string &who)
{
    auto count = args.narrow<size_t>("times");
    Compare fields_fit = [&](const Event &event) {
        return compare(args.fields, fields_with_name(decode(event)));
    };
    std::string what = args.has("failed") ? fmt::format("no such send to {} failed", who)
                                          : fmt::format("{} got no such message", who);
    for (size_t i = 0; i < count; i++) {
        std::string which = count == 1 ? "" : fmt::format(" ({} of {})", i + 1, count);
        find_happening(candidates(run, channel, args), fields_fit, what + which);
    }
    std::string verb = args.has("failed") ? "missed" : "got";
    std::string times = count == 1 ? "" : fmt::format("{} times: ", count);
    run.hold(fmt::format("{} {} {}{}", who, verb, times, words_of(args.fields)));
}

template <Channel channel>
void expect_message(Run &run, const Args &args)
{
    auto name = std::find_if(channel_names().begin(), channel_names().end(),
                             [](const ChannelName &entry) { return entry.channel == channel; });
    expect_messages(run, args, channel, name->word);
}

std::vector<Key> message_keys()
{
    static const KeyType count = types::number(1, 1000000);
    return {with_default("times", count, "1", "so many such messages"),
            optional("failed", types::error_name,
                     "the send failed with this error instead of arriving")};
}

StepKind message_step(std::string name, const std::string &what, const MessageFields &fields,
                      void (*run)(Run &, const Args &))
{
    return {.name = std::move(name),
            .role = Role::expect,
            .help = what + " Any field of the message may be named; those that are not are not "
                           "looked at.",
            .keys = message_keys(),
            .run = run,
            .needs_daemon = true,
            .fields = &fields,
            .check = [](const Args &args) -> std::string {
                return args.fields.empty() ? "name at least one field" : "";
            }};
}

void expect_nothing(Run &run, const Args &args)
{
    const Texts &words = args.get<Texts>("from");
    bool anybody = std::find(words.begin(), words.end(), "anybody") != words.end();
    std::vector<std::string> unwanted;
    for (const ChannelName &name : channel_names()) {
        bool is_query =
            name.channel == Channel::frame_duration_query || name.channel == Channel::driver;
        bool meant = std::find(words.begin(), words.end(), name.word) != words.end();
        if (!meant && (!anybody || is_query)) {
            continue;
        }
        for (const Happening *happening : run.window().unfound(name.channel)) {
            unwanted.push_back("  " + describe(happening->event));
        }
    }
    if (!unwanted.empty()) {
        unwanted.insert(unwanted.begin(), "what came:");
        throw ExpectationFailed("expected nothing more", {}, unwanted);
    }
    run.hold(anybody ? "nothing more came for anybody"
                     : fmt::format("nothing more came: {}", one_of(words)));
}

std::vector<std::string> receivers()
{
    std::vector<std::string> words = channel_words();
    words.emplace_back("anybody");
    return words;
}

} // namespace

const StepGroup &message_expectations()
{
    static const StepGroup steps{
        message_step("expect.hostapd", "hostapd has got a message.", messages_to_hostapd(),
                     expect_message<Channel::hostapd>),
        message_step("expect.mapd",
                     "mapd has got a message. Figures of a radio or VAP in a status message are "
                     "named `wlan0.num_active`, `wlan1vap3.oper_status`.",
                     messages_to_mapd(), expect_message<Channel::mapd>),
        message_step("expect.dman", "dman has got a text report.", messages_to_dman(),
                     expect_message<Channel::dman>),
        message_step("expect.driver",
                     "The driver was asked for a station. With `failed`: the query failed.",
                     questions_to_driver(), expect_message<Channel::driver>),
        {.name = "expect.nothing",
         .role = Role::expect,
         .help = "Since the acts before, nothing has come that no expectation has found. "
                 "`anybody` stands for all but frame-duration-query and driver, the daemon's own "
                 "questions.",
         .keys = {required("from", types::words_of(receivers()), "receivers to look at")},
         .shorthand = "from",
         .run = expect_nothing},
    };
    return steps;
}

} // namespace tspec::sim::scenario
