// The lines of what mapd says: responses, deletions, the AP state, and of what
// follows: superseded streams, status messages.
#include "trace_table.h"

#include <cerrno>
#include <fmt/format.h>

namespace tspec::e2e {
namespace {

constexpr const char *delts_sender = "tspec_build_and_send_hostapd_delts_msg";
const Stream voice;

Trace process_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_mapd_process:" + text);
}

Trace entry()
{
    return process_line(mapd, "Entry\r\n");
}

// A stream that waits for mapd's answer.
Action pending(const Stream &stream = {})
{
    return in_turn(
        {associate_all, managed(), hostapd_sends(from_hostapd(TSPEC_ADDTS_REQ_CMD, stream))});
}

Action requests(const Stream &stream)
{
    return hostapd_sends(from_hostapd(TSPEC_ADDTS_REQ_CMD, stream));
}

Action admitted_by_mapd(const Stream &stream = {})
{
    return in_turn({associate_all, managed(), admits(stream)});
}

std::string unreachable(const char *text)
{
    return perror_line(text, ENETUNREACH);
}

const std::string send_error = "Error sending data to destination process.\n";

TraceCase invalid(const char *name, const MapdMessage &message, const std::string &text)
{
    return {name, nothing(), mapd_sends(message),
            dispatched(message.bytes(), entry() + process_line(error, text), -1)};
}

TraceCase wrong_length(size_t size)
{
    Bytes datagram = from_mapd(TSPEC_ADDTS_RESP_CMD).bytes();
    datagram.resize(size);
    return {fmt::format("response_of_{}_bytes", size), nothing(), udp_sends(datagram),
            dispatched(datagram,
                       entry() + process_line(error, fmt::format("Error in message from MAPD, "
                                                                 "length mismatch: exp=120 "
                                                                 "act={}\r\n",
                                                                 size)),
                       -1)};
}

std::vector<TraceCase> validation_cases()
{
    MapdMessage no_radio = from_mapd(TSPEC_ADDTS_RESP_CMD, {.radio_unit = 0});
    MapdMessage third_radio = from_mapd(TSPEC_ADDTS_RESP_CMD, {.radio_unit = 3});
    MapdMessage bad_category = from_mapd(TSPEC_ADDTS_RESP_CMD);
    bad_category.ac_idx = 7;
    MapdMessage plain = from_mapd(TSPEC_ADDTS_RESP_CMD);
    MapdMessage other_tid = from_mapd(TSPEC_ADDTS_RESP_CMD, {.tid = 7});
    MapdMessage bad_command = from_mapd(TSPEC_TS_EXCEED_TIME_CMD);
    return {
        wrong_length(119),
        wrong_length(121),
        invalid("response_for_no_radio", no_radio, "Error in message from MAPD, radio_unit=0\r\n"),
        invalid("response_for_a_third_radio", third_radio,
                "Error in message from MAPD, radio_unit=3\r\n"),
        {"response_for_no_category", nothing(), mapd_sends(bad_category),
         dispatched(bad_category.bytes(),
                    entry() + process_line(mapd, " Client=02:00:00:00:00:01 AC=7 TID=6 Dir=0\r\n") +
                        process_line(error, "Invalid AC 7 (mapped to ac_idx 4)\r\n"),
                    -1)},
        {"response_for_an_unknown_client", nothing(), mapd_sends(plain),
         dispatched(plain.bytes(),
                    response_entered(voice) +
                        process_line(error, "No TS record found for client 02:00:00:00:00:01 on "
                                            "AC 3\n"),
                    -1)},
        {"response_for_an_unknown_stream", pending(), mapd_sends(other_tid),
         dispatched(other_tid.bytes(),
                    response_entered({.tid = 7}) +
                        process_line(error, "No TS info record found for client "
                                            "02:00:00:00:00:01 AC 3 TID 7\n"),
                    -1)},
        {"response_with_another_command", pending(), mapd_sends(bad_command),
         dispatched(bad_command.bytes(),
                    response_entered(voice) + process_line(mapd, "Invalid command: 6\r\n"), -1)},
    };
}

TraceCase rejection(uint8_t code)
{
    MapdMessage message = from_mapd(TSPEC_ADDTS_RESP_CMD, voice, code);
    return {fmt::format("response_rejects_with_{}", code), pending(), mapd_sends(message),
            dispatched(message.bytes(), response_rejected(voice, code, record_deleted()), 0) +
                status_sent(TSPEC_AC_VO)};
}

std::vector<TraceCase> response_cases()
{
    MapdMessage accept = from_mapd(TSPEC_ADDTS_RESP_CMD, {.medium_time = 777});
    MapdMessage reject = from_mapd(TSPEC_ADDTS_RESP_CMD, voice, TSPEC_RESULT_REFUSED);
    const Stream tid_9{.tid = 9};
    MapdMessage accept_9 = from_mapd(TSPEC_ADDTS_RESP_CMD, tid_9);
    MapdMessage deletion = from_mapd(TSPEC_DELTS_CMD);
    Trace deletion_lines =
        response_entered(voice) + process_line(mapd, "DELTS message\r\n") + record_deleted();
    Trace exit_line = process_line(mapd, "Exit\r\n");
    Trace not_told = process_line(mapd, "Error sending data to hostapd.\n");
    const std::string errors =
        unreachable(send_error.c_str()) + unreachable("Error sending data to hostapd.\n");
    return {
        {"response_admits", pending(), mapd_sends(accept),
         dispatched(accept.bytes(), response_accepted(voice, 777), 0) + status_sent(TSPEC_AC_VO)},
        {"response_admits_while_not_managed",
         in_turn({pending(), [](AccessPoint &ap) { manage(ap, false); }}), mapd_sends(accept),
         dispatched(accept.bytes(), response_accepted(voice, 777), 0)},
        rejection(1),
        rejection(3),
        rejection(4),
        rejection(255),
        {"response_rejects_a_renewal", in_turn({admitted_by_mapd(), requests(voice)}),
         mapd_sends(reject),
         dispatched(reject.bytes(), response_rejected(voice, 3, {}), 0) + status_sent(TSPEC_AC_VO)},
        {"response_for_a_high_tid", pending(tid_9), mapd_sends(accept_9),
         dispatched(accept_9.bytes(),
                    response_accepted(tid_9, 0,
                                      process_line(mapd, "Problem cleaning up old TS(s) for TID 9 "
                                                         "on client 02:00:00:00:00:01 AC 3\r\n")),
                    0) +
             status_sent(TSPEC_AC_VO)},
        {"response_that_hostapd_is_not_told", in_turn({pending(), sends_break(TSPEC_HOSTAPD_PORT)}),
         mapd_sends(accept),
         dispatched(accept.bytes(),
                    response_entered(voice) + process_line(mapd, "ADDTS Response: Success\r\n") +
                        process_line(mapd, "TS Admitted for AC 3 TID 6 Dir 0, med_time=777\r\n") +
                        not_told + record_deleted(),
                    -1) +
             status_sent(TSPEC_AC_VO),
         errors},
        {"deletion_by_mapd", admitted_by_mapd(), mapd_sends(deletion),
         dispatched(deletion.bytes(), deletion_lines + exit_line, 0) + status_sent(TSPEC_AC_VO)},
        {"deletion_by_mapd_that_hostapd_is_not_told",
         in_turn({admitted_by_mapd(), sends_break(TSPEC_HOSTAPD_PORT)}), mapd_sends(deletion),
         dispatched(deletion.bytes(),
                    deletion_lines + not_told +
                        line(error, "tspec_ts_rec_delete_tid:Failed to find tspec record for "
                                    "client 02:00:00:00:00:01 with AC 3\r\n"),
                    -1) +
             status_sent(TSPEC_AC_VO),
         errors},
    };
}

Trace clean_up_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_old_ts_cleanup:" + text);
}

Trace clean_up_deleted(const Stream &stream)
{
    return clean_up_line(mapd, fmt::format("Deleted old tspec record for TID {} on AC {}\r\n",
                                           stream.tid, ac_of(stream)));
}

Trace clean_up_failed(const Stream &stream)
{
    return clean_up_line(error, fmt::format("Error sending DELTS to hostapd for TID {} on AC "
                                            "{}\r\n",
                                            stream.tid, ac_of(stream)));
}

// One TID on two categories: asked for on video, and brought along on voice by a
// fast transition before mapd has answered.
Action tid_on_two_categories(const Stream &video, const Stream &voice_stream)
{
    return in_turn({associate_all, managed(), requests(video),
                    hostapd_sends(from_hostapd(TSPEC_FBT_ADDTS_CMD, voice_stream))});
}

std::vector<TraceCase> superseded_cases()
{
    const Stream first{.tid = 6, .medium_time = 100};
    const Stream second{.tid = 7};
    MapdMessage accept_second = from_mapd(TSPEC_ADDTS_RESP_CMD, second);
    Action takes_over =
        in_turn({associate_all, managed(), requests(first),
                 mapd_sends(from_mapd(TSPEC_ADDTS_RESP_CMD, first)), requests(second)});
    Trace walk = walked({.pending_tid = 7, .new_tid = 7});
    Trace told_hostapd = sent_to_hostapd(delts_sender, 5);
    Trace status = status_sent(TSPEC_AC_VO);
    auto problem = [](unsigned tid, unsigned flags) {
        return line(mapd, fmt::format("tspec_mapd_old_ts_removal:Problem cleaning up old TS for "
                                      "TID {} on AC 3, flags={:#x}\r\n",
                                      tid, flags));
    };

    const Stream up{.tid = 6};
    const Stream down{.tid = 7, .direction = downlink};
    const Stream both{.tid = 6, .direction = bidirectional};
    MapdMessage accept_both = from_mapd(TSPEC_ADDTS_RESP_CMD, both);
    Action joins = in_turn({admitted_by_mapd(up), admits(down), requests(both)});
    Trace joining = walked({.pending_tid = 6, .pending_direction = bidirectional});

    const Stream video{.user_priority = up_video};
    const Stream brought_along{.medium_time = 100};
    MapdMessage accept_video = from_mapd(TSPEC_ADDTS_RESP_CMD, video);
    Action moves = tid_on_two_categories(video, brought_along);
    Trace moving = walked({.new_ac = TSPEC_AC_VI, .pending_tid = 0});
    Trace both_status = status_sent(TSPEC_AC_VI) + status_sent(TSPEC_AC_VO);
    return {
        {"tid_taken_over", takes_over, mapd_sends(accept_second),
         dispatched(accept_second.bytes(),
                    response_accepted(second, 0,
                                      walk + clean_up_entered(first, 100, 3) + told_hostapd +
                                          sent_to_mapd(3, 6)),
                    0) +
             status},
        {"tid_taken_over_and_hostapd_not_told",
         in_turn({takes_over, sends_break(TSPEC_HOSTAPD_PORT)}), mapd_sends(accept_second),
         dispatched(accept_second.bytes(),
                    response_accepted(second, 0,
                                      walk + clean_up_entered(first, 100, 3) +
                                          clean_up_failed(first) + sent_to_mapd(3, 6) +
                                          problem(6, 3)),
                    0) +
             status,
         unreachable(send_error.c_str()) + unreachable("Error sending data to hostapd.\n")},
        {"tid_taken_over_and_mapd_not_told", in_turn({takes_over, sends_break(TSPEC_MAPD_PORT)}),
         mapd_sends(accept_second),
         dispatched(accept_second.bytes(),
                    response_accepted(second, 0,
                                      walk + clean_up_entered(first, 100, 3) + told_hostapd +
                                          clean_up_failed(first) + problem(6, 3)),
                    0) +
             status,
         unreachable(send_error.c_str()) + unreachable("Error sending data to mapd.\n") +
             unreachable("Failed to send DELTS cmd to MAPD.\n")},
        {"directions_joined", joins, mapd_sends(accept_both),
         dispatched(accept_both.bytes(),
                    response_accepted(both, 0,
                                      joining + clean_up_entered(down, 0, 11) + told_hostapd +
                                          sent_to_mapd(3, 7) + clean_up_deleted(down)),
                    0) +
             status},
        // The lower category is found first when the TID is looked up for its
        // deletion, so the upper one stays though the line says otherwise.
        {"tid_moved", moves, mapd_sends(accept_video),
         dispatched(accept_video.bytes(),
                    response_accepted(video, 0,
                                      moving + clean_up_entered(brought_along, 100, 13) +
                                          told_hostapd + sent_to_mapd(3, 6, 100) +
                                          clean_up_deleted(brought_along)),
                    0) +
             both_status},
        {"tid_moved_and_hostapd_not_told", in_turn({moves, sends_break(TSPEC_HOSTAPD_PORT)}),
         mapd_sends(accept_video),
         dispatched(accept_video.bytes(),
                    response_accepted(video, 0,
                                      moving + clean_up_entered(brought_along, 100, 13) +
                                          clean_up_failed(brought_along) + sent_to_mapd(3, 6, 100) +
                                          clean_up_deleted(brought_along) + problem(6, 13)),
                    0) +
             both_status,
         unreachable(send_error.c_str()) + unreachable("Error sending data to hostapd.\n")},
        // The TID in the last line is that of the entry after its deletion.
        {"directions_joined_and_hostapd_not_told",
         in_turn({joins, sends_break(TSPEC_HOSTAPD_PORT)}), mapd_sends(accept_both),
         dispatched(accept_both.bytes(),
                    response_accepted(
                        both, 0,
                        joining + clean_up_entered(down, 0, 11) + clean_up_failed(down) +
                            sent_to_mapd(3, 7) + clean_up_deleted(down) +
                            line(mapd, "tspec_mapd_old_ts_removal:Problem cleaning up alternate "
                                       "TS for TID 0 on AC 3\r\n")),
                    0) +
             status,
         unreachable(send_error.c_str()) + unreachable("Error sending data to hostapd.\n")},
    };
}

TraceCase direct(const char *name, const Bytes &datagram, const Trace &inside, int result,
                 const Trace &after = {})
{
    return {
        name, nothing(), udp_sends(datagram),
        dispatched(datagram, line(info, "tspec_mapd_direct_process:Entry\r\n") + inside, result) +
            after};
}

Trace direct_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_mapd_direct_process:" + text);
}

Trace state_changed(unsigned state)
{
    return direct_line(info, "AP State message\r\n") +
           direct_line(info, fmt::format("Changed TSPEC ap_state to {}\r\n", state)) +
           direct_line(info, "Exit (rc=0)\r\n");
}

Trace direct_length(unsigned size)
{
    return direct_line(error, fmt::format("Error in TSPEC direct message from MAPD, length "
                                          "mismatch: exp=3 act={}\r\n",
                                          size));
}

std::vector<TraceCase> state_cases()
{
    return {
        direct("managed", {6, 1, 1}, state_changed(2), 0),
        direct("not_managed", {6, 1, 0}, state_changed(1), 0),
        direct("managed_mode_2", {6, 1, 2},
               direct_line(info, "AP State message\r\n") +
                   direct_line(error, "Error in AP State direct message from MAPD, "
                                      "managed_mode=2\r\n") +
                   direct_line(info, "Exit (rc=-1)\r\n"),
               -1),
        direct("direct_command_9", {6, 9, 1},
               direct_line(info, "Invalid command type 9\r\n") +
                   direct_line(info, "Exit (rc=-1)\r\n"),
               -1),
        direct("direct_message_of_2_bytes", {6, 1}, direct_length(2), -1),
        direct("direct_message_of_4_bytes", {6, 1, 1, 0}, direct_length(4), -1),
    };
}

std::vector<TraceCase> status_cases()
{
    const Bytes managed_state = ApState{}.bytes();
    auto not_sent = [](unsigned ac) {
        return line(info, fmt::format("tspec_mapd_status_update_msg_send: Error sending TSPEC "
                                      "Status cmd 1 message to mapd socket id <udp> for internal "
                                      "AC {}\r\n",
                                      ac));
    };
    const std::string errors = unreachable(send_error.c_str()) +
                               unreachable("Error sending TSPEC Status message to mapd.\n");
    Trace state = dispatched(
        managed_state, line(info, "tspec_mapd_direct_process:Entry\r\n") + state_changed(2), 0);
    return {
        // A configuration renews the figures of every category.
        {"status_of_every_category", configure_voice_and_video, udp_sends(managed_state),
         state + status_sent(0) + status_sent(1) + status_sent(2) + status_sent(3)},
        {"status_of_one_category", in_turn({associate, admits()}), udp_sends(managed_state),
         state + status_sent(TSPEC_AC_VO)},
        {"status_not_sent_and_sent_on_the_next_turn",
         in_turn({configure_voice_and_video, sends_break(TSPEC_MAPD_PORT, 2)}),
         [managed_state](AccessPoint &ap) {
             ap.send_udp(managed_state);
             ap.advance(std::chrono::seconds(1));
         },
         state + not_sent(0) + not_sent(1) + status_sent(2) + status_sent(3) + status_sent(0) +
             status_sent(1),
         errors + errors},
    };
}

} // namespace

TSPEC_TRACE_CASES(ResponseValidation, validation_cases());
TSPEC_TRACE_CASES(Response, response_cases());
TSPEC_TRACE_CASES(Superseded, superseded_cases());
TSPEC_TRACE_CASES(ApState, state_cases());
TSPEC_TRACE_CASES(StatusMessage, status_cases());

} // namespace tspec::e2e
