#include "trace_lines.h"

#include <algorithm>
#include <fmt/format.h>

namespace tspec::e2e {

namespace {

struct TypeTexts {
    uint32_t arrival_level;
    const char *arrival; // {} is the command
    uint32_t failure_level;
    const char *failure;
};

// By type byte 1 to 6.
constexpr TypeTexts type_texts[] = {
    {dman, "TSPEC config message from dman module", dman, "Failed to process dman config message"},
    {func, "TSPEC status request from dman module", error,
     "Failed to process dman status request message"},
    {hostapd, "TSPEC message from hostapd module, cmd={}", hostapd,
     "Failed to process hostapd message {}"},
    {mapd, "TSPEC message from mapd module, cmd={}", mapd,
     "Failed to process mapd TSPEC message {}"},
    {dman, "TSPEC violation interval config message from dman module", dman,
     "Failed to process dman violation interval config message"},
    {mapd, "TSPEC direct message from mapd module, cmd={}", mapd,
     "Failed to process mapd TSPEC direct message, cmd={}"},
};

struct DumpTitle {
    const char *title;
    size_t size;
};

// By command 1 to 8.
constexpr DumpTitle dump_titles[] = {
    {"TSPEC_ADDTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_ADDTS_RESP_CMD (tspec_mapd_msg_t):\n", 120},
    {"TSPEC_DELTS_REQ_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_TS_INACTIVE_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_DELTS_CMD (tspec_mapd_msg_t):\n", 120},
    {"TSPEC_TS_EXCEED_TIME_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_TS_UNAUTH_TRAFFIC_CMD (tspec_hostapd_msg_t):\n", 148},
    {"TSPEC_STA_DISASSOC_CMD (tspec_hostapd_msg_t):\n", 148},
};

Trace dispatcher_line(uint32_t level, const std::string &text)
{
    return line(level, "tspec_process_msg:" + text + "\r\n");
}

Trace loop_failure(Way way)
{
    return line(error, way == Way::udp_socket
                           ? "tspec_main_loop:Processing of TSPEC MSG failed\r\n"
                           : "tspec_main_loop:Processing of TSPEC DMAN MSG failed\r\n");
}

std::string with_cmd(const char *text, unsigned cmd)
{
    return fmt::format(fmt::runtime(text), cmd);
}

} // namespace

Trace line(uint32_t level, const std::string &text)
{
    return {{level, text}};
}

Trace operator+(Trace first, const Trace &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

std::string mac_of(const Stream &stream)
{
    return station_mac(stream.station).text();
}

Trace dispatched(ByteView datagram, const Trace &inside, int result, Way way)
{
    const TypeTexts &texts = type_texts[datagram[0] - 1];
    unsigned cmd = datagram.size() > 1 ? datagram[1] : 0;
    Trace lines = dispatcher_line(func, "Entry") +
                  dispatcher_line(texts.arrival_level, with_cmd(texts.arrival, cmd)) + inside;
    if (result != 0) {
        lines = lines + dispatcher_line(texts.failure_level, with_cmd(texts.failure, cmd));
    }
    lines = lines + dispatcher_line(func, "Exit");
    return result == 0 ? lines : lines + loop_failure(way);
}

Trace unknown_type(uint8_t type, ByteView datagram, Way way)
{
    unsigned cmd = datagram.size() > 1 ? datagram[1] : 0;
    return dispatcher_line(func, "Entry") +
           line(info, fmt::format("tspec_process_msg:Unknown tspec msg type {}\n", type)) +
           line(info, fmt::format("tspec_hex_ver_pkt_print: UNKNOWN: {:#x} ({}), len {}\n", cmd,
                                  cmd, datagram.size())) +
           line(info, hex_listing(datagram, datagram.size())) + dispatcher_line(func, "Exit") +
           loop_failure(way);
}

std::string hex_listing(ByteView bytes, size_t size)
{
    std::string text;
    for (size_t i = 0; i < size; i++) {
        if (i > 0 && i % 16 == 0) {
            text += "\n";
        }
        text += fmt::format("{:02x} ", i < bytes.size() ? bytes[i] : 0);
    }
    return text + "\n";
}

Trace hostapd_dump(ByteView datagram)
{
    unsigned cmd = datagram[1];
    if (cmd >= 1 && cmd <= 8) {
        const DumpTitle &dump = dump_titles[cmd - 1];
        return line(info, dump.title + hex_listing(datagram, dump.size));
    }
    return line(info, fmt::format("tspec_hex_ver_pkt_print: Invalid cmd type: {:#x} ({}), len {}\n",
                                  cmd, cmd, datagram.size())) +
           line(info, "UNKNOWN:\n" + hex_listing(datagram, datagram.size()));
}

Trace hostapd_front(const HostapdMessage &message, bool mandatory)
{
    TsInfo info_bytes = message.tspec.info();
    unsigned ac = ac_of_user_priority(ts_info_user_priority(info_bytes.data()));
    unsigned info_tid = ts_info_tid(info_bytes.data());
    unsigned tid = message.tid.value_or(message.tspec.tid);
    Trace lines = line(hostapd, "tspec_hostapd_process:Entry\r\n") + hostapd_dump(message.bytes()) +
                  line(hostapd, fmt::format("tspec_hostapd_process: Ext. AC={} TID={} Dir={},"
                                            "tsinfo[0]={:x},tsinfo[1]={:x},tsinfo[2] is {:x}\r\n",
                                            ac, tid, ts_info_direction(info_bytes.data()),
                                            info_bytes[0], info_bytes[1], info_bytes[2]));
    if (tid != info_tid) {
        lines = lines + line(error, fmt::format("tspec_hostapd_process: hostapd msg TID {} differs "
                                                "from TSInfo TID {}\r\n",
                                                tid, info_tid));
    }
    if (!mandatory) {
        lines = lines + line(hostapd, fmt::format("tspec_hostapd_process:Accept TSPEC for AC {} "
                                                  "and set medium time to 0\r\n",
                                                  ac));
    }
    return lines;
}

Trace hostapd_exit(int result)
{
    return line(hostapd, fmt::format("tspec_hostapd_process:Exit (rc={})\r\n", result));
}

Trace hostapd_message(const HostapdMessage &message, const Trace &branch, int result,
                      bool mandatory)
{
    return dispatched(message.bytes(),
                      hostapd_front(message, mandatory) + branch + hostapd_exit(result), result);
}

Trace hostapd_message_left(const HostapdMessage &message, const Trace &branch, int result,
                           bool mandatory)
{
    return dispatched(message.bytes(), hostapd_front(message, mandatory) + branch, result);
}

Trace unit_entered(unsigned radio, std::optional<unsigned> utilisation)
{
    Trace lines = line(info, "tspec_acu_process:Entry\n") +
                  line(info, fmt::format("tspec_acu_process:radio unit is {}\n", radio)) +
                  line(info, fmt::format("Getting dev stats for interface wlan{}\n", radio));
    if (utilisation) {
        lines =
            lines + line(info, fmt::format("tspec_get_wlan_util:wlan_util is {}\n", *utilisation));
    } else {
        lines = lines + line(info, fmt::format("Unable to open file for  wlan{}\n", radio));
    }
    return lines +
           line(info, fmt::format("tspec_acu_process:wlan_util is {}\n", utilisation.value_or(0)));
}

Trace unit_decision(const Decision &d)
{
    return line(info, fmt::format("tspec_acu_admission_req_recv:radio unit is {}\n", d.radio)) +
           line(info, fmt::format("tspec_acu_admission_req_recv:radio_unit={},medium_time={},"
                                  "prev_medium_time={},limit={},current={},delta={},admit_old={},"
                                  "ac_index={},prev_ac_index={},ac_changed={}\n",
                                  d.radio, d.medium_time, d.previous, d.limit, d.current, d.delta,
                                  d.admitted, d.ac, d.previous_ac, d.ac_changed)) +
           line(info, fmt::format("tspec_acu_admission_req_recv:Admit Result is {}\n", d.result));
}

Trace unit_deletion(unsigned medium_time, int current, unsigned admitted, unsigned ac,
                    unsigned radio)
{
    return line(info, fmt::format("tspec_acu_deletion_req_recv:radio unit is {}\n", radio)) +
           line(info, fmt::format("tspec_acu_deletion_req_recv:radio_unit={},medium_time={},"
                                  "prev_medium_time=0,current={},admit_old={},ac_index={}\n",
                                  radio, medium_time, current, admitted, ac));
}

Trace unit_removal(unsigned medium_time, int current, unsigned admitted, unsigned ac)
{
    return line(info, "tspec_acu_ts_removal:Entry\n") +
           line(info, fmt::format("tspec_acu_ts_removal:radio_unit=1,ac_index={},medium_time={}\n",
                                  ac, medium_time)) +
           unit_deletion(medium_time, current, admitted, ac);
}

Trace unit_fast_add(unsigned medium_time, int total, unsigned ac)
{
    return line(info, "tspec_acu_fbt_ts_add:Entry\n") +
           line(info, fmt::format("tspec_acu_fbt_ts_add:radio_unit=1,ac_index={},medium_time={}\n",
                                  ac, medium_time)) +
           line(info, "tspec_acu_fbt_ts_add:radio unit is 0\n") +
           line(info, fmt::format("tspec_acu_fbt_ts_add:radio_unit=0,medium_time={},current={},"
                                  "admit_old=0,ac_index={}\n",
                                  medium_time, total, ac));
}

Trace unit_fast_removal(unsigned medium_time, int current, unsigned admitted, unsigned ac)
{
    return line(info, "tspec_acu_fbt_ts_removal:Entry\n") +
           line(info,
                fmt::format("tspec_acu_fbt_ts_removal:radio_unit=1,ac_index={},medium_time={}\n",
                            ac, medium_time)) +
           line(info, "tspec_acu_fbt_ts_removal:radio unit is 0\n") +
           line(info, fmt::format("tspec_acu_fbt_ts_removal:radio_unit=0,medium_time={},"
                                  "current={},admit_old={},ac_index={}\n",
                                  medium_time, current, admitted, ac));
}

Trace medium_time_computed(unsigned nominal, unsigned rate, unsigned packets, unsigned duration,
                           unsigned computed, unsigned result)
{
    return line(info, fmt::format("MED_CALC: nom_msdu={} mean_dr={} min_phy=6000000 pps={} dur={} "
                                  "med_time={} med_time_result={}\r\n",
                                  nominal, rate, packets, duration, computed, result));
}

Trace response_entered(const Stream &stream)
{
    return line(mapd, "tspec_mapd_process:Entry\r\n") +
           line(mapd, fmt::format("tspec_mapd_process: Client={} AC={} TID={} Dir={}\r\n",
                                  mac_of(stream), ac_of(stream), stream.tid, stream.direction));
}

Trace response_accepted(const Stream &stream, unsigned medium_time, const Trace &clean_up)
{
    return response_entered(stream) + line(mapd, "tspec_mapd_process:ADDTS Response: Success\r\n") +
           clean_up +
           line(mapd, fmt::format("tspec_mapd_process:TS Admitted for AC {} TID {} Dir {}, "
                                  "med_time={}\r\n",
                                  ac_of(stream), stream.tid, stream.direction, medium_time)) +
           line(mapd, "tspec_mapd_process:Exit\r\n");
}

Trace response_rejected(const Stream &stream, unsigned code, const Trace &deletion)
{
    return response_entered(stream) +
           line(mapd, fmt::format("tspec_mapd_process:ADDTS Response: TSPEC rejected by admission "
                                  "control with result code {} for client {} TID {} on AC {}\r\n",
                                  code, mac_of(stream), stream.tid, ac_of(stream))) +
           deletion + line(mapd, "tspec_mapd_process:Exit\r\n");
}

Trace walked(const Walked &entry)
{
    return line(func, fmt::format("tspec_mapd_old_ts_removal: ts_type={}, ac={}, ac_new={}, "
                                  "state=1, prev_tid={}, pend_tid={}, tid_new={}, prev_dir={}, "
                                  "pend_dir={}\r\n",
                                  entry.bank, entry.ac, entry.new_ac, entry.tid, entry.pending_tid,
                                  entry.new_tid, entry.direction, entry.pending_direction));
}

Trace clean_up_entered(const Stream &stream, unsigned medium_time, unsigned flags)
{
    return line(mapd, fmt::format("tspec_old_ts_cleanup:Removing AC={} TID={} Dir={} for client "
                                  "{}, med_time={} flags={:#x}\r\n",
                                  ac_of(stream), stream.tid, stream.direction, mac_of(stream),
                                  medium_time, flags));
}

Trace record_deleted()
{
    return line(info, "tspec_rec_delete:Entry\r\n") +
           line(info, "tspec_rec_delete:Exit - Success\r\n");
}

Trace sent_to_hostapd(const char *sender, unsigned cmd)
{
    return line(hostapd,
                fmt::format("{}: Sent cmd {} message to hostapd socket id <udp>\r\n", sender, cmd));
}

Trace sent_to_mapd(unsigned cmd, unsigned tid, unsigned medium_time, unsigned previous)
{
    return line(hostapd,
                fmt::format("tspec_msg_send_to_acu: Sent cmd {} message to mapd socket id <udp> "
                            "for TID {} (medium time {}, prev medium time {})\r\n",
                            cmd, tid, medium_time, previous));
}

Trace status_sent(unsigned ac)
{
    return line(info, fmt::format("tspec_mapd_status_update_msg_send: Sent TSPEC Status cmd 1 "
                                  "message to mapd socket id <udp> for internal AC {}\r\n",
                                  ac));
}

Trace plain_admission(const HostapdMessage &message, const Stream &stream)
{
    return hostapd_message(
        message,
        line(hostapd, "tspec_hostapd_process:ADDTS Request message\r\n") +
            unit_entered(stream.radio_unit - 1U) +
            unit_decision({.radio = stream.radio_unit - 1U, .ac = ac_of(stream)}) +
            response_accepted(stream, 0),
        0);
}

} // namespace tspec::e2e
