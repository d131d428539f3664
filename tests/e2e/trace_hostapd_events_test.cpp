// The lines of what hostapd tells about streams and stations: deletions,
// inactivity, excess, unauthorised traffic, disassociation.
#include "trace_table.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

constexpr const char *delts_sender = "tspec_build_and_send_hostapd_delts_msg";

Trace process_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_hostapd_process:" + text);
}

Trace no_stream_on(unsigned ac)
{
    return line(error, fmt::format("tspec_ts_rec_delete_tid:Failed to find tspec record for client "
                                   "02:00:00:00:00:01 with AC {}\r\n",
                                   ac));
}

// A stream of this medium time, admitted.
Action admitted_voice()
{
    return in_turn({associate, configure_voice_and_video, admits()});
}

Action fast_transition(const Stream &stream)
{
    return in_turn({associate, hostapd_sends(from_hostapd(TSPEC_FBT_ADDTS_CMD, stream))});
}

std::vector<TraceCase> deletion_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_DELTS_REQ_CMD);
    HostapdMessage other_category = from_hostapd(TSPEC_DELTS_REQ_CMD, {.user_priority = up_video});
    const Stream both_ways{.direction = bidirectional, .medium_time = 100};
    HostapdMessage fast = from_hostapd(TSPEC_DELTS_REQ_CMD, both_ways);
    const Stream background{.user_priority = up_background, .medium_time = 100};
    HostapdMessage fast_background = from_hostapd(TSPEC_DELTS_REQ_CMD, background);
    const Stream one_way{.medium_time = 100};
    HostapdMessage fast_one_way = from_hostapd(TSPEC_DELTS_REQ_CMD, one_way);
    Trace delts_line = process_line(hostapd, "DELTS Request Message\r\n");
    return {
        {"deletion", admitted_voice(), hostapd_sends(message),
         hostapd_message(message,
                         delts_line + record_deleted() + unit_entered(0) +
                             unit_deletion(625, 0, 625, TSPEC_AC_VO),
                         0, true)},
        {"deletion_while_managed", in_turn({admitted_voice(), managed()}), hostapd_sends(message),
         hostapd_message(message, delts_line + record_deleted() + sent_to_mapd(3, 6, 625), 0,
                         true) +
             status_sent(TSPEC_AC_VO)},
        {"deletion_of_an_unknown_stream", associate, hostapd_sends(message),
         hostapd_message(message,
                         delts_line + process_line(error, "Failed to get ts record for client "
                                                          "02:00:00:00:00:01\r\n"),
                         -1)},
        {"deletion_on_another_category", in_turn({associate, admits()}),
         hostapd_sends(other_category),
         hostapd_message(other_category,
                         delts_line + no_stream_on(TSPEC_AC_VI) +
                             process_line(error, "Failed to delete tspec record for client "
                                                 "02:00:00:00:00:01 TID 6\r\n"),
                         -1)},
        {"deletion_of_a_fast_transition_stream", fast_transition(both_ways), hostapd_sends(fast),
         hostapd_message(fast,
                         delts_line + unit_fast_removal(200, 0, 200, TSPEC_AC_VO) +
                             record_deleted() + unit_entered(0) +
                             unit_deletion(200, 0, 200, TSPEC_AC_VO),
                         0)},
        {"deletion_of_a_one_way_fast_transition_stream", fast_transition(one_way),
         hostapd_sends(fast_one_way),
         hostapd_message(fast_one_way,
                         delts_line + unit_fast_removal(0, 100, 100, TSPEC_AC_VO) +
                             record_deleted() + unit_entered(0) +
                             unit_deletion(100, 0, 100, TSPEC_AC_VO),
                         0)},
        {"deletion_of_a_fast_transition_background_stream", fast_transition(background),
         hostapd_sends(fast_background),
         hostapd_message(fast_background,
                         delts_line + line(info, "tspec_acu_fbt_ts_removal:Entry\n") +
                             line(error, "tspec_acu_fbt_ts_removal:Invalid input parameter\n") +
                             record_deleted() + unit_entered(0) +
                             unit_deletion(100, -100, 0, TSPEC_AC_BK),
                         0)},
        {"deletion_not_forwarded",
         in_turn({admitted_voice(), managed(), sends_break(TSPEC_MAPD_PORT)}),
         hostapd_sends(message),
         hostapd_message(message,
                         delts_line + record_deleted() +
                             process_line(error, "Failed to process TSPEC Request message") +
                             no_stream_on(TSPEC_AC_VO),
                         -1, true) +
             status_sent(TSPEC_AC_VO),
         perror_line("Error sending data to destination process.\n", ENETUNREACH) +
             perror_line("Error sending data to mapd.\n", ENETUNREACH)},
    };
}

std::vector<TraceCase> inactivity_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_TS_INACTIVE_CMD);
    HostapdMessage other_category =
        from_hostapd(TSPEC_TS_INACTIVE_CMD, {.user_priority = up_video});
    const Stream both_ways{.direction = bidirectional, .medium_time = 100};
    HostapdMessage fast = from_hostapd(TSPEC_TS_INACTIVE_CMD, both_ways);
    auto inactive_line = [](unsigned ac) {
        return process_line(hostapd, fmt::format("Inactive TS message for client "
                                                 "02:00:00:00:00:01 TID 6 on AC {}\r\n",
                                                 ac));
    };
    Trace voice_line = inactive_line(TSPEC_AC_VO);
    return {
        {"inactivity", admitted_voice(), hostapd_sends(message),
         hostapd_message(message,
                         voice_line + sent_to_hostapd(delts_sender, 5) + record_deleted() +
                             unit_entered(0) + unit_deletion(625, 0, 625, TSPEC_AC_VO),
                         0, true)},
        {"inactivity_while_managed", in_turn({admitted_voice(), managed()}), hostapd_sends(message),
         hostapd_message(message,
                         voice_line + sent_to_hostapd(delts_sender, 5) + record_deleted() +
                             sent_to_mapd(4, 6, 625),
                         0, true) +
             status_sent(TSPEC_AC_VO)},
        {"inactivity_of_an_unknown_stream", associate, hostapd_sends(message),
         hostapd_message(message, voice_line, -1)},
        {"inactivity_on_another_category", in_turn({associate, admits()}),
         hostapd_sends(other_category),
         hostapd_message_left(other_category,
                              inactive_line(TSPEC_AC_VI) + sent_to_hostapd(delts_sender, 5) +
                                  no_stream_on(TSPEC_AC_VI) +
                                  process_line(error, "Failed to delete tspec record for client "
                                                      "02:00:00:00:00:01 on AC 2 TID 6\r\n"),
                              -1)},
        {"inactivity_that_hostapd_is_not_told",
         in_turn({admitted_voice(), sends_break(TSPEC_HOSTAPD_PORT)}), hostapd_sends(message),
         hostapd_message(message,
                         voice_line + process_line(error, "Error sending data to hostapd\n") +
                             record_deleted() + unit_entered(0) +
                             unit_deletion(625, 0, 625, TSPEC_AC_VO),
                         -1, true),
         perror_line("Error sending data to destination process.\n", ENETUNREACH) +
             perror_line("Error sending data to hostapd.\n", ENETUNREACH)},
        {"inactivity_of_a_fast_transition_stream", fast_transition(both_ways), hostapd_sends(fast),
         hostapd_message(fast,
                         voice_line + sent_to_hostapd(delts_sender, 5) +
                             unit_fast_removal(200, 0, 200, TSPEC_AC_VO) + record_deleted() +
                             unit_entered(0) + unit_deletion(200, 0, 200, TSPEC_AC_VO),
                         0)},
    };
}

std::vector<TraceCase> traffic_cases()
{
    HostapdMessage exceed = from_hostapd(TSPEC_TS_EXCEED_TIME_CMD);
    HostapdMessage unauthorised =
        from_hostapd(TSPEC_TS_UNAUTH_TRAFFIC_CMD, {.user_priority = up_video});
    Trace exceed_line = process_line(hostapd, "TS Exceed Time message for client "
                                              "02:00:00:00:00:01 TID 6 on AC 3\r\n");
    Trace unauthorised_line = process_line(
        hostapd, "TS Unauthorized Traffic message for client 02:00:00:00:00:01 on AC 2\r\n");
    const std::string text = "Client 02:00:00:00:00:01 has exceeded bandwidth usage 1 times for "
                             "access category voice on tid 6 (medium_time=625 dir=uplink)";
    Action excess = in_turn({admitted_voice(), hostapd_sends(exceed)});
    return {
        {"excess", in_turn({associate, admits()}), hostapd_sends(exceed),
         hostapd_message(exceed, exceed_line, 0)},
        {"excess_of_an_unknown_stream", nothing(), hostapd_sends(exceed),
         hostapd_message(exceed, exceed_line, -1)},
        {"excess_reported", excess, [](AccessPoint &ap) { ap.advance(std::chrono::seconds(300)); },
         line(info, "tspec_main_loop:Processing TSPEC violation reports (interval=300, "
                    "elapsed=300)\r\n") +
             line(info, "tspec_violation_report_notify:Entry\r\n") +
             line(info, "tspec_violation_report_notify:" + text + "\r\n") +
             line(info, "tspec_violation_report_notify:Exit\r\n")},
        {"unauthorised_traffic", nothing(), hostapd_sends(unauthorised),
         hostapd_message(unauthorised,
                         unauthorised_line +
                             line(info, "tspec_unauth_traffic_report_notify:Entry\r\n") +
                             line(info, "tspec_unauth_traffic_report_notify:Client "
                                        "02:00:00:00:00:01 has sent unauthorized traffic on AC "
                                        "2\r\n") +
                             line(info, "tspec_unauth_traffic_report_notify:Exit\r\n"),
                         0)},
        // The message bears no TS Info.
        {"unauthorised_traffic_while_managed", managed(), hostapd_sends(unauthorised),
         hostapd_message(unauthorised, unauthorised_line + sent_to_mapd(7, 0), 0)},
    };
}

Trace disassociation(const HostapdMessage &message, const Trace &inside)
{
    return dispatched(message.bytes(),
                      process_line(hostapd, "Entry\r\n") + hostapd_dump(message.bytes()) + inside +
                          hostapd_exit(0),
                      0);
}

Trace handler_entered()
{
    return line(hostapd, "tspec_hostapd_process_sta_disassoc:Entry - for client "
                         "02:00:00:00:00:01 on VAP 02:aa:00:00:00:02\r\n");
}

Trace category_deleted(unsigned ac)
{
    return line(hostapd, fmt::format("tspec_hostapd_process_sta_disassoc:Deleted client "
                                     "02:00:00:00:00:01 TSPEC record on AC {}\r\n",
                                     ac));
}

Trace handler_left()
{
    return line(hostapd, "tspec_hostapd_process_sta_disassoc:Exit\r\n");
}

std::vector<TraceCase> disassociation_cases()
{
    HostapdMessage message = from_hostapd(TSPEC_STA_DISASSOC_CMD);
    const Stream video{.tid = 4, .user_priority = up_video, .direction = bidirectional};
    const Stream alternate{.tid = 7, .direction = downlink};
    Action three_streams = in_turn({admitted_voice(), admits(alternate), admits(video)});
    Trace released = unit_removal(1250, 0, 1250, TSPEC_AC_VI) + unit_removal(0, 0, 0, TSPEC_AC_VI) +
                     category_deleted(TSPEC_AC_VI) + unit_removal(625, 625, 1250, TSPEC_AC_VO) +
                     unit_removal(625, 0, 625, TSPEC_AC_VO) + record_deleted() +
                     category_deleted(TSPEC_AC_VO);
    HostapdMessage other_vap = message;
    other_vap.peer_addr2 = station_mac(77);
    return {
        {"disassociation_of_an_unknown_station", nothing(), hostapd_sends(message),
         disassociation(message, handler_entered() + handler_left())},
        {"disassociation_of_three_streams", three_streams, hostapd_sends(message),
         disassociation(message, handler_entered() + released + handler_left())},
        {"disassociation_while_managed", in_turn({three_streams, managed()}),
         hostapd_sends(message),
         disassociation(message, handler_entered() + category_deleted(TSPEC_AC_VI) +
                                     record_deleted() + category_deleted(TSPEC_AC_VO) +
                                     handler_left()) +
             status_sent(TSPEC_AC_VI) + status_sent(TSPEC_AC_VO)},
        {"disassociation_on_another_vap", in_turn({associate, admits()}), hostapd_sends(other_vap),
         disassociation(other_vap,
                        line(hostapd, "tspec_hostapd_process_sta_disassoc:Entry - for client "
                                      "02:00:00:00:00:01 on VAP 02:00:00:00:00:4d\r\n") +
                            handler_left())},
        {"disassociation_ignored",
         in_turn({associate, admits(), cli_sends(cli_disassociation_mode(1))}),
         hostapd_sends(message), disassociation(message, {})},
    };
}

} // namespace

TSPEC_TRACE_CASES(Deletion, deletion_cases());
TSPEC_TRACE_CASES(Inactivity, inactivity_cases());
TSPEC_TRACE_CASES(Traffic, traffic_cases());
TSPEC_TRACE_CASES(Disassociation, disassociation_cases());

} // namespace tspec::e2e
