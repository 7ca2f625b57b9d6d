#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

#include "report.h"
#include "subjects.h"

namespace {

// A directory of the run's own, gone at its end.
class ScratchDirectory final {
  public:
    ScratchDirectory() {
        std::string name = std::filesystem::temp_directory_path() / "kxcore7-bench-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no scratch directory");
        m_path = name;
    }
    ~ScratchDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

bool Run() {
    const ScratchDirectory scratch;
    // Before the first registry call, so that no store of the machine or the user is touched.
    setenv("KX_REGISTRY_DIR", scratch.Path().c_str(), 1);

    bench::Report report;
    bench::RegisterMutexes(report);
    bench::RegisterMemory(report);
    bench::RegisterRegistry(report, scratch.Path());
    bench::RegisterComponents(report);
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
