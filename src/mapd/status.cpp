#include "mapd/status.h"

#include "core/control_block.h"
#include "core/ipc.h"
#include "core/messages.h"
#include "core/trace.h"

#include <cstdio>

#define TSPEC_TRACE_NAME "tspec_mapd_status_update_msg_send"

static void fill_entry(tspec_mapd_status_entry_t &to, const tspec_stats_entry_t &from)
{
    to.oper_status = from.oper_status;
    to.num_active = from.num_active;
    to.num_clients = from.num_clients;
    to.num_roam_clients = from.num_roam_clients;
    to.med_time_admitted = from.med_time_admitted;
    to.med_time_unalloc = from.med_time_unalloc;
    to.med_time_roam_unalloc = from.med_time_roam_unalloc;
}

static tspec_mapd_status_msg_t build_status(uint8_t ac_idx)
{
    const tspec_ac_stats_t &area = tspec_cb->ac_stats[ac_idx];
    const tspec_ac_totals_t &totals = tspec_cb->ac_totals[ac_idx];
    tspec_mapd_status_msg_t msg = tspec_new_mapd_status_msg(ac_idx);
    msg.num_active = area.num_active;
    msg.num_clients = area.num_clients;
    msg.num_roam_clients = area.num_roam_clients;
    msg.tot_accepted = totals.tot_accepted;
    msg.tot_rejected = totals.tot_rejected;
    msg.tot_roam_accepted = totals.tot_roam_accepted;
    msg.tot_roam_rejected = totals.tot_roam_rejected;
    for (uint32_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        fill_entry(msg.radio[radio], area.radio[radio]);
        for (uint32_t vap = 0; vap < TSPEC_VAPS_PER_RADIO; vap++) {
            fill_entry(msg.vap[radio][vap], area.vap[radio][vap]);
        }
    }
    return msg;
}

static void send_status(uint8_t ac_idx)
{
    const tspec_mapd_status_msg_t msg = build_status(ac_idx);
    const int32_t sock = tspec_cb->tspec_sock;
    if (send_msg_to_other_process(sock, TSPEC_MAPD_PORT, &msg, sizeof(msg)) < 0) {
        perror("Error sending TSPEC Status message to mapd.\n");
        TSPEC_TRACE(TSPEC_TRACE_INFO,
                    " Error sending TSPEC Status cmd %u message to mapd socket id %d for "
                    "internal AC %u\r\n",
                    msg.cmd, sock, ac_idx);
        return;
    }
    tspec_cb->ac_stats[ac_idx].changed = 0;
    TSPEC_TRACE(TSPEC_TRACE_INFO,
                " Sent TSPEC Status cmd %u message to mapd socket id %d for internal AC "
                "%u\r\n",
                msg.cmd, sock, ac_idx);
}

void tspec_mapd_status_update_msg_send()
{
    for (uint8_t ac_idx = 0; ac_idx < TSPEC_NUM_ACS; ac_idx++) {
        if (tspec_cb->ac_stats[ac_idx].changed == 1) {
            send_status(ac_idx);
        }
    }
}
