// The lines of the operator's commands: answers, which show at every mask, and
// what the commands cause.
#include "trace_table.h"

#include <cerrno>

namespace tspec::e2e {
namespace {

const Stream voice;

Action admitted_voice()
{
    return in_turn({associate, configure_voice_and_video, admits()});
}

Trace deletion_named(unsigned tid)
{
    return line(always,
                "tspec_process_cli_cmd:02:00:00:00:00:01,tid=" + std::to_string(tid) + "\r\n");
}

Trace told_hostapd()
{
    return sent_to_hostapd("tspec_build_and_send_hostapd_delts_msg", 5);
}

Trace clean_up_deleted()
{
    return record_deleted() +
           line(mapd, "tspec_old_ts_cleanup:Deleted old tspec record for TID 6 on AC 3\r\n");
}

Trace clean_up_failed()
{
    return line(error, "tspec_old_ts_cleanup:Error sending DELTS to hostapd for TID 6 on AC 3\r\n");
}

std::vector<TraceCase> answer_cases()
{
    Action nobody_listens = [](AccessPoint &ap) { ap.cli().turn_off(); };
    Fault send_fails{.call = Call::sendto, .error = EPERM, .path = TSPEC_CLI_REPLY_NAME};
    Trace sendto_error = line(always, "tspec_process_cli_cmd: sendto error\r\n");
    return {
        {"ping", nothing(), cli_sends(cli_ping()), {}},
        {"ping_from_nobody", nobody_listens, cli_sends(cli_ping()), sendto_error},
        {"ping_not_answered", injects(send_fails), cli_sends(cli_ping()), sendto_error},
        {"command_0", nothing(), cli_sends({0, 1, 2}), {}},
        {"command_7", nothing(), cli_sends({7, 1, 2}), {}},
        {"command_255", nothing(), cli_sends({255}), {}},
        {"disassociation_mode_set", nothing(), cli_sends(cli_disassociation_mode(1)),
         line(always, "The disassociation mode has been set to 1 \r\n")},
        {"disassociation_mode_set_back", nothing(), cli_sends(cli_disassociation_mode(0)),
         line(always, "The disassociation mode has been set to 0 \r\n")},
        {"disassociation_mode_shown", nothing(), cli_sends(cli_disassociation_mode(7)),
         line(always, "The disassociation mode is 0 \r\n")},
        {"disassociation_mode_shown_after_set", cli_sends(cli_disassociation_mode(1)),
         cli_sends(cli_disassociation_mode(2)), line(always, "The disassociation mode is 1 \r\n")},
        {"list_of_no_streams", nothing(), cli_sends(cli_show()),
         line(always, "No TS records found.\r\n") +
             line(always, "Admit Current/Limit:  wlan0: vo=0/0 vi=0/0 be=0/0 bk=0/0  wlan1: "
                          "vo=0/0 vi=0/0 be=0/0 bk=0/0\r\n")},
    };
}

std::vector<TraceCase> deletion_cases()
{
    const Mac station = station_mac(1);
    Trace client_named = line(always, "tspec_process_cli_cmd:02:00:00:00:00:01\r\n");
    Trace entered = deletion_named(6) + clean_up_entered(voice, 625, 13);
    // Nothing of the stream's MAC and TID can be seen in these two.
    Trace not_deleted = line(always, "\r\nError deleting TID 0 for client ");
    Trace unknown = line(always, "\r\nTID 0 does not exist for client ");
    const std::string lost =
        perror_line("Error sending data to destination process.\n", ENETUNREACH);
    return {
        {"client_deleted", admitted_voice(), cli_sends(cli_delete_client(station)),
         client_named + record_deleted()},
        {"unknown_client_not_deleted", nothing(), cli_sends(cli_delete_client(station)),
         client_named + line(info, "tspec_rec_delete:Entry\r\n") +
             line(error, "tspec_rec_delete:Exit - Invalid input parameter\r\n")},
        {"stream_deleted", admitted_voice(), cli_sends(cli_delete_stream(station, 6)),
         entered + told_hostapd() + unit_entered(0) + unit_deletion(625, 0, 625, TSPEC_AC_VO) +
             clean_up_deleted()},
        {"stream_deleted_while_managed", in_turn({admitted_voice(), managed()}),
         cli_sends(cli_delete_stream(station, 6)),
         entered + told_hostapd() + sent_to_mapd(3, 6, 625) + clean_up_deleted() +
             status_sent(TSPEC_AC_VO)},
        {"stream_deleted_and_hostapd_not_told",
         in_turn({admitted_voice(), sends_break(TSPEC_HOSTAPD_PORT)}),
         cli_sends(cli_delete_stream(station, 6)),
         entered + clean_up_failed() + unit_entered(0) + unit_deletion(625, 0, 625, TSPEC_AC_VO) +
             clean_up_deleted() + not_deleted,
         lost + perror_line("Error sending data to hostapd.\n", ENETUNREACH)},
        {"stream_deleted_and_mapd_not_told",
         in_turn({admitted_voice(), managed(), sends_break(TSPEC_MAPD_PORT)}),
         cli_sends(cli_delete_stream(station, 6)),
         entered + told_hostapd() + clean_up_failed() + clean_up_deleted() + not_deleted +
             status_sent(TSPEC_AC_VO),
         lost + perror_line("Error sending data to mapd.\n", ENETUNREACH) +
             perror_line("Failed to send DELTS cmd to MAPD.\n", ENETUNREACH)},
        {"unknown_stream_not_deleted", admitted_voice(), cli_sends(cli_delete_stream(station, 5)),
         deletion_named(5) + unknown},
        {"stream_of_an_unknown_client_not_deleted", nothing(),
         cli_sends(cli_delete_stream(station, 6)), deletion_named(6) + unknown},
    };
}

} // namespace

TSPEC_TRACE_CASES(OperatorAnswer, answer_cases());
TSPEC_TRACE_CASES(OperatorDeletion, deletion_cases());

} // namespace tspec::e2e
