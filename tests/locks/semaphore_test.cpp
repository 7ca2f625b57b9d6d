#include <kxcore7/semaphore.h>

#include <atomic>
#include <string>
#include <thread>

#include "support/named_objects.h"
#include "support/results.h"
#include "support/waitables.h"
#include "support/waiting_line.h"

using kx::test::Drain;
using kx::test::Line;
using kx::test::Semaphore;
using kx::test::WaitingThread;

namespace {

constexpr int kWaiters = 4;

Line LineFor(KXSemaphoreHandle semaphore, int count) {
    return {count, [semaphore] { return KXSemaphoreWait(semaphore); }};
}

}  // namespace

TEST(Semaphore, HasTheCountThatItWasMadeWith) {
    for (const int count : {0, 1, 2, KX_SEM_MAX - 1, KX_SEM_MAX}) {
        const Semaphore semaphore(static_cast<std::uint32_t>(count));
        EXPECT_EQ(count, Drain(semaphore));
    }
}

TEST(Semaphore, ACountAboveTheCeilingIsRefused) {
    for (const std::uint32_t count : {32768u, 65536u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu}) {
        KXSemaphoreHandle handle = 77;
        EXPECT_RESULT(KX_E_FAIL, KXSemaphoreCreate(count, "test", 0, &handle)) << count;
        EXPECT_EQ(KX_INVALID_HANDLE, handle) << count;
    }
}

TEST(Semaphore, OfACountOfTwoGivesTwo) {
    const Semaphore semaphore(2);
    EXPECT_RESULT(KX_S_OK, KXSemaphoreTryWait(semaphore));
    EXPECT_RESULT(KX_S_OK, KXSemaphoreTryWait(semaphore));
    EXPECT_RESULT(0x80004005, KXSemaphoreTryWait(semaphore));
    EXPECT_RESULT(0x80004005, KXSemaphoreTryWait(semaphore)) << "a try that failed took nothing";
    EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore));
    EXPECT_EQ(1, Drain(semaphore));
}

TEST(Semaphore, AWaitTakesOne) {
    const Semaphore semaphore(3);
    EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(semaphore));
    EXPECT_EQ(2, Drain(semaphore));
}

TEST(Semaphore, APostAtTheCeilingFailsAndChangesNothing) {
    const Semaphore semaphore(KX_SEM_MAX - 1);
    EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore));
    EXPECT_RESULT(0x80004005, KXSemaphorePost(semaphore));
    EXPECT_RESULT(0x80004005, KXSemaphorePost(semaphore));
    EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(semaphore));
    EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore)) << "there is room again";
    EXPECT_RESULT(0x80004005, KXSemaphorePost(semaphore));
    EXPECT_EQ(KX_SEM_MAX, Drain(semaphore));
}

TEST(Semaphore, ItsValueIsUnknown) {
    for (const std::uint32_t count : {0u, 1u, std::uint32_t{KX_SEM_MAX}}) {
        const Semaphore semaphore(count);
        std::int32_t value = 77;
        EXPECT_RESULT(KX_S_OK, KXSemaphoreGetValue(semaphore, &value));
        EXPECT_EQ(-1, value);
    }
}

TEST(Semaphore, TheNameMayBeNullAndAnything) {
    for (const std::string& name : {std::string(), std::string("a"), std::string(5000, 'n')}) {
        const Semaphore semaphore(1, 0, name.c_str());
        EXPECT_EQ(1, Drain(semaphore));
    }
    const Semaphore semaphore(1, 0, nullptr);
    EXPECT_EQ(1, Drain(semaphore));
}

TEST(Semaphore, OfOneNameAreTwo) {
    const Semaphore one(0, 0, "same");
    const Semaphore two(0, 0, "same");
    EXPECT_NE(one, two);
    KXSemaphorePost(one);
    EXPECT_EQ(0, Drain(two));
}

TEST(Semaphore, UnknownFlagsHaveNoEffect) {
    for (const std::uint32_t flags : {1u, 4u, 0x80000000u, ~3u}) {
        const Semaphore semaphore(2, flags);
        KXSemaphorePost(semaphore);
        EXPECT_EQ(3, Drain(semaphore));
    }
}

TEST(Semaphore, DestroyAcceptsNull) {
    EXPECT_RESULT(KX_S_OK, KXSemaphoreDestroy(0));
}

TEST(Semaphore, APostLetsTheFirstInLineThrough) {
    const Semaphore semaphore(0);
    Line line = LineFor(semaphore, kWaiters);
    for (int passed = 0; passed < kWaiters; ++passed) {
        EXPECT_EQ(passed, line.Passed());
        EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore));
        line.WaitUntilPassed(passed + 1);
        line.WaitUntilAsleep(passed + 1);
        EXPECT_EQ(passed + 1, line.Passed()) << "one and no more";
    }
    line.Join();
    for (int i = 0; i < kWaiters; ++i) EXPECT_EQ(i, line.Passed(i)) << "first in line, first";
    EXPECT_EQ(0, Drain(semaphore));
}

TEST(Semaphore, PostsInARowLetAsManyThroughAndKeepTheRest) {
    const Semaphore semaphore(0);
    Line line = LineFor(semaphore, kWaiters);
    for (int i = 0; i < kWaiters + 3; ++i) EXPECT_RESULT(KX_S_OK, KXSemaphorePost(semaphore));
    line.Join();
    EXPECT_EQ(3, Drain(semaphore));
}

TEST(Semaphore, WhoPostsDoesNotTakeWhatItGave) {
    const Semaphore semaphore(0);
    Line line = LineFor(semaphore, 2);
    KXSemaphorePost(semaphore);
    EXPECT_RESULT(KX_E_FAIL, KXSemaphoreTryWait(semaphore));
    KXSemaphorePost(semaphore);
    EXPECT_RESULT(KX_E_FAIL, KXSemaphoreTryWait(semaphore));
    line.Join();
}

TEST(Semaphore, WhoPostsAndWaitsIsBehindThoseInLine) {
    const Semaphore semaphore(0);
    std::atomic<int> passed{0};
    WaitingThread first([&] {
        KXSemaphoreWait(semaphore);
        ++passed;
        KXSemaphorePost(semaphore);
    });
    first.WaitUntilAsleep();
    KXSemaphorePost(semaphore);
    EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(semaphore));
    EXPECT_EQ(1, passed);
}
