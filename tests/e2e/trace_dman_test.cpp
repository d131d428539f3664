// The lines of configuration and of status requests.
#include "trace_table.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

Bytes cut(Bytes datagram, size_t size)
{
    datagram.resize(size);
    return datagram;
}

TraceCase from_dman(const char *name, const Bytes &datagram, const Trace &inside, int result)
{
    return {name, nothing(), dman_sends(datagram),
            dispatched(datagram, inside, result, Way::dman_socket)};
}

Trace config_entry()
{
    return line(dman, "tspec_ts_config_msg_process:Entry\r\n");
}

Trace interval_entry()
{
    return line(dman, "tspec_ts_config_violation_interval_process:Entry\r\n");
}

Trace config_length(unsigned size)
{
    return config_entry() +
           line(dman, fmt::format("tspec_ts_config_msg_process:Error in config message from DMAN, "
                                  "length mismatch: exp=64 act={}\r\n",
                                  size));
}

Trace interval_length(unsigned size)
{
    return interval_entry() +
           line(dman, fmt::format("tspec_ts_config_violation_interval_process:Error in config "
                                  "message from DMAN, length mismatch: exp=8 act={}\r\n",
                                  size));
}

std::vector<TraceCase> configuration_cases()
{
    const Bytes config = DmanConfig{}.bytes();
    const Bytes interval = ViolationInterval{}.bytes();
    auto bad_radio = [](unsigned radio) {
        return config_entry() +
               line(error, fmt::format("tspec_ts_config_msg_process:Invalid radio_if parameter: "
                                       "{}\r\n",
                                       radio));
    };
    return {
        from_dman("configuration", config, config_entry(), 0),
        from_dman("configuration_of_the_second_radio", DmanConfig{.radio_if = 2}.bytes(),
                  config_entry(), 0),
        from_dman("configuration_of_no_radio", DmanConfig{.radio_if = 0}.bytes(), bad_radio(0), -1),
        from_dman("configuration_of_a_third_radio", DmanConfig{.radio_if = 3}.bytes(), bad_radio(3),
                  -1),
        from_dman("configuration_of_63_bytes", cut(config, 63), config_length(63), 0),
        from_dman("configuration_of_2_bytes", cut(config, 2), config_length(2), 0),
        from_dman("configuration_of_65_bytes", cut(config, 65), config_entry(), 0),
        from_dman("interval", interval, interval_entry(), 0),
        from_dman("interval_of_7_bytes", cut(interval, 7), interval_length(7), 0),
        from_dman("interval_of_9_bytes", cut(interval, 9), interval_entry(), 0),
    };
}

TraceCase status(const char *name, const char *text)
{
    return from_dman(name, status_request(text), {}, 0);
}

TraceCase unknown(const char *name, const Bytes &datagram, const std::string &text)
{
    return from_dman(name, datagram,
                     line(error, fmt::format("tspec_process_dman_stats_msg:Error in status message "
                                             "DMAN, unknown command: {}\r\n",
                                             text)),
                     -1);
}

Bytes without_nul(const char *text)
{
    Bytes datagram = status_request(text);
    datagram.pop_back();
    return datagram;
}

std::vector<TraceCase> status_cases()
{
    Bytes only_type{TSPEC_DMAN_STATUS_REQ_MSG};
    Bytes text_after_nul = status_request("hello");
    text_after_nul.push_back('x');
    const std::string long_text(1000, 'a');
    return {
        status("status_of_the_access_point", "tspec-ap-stats"),
        status("status_of_a_radio", "tspec-radio-wlan1"),
        status("status_of_a_vap", "tspec-vap-wlan0vap3"),
        status("first_stream", "tspec-client-ts-first"),
        status("next_stream", "tspec-client-ts-next"),
        from_dman("status_without_nul", without_nul("tspec-ap-stats"), {}, 0),
        from_dman("status_of_a_third_radio", status_request("tspec-radio-wlan2"), {}, -1),
        from_dman("status_of_a_vap_on_a_third_radio", status_request("tspec-vap-wlan2vap1"), {},
                  -1),
        from_dman("status_of_vap_16", status_request("tspec-vap-wlan0vap16"), {}, -1),
        from_dman("status_of_vap_minus_1", status_request("tspec-vap-wlan0vap-1"), {}, -1),
        unknown("unknown_status", status_request("tspec-ap-stats-x"), "tspec-ap-stats-x"),
        unknown("unknown_status_with_a_blank", status_request("tspec-ap-stats "),
                "tspec-ap-stats "),
        unknown("unknown_status_without_nul", without_nul("nonsense"), "nonsense"),
        unknown("unknown_status_up_to_the_nul", text_after_nul, "hello"),
        unknown("unknown_status_of_no_text", status_request(""), ""),
        unknown("unknown_status_of_the_type_alone", only_type, ""),
        unknown("unknown_status_of_1000_characters", status_request(long_text), long_text),
    };
}

TraceCase unsent(const char *name, const char *text, const char *sender, const char *what)
{
    const Bytes datagram = status_request(text);
    return {
        name, sends_break(TSPEC_DMAN_REPLY_PORT), dman_sends(datagram),
        dispatched(datagram, line(error, fmt::format("{}:{}", sender, what)), -1, Way::dman_socket),
        perror_line("Error sending data to destination process.\n", ENETUNREACH) +
            perror_line(what, ENETUNREACH)};
}

std::vector<TraceCase> unsent_cases()
{
    return {
        unsent("status_of_the_access_point_not_sent", "tspec-ap-stats",
               "fill_and_send_ap_tspec_stats", "Error sending ap stats to dman.\n"),
        unsent("status_of_a_radio_not_sent", "tspec-radio-wlan0", "fill_and_send_radio_tspec_stats",
               "Error sending radio stats to dman.\n"),
        unsent("status_of_a_vap_not_sent", "tspec-vap-wlan0", "fill_and_send_vap_tspec_stats",
               "Error sending vap stats to dman.\n"),
        unsent("stream_not_sent", "tspec-client-ts-first", "fill_and_send_tspec_client_data",
               "Error sending client TS message to dman.\n"),
        unsent("next_stream_not_sent", "tspec-client-ts-next", "fill_and_send_tspec_client_data",
               "Error sending client TS message to dman.\n"),
    };
}

} // namespace

TSPEC_TRACE_CASES(Configuration, configuration_cases());
TSPEC_TRACE_CASES(StatusRequest, status_cases());
TSPEC_TRACE_CASES(StatusNotSent, unsent_cases());

} // namespace tspec::e2e
