#include "sim/report/airtime.h"

namespace tspec::sim::report {

namespace {

bool is_ap_state(const Event &event)
{
    return event.kind == Kind::to_daemon && event.delivered && event.door != Door::cli &&
           event.door != Door::reply && event.data.size() == sizeof(tspec_mapd_direct_msg_t) &&
           event.data[0] == TSPEC_MAPD_DIRECT_MSG &&
           event.data[1] == TSPEC_MAPD_DIRECT_AP_STATE_CMD && event.data[2] <= 1;
}

bool is_status(const Event &event)
{
    return event.kind == Kind::from_daemon && event.error == 0 &&
           event.data.size() == sizeof(tspec_mapd_status_msg_t) &&
           event.data[0] == TSPEC_MAPD_STATUS_MSG && event.data[2] < TSPEC_NUM_ACS;
}

} // namespace

void Airtime::take(const Event &event, size_t item, Duration time)
{
    if (event.kind == Kind::process_end) {
        managed_ = false;
        account_ = {};
        status_ = {};
    } else if (is_ap_state(event)) {
        managed_ = event.data[2] == 1;
        status_ = account_;
    } else if (is_status(event)) {
        take_status(wire_of<tspec_mapd_status_msg_t>(event.data));
    } else {
        return;
    }
    note(item, time);
}

void Airtime::take(const scenario::Load &account, size_t item, Duration time)
{
    account_ = account;
    note(item, time);
}

void Airtime::take_status(const tspec_mapd_status_msg_t &status)
{
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        status_[radio][status.ac_idx].now = status.radio[radio].med_time_admitted;
    }
}

void Airtime::note(size_t item, Duration time)
{
    for (size_t radio = 0; radio < TSPEC_NUM_RADIOS; radio++) {
        for (size_t ac = 0; ac < TSPEC_NUM_ACS; ac++) {
            Points &points = points_[radio][ac];
            scenario::Admitted figures = account_[radio][ac];
            figures.now = (managed_ ? status_ : account_)[radio][ac].now;
            scenario::Admitted last = points.empty() ? scenario::Admitted{} : points.back().figures;
            if (figures == last) {
                continue;
            }
            if (!points.empty() && points.back().item == item) {
                points.back().figures = figures;
            } else {
                points.push_back({item, time, figures});
            }
        }
    }
}

} // namespace tspec::sim::report
