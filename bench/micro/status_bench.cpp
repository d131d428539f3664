// The status snapshot that every change of a stream takes.
#include "bench/micro/store_fixture.h"
#include "store/snapshot.h"

#include <benchmark/benchmark.h>

namespace tspec::bench {

static void status_snapshot(benchmark::State &state)
{
    const Store store(state.range(0));
    for (auto _ : state) {
        tspec_ts_status_update(TSPEC_AC_VO);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(status_snapshot)->Arg(1)->Arg(64)->Arg(256)->Arg(512);

static void status_snapshot_operational(benchmark::State &state)
{
    const Store store(state.range(0));
    tspec_cb->radio_cfg[0].tspec_enabled = 1;
    tspec_cb->radio_cfg[0].acm[TSPEC_AC_VO] = 1;
    tspec_cb->radio_cfg[0].limit_percent[TSPEC_AC_VO] = 50;
    for (auto _ : state) {
        tspec_ts_status_update(TSPEC_AC_VO);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(status_snapshot_operational)->Arg(1)->Arg(512);

} // namespace tspec::bench
