// The registry shared by processes, and by processes that are killed.
#include <kxcore7/registry.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "support/child_process.h"
#include "support/registry_check.h"
#include "support/results.h"
#include "support/scratch_registry.h"

using namespace kx::test;

namespace {

ChildProcess Worker(const std::string& command, const std::string& key, int count) {
    return {KXTEST_REGISTRY_WORKER, {command, key, std::to_string(count)}};
}

int Found(const std::string& key, int count) {
    ChildProcess reader = Worker("read", key, count);
    const std::string line = reader.ReadLine();
    EXPECT_EQ(0, reader.Wait());
    return line.empty() ? -1 : std::stoi(line);
}

}  // namespace

TEST(RegistryProcesses, WritingAtOnceLoseNothing) {
    constexpr int kWriters = 4;
    constexpr int kValues = 300;
    const ScratchRegistry registry;
    std::vector<ChildProcess> writers;
    for (int i = 0; i < kWriters; ++i) {
        writers.push_back(Worker("write", "Shared\\" + std::to_string(i), kValues));
    }
    for (ChildProcess& writer : writers) {
        while (!writer.ReadLine().empty()) {
        }
        EXPECT_EQ(0, writer.Wait());
    }
    for (int i = 0; i < kWriters; ++i) {
        EXPECT_EQ(kValues, Found("Shared\\" + std::to_string(i), kValues));
    }
}

TEST(RegistryProcesses, ThatAllMakeTheStoreAtOnceAllSucceed) {
    for (int round = 0; round < 25; ++round) {
        const ScratchRegistry registry;
        std::vector<ChildProcess> writers;
        for (int i = 0; i < 6; ++i) writers.push_back(Worker("write", std::to_string(i), 2));
        for (ChildProcess& writer : writers) EXPECT_EQ(0, writer.Wait()) << "round " << round;
        for (int i = 0; i < 6; ++i) EXPECT_EQ(2, Found(std::to_string(i), 2));
    }
}

TEST(RegistryProcesses, WorkingOnOneKeyAtOnceAllSucceed) {
    const ScratchRegistry registry;
    std::vector<ChildProcess> workers;
    for (int i = 0; i < 3; ++i) workers.push_back(Worker("count", "Shared", 200));
    for (ChildProcess& worker : workers) EXPECT_EQ(0, worker.Wait());
}

// A writer is killed at some instruction of some write, many times over: what it reported is there,
// and the store is whole.
TEST(RegistryProcesses, AKilledWriterLeavesEveryValueWhoseCallHadReturned) {
    constexpr int kRounds = 25;
    const ScratchRegistry registry;
    for (int round = 0; round < kRounds; ++round) {
        const std::string key = "Storm\\" + std::to_string(round);
        ChildProcess other = Worker("write", "Other\\" + std::to_string(round), 60);
        ChildProcess writer = Worker("write", key, 1'000'000);
        int reported = -1;
        for (int line = 0; line <= round * 7; ++line) reported = std::stoi(writer.ReadLine());
        writer.Kill();
        for (std::string line; !(line = writer.ReadLine()).empty();) reported = std::stoi(line);
        EXPECT_EQ(ChildProcess::kKilled, writer.Wait());
        EXPECT_EQ(reported + 1, Found(key, reported + 1)) << "round " << round;
        while (!other.ReadLine().empty()) {
        }
        EXPECT_EQ(0, other.Wait()) << "a living writer is not held up by a dead one";
    }
    EXPECT_TRUE(RegistryIsWhole());
}

// The same at the first write of all, when the store itself is made.
TEST(RegistryProcesses, AProcessKilledWhileItMakesTheStoreLeavesOneThatOpens) {
    constexpr int kRounds = 40;
    for (int round = 0; round < kRounds; ++round) {
        const ScratchRegistry registry;
        ChildProcess maker = Worker("write", "Key", 1'000'000);
        std::this_thread::sleep_for(std::chrono::microseconds(150 * round));
        maker.Kill();
        EXPECT_EQ(ChildProcess::kKilled, maker.Wait());
        ChildProcess next = Worker("write", "Key", 3);
        EXPECT_EQ(0, next.Wait()) << "round " << round;
        EXPECT_EQ(3, Found("Key", 3));
    }
}

TEST(RegistryProcesses, ThreadsReadAndWriteAtOnce) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            const std::u16string key =
                u"Threads\\" + std::u16string(1, static_cast<char16_t>(u'a' + i));
            for (int round = 0; round < 50; ++round) {
                const std::u16string text(static_cast<std::size_t>(round), u'x');
                EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_USER, key, u"v", text));
                EXPECT_EQ(text, GetText(KX_HKEY_USER, key, u"v"));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_USER, u"Threads"));
}
