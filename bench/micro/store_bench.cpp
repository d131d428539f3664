// Look-ups in the stream store, of the client at the end of the list.
#include "bench/micro/store_fixture.h"
#include "store/client.h"
#include "store/cursor.h"
#include "store/stream.h"

#include <benchmark/benchmark.h>

namespace tspec::bench {

static void find_client(benchmark::State &state)
{
    const Store store(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(tspec_rec_get(store.last_mac()));
    }
}
BENCHMARK(find_client)->Arg(1)->Arg(64)->Arg(256)->Arg(512);

static void find_client_on_category(benchmark::State &state)
{
    const Store store(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(tspec_ts_rec_get(store.last_mac(), TSPEC_AC_VO));
    }
}
BENCHMARK(find_client_on_category)->Arg(1)->Arg(64)->Arg(256)->Arg(512);

static void find_stream(benchmark::State &state)
{
    const Store store(state.range(0));
    for (auto _ : state) {
        benchmark::DoNotOptimize(tspec_ts_rec_find(store.last_mac(), stream_tid, nullptr));
    }
}
BENCHMARK(find_stream)->Arg(1)->Arg(64)->Arg(256)->Arg(512);

static void find_stream_in_record(benchmark::State &state)
{
    const Store store(1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tspec_rec_ts_find(store.last(), stream_tid, TSPEC_FIND_BY_TID));
    }
}
BENCHMARK(find_stream_in_record);

static void walk_all_streams(benchmark::State &state)
{
    const Store store(state.range(0));
    for (auto _ : state) {
        tspec_client_ts_cursor_t cursor;
        int32_t more = tspec_client_ts_first_get(&cursor);
        while (more == 0) {
            more = tspec_client_ts_next_get(&cursor);
        }
    }
}
BENCHMARK(walk_all_streams)->Arg(1)->Arg(64)->Arg(256)->Arg(512);

} // namespace tspec::bench
