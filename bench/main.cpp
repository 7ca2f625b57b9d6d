#include <benchmark/benchmark.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <string_view>

#include "named.h"
#include "report.h"
#include "subjects.h"
#include "support/scratch_registry.h"

namespace {

// What the run takes beside the options of Google Benchmark.
struct Options {
    bool quick = false;
    std::filesystem::path files;
};

// Takes them out of the words.
Options TakeOptions(int* argc, char** argv) {
    const std::string_view filesIn = "--files-in=";
    Options options;
    char** end = argv;
    for (char** word = argv; word != argv + *argc; ++word) {
        const std::string_view text = *word;
        if (text == "--quick") {
            options.quick = true;
        } else if (text.starts_with(filesIn)) {
            options.files = text.substr(filesIn.size());
        } else {
            *end++ = *word;
        }
    }
    *argc = static_cast<int>(end - argv);
    return options;
}

// The benchmarks own the peers' open files, which are in the scratch directory.
void RunRegistered(bench::Report& report) {
    benchmark::RunSpecifiedBenchmarks(&report);
    benchmark::ClearRegisteredBenchmarks();
}

bool Run(const Options& options) {
    // Before the first registry call, so that no store of the machine or the user is touched.
    const kx::test::ScratchRegistry registry;

    bench::Report report;
    bench::RegisterMutexes(report);
    bench::RegisterWaitables(report);
    bench::RegisterReaderWriterLocks(report);
    bench::RegisterMemory(report);
    const auto files = options.files.empty() ? registry.Directory().Path() : options.files;
    bench::RegisterRegistry(report, registry.Directory().Path(), files, options.quick);
    bench::RegisterIni(report, files, options.quick);
    bench::RegisterComponents(report);
    bench::RegisterText(report);
    bench::RegisterEncoding(report);
    bench::RegisterFiles(report, files, options.quick);
    bench::RegisterNamed(report);
    bench::RegisterHost(report);
    bench::RegisterOptions(report);
    RunRegistered(report);
    // Behind the others: peers that start a process by a fork take the registry's stores with them,
    // and a copy of the library would open its own anew, which is elsewhere by then.
    bench::RegisterProcesses(report, options.quick);
    RunRegistered(report);
    if (report.IsComplete()) report.Print(std::cout);
    return report.IsComplete();
}

}  // namespace

int main(int argc, char** argv) {
    if (bench::IsPartner(argc, argv)) {
        bench::PlayPartner(argv);
        return 1;
    }
    const Options options = TakeOptions(&argc, argv);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    try {
        return Run(options) ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "error: " << error.what() << '\n';
        return 1;
    }
}
