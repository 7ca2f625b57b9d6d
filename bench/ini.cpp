#include <benchmark/benchmark.h>
#include <glib.h>
#include <kxcore7/semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "contest.h"
#include "ini_inside.h"
#include "report.h"
#include "rows.h"
#include "subjects.h"

// APR has nothing for files of this kind.

namespace bench {
namespace {

constexpr std::size_t kValuesPerSection = 10;
const std::string kSection = "KX_HKEY_CONFIG\\Software\\Sample\\Program0";
const std::string kName = "Placement3";
constexpr const char* kGLib = "GLib GKeyFile";
constexpr const char* kBoost = "Boost property tree";

// The same text for all; none of them has to leave anything out.
void WriteSample(const std::filesystem::path& path, std::size_t values) {
    std::ofstream file(path);
    for (std::size_t i = 0; i < values; ++i) {
        if (i % kValuesPerSection == 0) {
            file << (i != 0 ? "\n" : "") << "[KX_HKEY_CONFIG\\Software\\Sample\\Program"
                 << i / kValuesPerSection << "]\n";
        }
        file << "Placement" << i % kValuesPerSection << "=0, 0, 1280, 720, " << i << '\n';
    }
    file << '\n';
    file.close();
    Require(!file.fail(), "an INI file");
}

std::u16string Widen(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

struct CloseIni {
    void operator()(void* file) const { BenchIniClose(file); }
};
struct FreeKeyFile {
    void operator()(GKeyFile* file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, FreeKeyFile>;
namespace pt = boost::property_tree;

// A file, and what each has made of it. Beside it a path to write to.
struct Sample {
    Sample(const std::filesystem::path& folder, std::size_t values)
        : sections((values + kValuesPerSection - 1) / kValuesPerSection),
          path(folder / ("sample" + std::to_string(values) + ".ini")),
          target(path.string() + ".out") {
        WriteSample(path, values);
        ini.reset(BenchIniOpen(path.u16string().c_str()));
        Require(ini != nullptr && BenchIniSections(ini.get()) == sections, "the library's file");
        Require(g_key_file_load_from_file(keyFile.get(), path.c_str(), G_KEY_FILE_NONE, nullptr) !=
                    FALSE,
                "GLib's file");
        // The first read loads the file once more.
        char16_t text[64];
        Require(BenchIniGet(ini.get(), Widen(kSection).c_str(), Widen(kName).c_str(), text),
                "a value of the library's file");
        pt::read_ini(path, tree);
        Require(tree.size() == sections, "Boost's tree");
    }

    const std::size_t sections;
    const std::filesystem::path path;
    const std::filesystem::path target;
    const std::u16string wideTarget = target.u16string();
    std::unique_ptr<void, CloseIni> ini;
    const KeyFile keyFile{g_key_file_new()};
    pt::ptree tree;
};
using SharedSample = std::shared_ptr<Sample>;

// Registers a benchmark of work(sample), which tells whether it did it.
template <typename Work>
auto Measured(const SharedSample& sample, Work work) {
    return [sample, work](const std::string& name) {
        benchmark::RegisterBenchmark(name.c_str(), [sample, work](benchmark::State& state) {
            bool done = true;
            for (auto _ : state) done &= work(*sample);
            if (!done) Fail(state, "an INI file can't be read or written");
        });
    };
}

bool KxLoad(Sample& sample) {
    BenchIniLoad(sample.ini.get());
    return BenchIniSections(sample.ini.get()) == sample.sections;
}
bool KxSave(Sample& sample) {
    return BenchIniSave(sample.ini.get(), sample.wideTarget.c_str());
}

bool KeyFileLoad(Sample& sample) {
    const KeyFile file(g_key_file_new());
    return g_key_file_load_from_file(file.get(), sample.path.c_str(), G_KEY_FILE_NONE, nullptr) !=
           FALSE;
}
bool KeyFileSave(Sample& sample) {
    return g_key_file_save_to_file(sample.keyFile.get(), sample.target.c_str(), nullptr) != FALSE;
}

bool BoostLoad(Sample& sample) {
    pt::ptree tree;
    pt::read_ini(sample.path, tree);
    return tree.size() == sample.sections;
}
bool BoostSave(Sample& sample) {
    pt::write_ini(sample.target, sample.tree);
    return true;
}

// --- A read of a file that has not changed -------------------------------------------------------

auto KxRead() {
    return [section = Widen(kSection), name = Widen(kName)](Sample& sample) {
        char16_t text[64];
        const bool found =
            BenchIniGet(sample.ini.get(), section.c_str(), name.c_str(), text) && text[0] == u'0';
        benchmark::DoNotOptimize(text);
        return found;
    };
}

// What no such read can do without: the lock of all processes, and a look at the file's time.
class StatUnderLock final {
  public:
    StatUnderLock() {
        const std::string name = "kxcore7-bench-" + std::to_string(getpid()) + "-ini";
        Require(KXNamedSemOpen(name.c_str(), 1, &m_lock) == 0, "a named semaphore");
    }
    ~StatUnderLock() { KXNamedSemClose(m_lock); }
    StatUnderLock(const StatUnderLock&) = delete;
    StatUnderLock& operator=(const StatUnderLock&) = delete;

    bool operator()(const Sample& sample) const {
        struct stat status {};
        KXSemaphoreWait(m_lock);
        const bool done = stat(sample.path.c_str(), &status) == 0;
        KXSemaphorePost(m_lock);
        benchmark::DoNotOptimize(status);
        return done;
    }

  private:
    KXSemaphoreHandle m_lock = KX_INVALID_HANDLE;
};

bool KeyFileRead(Sample& sample) {
    gchar* const text =
        g_key_file_get_string(sample.keyFile.get(), kSection.c_str(), kName.c_str(), nullptr);
    benchmark::DoNotOptimize(text);
    g_free(text);
    return text != nullptr;
}

}  // namespace

void RegisterIni(Report& report, const std::filesystem::path& scratch, bool quick) {
    constexpr double kAsGLib = 1.0;
    constexpr double kAsTheLeast = 1.5;
    const std::vector<std::size_t> sizes = {10, 1000, quick ? 10'000u : 100'000u};
    for (const std::size_t size : sizes) {
        const auto sample = std::make_shared<Sample>(scratch, size);
        const std::string label = ", " + std::to_string(size) + " values";
        Rows("INI load" + label)
            .Own(Measured(sample, KxLoad))
            .Peer(kGLib, Measured(sample, KeyFileLoad))
            .Aside(kBoost, Measured(sample, BoostLoad))
            .AddTo(report, kAsGLib);
        Rows("INI save" + label)
            .Own(Measured(sample, KxSave))
            .Peer(kGLib, Measured(sample, KeyFileSave))
            .Aside(kBoost, Measured(sample, BoostSave))
            .AddTo(report);
        const auto least = std::make_shared<StatUnderLock>();
        Rows("INI read" + label)
            .Own(Measured(sample, KxRead()))
            .Peer("stat under the lock",
                  Measured(sample, [least](Sample& of) { return (*least)(of); }))
            .Aside(std::string(kGLib) + " (in memory)", Measured(sample, KeyFileRead))
            .AddTo(report, kAsTheLeast);
    }
}

}  // namespace bench
