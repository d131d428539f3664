// The load that clients put on an access category: kept in each record's first
// bytes, and added up over the list in one walk with the look-up of a client.
#pragma once

#include "core/control_block.h"

#include <cstdint>

// Brings the record's load on an access category (0 to 3) up to date. Due after
// every change to an admitted entry there, or to one that is no longer so.
void tspec_rec_load_update(tspec_rec_t &rec, uint32_t ac_idx);

// Adds what a client with a load on an access category has there.
inline void tspec_load_add(tspec_load_sum_t &sum, const tspec_rec_t &rec, uint32_t ac_idx)
{
    sum.num_active += rec.load.num_active[ac_idx];
    sum.num_clients++;
    sum.num_roam_clients += rec.roam_flag != 0 ? 1 : 0;
    sum.med_time += rec.load.med_time[ac_idx];
}

// The client's record, or null, as tspec_rec_get has it. A walk that this takes
// surveys the load of all other clients on the access category (0 to 3), too.
tspec_rec_t *tspec_rec_get_and_survey(const uint8_t *mac, uint32_t ac_idx);

// The load of all clients but tspec_cb->rec_found.rec on an access category (0 to
// 3): that of the last survey, if it still holds, else of a new one.
const tspec_load_survey_t &tspec_load_survey(uint32_t ac_idx);
