#include <benchmark/benchmark.h>
#include <kxcore7/memory.h>

#include <cstddef>
#include <cstdlib>
#include <string>

#include "report.h"
#include "subjects.h"

namespace bench {
namespace {

void KxPair(benchmark::State& state, std::size_t size) {
    for (auto _ : state) {
        void* block = nullptr;
        KXMalloc(size, &block);
        benchmark::DoNotOptimize(block);
        KXFree(block);
    }
}

void MallocPair(benchmark::State& state, std::size_t size) {
    for (auto _ : state) {
        void* const block = std::malloc(size);
        benchmark::DoNotOptimize(block);
        std::free(block);
    }
}

}  // namespace

void RegisterMemory(Report& report) {
    for (const std::size_t size : {16, 256, 4096}) {
        const std::string what = "KXMalloc + KXFree, " + std::to_string(size) + " bytes";
        benchmark::RegisterBenchmark((what + "/kxcore7").c_str(), KxPair, size);
        benchmark::RegisterBenchmark((what + "/malloc").c_str(), MallocPair, size);
        report.Add({.what = what,
                    .benchmark = what + "/kxcore7",
                    .peers = {{"malloc + free", what + "/malloc"}}});
    }
}

}  // namespace bench
