// Lexer throughput on a large, realistic 4.0 document.
//
// The document is the file named by the environment variable XLATE45_BENCH_DOC;
// without it the benchmark writes one into the build directory on first use
// (generator seed 1, scale 10: about 10 MB) and reuses it afterwards:
//
//     XLATE45_BENCH_DOC=/path/to/nimbra.conf build/bench/bench/lexer_bench
//
// Reported: bytes_per_second (input bytes) and tokens/s.
#include <benchmark/benchmark.h>
#include <string>

#include "bench/large_document40.h"
#include "xml/lexer.h"

namespace {

using bench::document;
using bench::documentPath;

// Lexes through TOK_EOF; `copyValues` also copies every attribute value out
// (with entity decoding), as the element parsers do for text fields.
std::size_t lexAll(xml::Lexer& lexer, bool copyValues) {
    std::size_t tokens = 0;
    for (;;) {
        const xml::Token token = lexer.next();
        ++tokens;
        if (token.type() == xml::Tok::Eof) return tokens;
        if (copyValues && token.type() == xml::Tok::AttValue) benchmark::DoNotOptimize(token.payloadString());
        benchmark::DoNotOptimize(token.payload().data());
    }
}

void report(benchmark::State& state, std::size_t tokens) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * document().size()));
    state.counters["tokens/s"] = benchmark::Counter(static_cast<double>(tokens), benchmark::Counter::kIsRate);
    state.counters["tokens"] = static_cast<double>(tokens) / static_cast<double>(state.iterations());
}

void BM_LexMemory(benchmark::State& state) {
    const std::string& text = document();
    std::size_t tokens = 0;
    for (auto _ : state) {
        std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onMemory(text.data(), text.size());
        tokens += lexAll(*lexer, false);
    }
    report(state, tokens);
}
BENCHMARK(BM_LexMemory)->Unit(benchmark::kMillisecond);

void BM_LexMemoryCopyingValues(benchmark::State& state) {
    const std::string& text = document();
    std::size_t tokens = 0;
    for (auto _ : state) {
        std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onMemory(text.data(), text.size());
        tokens += lexAll(*lexer, true);
    }
    report(state, tokens);
}
BENCHMARK(BM_LexMemoryCopyingValues)->Unit(benchmark::kMillisecond);

// Through the file source: lock file, mapping, and the same lexing.
void BM_LexMappedFile(benchmark::State& state) {
    document();
    std::size_t tokens = 0;
    for (auto _ : state) {
        std::unique_ptr<xml::Lexer> lexer = xml::Lexer::onFile(documentPath().c_str());
        if (!lexer) {
            state.SkipWithError("can't open the document");
            return;
        }
        tokens += lexAll(*lexer, false);
    }
    report(state, tokens);
}
BENCHMARK(BM_LexMappedFile)->Unit(benchmark::kMillisecond);

}  // namespace
