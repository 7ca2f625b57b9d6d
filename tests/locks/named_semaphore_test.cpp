#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/named_objects.h"
#include "support/waiting_line.h"

using namespace kx::test;

namespace {

class NamedSemaphores : public ::testing::Test {
  protected:
    const std::string m_name = UniqueName();
};

}  // namespace

TEST_F(NamedSemaphores, OfOneNameAreOneCounter) {
    const NamedSemaphore one(m_name);
    const NamedSemaphore two(m_name);
    EXPECT_NE(one, two);
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(two));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(two));
    EXPECT_EQ(3, Drain(one));
    EXPECT_EQ(0, Drain(two));
}

TEST_F(NamedSemaphores, APostThroughOneHandleWakesAWaitThroughAnother) {
    const NamedSemaphore one(m_name);
    const NamedSemaphore two(m_name);
    WaitingThread waiter([&] { EXPECT_RESULT(KX_S_OK, KXNamedSemWait(two)); });
    waiter.WaitUntilAsleep();
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one));
    waiter.Join();
    EXPECT_EQ(0, Drain(one));
}

TEST_F(NamedSemaphores, LetAsManyThroughAsThereArePosts) {
    constexpr int kWaiters = 4;
    const NamedSemaphore semaphore(m_name);
    const NamedSemaphore poster(m_name);
    Line line{kWaiters, [&] { return KXNamedSemWait(semaphore); }};
    for (int passed = 1; passed <= kWaiters; ++passed) {
        EXPECT_RESULT(KX_S_OK, KXNamedSemPost(poster));
        line.WaitUntilPassed(passed);
        EXPECT_EQ(passed, line.Passed()) << "one and no more";
    }
    line.Join();
    EXPECT_EQ(0, Drain(semaphore));
}

TEST_F(NamedSemaphores, HaveTheCountOfWhoMadeThem) {
    for (const int count : {0, 1, 2, KX_SEM_MAX - 1, KX_SEM_MAX}) {
        const NamedSemaphore first(m_name, static_cast<std::uint32_t>(count));
        const NamedSemaphore second(m_name, 3);
        EXPECT_EQ(count, Drain(second)) << "the second open's count has no effect";
    }
}

TEST_F(NamedSemaphores, ACountAboveTheCeilingIsRefusedAlsoWhereTheNameExists) {
    for (const bool exists : {false, true}) {
        KXSemaphoreHandle keeper = 0;
        if (exists) {
            ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(m_name.c_str(), 1, &keeper));
        }
        for (const std::uint32_t count : {32768u, 65536u, 0x80000000u, 0xFFFFFFFFu}) {
            KXSemaphoreHandle handle = 77;
            EXPECT_RESULT(KX_E_FAIL, KXNamedSemOpen(m_name.c_str(), count, &handle)) << count;
            EXPECT_EQ(KX_INVALID_HANDLE, handle) << count;
        }
        KXNamedSemClose(keeper);
    }
}

TEST_F(NamedSemaphores, APostAtTheCeilingFailsAndChangesNothing) {
    const NamedSemaphore one(m_name, KX_SEM_MAX - 1);
    const NamedSemaphore two(m_name);
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one));
    EXPECT_RESULT(0x80004005, KXNamedSemPost(two));
    EXPECT_RESULT(0x80004005, KXNamedSemPost(one));
    EXPECT_RESULT(KX_S_OK, KXNamedSemWait(two));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one)) << "there is room again";
    EXPECT_EQ(KX_SEM_MAX, Drain(two));
}

TEST_F(NamedSemaphores, ATryOnACountOfZeroFailsAtOnce) {
    const NamedSemaphore semaphore(m_name);
    EXPECT_RESULT(0x80004005, KXNamedSemTryWait(semaphore));
    EXPECT_RESULT(0x80004005, KXNamedSemTryWait(semaphore));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(semaphore));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(semaphore));
    EXPECT_RESULT(0x80004005, KXNamedSemTryWait(semaphore));
}

TEST_F(NamedSemaphores, TheirValueIsUnknown) {
    for (const std::uint32_t count : {0u, 1u, std::uint32_t{KX_SEM_MAX}}) {
        const NamedSemaphore semaphore(m_name, count);
        std::int32_t value = 77;
        EXPECT_RESULT(KX_S_OK, KXNamedSemGetValue(semaphore, &value));
        EXPECT_EQ(-1, value);
        value = 77;
        EXPECT_RESULT(KX_S_OK, KXSemaphoreGetValue(semaphore, &value));
        EXPECT_EQ(-1, value);
    }
}

TEST_F(NamedSemaphores, CloseAcceptsNull) {
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(0));
}

TEST_F(NamedSemaphores, HandlesOfEitherVocabularyAreOfOneKind) {
    KXSemaphoreHandle created = 0;
    ASSERT_RESULT(KX_S_OK, KXSemaphoreCreate(1, m_name.c_str(), KX_SEM_NAMED, &created));
    KXSemaphoreHandle opened = 0;
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(m_name.c_str(), 0, &opened));
    EXPECT_RESULT(KX_S_OK, KXNamedSemWait(created));
    EXPECT_RESULT(KX_E_FAIL, KXSemaphoreTryWait(opened));
    EXPECT_RESULT(KX_S_OK, KXSemaphorePost(opened));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(created));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(created));
    EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(opened));
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(created));
    EXPECT_RESULT(KX_S_OK, KXSemaphoreDestroy(opened));

    KXSemaphoreHandle own = 0;
    ASSERT_RESULT(KX_S_OK, KXSemaphoreCreate(0, m_name.c_str(), KX_SEM_SHARED, &own));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(own));
    EXPECT_RESULT(KX_S_OK, KXNamedSemWait(own));
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemTryWait(own));
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(own));
}

TEST_F(NamedSemaphores, OnlyTheFlagSharesThem) {
    const NamedSemaphore named(m_name, 2);
    const Semaphore own(5, ~KX_SEM_NAMED, m_name.c_str());
    EXPECT_EQ(5, Drain(own));
    const Semaphore shared(5, ~0u, m_name.c_str());
    EXPECT_EQ(2, Drain(shared));
    EXPECT_EQ(0, Drain(named));
}

// Others may use that name at the same time; like this, everybody posts before it takes.
TEST_F(NamedSemaphores, TheEmptyNameIsANameAndSoIsNull) {
    const NamedSemaphore one("");
    const NamedSemaphore two("");
    const Semaphore null(0, KX_SEM_NAMED, nullptr);
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(one));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(two));
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(two));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(null));
}

TEST_F(NamedSemaphores, NamesAreComparedByteForByte) {
    const std::vector<std::string> names = {m_name,        m_name + "a",   m_name + "A",
                                            m_name + "a ", m_name + "a/",  m_name + "/a",
                                            m_name + "..", m_name + "/..", m_name + "%s?*:|<>"};
    std::vector<std::unique_ptr<NamedSemaphore>> semaphores;
    for (std::size_t i = 0; i < names.size(); ++i) {
        semaphores.push_back(
            std::make_unique<NamedSemaphore>(names[i], static_cast<std::uint32_t>(i)));
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        const NamedSemaphore again(names[i]);
        EXPECT_EQ(static_cast<int>(i), Drain(again)) << names[i];
    }
}

TEST_F(NamedSemaphores, NamesMayBeLong) {
    const std::string name = m_name + std::string(150, 'n');
    const NamedSemaphore one(name, 1);
    const NamedSemaphore other(name + 'x', 2);
    const NamedSemaphore again(name);
    EXPECT_EQ(1, Drain(again));
    EXPECT_EQ(2, Drain(other));
}

TEST_F(NamedSemaphores, AreNotInTheWayOfMemoryOfThatName) {
    const NamedSemaphore semaphore(m_name, 3);
    const SharedMemory memory(m_name, KX_FILE_CREATE | KX_FILE_EXCLUSIVE, 10);
    EXPECT_RESULT(2, memory.Result());
    EXPECT_EQ(3, Drain(semaphore));
}

TEST_F(NamedSemaphores, LiveAsLongAsAnyOfTheirHandles) {
    KXSemaphoreHandle first = 0;
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(m_name.c_str(), 7, &first));
    {
        const NamedSemaphore second(m_name, 1);
        EXPECT_RESULT(KX_S_OK, KXNamedSemClose(first));
        const NamedSemaphore third(m_name, 1);
        EXPECT_EQ(7, Drain(third));
    }
    const NamedSemaphore another(m_name, 2);
    EXPECT_EQ(2, Drain(another)) << "the last handle took it along";
}

TEST_F(NamedSemaphores, CountForManyThreads) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    const NamedSemaphore semaphore(m_name, 2);
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            const NamedSemaphore own(m_name);
            for (int round = 0; round < kRounds; ++round) {
                KXNamedSemWait(own);
                const int now = ++inside;
                if (now > most) most = now;
                if (round % 16 == 0) std::this_thread::yield();
                --inside;
                KXNamedSemPost(own);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_LE(most, 2);
    EXPECT_EQ(2, Drain(semaphore));
}

TEST_F(NamedSemaphores, OfTwoProcessesAreOneCounter) {
    const NamedSemaphore semaphore(m_name, 1);
    ObjectWorker worker({"sem", m_name, "5", "try", "try", "post", "post", "post"});
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(KX_E_FAIL);
    worker.ExpectSuccess();
    EXPECT_EQ(3, Drain(semaphore));
}

TEST_F(NamedSemaphores, ProcessesWaitForEachOther) {
    constexpr int kTurns = 20;
    const NamedSemaphore mine(m_name);
    const NamedSemaphore others(m_name + "'s other");
    std::vector<std::string> words;
    const std::string wait[] = {"sem", m_name + "'s other", "0", "wait", "drop"};
    const std::string post[] = {"sem", m_name, "0", "post", "drop"};
    for (int turn = 0; turn < kTurns; ++turn) {
        words.insert(words.end(), std::begin(wait), std::end(wait));
        words.insert(words.end(), std::begin(post), std::end(post));
    }
    ObjectWorker worker(words);
    for (int turn = 0; turn < kTurns; ++turn) {
        EXPECT_RESULT(KX_S_OK, KXNamedSemPost(others));
        EXPECT_RESULT(KX_S_OK, KXNamedSemWait(mine));
    }
    worker.ExpectSuccess();
    EXPECT_EQ(0, Drain(mine));
    EXPECT_EQ(0, Drain(others));
}

TEST_F(NamedSemaphores, LetOneProcessInAtATime) {
    constexpr int kTimes = 2000;
    const SharedMemory memory(m_name, KX_FILE_CREATE, 2);
    const SharedView view(memory);
    const NamedSemaphore lock(m_name, 1);
    // The memory first: a plain open may tell what the call before it came upon.
    const std::vector<std::string> words = {
        "shm", m_name, "40000000", "0",     "attach", "40000000",
        "sem", m_name, "1",        "count", "0",      std::to_string(kTimes)};
    std::vector<ObjectWorker> workers;
    for (int i = 0; i < 3; ++i) workers.emplace_back(words);
    for (ObjectWorker& worker : workers) {
        worker.ExpectLine(KX_RESULT(2));
        worker.ExpectLine(KX_S_OK);
        worker.ExpectLine(KX_S_OK);
        worker.ExpectLine(KX_S_OK);
        worker.ExpectSuccess();
    }
    EXPECT_EQ(static_cast<unsigned char>(3 * kTimes), view[0]);
    EXPECT_EQ(1, Drain(lock));
}

TEST_F(NamedSemaphores, OfAKilledProcessIsGoneWithIt) {
    ObjectWorker worker({"sem", m_name, "5", "hold"});
    worker.ExpectLine(KX_S_OK);
    worker.Kill();
    const NamedSemaphore semaphore(m_name, 2);
    EXPECT_EQ(2, Drain(semaphore));
}

TEST_F(NamedSemaphores, OfAKilledProcessStaysWithOthers) {
    ObjectWorker worker({"sem", m_name, "5", "try", "hold"});
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(KX_S_OK);
    const NamedSemaphore semaphore(m_name, 2);
    worker.Kill();
    const NamedSemaphore another(m_name, 3);
    EXPECT_EQ(4, Drain(another)) << "what it had taken is gone";
    EXPECT_EQ(0, Drain(semaphore));
}

TEST_F(NamedSemaphores, AProcessKilledWhileItWaitsTakesNothing) {
    const NamedSemaphore semaphore(m_name);
    for (int round = 0; round < 5; ++round) {
        ObjectWorker worker({"sem", m_name, "0", "wait"});
        worker.ExpectLine(KX_S_OK);
        worker.Kill();
        WaitingThread waiter([&] { EXPECT_RESULT(KX_S_OK, KXNamedSemWait(semaphore)); });
        EXPECT_RESULT(KX_S_OK, KXNamedSemPost(semaphore));
        waiter.Join();
    }
    for (int i = 0; i < KX_SEM_MAX; ++i) ASSERT_RESULT(KX_S_OK, KXNamedSemPost(semaphore));
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemPost(semaphore));
}
