// The TSPEC element between its aligned and its packed form.
#include "core/element.h"

#include <benchmark/benchmark.h>

namespace tspec::bench {

static void pack_element(benchmark::State &state)
{
    tspec_ie_t aligned = {};
    tspec_body_t packed = {};
    for (auto _ : state) {
        tspec_ie_pack(&packed, &aligned);
        benchmark::DoNotOptimize(packed);
    }
}
BENCHMARK(pack_element);

static void unpack_element(benchmark::State &state)
{
    tspec_ie_t aligned = {};
    tspec_body_t packed = {};
    for (auto _ : state) {
        tspec_ie_unpack(&aligned, &packed);
        benchmark::DoNotOptimize(aligned);
    }
}
BENCHMARK(unpack_element);

} // namespace tspec::bench
