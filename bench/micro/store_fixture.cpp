#include "bench/micro/store_fixture.h"

#include "core/daemon.h"
#include "store/client.h"
#include "store/ledger.h"

#include <cstdlib>
#include <cstring>

namespace tspec::bench {

static std::array<uint8_t, TSPEC_MAC_LEN> mac_of(int64_t number)
{
    return {0x02, 0, 0, 0, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)};
}

static void admit_stream(tspec_rec_t &rec)
{
    tspec_ts_rec_t &entry = rec.streams[TSPEC_BANK_PRIMARY][TSPEC_AC_VO];
    entry.tid = stream_tid;
    entry.ac_idx = TSPEC_AC_VO;
    entry.dir = TSPEC_DIR_UPLINK;
    entry.state = TSPEC_TS_ADMITTED;
    entry.pend.tid = TSPEC_TID_NONE;
    entry.params.ie.medium_time = 50;
    tspec_ledger_update(rec);
}

Store::Store(int64_t clients)
{
    tspec_cb = static_cast<tspec_cb_t *>(calloc(1, sizeof(tspec_cb_t)));
    tspec_cb->ap_state = TSPEC_AP_UNMANAGED;
    for (int64_t number = 1; number <= clients; number++) {
        last_mac_ = mac_of(number);
        tspec_rec_t *const rec = tspec_rec_add(last_mac_.data());
        memcpy(rec->sta_mac, last_mac_.data(), last_mac_.size());
        rec->radio_unit = 1;
        admit_stream(*rec);
        tspec_cb->ts_count++;
    }
}

Store::~Store()
{
    tspec_daemon_cleanup();
}

} // namespace tspec::bench
