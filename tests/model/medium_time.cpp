// From a traffic specification to units of 32 microseconds per second.
#include "daemon.h"

namespace tspec::model {

int Daemon::medium_time_calc(const Request &request, uint16_t &medium_time)
{
    const Bytes &msg = request.msg;
    const uint16_t nominal = u16_at(msg, hostapd_at::nominal_msdu_size);
    const uint32_t nom_msdu = nominal & 0x7fff;
    const uint32_t mean_rate = u32_at(msg, hostapd_at::mean_data_rate);
    const uint32_t min_phy = u32_at(msg, hostapd_at::min_phy_rate);
    const uint32_t bytes_per_second = (mean_rate + 7) >> 3;
    if (nom_msdu == 0) {
        throw ProcessEnded{};
    }
    const uint32_t pps = (bytes_per_second + nom_msdu - 1) / nom_msdu;

    Bytes query(frame_query_at::size, 0);
    query[frame_query_at::marker] = 0x24;
    put_u32(query, frame_query_at::reply_port, frame_answer_port);
    query[frame_query_at::radio_unit] = request.radio_unit;
    put_mac(query, frame_query_at::sta_mac, request.sta_mac);
    put_u32(query, frame_query_at::min_phy_rate, min_phy);
    put_u32(query, frame_query_at::nominal_msdu_size, nominal);
    query[frame_query_at::vap] = request.vap;

    Bytes answer(frame_answer_at::size, 0);
    if (send_receive_frame_duration(query, answer) < 0 || answer[frame_answer_at::marker] != 0x24) {
        trace(2, "%s: Error receiving frame duration from port %d.\n", "tspec_ts_medium_time_calc",
              frame_answer_port);
        return -1;
    }

    const uint32_t duration = u32_at(answer, frame_answer_at::duration);
    uint32_t med = duration * pps;
    const uint16_t surplus = u16_at(msg, hostapd_at::surplus);
    const uint32_t whole = surplus >> 13;
    const uint32_t fraction = surplus & 0x1fff;
    if (whole != 0) {
        med = med * whole + ((med * fraction) >> 13);
    }
    med >>= 5;
    medium_time = static_cast<uint16_t>(med >= 65536 ? 65535 : med);
    trace(1,
          "MED_CALC: nom_msdu=%u mean_dr=%u min_phy=%u pps=%u dur=%u med_time=%u "
          "med_time_result=%u\r\n",
          nom_msdu, mean_rate, min_phy, pps, duration, med, medium_time);
    return 0;
}

} // namespace tspec::model
