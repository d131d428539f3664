// The lines of admission control: medium time, the unit's decisions, the
// channel utilisation.
#include "trace_table.h"

#include <fmt/format.h>

namespace tspec::e2e {
namespace {

Action utilisation(const std::string &text)
{
    return [text](AccessPoint &ap) { ap.driver().set_proc_file("wlan0", text); };
}

Action frame_duration_of(uint32_t microseconds)
{
    return [microseconds](AccessPoint &ap) {
        ap.hostapd().answer_frame_duration(frame_duration::normal(microseconds));
    };
}

Action voice_limit(uint32_t percent)
{
    return [percent](AccessPoint &ap) {
        ap.dman().send(
            DmanConfig{.mandatory = {.voice = 1}, .limit_percent = {.voice = percent}}.bytes());
    };
}

Trace branch(const Trace &lines)
{
    return line(hostapd, "tspec_hostapd_process:ADDTS Request message\r\n") + lines;
}

TraceCase utilisation_case(const char *name, const std::string &text, unsigned value)
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    return {name, in_turn({associate, utilisation(text)}), hostapd_sends(message),
            hostapd_message(
                message,
                branch(unit_entered(0, value) + unit_decision({}) + response_accepted({}, 0)), 0)};
}

std::vector<TraceCase> utilisation_cases()
{
    return {
        utilisation_case("utilisation", "channel_util 42\n", 42),
        utilisation_case("utilisation_after_other_lines",
                         "noise -95\n channel_util 1\nchannel_util:17\nchannel_util 3\n", 17),
        utilisation_case("utilisation_without_its_line", "noise -95\n", 0),
        utilisation_case("utilisation_in_an_empty_file", "", 0),
        utilisation_case("utilisation_without_number", "channel_util x\n", 0),
        utilisation_case("utilisation_without_value", "channel_util\n", 0),
        utilisation_case("utilisation_without_line_end", "channel_util 99", 99),
    };
}

// A request on a mandatory category that is refused; the pending stream goes.
Trace refused(const Stream &stream, const Trace &medium_time, const Decision &decision)
{
    return branch(medium_time + unit_entered(0) + unit_decision(decision) +
                  response_rejected(stream, decision.result, record_deleted()));
}

std::vector<TraceCase> decision_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    const Stream silent{.mean_data_rate = 0};
    HostapdMessage no_rate = from_hostapd(TSPEC_ADDTS_REQ_CMD, silent);
    const Stream silent_down{.direction = downlink, .mean_data_rate = 0};
    HostapdMessage no_rate_down = from_hostapd(TSPEC_ADDTS_REQ_CMD, silent_down);
    const Stream both_ways{.direction = bidirectional};
    HostapdMessage doubled = from_hostapd(TSPEC_ADDTS_REQ_CMD, both_ways);
    const Trace computed = medium_time_computed(208, 83200, 50, 400, 625, 625);
    const Trace none = medium_time_computed(208, 0, 0, 400, 0, 0);
    return {
        {"admitted_at_the_limit", in_turn({associate, voice_limit(2)}), hostapd_sends(message),
         hostapd_message(
             message,
             branch(
                 computed + unit_entered(0) +
                 unit_decision({.medium_time = 625, .limit = 625, .current = 625, .delta = 625}) +
                 response_accepted({}, 625)),
             0, true)},
        {"refused_above_the_limit", in_turn({associate, voice_limit(1)}), hostapd_sends(message),
         hostapd_message(
             message,
             refused({}, computed,
                     {.medium_time = 625, .limit = 312, .current = 625, .delta = 625, .result = 3}),
             0, true)},
        {"both_directions_count_twice", in_turn({associate, voice_limit(3)}),
         hostapd_sends(doubled),
         hostapd_message(
             doubled,
             refused(
                 both_ways, computed,
                 {.medium_time = 1250, .limit = 937, .current = 1250, .delta = 1250, .result = 3}),
             0, true)},
        {"no_medium_time_asked_for", in_turn({associate, voice_limit(50)}), hostapd_sends(no_rate),
         hostapd_message(
             no_rate,
             branch(none + unit_entered(0) +
                    line(info, "tspec_acu_admission_req_recv:radio unit is 0\n") +
                    line(info, "tspec_acu_admission_req_recv:Requested medium time is 0. Admit "
                               "Result is 1\n") +
                    response_rejected({}, 1, record_deleted())),
             0, true)},
        {"no_medium_time_downlink", in_turn({associate, voice_limit(50)}),
         hostapd_sends(no_rate_down),
         hostapd_message(no_rate_down,
                         branch(none + unit_entered(0) + unit_decision({.limit = 15625}) +
                                response_accepted(silent_down, 0)),
                         0, true)},
        {"medium_time_saturated", in_turn({associate, voice_limit(50), frame_duration_of(100000)}),
         hostapd_sends(message),
         hostapd_message(message,
                         refused({}, medium_time_computed(208, 83200, 50, 100000, 156250, 65535),
                                 {.medium_time = 65535,
                                  .limit = 15625,
                                  .current = 65535,
                                  .delta = 65535,
                                  .result = 3}),
                         0, true)},
        {"renewal_on_a_full_category", in_turn({associate, voice_limit(2), admits()}),
         hostapd_sends(message),
         hostapd_message(message,
                         branch(computed + unit_entered(0) +
                                unit_decision({.medium_time = 625,
                                               .previous = 625,
                                               .limit = 625,
                                               .current = 625,
                                               .admitted = 625,
                                               .previous_ac = 3}) +
                                response_accepted({}, 625, walked({.pending_tid = 6}))),
                         0, true)},
    };
}

} // namespace

TSPEC_TRACE_CASES(Utilisation, utilisation_cases());
TSPEC_TRACE_CASES(Admission, decision_cases());

} // namespace tspec::e2e
