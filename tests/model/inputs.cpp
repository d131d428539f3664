#include "inputs.h"

#include <algorithm>

namespace tspec::model {

Bytes HostapdInput::bytes() const
{
    Bytes msg(148, filler);
    msg[0] = 3;
    msg[1] = cmd;
    put_mac(msg, 2, Mac{0x02, 0xbb, 0, 0, 0, 1});
    put_mac(msg, 8, vap_addr);
    msg[20] = radio_unit;
    const std::string ssid = "network";
    std::copy(ssid.begin(), ssid.end(), msg.begin() + 21);
    msg[53] = vap;
    put_mac(msg, 56, sta);
    const unsigned shown_tid = info_tid == 255 ? tid : info_tid;
    msg[72] = static_cast<uint8_t>(((shown_tid & 0xfU) << 1) | ((dir & 3U) << 5) | 0x80U);
    msg[73] = static_cast<uint8_t>((up & 7U) << 3);
    put_u16(msg, 76, nominal);
    put_u32(msg, 104, mean_rate);
    put_u32(msg, 120, min_phy);
    put_u16(msg, 124, surplus);
    put_u16(msg, 126, medium_time);
    msg[140] = tid;
    msg[141] = aux_byte;
    put_mac(msg, 142, Mac{0x02, 0xcc, aux_byte, 0, 0, 3});
    return msg;
}

Bytes MapdInput::bytes() const
{
    Bytes msg(120, filler);
    msg[0] = 4;
    msg[1] = cmd;
    put_mac(msg, 14, sta);
    msg[20] = radio_unit;
    msg[53] = ac_idx;
    msg[57] = static_cast<uint8_t>(((tid & 0xfU) << 1) | ((dir & 3U) << 5) | 0x80U);
    msg[58] = static_cast<uint8_t>((up & 7U) << 3);
    put_u16(msg, 110, medium_time);
    msg[119] = result;
    return msg;
}

Bytes ConfigInput::bytes() const
{
    Bytes msg(64, 0);
    msg[0] = 1;
    msg[1] = radio_if;
    put_u32(msg, 4, enabled);
    put_u32(msg, 8, acm[0]);
    put_u32(msg, 12, acm[1]);
    put_u32(msg, 16, acm[3]);
    put_u32(msg, 20, acm[2]);
    put_u32(msg, 24, limit[0]);
    put_u32(msg, 28, limit[1]);
    put_u32(msg, 32, limit[3]);
    put_u32(msg, 36, limit[2]);
    put_u32(msg, 40, roam_reserve);
    put_u32(msg, 44, downlink_timeout);
    put_u32(msg, 48, uplink_timeout);
    put_u32(msg, 52, radio_param);
    put_u32(msg, 56, fbt_vo);
    put_u32(msg, 60, fbt_vi);
    return msg;
}

Bytes interval_input(uint32_t seconds)
{
    Bytes msg(8, 0);
    msg[0] = 5;
    put_u32(msg, 4, seconds);
    return msg;
}

Bytes ap_state_input(uint8_t managed_mode)
{
    return {6, 1, managed_mode};
}

Bytes status_request_input(const std::string &command)
{
    Bytes msg{2};
    msg.insert(msg.end(), command.begin(), command.end());
    msg.push_back(0);
    return msg;
}

Bytes cli_debug_input(const std::vector<uint8_t> &levels)
{
    Bytes msg{2, static_cast<uint8_t>(levels.size())};
    msg.insert(msg.end(), levels.begin(), levels.end());
    return msg;
}

Bytes cli_mac_input(uint8_t code, const Mac &mac, uint8_t tid)
{
    Bytes msg{code};
    msg.insert(msg.end(), mac.begin(), mac.end());
    msg.push_back(tid);
    return msg;
}

} // namespace tspec::model
