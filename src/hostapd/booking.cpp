#include "hostapd/booking.h"

#include "store/access_category.h"

#include <cstring>

void tspec_booking_fill_record(tspec_rec_t &rec, const tspec_hostapd_msg_t &msg)
{
    memcpy(rec.sta_mac, msg.sta_mac, sizeof(rec.sta_mac));
    memcpy(rec.peer_addr1, msg.peer_addr1, sizeof(rec.peer_addr1));
    memcpy(rec.peer_addr2, msg.peer_addr2, sizeof(rec.peer_addr2));
    rec.radio_unit = msg.radio_unit;
    memcpy(rec.ssid, msg.ssid, sizeof(msg.ssid));
    rec.ssid[sizeof(msg.ssid)] = '\0';
    rec.vap = msg.vap;
}

void tspec_booking_fill_entry(tspec_ts_rec_t &entry, const tspec_hostapd_msg_t &msg, uint8_t ac_idx,
                              uint8_t dir, uint8_t state)
{
    entry.tid = msg.tid;
    entry.ac_idx = ac_idx;
    entry.dir = dir;
    entry.state = state;
    entry.inactivity_timeout = tspec_ts_inactivity_timeout_get(msg.radio_unit - 1U, dir);
    entry.aux_byte = msg.aux_byte;
    memcpy(entry.aux_addr, msg.aux_addr, sizeof(entry.aux_addr));
    entry.params.ie = msg.tspec;
    entry.params.aux_flag = msg.aux_flag;
    memcpy(entry.params.reserved, msg.reserved3, sizeof(entry.params.reserved));
}
