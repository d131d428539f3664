// The datagrams of a random walk.
#include "random_walk.h"

#include <algorithm>
#include <iterator>

namespace tspec::lockstep {

using model::ConfigInput;
using model::Entry;
using model::HostapdInput;
using model::MapdInput;

Bytes RandomWalk::hostapd_message(const model::Daemon &daemon)
{
    HostapdInput input;
    input.cmd = from<uint8_t>({1, 1, 1, 1, 1, 1, 1, 3, 3, 4, 4, 6, 6, 7, 8, 9, 9, 9});
    if (one_in(40)) {
        input.cmd = from<uint8_t>({0, 2, 5, 10, 11, 255});
    }
    input.sta = station();
    input.tid = static_cast<uint8_t>(one_in(12) ? below(16) : below(8));
    if (one_in(60)) {
        input.tid = 255;
    }
    input.up = static_cast<uint8_t>(below(8));
    input.dir = from<uint8_t>({0, 0, 1, 1, 3, 3, 2});
    input.radio_unit = from<uint8_t>({1, 1, 1, 2, 2});
    if (one_in(60)) {
        input.radio_unit = from<uint8_t>({0, 3, 255});
    }
    input.vap = from<uint8_t>({0, 0, 0, 3, 15});
    if (one_in(30)) {
        input.vap = from<uint8_t>({16, 17, 255});
    }
    input.vap_addr = one_in(4) ? second_vap : first_vap;
    const Entry *entry = stream_in(daemon, false);
    const unsigned aimed = input.cmd == 1 || input.cmd == 9 ? 2 : 9;
    if (entry != nullptr && below(10) < aimed) {
        aim_at(input, *entry);
    }
    if (one_in(30)) {
        input.info_tid = static_cast<uint8_t>(below(16));
    }
    input.nominal = from<uint16_t>({0x80d0, 0x80d0, 208, 1500, 1, 0x7fff, 0xffff});
    if (profile_.ends_process && one_in(100)) {
        input.nominal = from<uint16_t>({0, 0x8000});
    }
    input.mean_rate = from<uint32_t>(
        {83200, 83200, 83200, 0, 1, 7, 8, 9, 1000000, 64000000, 0xfffffff8, 0xffffffff});
    input.min_phy = from<uint32_t>({6000000, 0, 0xffffffff});
    input.surplus =
        from<uint16_t>({0x2000, 0x2000, 0, 0x1000, 0x1fff, 0x2001, 0x3000, 0x4abc, 0xffff});
    input.medium_time = from<uint16_t>({0, 1, 100, 625, 3125, 15625, 31250, 32768, 65535});
    input.aux_byte = static_cast<uint8_t>(below(256));
    input.filler = static_cast<uint8_t>(one_in(3) ? below(256) : 0);
    return input.bytes();
}

Bytes RandomWalk::mapd_message(const model::Daemon &daemon)
{
    MapdInput input;
    input.cmd = from<uint8_t>({2, 2, 2, 2, 2, 5});
    if (one_in(30)) {
        input.cmd = from<uint8_t>({0, 1, 3, 7, 9, 255});
    }
    input.sta = station();
    input.tid = static_cast<uint8_t>(below(16));
    input.dir = static_cast<uint8_t>(below(4));
    input.up = static_cast<uint8_t>(below(8));
    input.ac_idx = static_cast<uint8_t>(below(4));
    input.radio_unit = from<uint8_t>({1, 2});
    if (const Entry *entry = stream_in(daemon, true); entry != nullptr && !one_in(8)) {
        input.sta = entry->owner->sta_mac;
        input.radio_unit = entry->owner->radio_unit;
        input.tid = one_in(3) ? entry->pend_tid : entry->tid;
        input.ac_idx = entry->ac_idx;
        input.up = priority_for(entry->ac_idx);
        input.dir = one_in(4) ? entry->pend_dir : entry->dir;
    }
    if (one_in(60)) {
        input.radio_unit = from<uint8_t>({0, 3});
    }
    if (one_in(40)) {
        input.ac_idx = from<uint8_t>({4, 7, 255});
    }
    input.medium_time = from<uint16_t>({625, 625, 0, 1, 15625, 40000, 65535});
    input.result = from<uint8_t>({0, 0, 0, 0, 1, 2, 3, 4, 255});
    input.filler = static_cast<uint8_t>(one_in(3) ? below(256) : 0);
    return input.bytes();
}

Bytes RandomWalk::config_message()
{
    ConfigInput input;
    input.radio_if = from<uint8_t>({1, 1, 2, 2});
    if (one_in(20)) {
        input.radio_if = from<uint8_t>({0, 3, 255});
    }
    input.enabled = from<uint32_t>({1, 1, 1, 0, 0x100, 0xff});
    for (uint32_t &acm : input.acm) {
        acm = from<uint32_t>({1, 1, 0, 0x100, 2});
    }
    for (uint32_t &limit : input.limit) {
        limit = from<uint32_t>({50, 50, 100, 10, 2, 1, 0, 209, 210, 65535, 65536, 0xffffffff});
    }
    input.fbt_vi = from<uint32_t>({0, 0, 5, 10, 100, 65535});
    input.fbt_vo = from<uint32_t>({0, 0, 5, 10, 100, 65535});
    input.roam_reserve = from<uint32_t>({0, 5, 10, 50, 65535, 65537});
    input.downlink_timeout = from<uint32_t>({0, 1, 5, 30, 4294, 4295, 0xffffffff});
    input.uplink_timeout = from<uint32_t>({0, 1, 5, 30, 4294, 4295, 0xffffffff});
    input.radio_param = static_cast<uint32_t>(generator_());
    return input.bytes();
}

Bytes RandomWalk::status_request(const model::Daemon &)
{
    const char *const commands[] = {"tspec-ap-stats",
                                    "tspec-ap-stats",
                                    "tspec-radio-wlan0",
                                    "tspec-radio-wlan1",
                                    "tspec-vap-wlan0",
                                    "tspec-vap-wlan0vap3",
                                    "tspec-vap-wlan1vap15",
                                    "tspec-client-ts-first",
                                    "tspec-client-ts-first",
                                    "tspec-client-ts-next",
                                    "tspec-client-ts-next",
                                    "tspec-client-ts-next",
                                    "tspec-client-ts-next",
                                    "tspec-client-ts-next",
                                    "tspec-client-ts-next",
                                    "tspec-ap-stats ",
                                    "tspec-radio-wlan2",
                                    "tspec-radio-wlan",
                                    "tspec-vap-wlan0vap16",
                                    "tspec-vap-wlan1vap-1",
                                    "tspec-vap-wlan0vap 7",
                                    "tspec-vap-wlan1vapX",
                                    "tspec-radio-wlan1-extra",
                                    "tspec-vap-wlan",
                                    "tspec-vap-wlan0xvap2",
                                    "tspec-client-ts-firstly",
                                    "",
                                    "tspec-vap-wlanvap2",
                                    "tspec-radio-wlanwlan1",
                                    "tspec-vap-wlan1vap00000000000000004",
                                    "tspec-vap-wlan1vap4294967297",
                                    "tspec-vap-wlan0vap99999999999999999999"};
    Bytes request = model::status_request_input(commands[below(std::size(commands))]);
    if (one_in(4)) {
        request.pop_back(); // without the NUL
    }
    if (one_in(10)) {
        const size_t cut = below(request.size() + 1);
        request.resize(std::max<size_t>(cut, 1));
    }
    return request;
}

Bytes RandomWalk::cli_command(const model::Daemon &daemon)
{
    Mac mac = station();
    auto tid = static_cast<uint8_t>(below(8));
    if (const Entry *entry = stream_in(daemon, false); entry != nullptr && !one_in(4)) {
        mac = entry->owner->sta_mac;
        tid = entry->tid;
    }
    Bytes command;
    switch (below(12)) {
    case 0:
        command = {1};
        break;
    case 1:
    case 2:
    case 3: {
        std::vector<uint8_t> levels;
        if (one_in(3)) {
            levels.push_back(0);
        }
        const size_t count = below(8);
        for (size_t i = 0; i < count; i++) {
            levels.push_back(static_cast<uint8_t>(one_in(10) ? below(256) : 1 + below(7)));
        }
        command = model::cli_debug_input(levels);
        break;
    }
    case 4:
        command = {2, 0};
        break;
    case 5:
        command = model::cli_mac_input(one_in(3) ? 3 : 4, mac, tid);
        break;
    case 6:
    case 7:
        command = model::cli_mac_input(4, mac, tid);
        break;
    case 8:
        command = {5, from<uint8_t>({0, 0, 0, 1, 2, 255})};
        break;
    default:
        command = {6, from<uint8_t>({0, 0, 1})};
        break;
    }
    if (profile_.hostile && one_in(20)) {
        command = noise();
        command.resize(below(80));
    }
    return command;
}

Bytes RandomWalk::noise()
{
    Bytes bytes(
        from<size_t>({0, 1, 2, 3, 8, 63, 64, 119, 120, 121, 147, 148, 149, 300, 1023, 1024, 1025}));
    for (uint8_t &byte : bytes) {
        byte = static_cast<uint8_t>(generator_());
    }
    if (!bytes.empty()) {
        bytes[0] = static_cast<uint8_t>(one_in(4) ? below(256) : below(9));
    }
    return bytes;
}

Bytes RandomWalk::distort(Bytes message)
{
    if (!profile_.hostile || !one_in(20)) {
        return message;
    }
    if (one_in(4)) {
        return noise();
    }
    const size_t length = from<size_t>(
        {0, 1, 2, 3, 4, 7, 8, 9, 63, 64, 65, 119, 120, 121, 147, 148, 149, 1023, 1024, 1025});
    while (message.size() < length) {
        message.push_back(static_cast<uint8_t>(generator_()));
    }
    message.resize(length);
    return message;
}

} // namespace tspec::lockstep
