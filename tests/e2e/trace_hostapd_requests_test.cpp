// The lines of requests for streams, ordinary ones and those of a fast
// transition.
#include "trace_table.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

constexpr const char *reject_sender = "tspec_build_and_send_hostapd_addts_reject_msg";

Trace process_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_hostapd_process:" + text);
}

Trace addts_line()
{
    return process_line(hostapd, "ADDTS Request message\r\n");
}

TraceCase bad_radio(uint8_t radio_unit)
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD, {.radio_unit = radio_unit});
    return {fmt::format("radio_unit_{}", radio_unit), associate_all, hostapd_sends(message),
            dispatched(message.bytes(),
                       process_line(hostapd, "Entry\r\n") +
                           process_line(error, fmt::format("Error in message from hostapd, "
                                                           "radio_unit={}\r\n",
                                                           radio_unit)) +
                           hostapd_exit(-1),
                       -1)};
}

// 512 streams of 512 stations.
void fill_up(AccessPoint &ap)
{
    associate_all(ap);
    for (uint32_t station = 1; station <= TSPEC_MAX_TS; station++) {
        ap.hostapd().send(from_hostapd(TSPEC_ADDTS_REQ_CMD, {.station = station}).bytes());
    }
    ap.settle();
}

std::vector<TraceCase> front_cases()
{
    HostapdMessage other_tid = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    other_tid.tid = 5;
    HostapdMessage plain = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    const Stream video{.tid = 4, .user_priority = up_video, .radio_unit = 2};
    return {
        bad_radio(0),
        bad_radio(3),
        bad_radio(255),
        // The unit answers for the TID in TS Info, under which no stream is
        // known: the stream stays pending.
        {"tid_differs_from_ts_info", associate, hostapd_sends(other_tid),
         hostapd_message(other_tid,
                         addts_line() + unit_entered(0) + unit_decision({}) + response_entered({}) +
                             line(error, "tspec_mapd_process:No TS info record found for client "
                                         "02:00:00:00:00:01 AC 3 TID 6\n"),
                         0)},
        {"request_admitted", associate, hostapd_sends(plain), plain_admission(plain, {})},
        {"request_admitted_on_the_second_radio", associate,
         hostapd_sends(from_hostapd(TSPEC_ADDTS_REQ_CMD, video)),
         plain_admission(from_hostapd(TSPEC_ADDTS_REQ_CMD, video), video)},
    };
}

Trace unassociated_line()
{
    return process_line(hostapd, "Received ADDTS request from unassociated client "
                                 "02:00:00:00:00:01. Request ignored.\r\n");
}

std::vector<TraceCase> station_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    Fault socket_fails{.call = Call::socket, .error = EMFILE};
    Action query_fails = [](AccessPoint &ap) {
        ap.driver().set_station(station_mac(1), StationAnswer::failure(EINVAL));
    };
    return {
        {"station_unassociated", nothing(), hostapd_sends(message),
         hostapd_message_left(message, addts_line() + unassociated_line(), -1)},
        {"station_query_without_socket", in_turn({associate, injects(socket_fails)}),
         hostapd_sends(message),
         hostapd_message_left(message,
                              addts_line() +
                                  line(error,
                                       "tspec_client_status_flags_get:Error opening socket - "
                                       "radio_unit=1\r\n") +
                                  unassociated_line(),
                              -1)},
        {"station_query_fails", query_fails, hostapd_sends(message),
         hostapd_message_left(
             message,
             addts_line() +
                 line(error, "tspec_client_status_flags_get:ioctl error - radio_unit=1\r\n") +
                 unassociated_line(),
             -1)},
    };
}

Trace pending_line()
{
    return process_line(error, "Received an ADDTS request for client 02:00:00:00:00:01 on ac "
                               "3while one is currently pending. Request ignored.\r\n");
}

std::vector<TraceCase> existing_stream_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    const Stream as_video{.user_priority = up_video};
    HostapdMessage moved = from_hostapd(TSPEC_ADDTS_REQ_CMD, as_video);
    const Stream second_tid{.tid = 4, .user_priority = up_video};
    HostapdMessage second = from_hostapd(TSPEC_ADDTS_REQ_CMD, second_tid);
    return {
        {"tid_active_on_another_category", in_turn({associate, admits()}), hostapd_sends(moved),
         hostapd_message_left(
             moved,
             addts_line() +
                 process_line(hostapd, "Received ADDTS request for existing TID 6 but different "
                                       "ac_idx 2 (current ac_idx 3). Sending 'Invalid Parameters' "
                                       "response.\r\n") +
                 sent_to_hostapd(reject_sender, 2),
             0)},
        {"tid_pending_on_another_category", in_turn({associate, managed(), hostapd_sends(message)}),
         hostapd_sends(moved),
         hostapd_message_left(
             moved,
             addts_line() + process_line(hostapd,
                                         "Received ADDTS request while one currently pending for "
                                         "same TID 6 but different ac_idx 3. Request ignored.\r\n"),
             -1)},
        {"pending_request_repeated", in_turn({associate, managed(), hostapd_sends(message)}),
         hostapd_sends(message), hostapd_message_left(message, addts_line() + pending_line(), -1)},
        {"client_with_a_stream_on_another_category", in_turn({associate, admits()}),
         hostapd_sends(second),
         hostapd_message(
             second,
             addts_line() +
                 line(info, "tspec_rec_add:TSPEC record already exists for client "
                            "02:00:00:00:00:01\r\n") +
                 unit_entered(0) + unit_decision({.ac = TSPEC_AC_VI}) +
                 response_accepted(second_tid, 0, walked({.new_ac = TSPEC_AC_VI, .new_tid = 4})),
             0)},
        {"stream_renewed", in_turn({associate, admits()}), hostapd_sends(message),
         hostapd_message(message,
                         addts_line() + unit_entered(0) + unit_decision({.previous_ac = 3}) +
                             response_accepted({}, 0, walked({.pending_tid = 6})),
                         0)},
    };
}

std::vector<TraceCase> limit_cases()
{
    const Stream another{.station = 600};
    HostapdMessage one_more = from_hostapd(TSPEC_ADDTS_REQ_CMD, another);
    // A record exists, a stream entry is free.
    HostapdMessage second_stream =
        from_hostapd(TSPEC_ADDTS_REQ_CMD, {.tid = 4, .direction = downlink});
    Trace refused = addts_line() +
                    process_line(error, "MAX TS (512) allowed per AP exceeded. Sending 'Refused' "
                                        "response.\r\n") +
                    sent_to_hostapd(reject_sender, 2);
    HostapdMessage fast = from_hostapd(TSPEC_FBT_ADDTS_CMD, another);
    Trace fast_refused =
        process_line(hostapd, "TS FBT ADDTS CMD for client 02:00:00:00:02:58 on AC 3\r\n") +
        line(hostapd, "tspec_fbt_addts_req_process: Ext. AC=3 TID=6 Dir=0\r\n") +
        line(hostapd, "tspec_fbt_addts_req_process:FBT ADDTS Request message\r\n") +
        line(error, "tspec_fbt_addts_req_process:MAX TS (512) allowed per AP exceeded. Sending "
                    "'Refused' response.\r\n") +
        sent_to_hostapd(reject_sender, 2);
    Fault no_memory{.call = Call::calloc, .error = ENOMEM};
    HostapdMessage plain = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    HostapdMessage fast_plain = from_hostapd(TSPEC_FBT_ADDTS_CMD);
    Trace no_record = line(info, "tspec_rec_add:Cannot allocate new TSPEC record for client "
                                 "02:00:00:00:00:01\r\n");
    return {
        {"stream_513_of_a_new_client", fill_up, hostapd_sends(one_more),
         hostapd_message_left(one_more, refused, 0)},
        {"stream_513_of_a_known_client", fill_up, hostapd_sends(second_stream),
         hostapd_message_left(second_stream, refused, 0)},
        {"fast_transition_stream_513", fill_up, hostapd_sends(fast),
         hostapd_message(fast, fast_refused, 0)},
        {"no_memory_for_a_client",
         in_turn({associate, injects(no_memory)}),
         hostapd_sends(plain),
         hostapd_message_left(plain,
                              addts_line() + no_record +
                                  process_line(error, "Failed to add tspec_rec to the database for "
                                                      "client 02:00:00:00:00:01 \r\n"),
                              -1),
         {},
         true},
        {"no_memory_for_a_fast_transition",
         in_turn({associate, injects(no_memory)}),
         hostapd_sends(fast_plain),
         hostapd_message(
             fast_plain,
             process_line(hostapd, "TS FBT ADDTS CMD for client 02:00:00:00:00:01 on AC 3\r\n") +
                 line(hostapd, "tspec_fbt_addts_req_process: Ext. AC=3 TID=6 Dir=0\r\n") +
                 line(hostapd, "tspec_fbt_addts_req_process:FBT ADDTS Request message\r\n") +
                 no_record +
                 line(error, "tspec_fbt_addts_req_process:Failed to add tspec_rec to the database "
                             "for client 02:00:00:00:00:01 \r\n"),
             0),
         {},
         true},
    };
}

std::vector<TraceCase> forwarding_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    HostapdMessage moved = from_hostapd(TSPEC_ADDTS_REQ_CMD, {.user_priority = up_video});
    const std::string lost =
        perror_line("Error sending data to destination process.\n", ENETUNREACH);
    return {
        {"request_forwarded", in_turn({associate, managed()}), hostapd_sends(message),
         hostapd_message(message, addts_line() + sent_to_mapd(1, 6), 0)},
        {"request_forwarded_with_medium_time",
         in_turn({associate, configure_voice_and_video, managed()}), hostapd_sends(message),
         hostapd_message(message,
                         addts_line() + medium_time_computed(208, 83200, 50, 400, 625, 625) +
                             sent_to_mapd(1, 6, 625),
                         0, true)},
        {"renewal_forwarded_with_both_medium_times",
         in_turn({associate, configure_voice_and_video, managed(), admits()}),
         hostapd_sends(message),
         hostapd_message(message,
                         addts_line() + medium_time_computed(208, 83200, 50, 400, 625, 625) +
                             sent_to_mapd(1, 6, 625, 625),
                         0, true)},
        {"request_not_forwarded", in_turn({associate, managed(), sends_break(TSPEC_MAPD_PORT)}),
         hostapd_sends(message),
         hostapd_message(message,
                         addts_line() +
                             process_line(error, "Failed to process TSPEC Request message") +
                             record_deleted(),
                         -1),
         lost + perror_line("Error sending data to mapd.\n", ENETUNREACH)},
        {"reject_not_sent", in_turn({associate, admits(), sends_break(TSPEC_HOSTAPD_PORT)}),
         hostapd_sends(moved),
         hostapd_message_left(
             moved,
             addts_line() +
                 process_line(hostapd, "Received ADDTS request for existing TID 6 but different "
                                       "ac_idx 2 (current ac_idx 3). Sending 'Invalid Parameters' "
                                       "response.\r\n") +
                 line(hostapd, "tspec_build_and_send_hostapd_addts_reject_msg:Error sending data "
                               "to hostapd.\n"),
             -1),
         lost},
    };
}

Trace fast_lines(const Stream &stream)
{
    unsigned ac = ac_of(stream);
    return process_line(hostapd, fmt::format("TS FBT ADDTS CMD for client {} on AC {}\r\n",
                                             mac_of(stream), ac)) +
           line(hostapd, fmt::format("tspec_fbt_addts_req_process: Ext. AC={} TID={} Dir={}\r\n",
                                     ac, stream.tid, stream.direction)) +
           line(hostapd, "tspec_fbt_addts_req_process:FBT ADDTS Request message\r\n");
}

Trace disassociated(const Stream &stream, const Trace &released)
{
    return line(hostapd, fmt::format("tspec_hostapd_process_sta_disassoc:Entry - for client {} on "
                                     "VAP 02:aa:00:00:00:02\r\n",
                                     mac_of(stream))) +
           released + record_deleted() +
           line(hostapd, fmt::format("tspec_hostapd_process_sta_disassoc:Deleted client {} TSPEC "
                                     "record on AC {}\r\n",
                                     mac_of(stream), ac_of(stream))) +
           line(hostapd, "tspec_hostapd_process_sta_disassoc:Exit\r\n");
}

std::vector<TraceCase> fast_transition_cases()
{
    const Stream voice{.medium_time = 100};
    const Stream both_ways{.direction = bidirectional, .medium_time = 100};
    const Stream best_effort{.user_priority = up_best_effort, .medium_time = 100};
    HostapdMessage message = from_hostapd(TSPEC_FBT_ADDTS_CMD, voice);
    HostapdMessage doubled = from_hostapd(TSPEC_FBT_ADDTS_CMD, both_ways);
    HostapdMessage rejected = from_hostapd(TSPEC_FBT_ADDTS_CMD, best_effort);
    HostapdMessage ordinary = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    const Stream other_tid{.tid = 7};
    HostapdMessage other = from_hostapd(TSPEC_ADDTS_REQ_CMD, other_tid);
    Trace released = unit_removal(100, 0, 100, TSPEC_AC_VO) +
                     unit_fast_removal(100, 0, 100, TSPEC_AC_VO) +
                     unit_removal(0, 0, 0, TSPEC_AC_VO);
    return {
        {"fast_transition_booked", associate, hostapd_sends(message),
         hostapd_message(message, fast_lines(voice) + unit_fast_add(100, 100, TSPEC_AC_VO), 0)},
        {"fast_transition_booked_while_managed", in_turn({associate, managed()}),
         hostapd_sends(message),
         hostapd_message(message, fast_lines(voice) + unit_fast_add(100, 100, TSPEC_AC_VO), 0) +
             status_sent(TSPEC_AC_VO)},
        {"fast_transition_booked_twice_over", associate, hostapd_sends(doubled),
         hostapd_message(doubled, fast_lines(both_ways) + unit_fast_add(200, 200, TSPEC_AC_VO), 0)},
        {"fast_transition_on_best_effort", associate, hostapd_sends(rejected),
         hostapd_message(rejected,
                         fast_lines(best_effort) + line(info, "tspec_acu_fbt_ts_add:Entry\n") +
                             line(error, "tspec_acu_fbt_ts_add:Invalid input parameter\n"),
                         0)},
        {"fast_transition_of_an_unassociated_station", nothing(), hostapd_sends(message),
         hostapd_message(message,
                         fast_lines(voice) +
                             line(hostapd, "tspec_fbt_addts_req_process:Received FBT ADDTS request "
                                           "from unassociated client 02:00:00:00:00:01. Request "
                                           "ignored.\r\n"),
                         0)},
        {"fast_transition_over_an_earlier_one", in_turn({associate, hostapd_sends(message)}),
         hostapd_sends(message),
         hostapd_message(message,
                         fast_lines(voice) + disassociated(voice, released) +
                             unit_fast_add(100, 100, TSPEC_AC_VO),
                         0)},
        {"ordinary_request_for_a_fast_transition_stream",
         in_turn({associate, hostapd_sends(message)}), hostapd_sends(ordinary),
         hostapd_message(ordinary,
                         addts_line() + disassociated(voice, released) + unit_entered(0) +
                             unit_decision({}) + response_accepted({}, 0),
                         0)},
        // Another TID takes the entry over.
        {"ordinary_request_beside_a_fast_transition_stream",
         in_turn({associate, hostapd_sends(message)}), hostapd_sends(other),
         hostapd_message(
             other,
             addts_line() +
                 line(error, "tspec_fbt_ts_delete:Failed to get ts record for client "
                             "02:00:00:00:00:01\r\n") +
                 unit_entered(0) +
                 unit_decision(
                     {.previous = 100, .current = -100, .delta = -100, .previous_ac = 3}) +
                 response_accepted(
                     other_tid, 0,
                     walked({.pending_tid = 7, .new_tid = 7}) + clean_up_entered(voice, 100, 3) +
                         sent_to_hostapd("tspec_build_and_send_hostapd_delts_msg", 5) +
                         unit_entered(0) + unit_deletion(0, 100, 100, TSPEC_AC_VO)),
             0)},
    };
}

} // namespace

TSPEC_TRACE_CASES(RequestFront, front_cases());
TSPEC_TRACE_CASES(RequestStation, station_cases());
TSPEC_TRACE_CASES(RequestForExistingStream, existing_stream_cases());
TSPEC_TRACE_CASES(RequestLimit, limit_cases());
TSPEC_TRACE_CASES(RequestForwarding, forwarding_cases());
TSPEC_TRACE_CASES(FastTransition, fast_transition_cases());

} // namespace tspec::e2e
