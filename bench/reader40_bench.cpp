// Throughput of the 4.0 reader (lexing, parsing into the 4.0 model, fix-ups)
// on a large, realistic 4.0 document; see large_document40.h for which one:
//
//     XLATE45_BENCH_DOC=/path/to/nimbra.conf build/bench/bench/reader40_bench
//
// Reported: bytes_per_second (input bytes).
#include <benchmark/benchmark.h>

#include "bench/large_document40.h"
#include "legacy/sanparse_x.h"

namespace {

void BM_ReadBridge40(benchmark::State& state) {
    const std::string& text = bench::document();
    for (auto _ : state) {
        std::unique_ptr<legacy::SANBridge> bridge = legacy::readBridge40(text.data(), text.size());
        if (bridge == nullptr) {
            state.SkipWithError("the document has no bridge");
            return;
        }
        benchmark::DoNotOptimize(bridge.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ReadBridge40)->Unit(benchmark::kMillisecond);

}  // namespace
