// Traces that are masked off, and the text of a packet dump.
#include "bench/micro/store_fixture.h"
#include "core/packet_dump.h"
#include "core/text.h"
#include "core/trace.h"

#include <benchmark/benchmark.h>

#define TSPEC_TRACE_NAME __func__

namespace tspec::bench {

static void masked_trace(benchmark::State &state)
{
    const Store store(1);
    for (auto _ : state) {
        TSPEC_TRACE(TSPEC_TRACE_INFO, "client %s\r\n", tspec_mac_text(store.last_mac()).text);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(masked_trace);

static void masked_trace_call(benchmark::State &state)
{
    const Store store(1);
    for (auto _ : state) {
        tspec_map_print_debug_trace(TSPEC_TRACE_INFO, "%s:%d\r\n", "masked", 1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(masked_trace_call);

static void masked_packet_dump(benchmark::State &state)
{
    const Store store(1);
    std::array<uint8_t, TSPEC_RECV_BUF_SIZE> msg = {TSPEC_HOSTAPD_MSG, TSPEC_ADDTS_REQ_CMD};
    for (auto _ : state) {
        benchmark::DoNotOptimize(tspec_hex_ver_pkt_print(msg.data(), sizeof(tspec_hostapd_msg_t)));
    }
}
BENCHMARK(masked_packet_dump);

static void hex_dump(benchmark::State &state)
{
    std::array<uint8_t, TSPEC_RECV_BUF_SIZE> msg = {TSPEC_HOSTAPD_MSG, TSPEC_ADDTS_REQ_CMD};
    for (auto _ : state) {
        uint32_t pos = 0;
        tspec_hex_dump(msg.data(), static_cast<uint32_t>(state.range(0)), pos);
        benchmark::DoNotOptimize(pos);
    }
}
BENCHMARK(hex_dump)->Arg(sizeof(tspec_hostapd_msg_t))->Arg(TSPEC_RECV_BUF_SIZE);

} // namespace tspec::bench
