// Steps of hostapd: requests of stations, events of streams, frame durations.
#include "sim/scenario/run.h"
#include "sim/scenario/step_table.h"
#include "sim/scenario/steps/datagram_size.h"
#include "sim/scenario/steps/stream_keys.h"
#include "sim/scenario/units.h"

#include <fmt/format.h>

namespace tspec::sim::scenario {

namespace {

std::vector<Key> station_keys()
{
    return {required("sta", types::mac, "the station"),
            with_default("radio", types::radio, "wlan0", "the radio"),
            with_default("vap", types::u8, "0", "number of the VAP on the radio"),
            optional("bssid", types::mac,
                     "address of the VAP; one of its own for each radio and VAP when left out"),
            with_default("peer_addr1", types::mac, "02:aa:00:00:00:01",
                         "another address, stored and echoed"),
            with_default("ssid", types::text, "tspec-sim", "name of the network"),
            with_default("aux_byte", types::u8, "0", "a byte stored with the stream"),
            with_default("aux_addr", types::mac, "00:00:00:00:00:00",
                         "an address stored with the stream"),
            with_default("aux_flag", types::u8, "0", "a byte stored with the TSPEC")};
}

// 02:aa:00:00:00:02 for wlan0, and others for the rest.
Mac bssid_of(const Args &args)
{
    Mac address = Mac::parse("02:aa:00:00:00:02");
    address.octets[4] = static_cast<uint8_t>(args.number("radio") - 1);
    address.octets[5] = static_cast<uint8_t>(2 + args.number("vap"));
    return args.maybe<Mac>("bssid").value_or(address);
}

HostapdMessage message_of(const Args &args, uint8_t cmd, const TrafficSpec &traffic)
{
    HostapdMessage message;
    message.cmd = cmd;
    message.sta = args.mac("sta");
    message.radio_unit = args.narrow<uint8_t>("radio");
    message.vap = args.narrow<uint8_t>("vap");
    message.peer_addr2 = bssid_of(args);
    message.peer_addr1 = args.mac("peer_addr1");
    message.ssid = args.text("ssid");
    message.aux_byte = args.narrow<uint8_t>("aux_byte");
    message.aux_addr = args.mac("aux_addr");
    message.aux_flag = args.narrow<uint8_t>("aux_flag");
    message.tid = args.narrow<uint8_t>("tid");
    message.tspec = traffic;
    return message;
}

void send(Run &run, const Args &args, const HostapdMessage &message)
{
    run.ap().hostapd().send(with_length(message.bytes(), args));
}

template <uint8_t cmd>
void send_request(Run &run, const Args &args)
{
    send(run, args, message_of(args, cmd, traffic_of(args)));
}

template <uint8_t cmd>
void send_event(Run &run, const Args &args)
{
    send(run, args, message_of(args, cmd, stream_of(args)));
}

StepKind request_step(std::string name, std::string help, void (*run)(Run &, const Args &))
{
    return {.name = std::move(name),
            .help = std::move(help),
            .keys = station_keys() + stream_keys() + traffic_keys() + std::vector{length_key()},
            .run = run,
            .changes_load = true};
}

StepKind event_step(std::string name, std::string help, void (*run)(Run &, const Args &))
{
    return {.name = std::move(name),
            .help = std::move(help),
            .keys = station_keys() + stream_keys() + std::vector{length_key()},
            .run = run,
            .changes_load = true};
}

FrameDurationPolicy policy_of(const Args &args)
{
    auto time = args.narrow<uint32_t>("time");
    const std::string &how = args.text("answer");
    if (how == "none") {
        return frame_duration::none();
    }
    if (how == "empty") {
        return frame_duration::empty();
    }
    if (how == "wrong-marker") {
        return frame_duration::wrong_marker(time);
    }
    if (how == "short") {
        return frame_duration::short_answer(args.narrow<size_t>("bytes"));
    }
    return how == "late" ? frame_duration::late(time, args.duration("delay"))
                         : frame_duration::normal(time);
}

void answer_frame_duration(Run &run, const Args &args)
{
    run.ap().hostapd().answer_frame_duration(policy_of(args));
    std::string time = duration_text(Duration(args.number("time")));
    const std::string &how = args.text("answer");
    run.say("hostapd", how == "normal" ? fmt::format("takes a frame exchange to last {}", time)
                                       : fmt::format("answers frame durations: {}", how));
}

} // namespace

const StepGroup &hostapd_steps()
{
    static const KeyType short_bytes = types::number(1, 7);
    static const KeyType any_command = types::u8;
    static const StepGroup steps{
        {.name = "hostapd.frame_duration",
         .help = "What hostapd answers from now on when the daemon asks how long one frame "
                 "exchange occupies the air. At the start: 400us.",
         .keys = {with_default("time", types::microseconds, "400us", "the answer"),
                  with_default(
                      "answer",
                      types::word_of({"normal", "none", "empty", "wrong-marker", "short", "late"}),
                      "normal", "how hostapd answers"),
                  with_default("bytes", short_bytes, "1", "short: bytes of the answer"),
                  with_default("delay", types::some_time, "3s",
                               "late: time that the answer takes; the daemon waits 2 s")},
         .shorthand = "time",
         .run = answer_frame_duration,
         .needs_daemon = false},
        request_step("hostapd.addts",
                     "A station asks for a stream (ADDTS request). The traffic that it describes "
                     "is a voice call unless keys say otherwise.",
                     send_request<TSPEC_ADDTS_REQ_CMD>),
        request_step("hostapd.fast_transition_addts",
                     "A station has brought a stream along in a fast transition; its medium time "
                     "was negotiated then and is booked without a decision.",
                     send_request<TSPEC_FBT_ADDTS_CMD>),
        event_step("hostapd.delts", "A station gives a stream back (DELTS).",
                   send_event<TSPEC_DELTS_REQ_CMD>),
        event_step("hostapd.inactive", "A stream was idle past its inactivity time-out.",
                   send_event<TSPEC_TS_INACTIVE_CMD>),
        event_step("hostapd.exceed_time", "A stream used more than its medium time.",
                   send_event<TSPEC_TS_EXCEED_TIME_CMD>),
        event_step("hostapd.unauthorised_traffic",
                   "A station sends on an access category without an admitted stream; tid and up "
                   "say on which.",
                   send_event<TSPEC_TS_UNAUTH_TRAFFIC_CMD>),
        event_step("hostapd.disassoc", "A station has left the VAP (bssid).",
                   send_event<TSPEC_STA_DISASSOC_CMD>),
        {.name = "hostapd.message",
         .help = "A message of hostapd with any command number.",
         .keys = std::vector{required("cmd", any_command, "the command's number")} +
                 station_keys() + stream_keys() + traffic_keys() + std::vector{length_key()},
         .run =
             [](Run &run, const Args &args) {
                 send(run, args, message_of(args, args.narrow<uint8_t>("cmd"), traffic_of(args)));
             },
         .changes_load = true},
        {.name = "hostapd.raw",
         .help = "Any bytes from hostapd.",
         .keys = raw_keys(),
         .shorthand = "hex",
         .run = [](Run &run, const Args &args) { run.ap().hostapd().send(raw_bytes(args)); },
         .changes_load = true},
    };
    return steps;
}

} // namespace tspec::sim::scenario
