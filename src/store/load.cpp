#include "store/load.h"

#include "core/ts_info.h"
#include "store/client.h"

#include <bit>

static uint32_t time_of(const tspec_ts_rec_t &entry)
{
    return tspec_medium_time_both_ways(entry.params.ie.medium_time, entry.dir);
}

void tspec_rec_load_update(tspec_rec_t &rec, uint32_t ac_idx)
{
    const tspec_ts_rec_t &primary = rec.streams[TSPEC_BANK_PRIMARY][ac_idx];
    const tspec_ts_rec_t &alternate = rec.streams[TSPEC_BANK_ALTERNATE][ac_idx];
    uint8_t num_active = 0;
    uint32_t med_time = 0;
    // A client whose only admitted stream is its alternate one does not count.
    if (primary.state == TSPEC_TS_ADMITTED) {
        num_active = 1;
        med_time = time_of(primary);
        if (alternate.state == TSPEC_TS_ADMITTED) {
            num_active = 2;
            med_time += time_of(alternate);
        }
    }
    rec.load.num_active[ac_idx] = num_active;
    rec.load.med_time[ac_idx] = med_time;
    if (&rec != tspec_cb->rec_found.rec) {
        tspec_cb->load_survey.valid = 0;
    }
}

static tspec_load_survey_t &begin_survey(uint32_t ac_idx)
{
    tspec_load_survey_t &survey = tspec_cb->load_survey;
    for (uint32_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        for (uint32_t left = survey.in_use[radio]; left != 0; left &= left - 1) {
            survey.by_vap[radio][std::countr_zero(left)] = {};
        }
        survey.in_use[radio] = 0;
    }
    survey.ac_idx = ac_idx;
    survey.valid = 1;
    return survey;
}

// Inlined, as a call for each client is a tenth of a walk.
[[gnu::always_inline]] static inline void add_client(tspec_load_survey_t &survey,
                                                     const tspec_rec_t &rec, uint32_t ac_idx)
{
    if (rec.load.num_active[ac_idx] == 0) {
        return;
    }
    // hostapd may number a VAP that there is no place for.
    const uint32_t place = rec.vap < TSPEC_VAPS_PER_RADIO ? rec.vap : TSPEC_VAPS_PER_RADIO;
    const uint32_t radio = rec.radio_unit - 1U;
    survey.in_use[radio] |= 1U << place;
    tspec_load_add(survey.by_vap[radio][place], rec, ac_idx);
}

tspec_rec_t *tspec_rec_get_and_survey(const uint8_t *mac, uint32_t ac_idx)
{
    if (tspec_cb->rec_found.rec != nullptr) {
        return tspec_rec_get(mac);
    }
    tspec_load_survey_t &survey = begin_survey(ac_idx);
    tspec_rec_found_t found = {nullptr, nullptr};
    tspec_rec_t *previous = nullptr;
    for (tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        if (found.rec == nullptr && tspec_rec_is_of(*rec, mac)) {
            found = {rec, previous};
        } else {
            add_client(survey, *rec, ac_idx);
        }
        previous = rec;
    }
    tspec_cb->rec_found = found;
    return found.rec;
}

const tspec_load_survey_t &tspec_load_survey(uint32_t ac_idx)
{
    if (tspec_cb->load_survey.valid != 0 && tspec_cb->load_survey.ac_idx == ac_idx) {
        return tspec_cb->load_survey;
    }
    tspec_load_survey_t &survey = begin_survey(ac_idx);
    const tspec_rec_t *const but = tspec_cb->rec_found.rec;
    for (const tspec_rec_t *rec = tspec_cb->rec_head; rec != nullptr; rec = rec->next) {
        if (rec != but) {
            add_client(survey, *rec, ac_idx);
        }
    }
    return survey;
}
