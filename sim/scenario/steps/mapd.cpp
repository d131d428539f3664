// Steps of mapd: managing the access point and deciding requests.
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/datagram_size.h"
#include "sim/scenario/steps/stream_keys.h"

#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

void set_ap_state(Run &run, const Args &args)
{
    ApState state;
    state.managed_mode = args.narrow<uint8_t>("state");
    run.ap().mapd().send(with_length(state.bytes(), args));
}

// The request that is answered, or one made up when there is none.
tspec_mapd_msg_t request_for(Run &run, const Args &args)
{
    std::optional<Mac> station = args.maybe<Mac>("sta");
    std::optional<tspec_mapd_msg_t> request =
        run.forwarded(station, args.maybe_narrow<uint8_t>("tid"));
    if (request) {
        return *request;
    }
    if (!station) {
        throw RunTrouble("no request has been forwarded to mapd; give sta to make one up");
    }
    MapdMessage message;
    message.sta = *station;
    return message.wire();
}

void override_stream(tspec_mapd_msg_t &message, const Args &args)
{
    uint8_t *info = message.tspec.ts_info;
    TsInfo changed =
        encode_ts_info(args.maybe_narrow<uint8_t>("tid").value_or(ts_info_tid(info)),
                       args.maybe_narrow<uint8_t>("direction").value_or(ts_info_direction(info)),
                       args.maybe_narrow<uint8_t>("up").value_or(ts_info_user_priority(info)));
    std::copy(changed.begin(), changed.end(), info);
    message.radio_unit = args.maybe_narrow<uint8_t>("radio").value_or(message.radio_unit);
    message.ac_idx = args.maybe_narrow<uint8_t>("ac").value_or(message.ac_idx);
    message.tspec.medium_time =
        args.maybe_narrow<uint16_t>("medium_time").value_or(message.tspec.medium_time);
}

void answer_request(Run &run, const Args &args)
{
    tspec_mapd_msg_t request = request_for(run, args);
    override_stream(request, args);
    Bytes response = MapdMessage::response_to(request, args.narrow<uint8_t>("result"));
    run.ap().mapd().send(with_length(std::move(response), args));
}

void send_message(Run &run, const Args &args, uint8_t cmd)
{
    MapdMessage message;
    message.cmd = cmd;
    message.sta = args.mac("sta");
    message.radio_unit = args.narrow<uint8_t>("radio");
    message.tspec = stream_of(args);
    message.ac_idx =
        args.maybe_narrow<uint8_t>("ac").value_or(ac_of_user_priority(message.tspec.user_priority));
    run.ap().mapd().send(with_length(message.bytes(), args));
}

void answer_by_itself(Run &run, const Args &args)
{
    std::optional<uint8_t> result = args.maybe_narrow<uint8_t>("result");
    run.ap().mapd().answer_requests(result);
    run.say("mapd", result ? fmt::format("answers every request from now on: {}",
                                         word_of_value(result_names(), *result))
                           : "answers no request by itself");
}

// The number itself, as some messages carry a category that is none.
KeyType category_or_number()
{
    return {one_of(access_category_names()) + ", or a number 0 to 255",
            [](const YAML::Node &node, Reader &reader, Value &value) {
                bool is_number = node.IsScalar() && !node.Scalar().empty() &&
                                 node.Scalar().find_first_not_of("0123456789") == std::string::npos;
                return is_number ? types::u8.read(node, reader, value)
                                 : types::access_category.read(node, reader, value);
            }};
}

std::vector<Key> message_keys(const KeyType &category)
{
    return std::vector{required("sta", types::mac, "the station"),
                       with_default("radio", types::radio, "wlan0", "the radio"),
                       optional("ac", category,
                                "the access category; that of the user priority when left out")} +
           stream_keys() + std::vector{length_key()};
}

} // namespace

const StepGroup &mapd_steps()
{
    static constexpr Name states[] = {{"unmanaged", 0}, {"managed", 1}};
    static const KeyType state = types::choice(states);
    static const KeyType category = category_or_number();
    static const KeyType tid = types::number(0, 15);
    static const StepGroup steps{
        {.name = "mapd.ap_state",
         .help = "mapd takes the access point under its management, or leaves it.",
         .keys = {required("state", state, "who decides from now on: mapd, or the daemon itself"),
                  length_key()},
         .shorthand = "state",
         .run = set_ap_state},
        {.name = "mapd.addts_response",
         .help = "mapd decides a request that the daemon forwarded: the latest one, or the latest "
                 "of the station and TID given. Further keys change what the answer echoes. With "
                 "sta and no such request, the answer is made up.",
         .keys = {with_default("result", types::result, "accepted", "the decision"),
                  optional("sta", types::mac, "the station"),
                  optional("tid", tid, "the stream's TID"),
                  optional("radio", types::radio, "the radio"),
                  optional("ac", category, "the access category"),
                  optional("up", types::up, "the user priority"),
                  optional("direction", types::direction, "the direction"),
                  optional("medium_time", types::u16, "the medium time granted"), length_key()},
         .shorthand = "result",
         .run = answer_request,
         .changes_load = true},
        {.name = "mapd.answers",
         .help = "mapd decides every request by itself from now on; without a result no more.",
         .keys = {optional("result", types::result, "the decision")},
         .shorthand = "result",
         .run = answer_by_itself,
         .needs_daemon = false},
        {.name = "mapd.delts",
         .help = "mapd orders a stream's removal.",
         .keys = message_keys(category),
         .run = [](Run &run, const Args &args) { send_message(run, args, TSPEC_DELTS_CMD); },
         .changes_load = true},
        {.name = "mapd.message",
         .help = "A message of mapd about a stream, with any command number.",
         .keys = std::vector{required("cmd", types::u8, "the command's number")} +
                 message_keys(category),
         .run = [](Run &run,
                   const Args &args) { send_message(run, args, args.narrow<uint8_t>("cmd")); },
         .changes_load = true},
        {.name = "mapd.raw",
         .help = "Any bytes from mapd.",
         .keys = raw_keys(),
         .shorthand = "hex",
         .run = [](Run &run, const Args &args) { run.ap().mapd().send(raw_bytes(args)); },
         .changes_load = true},
    };
    return steps;
}

} // namespace tspec::sim::scenario
