// Counts words with a pool of threads, first into one table under one lock and then into a table of
// parts with a lock each, and writes what the locks measured: kxlockstats.csv shows the difference.
#include <kxcore7/counter.h>
#include <kxcore7/lockstats.h>
#include <kxcore7/option.h>
#include <kxcore7/result.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "worker_pool.h"

namespace {

constexpr const char* kUsage =
    "usage: pool [--threads N] [--tasks N]\n"
    "\n"
    "The threads are as many as the processors, and four at least, if it isn't told; the tasks of\n"
    "2000 words are 200.\n";

constexpr unsigned kWordsATask = 2000;

struct Work {
    unsigned threads = std::max(4u, std::thread::hardware_concurrency());
    unsigned tasks = 200;
};

unsigned NumberOf(const char* word) {
    return static_cast<unsigned>(std::strtoul(word, nullptr, 10));
}

std::optional<Work> WorkOf(int argc, char** argv) {
    static constexpr KXOptionRecord kOptions[] = {
        {"threads", KX_OPTION_ARGUMENT, 'h'}, {"tasks", KX_OPTION_ARGUMENT, 'a'}, {nullptr, 0, 0}};
    Work work;
    for (int option; (option = KXGetOption(argc, argv, kOptions, nullptr)) != KX_OPTION_END;) {
        if (option == KX_OPTION_ERROR) return {};
        (option == 'h' ? work.threads : work.tasks) = NumberOf(KXGetOptionArgument);
    }
    const bool isAll = KXGetOptionIndex == argc;
    return isAll && work.threads != 0 && work.tasks != 0 ? std::optional(work) : std::nullopt;
}

// Some words come often and most seldom, as words do.
std::string WordAt(unsigned seed) {
    const unsigned mixed = seed * 2654435761u;
    return "word" + std::to_string((mixed >> 20) % (1 + (mixed >> 8) % 400));
}

// The table, in so many parts.
template <size_t kParts>
class Table final {
  public:
    void Count(const std::string& word) {
        Part& part = *m_parts[std::hash<std::string>()(word) % kParts];
        const std::lock_guard guard(part.lock);
        ++part.counts[word];
    }

    long Total() {
        long total = 0;
        for (const auto& part : m_parts) {
            const std::lock_guard guard(part->lock);
            for (const auto& [word, count] : part->counts) total += count;
        }
        return total;
    }

  private:
    struct Part {
        explicit Part(size_t number)
            : lock(("Table::m_lock, part " + std::to_string(number) + " of " +
                    std::to_string(kParts))
                       .c_str()) {}
        MeasuredMutex lock;
        std::map<std::string, long> counts;
    };

    static std::array<std::unique_ptr<Part>, kParts> MakeParts() {
        std::array<std::unique_ptr<Part>, kParts> parts;
        for (size_t i = 0; i < kParts; ++i) parts[i] = std::make_unique<Part>(i + 1);
        return parts;
    }

    std::array<std::unique_ptr<Part>, kParts> m_parts = MakeParts();
};

template <size_t kParts>
void CountInParts(const char* title, const Work& work) {
    const long long start = KXPerfGetCountMS();
    {
        Table<kParts> table;
        WorkerPool pool(work.threads);
        for (unsigned task = 0; task < work.tasks; ++task) {
            pool.Give([&table, task] {
                for (unsigned i = 0; i < kWordsATask; ++i) {
                    table.Count(WordAt(task * kWordsATask + i));
                }
            });
        }
        pool.WaitUntilIdle();
        std::printf("%-28s %ld words, %lld ms\n", title, table.Total(),
                    static_cast<long long>(KXPerfGetCountMS()) - start);
    }
    // The locks are destroyed by now, and their numbers still there.
    if (KXDumpLockStats(title, nullptr) < 0) throw std::runtime_error("no report was written");
    KXResetLockStats();
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Work> work = WorkOf(argc, argv);
    if (!work) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        CountInParts<1>("one table", *work);
        CountInParts<16>("a table in 16 parts", *work);
        std::printf("the locks' report is in kxlockstats.csv\n");
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pool: %s\n", error.what());
        return 1;
    }
}
