#include <benchmark/benchmark.h>

#include <exception>
#include <iostream>

#include "report.h"
#include "subjects.h"
#include "support/scratch_registry.h"

namespace {

bool Run() {
    // Before the first registry call, so that no store of the machine or the user is touched.
    const kx::test::ScratchRegistry registry;

    bench::Report report;
    bench::RegisterMutexes(report);
    bench::RegisterWaitables(report);
    bench::RegisterReaderWriterLocks(report);
    bench::RegisterMemory(report);
    bench::RegisterRegistry(report, registry.Directory().Path());
    bench::RegisterComponents(report);
    bench::RegisterText(report);
    bench::RegisterEncoding(report);
    benchmark::RunSpecifiedBenchmarks(&report);
    // They own the peers' open files, which are in the scratch directory.
    benchmark::ClearRegisteredBenchmarks();
    if (report.IsComplete()) report.Print(std::cout);
    return report.IsComplete();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    try {
        return Run() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << '\n';
        return 1;
    }
}
