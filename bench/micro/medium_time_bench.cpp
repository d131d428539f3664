// The medium time of a request, with an answer to the frame-duration query that
// takes no time.
#include "admission/medium_time.h"
#include "bench/micro/store_fixture.h"

#include <benchmark/benchmark.h>
#include <cstring>

// The linker sends the calls of tspec_send_receive_other_process here.
extern "C" int32_t __wrap__Z32tspec_send_receive_other_processjjPKvjPvj(uint32_t, uint32_t,
                                                                        const void *, uint32_t,
                                                                        void *reply,
                                                                        uint32_t reply_len)
{
    const tspec_frame_dur_rsp_t answer = {TSPEC_FRAME_DUR_MARKER, {}, 400};
    memcpy(reply, &answer, sizeof(answer));
    return static_cast<int32_t>(reply_len);
}

namespace tspec::bench {

static void medium_time(benchmark::State &state)
{
    const Store store(1);
    tspec_ie_t element = {};
    element.nominal_msdu_size = 0x80d0;
    element.mean_data_rate = 83200;
    element.surplus_bandwidth_allowance = 0x3000;
    for (auto _ : state) {
        benchmark::DoNotOptimize(element);
        uint16_t result = 0;
        tspec_ts_medium_time_calc(&element, 1, 0, store.last_mac(), &result);
        benchmark::DoNotOptimize(result);
    }
}
BENCHMARK(medium_time);

} // namespace tspec::bench
