// Named objects among processes that are killed while they open, post, wait and close.
#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "support/named_objects.h"
#include "support/waiting_thread.h"

using namespace kx::test;

namespace {

constexpr int kRounds = 8;
constexpr int kWorkers = 3;

// How many files have the system's name of an object in their first page.
int FilesOf(const std::string& systemName) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/dev/shm")) {
        if (!entry.is_regular_file()) continue;
        std::ifstream file(entry.path(), std::ios::binary);
        std::string page(4096, '\0');
        file.read(page.data(), static_cast<std::streamsize>(page.size()));
        if (page.find(systemName) != std::string::npos) ++count;
    }
    return count;
}

class KilledProcesses : public ::testing::Test {
  protected:
    std::vector<ObjectWorker> Storm(std::uint32_t round) const {
        std::vector<ObjectWorker> workers;
        for (std::uint32_t i = 0; i < kWorkers; ++i) {
            workers.emplace_back(std::vector<std::string>{"sem", m_name, "1", "storm",
                                                          std::to_string(round * kWorkers + i)});
        }
        for (ObjectWorker& worker : workers) worker.ExpectLine(KX_S_OK);
        return workers;
    }

    // For a while that the seed decides: long enough for some of the workers' turns.
    void LetThemWork(KXSemaphoreHandle semaphore) {
        const auto turns = m_random() % 300;
        for (unsigned long turn = 0; turn < turns; ++turn) {
            KXNamedSemPost(semaphore);
            KXNamedSemTryWait(semaphore);
            if (turn % 8 == 0) std::this_thread::yield();
        }
    }

    const std::string m_name = UniqueName();
    std::minstd_rand m_random{4711};
};

}  // namespace

TEST_F(KilledProcesses, LeaveSurvivorsOneCounterAndNobodyAsleepBesideACount) {
    {
        const NamedSemaphore one(m_name, 1);
        const NamedSemaphore two(m_name, 1);
        for (std::uint32_t round = 0; round < kRounds; ++round) {
            std::vector<ObjectWorker> workers = Storm(round);
            LetThemWork(one);
            WaitingThread waiter([&] { EXPECT_RESULT(KX_S_OK, KXNamedSemWait(two)); });
            for (ObjectWorker& worker : workers) worker.Kill();
            if (waiter.WaitUntilAsleepOrEnded()) {
                EXPECT_RESULT(KX_E_FAIL, KXNamedSemTryWait(one)) << "round " << round;
                EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one));
            }
            waiter.Join();
            Drain(one);
            EXPECT_EQ(0, Drain(two));
            EXPECT_RESULT(KX_S_OK, KXNamedSemPost(two));
            EXPECT_EQ(1, Drain(one));
        }
    }
    EXPECT_EQ(0, FilesOf("SEM:" + m_name));
}

TEST_F(KilledProcesses, LeaveNothingWhenAllAreGone) {
    for (std::uint32_t round = 0; round < kRounds; ++round) {
        std::vector<ObjectWorker> workers = Storm(round);
        {
            const NamedSemaphore semaphore(m_name, 1);
            LetThemWork(semaphore);
        }
        for (ObjectWorker& worker : workers) worker.Kill();
        const NamedSemaphore semaphore(m_name, round);
        EXPECT_EQ(static_cast<int>(round), Drain(semaphore)) << "its own count";
    }
    EXPECT_EQ(0, FilesOf("SEM:" + m_name));
}

TEST_F(KilledProcesses, NeverLetTwoIntoALock) {
    for (int round = 0; round < kRounds; ++round) {
        const SharedMemory memory(m_name, KX_FILE_CREATE, 2);
        const SharedView view(memory);
        const NamedSemaphore lock(m_name, 1);
        std::vector<ObjectWorker> workers;
        for (int i = 0; i < kWorkers; ++i) {
            workers.emplace_back(std::vector<std::string>{"sem", m_name, "1", "shm", m_name,
                                                          "40000000", "0", "attach", "40000000",
                                                          "count", "0", "4000000000"});
        }
        for (ObjectWorker& worker : workers) {
            for (int line = 0; line < 3; ++line) EXPECT_NE("", worker.ReadLine());
        }
        const auto turns = m_random() % 50;
        for (unsigned long turn = 0; turn < turns; ++turn) std::this_thread::yield();
        for (ObjectWorker& worker : workers) {
            worker.Kill();
            for (std::string line; !(line = worker.ReadLine()).empty();) {
                ADD_FAILURE() << line << " in round " << round;
            }
        }
        EXPECT_LE(Drain(lock), 1) << "one, unless its holder was killed";
    }
    EXPECT_EQ(0, FilesOf("SEM:" + m_name) + FilesOf("SHM:" + m_name));
}
