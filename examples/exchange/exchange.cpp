// One process produces items and another consumes them, over shared memory and two semaphores. Kill
// either of them and start it again: ring.h tells why nothing hangs, and nothing is lost.
#include <kxcore7/counter.h>
#include <kxcore7/option.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>
#include <string>

#include "meter.h"
#include "ring.h"

namespace {

constexpr const char* kUsage =
    "usage: exchange produce|consume [--count N] [--name NAME]\n"
    "\n"
    "Run one of each, of the same NAME. The producer makes N items, the number that the first one\n"
    "is given, or goes on for ever; both end when the consumer has taken them all. Of several of "
    "a\n"
    "kind one works and the others wait until it has ended or was killed.\n";

struct Task {
    Role role = Role::producer;
    std::uint64_t count = UINT64_MAX;
    std::string name = "kxcore7-exchange";
};

std::optional<Task> TaskOf(int argc, char** argv) {
    static constexpr KXOptionRecord kOptions[] = {
        {"count", KX_OPTION_ARGUMENT, 'c'}, {"name", KX_OPTION_ARGUMENT, 'n'}, {nullptr, 0, 0}};
    Task task;
    for (int option; (option = KXGetOption(argc, argv, kOptions, nullptr)) != KX_OPTION_END;) {
        if (option == KX_OPTION_ERROR) return {};
        if (option == 'c') task.count = std::strtoull(KXGetOptionArgument, nullptr, 10);
        if (option == 'n') task.name = KXGetOptionArgument;
    }
    if (argc - KXGetOptionIndex != 1) return {};
    const std::string role = argv[KXGetOptionIndex];
    if (role != "produce" && role != "consume") return {};
    if (role == "consume") task.role = Role::consumer;
    return task.count != 0 ? std::optional(task) : std::nullopt;
}

// What the item of that number holds, which is what a killed producer's successor makes again.
void Fill(Item& item, std::uint64_t number) {
    std::uint64_t state = number;
    for (std::uint64_t& word : item.words) {
        word = state;
        state = state * 6364136223846793005u + 1442695040888963407u;
    }
}

// So that items out of their order don't add up to the same.
std::uint64_t SumOf(const Item& item, std::uint64_t number) {
    std::uint64_t sum = number;
    for (const std::uint64_t word : item.words) sum = sum * 31 + word;
    return sum;
}

void Produce(Ring& ring, std::uint64_t count) {
    ring.Announce(count);
    while (Item* const item = ring.Next()) {
        Fill(*item, ring.Done());
        ring.Commit(SumOf(*item, ring.Done()));
    }
    ring.AwaitOther();
}

void Consume(Ring& ring) {
    while (const Item* const item = ring.Next()) {
        if (item->words[0] != ring.Done()) throw std::runtime_error("an item out of its order");
        ring.Commit(SumOf(*item, ring.Done()));
    }
}

void Run(const Task& task) {
    const char* const role = task.role == Role::producer ? "producer" : "consumer";
    Ring ring(task.name, task.role);
    const std::uint64_t first = ring.Done();
    const std::int64_t start = KXPerfGetCount();
    {
        const Meter meter(ring, role);
        if (task.role == Role::producer) {
            Produce(ring, task.count);
        } else {
            Consume(ring);
        }
    }
    const double seconds =
        static_cast<double>(KXPerfGetCount() - start) / static_cast<double>(KXPerfGetFreq());
    const std::uint64_t own = ring.Done() - first;
    std::printf("%s: %" PRIu64 " items, sum %016" PRIx64 "; %" PRIu64
                " of them by this process, %.0f items/s, %.1f MiB/s\n",
                role, ring.Done(), ring.Sum(), own, static_cast<double>(own) / seconds,
                Mebibytes(own) / seconds);
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<Task> task = TaskOf(argc, argv);
    if (!task) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    try {
        Run(*task);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "exchange: %s\n", error.what());
        return 1;
    }
}
