// Steps of the device manager: configuration and requests for statistics.
#include "sim/lib/messages.h"
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/datagram_size.h"

#include <algorithm>

namespace tspec::sim::scenario {

namespace {

uint32_t figure(const AcNumbers &numbers, size_t ac)
{
    return static_cast<uint32_t>(numbers[ac].value_or(0));
}

PerAc per_ac(const AcNumbers &numbers)
{
    return {figure(numbers, TSPEC_AC_BE), figure(numbers, TSPEC_AC_BK),
            figure(numbers, TSPEC_AC_VI), figure(numbers, TSPEC_AC_VO)};
}

AcNumbers flags_of(const Numbers &categories)
{
    AcNumbers flags;
    for (int64_t ac : categories) {
        flags[static_cast<size_t>(ac)] = 1;
    }
    return flags;
}

void configure(Run &run, const Args &args)
{
    AcNumbers fast_transition = args.maybe<AcNumbers>("fast_transition").value_or(AcNumbers{});
    DmanConfig config;
    config.radio_if = args.narrow<uint8_t>("radio");
    config.enabled = args.flag("enabled") ? 1 : 0;
    config.mandatory = per_ac(flags_of(args.maybe<Numbers>("mandatory").value_or(Numbers{})));
    config.limit_percent = per_ac(args.maybe<AcNumbers>("limit").value_or(AcNumbers{}));
    config.fbt_limit_voice = figure(fast_transition, TSPEC_AC_VO);
    config.fbt_limit_video = figure(fast_transition, TSPEC_AC_VI);
    config.roam_reserve = args.narrow<uint32_t>("roam_reserve");
    config.dl_inactivity_timeout = args.narrow<uint32_t>("downlink_inactivity");
    config.ul_inactivity_timeout = args.narrow<uint32_t>("uplink_inactivity");
    config.radio_param = args.narrow<uint32_t>("radio_param");
    run.ap().dman().send(with_length(config.bytes(), args));
}

bool exceeds_medium(const AcNumbers &percentages)
{
    return std::any_of(percentages.begin(), percentages.end(),
                       [](const auto &percent) { return percent.value_or(0) > 100; });
}

std::string check_configuration(const Args &args)
{
    AcNumbers fast_transition = args.maybe<AcNumbers>("fast_transition").value_or(AcNumbers{});
    if (fast_transition[TSPEC_AC_BE] || fast_transition[TSPEC_AC_BK]) {
        return "only voice and video have a fast-transition share";
    }
    bool exceeds = exceeds_medium(args.maybe<AcNumbers>("limit").value_or(AcNumbers{})) ||
                   exceeds_medium(fast_transition) || args.number("roam_reserve") > 100;
    return exceeds && !args.flag("unchecked")
               ? "a share is above 100 %; with \"unchecked: true\" it is sent all the same"
               : "";
}

std::string request_text(const std::string &of)
{
    if (of == "ap") {
        return TSPEC_DMAN_AP_STATS;
    }
    bool is_vap = of.find("vap") != std::string::npos;
    std::string number = of.substr(4);
    return (is_vap ? TSPEC_DMAN_VAP_STATS : TSPEC_DMAN_RADIO_STATS) + number;
}

void send_request(Run &run, const Args &args, const std::string &text)
{
    run.ap().dman().send(with_length(status_request(text), args));
}

} // namespace

const StepGroup &dman_steps()
{
    static const KeyType report = {
        "ap, a radio such as wlan0 or a VAP such as wlan0vap3",
        [](const YAML::Node &node, Reader &reader, Value &value) {
            std::optional<std::string> word = reader.word(node, "ap, a radio or a VAP");
            if (word && *word == "ap") {
                value = *word;
                return true;
            }
            return word && types::interface_name.read(node, reader, value);
        }};
    static const StepGroup steps{
        {.name = "dman.config",
         .help = "Configures admission control of one radio. What is left out is off or 0, but for "
                 "`enabled`: each configuration replaces the radio's former one.",
         .keys = {required("radio", types::radio, "the radio"),
                  with_default("enabled", types::flag, "true", "admission control on the radio"),
                  optional("mandatory", types::access_categories,
                           "categories on which a stream needs admission"),
                  optional("limit", types::percent_by_category,
                           "share of airtime for ordinary streams"),
                  optional("fast_transition", types::percent_by_category,
                           "voice and video: further share, for streams that come with a fast "
                           "transition"),
                  with_default("roam_reserve", types::percent, "0",
                               "part of the limits kept for roaming clients on a managed access "
                               "point"),
                  with_default("downlink_inactivity", types::whole_seconds, "0s",
                               "time-out of idle downlink streams"),
                  with_default("uplink_inactivity", types::whole_seconds, "0s",
                               "time-out of idle uplink streams"),
                  with_default("radio_param", types::u32, "0", "stored, without effect"),
                  with_default("unchecked", types::flag, "false", "shares above 100 % are meant"),
                  length_key()},
         .run = configure,
         .changes_load = true,
         .check = check_configuration},
        {.name = "dman.violation_interval",
         .help = "Sets how often excess usage is reported; 0s switches the reports off.",
         .keys = {required("interval", types::whole_seconds, "time between two reports"),
                  length_key()},
         .shorthand = "interval",
         .run =
             [](Run &run, const Args &args) {
                 ViolationInterval interval{args.narrow<uint32_t>("interval")};
                 run.ap().dman().send(with_length(interval.bytes(), args));
             }},
        {.name = "dman.status",
         .help = "Asks for the statistics of the access point, a radio or a VAP. The answer is "
                 "seen by expect.dman; expect.status asks by itself.",
         .keys = {required("of", report, "whose statistics"), length_key()},
         .shorthand = "of",
         .run = [](Run &run,
                   const Args &args) { send_request(run, args, request_text(args.text("of"))); }},
        {.name = "dman.client_walk",
         .help = "Asks for the first or the next stream of the daemon's walk over all streams.",
         .keys = {required("which", types::word_of({"first", "next"}), "which stream"),
                  length_key()},
         .shorthand = "which",
         .run =
             [](Run &run, const Args &args) {
                 bool first = args.text("which") == "first";
                 send_request(run, args,
                              first ? TSPEC_DMAN_CLIENT_TS_FIRST : TSPEC_DMAN_CLIENT_TS_NEXT);
             }},
        {.name = "dman.request",
         .help = "A status request with any text, terminated as dman does.",
         .keys = {required("text", types::text, "the text"), length_key()},
         .shorthand = "text",
         .run = [](Run &run, const Args &args) { send_request(run, args, args.text("text")); }},
        {.name = "dman.raw",
         .help = "Any bytes from dman.",
         .keys = raw_keys(),
         .shorthand = "hex",
         .run = [](Run &run, const Args &args) { run.ap().dman().send(raw_bytes(args)); },
         .changes_load = true},
    };
    return steps;
}

} // namespace tspec::sim::scenario
