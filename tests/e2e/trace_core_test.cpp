// The lines of the main loop, the dispatcher, the packet dump and the exchange
// with hostapd.
#include "trace_table.h"

#include <cerrno>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <memory>
#include <sys/socket.h>

namespace tspec::e2e {
namespace {

Bytes counting_up(uint8_t type, size_t size)
{
    Bytes datagram(size);
    for (size_t i = 0; i < size; i++) {
        datagram[i] = static_cast<uint8_t>(i);
    }
    datagram[0] = type;
    return datagram;
}

TraceCase hostapd_command_without_branch(uint8_t cmd)
{
    HostapdMessage message = from_hostapd(cmd);
    return {fmt::format("hostapd_command_{}", cmd), nothing(), hostapd_sends(message),
            hostapd_message(message, {}, -1)};
}

// The missing bytes read as the zeros with which the receive buffer starts.
TraceCase short_hostapd_message(const char *name, uint8_t cmd)
{
    HostapdMessage message = from_hostapd(cmd);
    message.sta = Mac{};
    message.tspec.ts_info = TsInfo{0, 0, 0};
    message.tid = 0;
    Bytes datagram = message.bytes();
    datagram.resize(56);
    Trace branch = cmd == TSPEC_TS_EXCEED_TIME_CMD
                       ? line(hostapd, "tspec_hostapd_process:TS Exceed Time message for client "
                                       "00:00:00:00:00:00 TID 0 on AC 0\r\n")
                       : Trace{};
    Trace inside = line(hostapd, "tspec_hostapd_process:Entry\r\n") + hostapd_dump(datagram) +
                   line(hostapd, "tspec_hostapd_process: Ext. AC=0 TID=0 Dir=0,tsinfo[0]=0,"
                                 "tsinfo[1]=0,tsinfo[2] is 0\r\n") +
                   line(hostapd, "tspec_hostapd_process:Accept TSPEC for AC 0 and set medium time "
                                 "to 0\r\n") +
                   branch + hostapd_exit(-1);
    return {name, nothing(), udp_sends(datagram), dispatched(datagram, inside, -1)};
}

std::vector<TraceCase> dispatcher_cases()
{
    const Bytes type_0{0, 0xab, 0x07};
    const Bytes type_7 = counting_up(7, 17);
    const Bytes type_255 = counting_up(255, 32);
    const Bytes full = counting_up(9, 1024);
    const Bytes bad_config = DmanConfig{.radio_if = 3}.bytes();
    const Bytes bad_state = ApState{.managed_mode = 2}.bytes();
    const Bytes interval = ViolationInterval{.seconds = 60}.bytes();
    const Trace bad_state_inside =
        line(info, "tspec_mapd_direct_process:Entry\r\n") +
        line(info, "tspec_mapd_direct_process:AP State message\r\n") +
        line(error, "tspec_mapd_direct_process:Error in AP State direct message from MAPD, "
                    "managed_mode=2\r\n") +
        line(info, "tspec_mapd_direct_process:Exit (rc=-1)\r\n");
    return {
        {"unknown_type_0", nothing(), udp_sends(type_0), unknown_type(type_0[0], type_0)},
        {"unknown_type_7_dumped_on_two_lines", nothing(), udp_sends(type_7),
         unknown_type(type_7[0], type_7)},
        {"unknown_type_255_dumped_on_full_lines", nothing(), udp_sends(type_255),
         unknown_type(type_255[0], type_255)},
        {"unknown_type_of_1024_bytes", nothing(), udp_sends(full), unknown_type(full[0], full)},
        {"unknown_type_from_dman", nothing(), dman_sends(type_0),
         unknown_type(type_0[0], type_0, Way::dman_socket)},
        {"config_fails", nothing(), dman_sends(bad_config),
         dispatched(bad_config,
                    line(dman, "tspec_ts_config_msg_process:Entry\r\n") +
                        line(error, "tspec_ts_config_msg_process:Invalid radio_if parameter: "
                                    "3\r\n"),
                    -1, Way::dman_socket)},
        {"direct_message_fails", nothing(), udp_sends(bad_state),
         dispatched(bad_state, bad_state_inside, -1)},
        {"direct_message_on_the_dman_socket", nothing(), dman_sends(bad_state),
         dispatched(bad_state, bad_state_inside, -1, Way::dman_socket)},
        {"interval_message_on_the_udp_socket", nothing(), udp_sends(interval),
         dispatched(interval, line(dman, "tspec_ts_config_violation_interval_process:Entry\r\n"),
                    0)},
    };
}

std::vector<TraceCase> dump_cases()
{
    std::vector<TraceCase> cases;
    for (unsigned cmd : {0U, 2U, 5U, 10U, 255U}) {
        cases.push_back(hostapd_command_without_branch(static_cast<uint8_t>(cmd)));
    }
    cases.push_back(short_hostapd_message("hostapd_short_of_fixed_size", TSPEC_TS_EXCEED_TIME_CMD));
    cases.push_back(short_hostapd_message("hostapd_short_of_unknown_command", 0));
    return cases;
}

// A read that fails leaves the datagram in the queue; it is read on the next
// turn.
std::vector<TraceCase> loop_cases()
{
    const Bytes interval = ViolationInterval{.seconds = 60}.bytes();
    const Trace interval_inside =
        line(dman, "tspec_ts_config_violation_interval_process:Entry\r\n");
    Fault read_fails{.call = Call::read, .error = EIO, .port = TSPEC_UDP_PORT};
    Fault recvfrom_fails{.call = Call::recvfrom, .error = EIO, .path = TSPEC_DMAN_SOCK_PATH};
    Fault recv_fails{.call = Call::recv, .error = EIO, .path = TSPEC_CLI_SOCK_NAME};
    Fault select_fails{.call = Call::select, .error = EBADF, .port = TSPEC_UDP_PORT};
    Fault interrupted{.call = Call::select, .error = EINTR, .port = TSPEC_UDP_PORT};
    const Trace cli_failure = line(error, "tspec_main_loop:Error reading from cli socket\r\n");
    return {
        {"udp_read_fails", injects(read_fails), udp_sends(interval),
         line(error, "tspec_main_loop:Error reading from TSPEC socket, errno=5\r\n") +
             dispatched(interval, interval_inside, 0)},
        {"dman_read_fails", injects(recvfrom_fails), dman_sends(interval),
         line(error, "tspec_main_loop:Error reading from dman socket,errno is 5\r\n") +
             dispatched(interval, interval_inside, 0, Way::dman_socket)},
        {"cli_read_fails", nothing(),
         in_turn({injects(recv_fails), cli_sends({TSPEC_CLI_DEBUG_CMD, 1, 99})}), cli_failure},
        {"cli_datagram_of_no_bytes", nothing(), cli_sends({}), cli_failure},
        {"select_fails", nothing(), injects(select_fails),
         line(error, "tspec_main_loop: select() error, errno=9\r\n")},
        {"select_interrupted", nothing(), injects(interrupted),
         line(error, "tspec_main_loop: select() received unexpected interrupt signal\r\n")},
        {"violation_reports_run", nothing(),
         [](AccessPoint &ap) { ap.advance(std::chrono::seconds(300)); },
         line(info, "tspec_main_loop:Processing TSPEC violation reports (interval=300, "
                    "elapsed=300)\r\n") +
             line(info, "tspec_violation_report_notify:Entry\r\n") +
             line(info, "tspec_violation_report_notify:Exit\r\n")},
    };
}

// A request whose frame-duration query ends this way is refused.
TraceCase failed_exchange(const char *name, const Action &prepare, const std::string &line_of_ipc,
                          const std::string &standard_error = {})
{
    HostapdMessage message = from_hostapd(TSPEC_ADDTS_REQ_CMD);
    return {name, in_turn({associate, configure_voice_and_video, prepare}), hostapd_sends(message),
            hostapd_message_left(
                message,
                line(hostapd, "tspec_hostapd_process:ADDTS Request message\r\n") +
                    (line_of_ipc.empty()
                         ? Trace{}
                         : line(error, "tspec_send_receive_other_process" + line_of_ipc)) +
                    line(error, "tspec_ts_medium_time_calc: Error receiving frame duration from "
                                "port 55301.\n") +
                    line(hostapd, "tspec_hostapd_process:Failed to calculate ADDTS medium time for "
                                  "TID 6 on client 02:00:00:00:00:01. Sending 'Refused' "
                                  "response.\r\n") +
                    sent_to_hostapd("tspec_build_and_send_hostapd_addts_reject_msg", 2),
                0, true),
            standard_error};
}

Action answers_with(const FrameDurationPolicy &policy)
{
    return [policy](AccessPoint &ap) { ap.hostapd().answer_frame_duration(policy); };
}

// Somebody else holds the port on which the answer is awaited, as long as the
// access point stands.
Action reply_port_is_taken()
{
    return [](AccessPoint &ap) {
        auto taken = std::make_shared<Socket>(Socket::udp(TSPEC_FRAME_DUR_REPLY_PORT));
        ap.mapd().react([taken](const Event &) {});
    };
}

std::vector<TraceCase> exchange_cases()
{
    // The station query before it opens a socket of the same kind.
    Fault socket_fails{.call = Call::socket, .error = EMFILE, .after = 1, .family = AF_INET};
    Fault bind_fails{.call = Call::bind, .error = EACCES, .port = TSPEC_FRAME_DUR_REPLY_PORT};
    Fault select_fails{.call = Call::select, .error = EINTR, .port = TSPEC_FRAME_DUR_REPLY_PORT};
    Fault receive_fails{.call = Call::recvfrom, .error = EIO, .port = TSPEC_FRAME_DUR_REPLY_PORT};
    const std::string receive_line = ": Error receiving data from process port 55301.\n";
    return {
        failed_exchange("exchange_without_socket", injects(socket_fails), ": socket call failed\n"),
        failed_exchange("exchange_bind_fails", injects(bind_fails), ": failed - 13\n"),
        failed_exchange("exchange_port_taken", reply_port_is_taken(), ": failed - 98\n"),
        failed_exchange("exchange_send_fails", sends_break(TSPEC_HOSTAPD_PORT),
                        ": Error sending data to process port 57773.\n"),
        // No answer, so that the exchange certainly comes to wait.
        failed_exchange("exchange_select_fails",
                        in_turn({answers_with(frame_duration::none()), injects(select_fails)}),
                        ":Rx error\n"),
        failed_exchange("exchange_times_out", answers_with(frame_duration::none()),
                        ":Rx timeout\n"),
        failed_exchange("exchange_answered_late", answers_with(frame_duration::late(400)),
                        ":Rx timeout\n"),
        failed_exchange("exchange_receive_fails", injects(receive_fails), receive_line),
        failed_exchange("exchange_answered_with_nothing", answers_with(frame_duration::empty()),
                        receive_line),
        failed_exchange("exchange_answered_with_another_marker",
                        answers_with(frame_duration::wrong_marker(400)), ""),
    };
}

// What these report is ruled out by what was checked a moment before.
class TextsOfWhatCannotHappen : public DaemonTest {};

TEST_F(TextsOfWhatCannotHappen, StandInTheExecutable)
{
    std::ifstream file(fmt::format("/proc/{}/exe", boot().pid()), std::ios::binary);
    const std::string program{std::istreambuf_iterator<char>(file), {}};
    for (const std::string text :
         {"%s:Failed to process dman violation interval config message\r\n",
          "%s:Failed to delete client %s TSPEC record on AC %u\r\n",
          "%s:Unable to delete tspec record for client %s, TID %u\n",
          "%s:Unable to delete old tspec record for TID %u on AC %u\r\n",
          "Failed to process TSPEC Request message.\n"}) {
        EXPECT_NE(program.find('\0' + text + '\0'), std::string::npos) << text;
    }
}

} // namespace

TSPEC_TRACE_CASES(Dispatcher, dispatcher_cases());
TSPEC_TRACE_CASES(PacketDump, dump_cases());
TSPEC_TRACE_CASES(MainLoop, loop_cases());
TSPEC_TRACE_CASES(Exchange, exchange_cases());

} // namespace tspec::e2e
