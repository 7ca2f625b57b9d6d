// Start-up and shutdown, driven by hand. Each test begins and ends with the library not started.
#include "frame/startup.h"

#include <kxcore7/component.h>
#include <kxcore7/memory.h>
#include <kxcore7/module.h>
#include <kxcore7/mutex.h>

#include "frame/global_data.h"
#include "locks/mutex.h"
#include "platform/entry.h"
#include "support/failing_new.h"
#include "support/results.h"

using namespace kx::core;
using kx::test::FailingNew;

namespace {

// The other tests of this program run in a started library: it is stopped around these.
class Startup : public ::testing::Test {
  protected:
    void SetUp() override {
        LibraryMain(nullptr, kProcessDetach);
        ASSERT_EQ(0, g_data.attachCount);
        g_data.allocator = nullptr;
    }
    void TearDown() override {
        ASSERT_EQ(0, g_data.attachCount);
        LibraryMain(nullptr, kProcessAttach);
    }

    // Whether the system's allocator goes when nobody holds it; Windows' own never does.
    static bool AllocatorGoesWithItsLastReference() {
        kx::platform::SharedAllocator* allocator = nullptr;
        EXPECT_RESULT(KX_S_OK, kx::platform::GetSharedAllocator(&allocator));
        return allocator->Release() == 0;
    }

    static bool NothingIsBuilt() {
        return g_data.mutexProvider == nullptr && g_data.lockStatManager == nullptr &&
               g_data.m_debugMutex == nullptr && g_data.moduleManager == nullptr &&
               g_data.clientData == nullptr;
    }
    static bool EverythingIsBuilt() {
        return g_data.mutexProvider != nullptr && g_data.lockStatManager != nullptr &&
               g_data.m_debugMutex != nullptr && g_data.moduleManager != nullptr &&
               g_data.clientData != nullptr && g_data.allocator != nullptr;
    }
};

}  // namespace

TEST_F(Startup, BuildsEverythingAndShutdownTakesItDown) {
    EXPECT_TRUE(NothingIsBuilt());
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    EXPECT_TRUE(EverythingIsBuilt());
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    EXPECT_TRUE(NothingIsBuilt());
    EXPECT_EQ(AllocatorGoesWithItsLastReference(), g_data.allocator == nullptr);
}

TEST_F(Startup, ASecondOneOnlyCounts) {
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    IMutexProvider* const provider = g_data.mutexProvider;
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    EXPECT_EQ(2, g_data.attachCount);
    EXPECT_EQ(provider, g_data.mutexProvider);
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    EXPECT_EQ(provider, g_data.mutexProvider);
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    EXPECT_TRUE(NothingIsBuilt());
}

TEST_F(Startup, AShutdownWithoutOneFailsAndTouchesNothing) {
    EXPECT_RESULT(KX_E_FAIL, KXCoreTerm());
    EXPECT_EQ(0, g_data.attachCount);
}

TEST_F(Startup, CanBeginAgainAfterShutdown) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_RESULT(KX_S_OK, KXCoreInit());
        KXMutexHandle mutex = 0;
        EXPECT_RESULT(KX_S_OK, KXMutexCreate("m", 0, &mutex));
        EXPECT_RESULT(KX_S_OK, KXMutexDestroy(mutex));
        EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    }
}

TEST_F(Startup, EntryPointAnnouncesTheLibraryAsAModuleAndThreadsChangeNothing) {
    int instance = 0;
    EXPECT_EQ(1, LibraryMain(&instance, kProcessAttach));
    EXPECT_EQ(&instance, g_data.instance);
    KXLibraryHandle library = 77;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND,
                  KXModuleLibOpen(OwnModule(), u"/nowhere/lib.so", &library))
        << "past the guard";
    for (const std::uint32_t reason : {kThreadAttach, kThreadDetach, 7u}) {
        EXPECT_EQ(1, LibraryMain(&instance, reason));
        EXPECT_EQ(1, g_data.attachCount);
        EXPECT_TRUE(EverythingIsBuilt());
    }
    EXPECT_EQ(1, LibraryMain(&instance, kProcessDetach));
    EXPECT_TRUE(NothingIsBuilt());
}

TEST_F(Startup, OutOfMemoryEndsItWithThatCodeAndKeepsWhatWasBuilt) {
    int failures = 0;
    for (int allowed = 0;; ++allowed) {
        KXResult result = KX_S_OK;
        {
            const FailingNew failing(allowed);
            result = KXCoreInit();
        }
        const bool complete = EverythingIsBuilt();
        EXPECT_RESULT(KX_S_OK, KXCoreTerm());
        EXPECT_TRUE(NothingIsBuilt());
        if (complete) break;
        ++failures;
        // The statistics manager does not look at the result for its own lock.
        EXPECT_TRUE(result == KX_E_OUTOFMEMORY || result == KX_S_OK) << kx::test::Hex(result);
    }
    EXPECT_GT(failures, 5);
}

namespace {

int g_hookRuns = 0;

KXResult CountingHook() {
    ++g_hookRuns;
    return KX_S_OK;
}

KXResult FailingHook() {
    return KX_E_ABORT;
}
KXResult PassingHook() {
    return KX_ERROR_TIMEOUT & 0x7FFFFFFF;
}

}  // namespace

TEST_F(Startup, AReservedHookThatFailsEndsItWithThatResultAndFailsShutdown) {
    g_data.reservedHooks = {nullptr, FailingHook};
    EXPECT_RESULT(KX_E_ABORT, KXCoreInit());
    EXPECT_EQ(nullptr, g_data.allocator) << "the step behind the hooks";
    EXPECT_NE(nullptr, g_data.clientData) << "what was built stays";
    EXPECT_RESULT(KX_E_FAIL, KXCoreTerm());
    EXPECT_TRUE(NothingIsBuilt());
    g_hookRuns = 0;
    g_data.reservedHooks = {FailingHook, CountingHook};
    EXPECT_RESULT(KX_E_ABORT, KXCoreInit());
    EXPECT_EQ(0, g_hookRuns) << "start-up ends at the first failure";
    EXPECT_RESULT(KX_E_FAIL, KXCoreTerm());
    EXPECT_EQ(1, g_hookRuns) << "shutdown runs both";
    g_data.reservedHooks = {PassingHook, nullptr};
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    EXPECT_TRUE(EverythingIsBuilt());
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    g_data.reservedHooks = {};
}

TEST_F(Startup, ALockWithStatisticsThatNobodyDestroyedIsFreedAtShutdown) {
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    KXMutexHandle kept = 0;
    KXMutexHandle destroyed = 0;
    EXPECT_RESULT(KX_S_OK, KXMutexCreate("kept", KX_MUTEX_STATS, &kept));
    EXPECT_RESULT(KX_S_OK, KXMutexCreate("destroyed", KX_MUTEX_STATS, &destroyed));
    EXPECT_RESULT(KX_S_OK, KXMutexDestroy(destroyed));
    // The leak checker, and these references, tell whether the list lets go.
    reinterpret_cast<IMutex*>(kept)->AddReference();
    reinterpret_cast<IMutex*>(destroyed)->AddReference();
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    EXPECT_EQ(0, reinterpret_cast<IMutex*>(kept)->DropReference());
    EXPECT_EQ(0, reinterpret_cast<IMutex*>(destroyed)->DropReference());
}

TEST_F(Startup, WithoutTheStatisticsLockGoesOnAndRefusesLocksWithStatistics) {
    int refusals = 0;
    for (int allowed = 0; allowed < 20; ++allowed) {
        {
            const FailingNew failing(allowed, 1);
            KXCoreInit();
        }
        if (EverythingIsBuilt()) {
            KXMutexHandle mutex = 0;
            const KXResult result = KXMutexCreate("m", KX_MUTEX_STATS, &mutex);
            EXPECT_TRUE(result == KX_S_OK || result == KX_E_FAIL) << kx::test::Hex(result);
            refusals += result == KX_E_FAIL ? 1 : 0;
            if (result == KX_S_OK) KXMutexDestroy(mutex);
        }
        KXCoreTerm();
    }
    EXPECT_GT(refusals, 0);
}

TEST_F(Startup, KeepsAnAllocatorThatSomebodyElseStillHolds) {
    EXPECT_RESULT(KX_S_OK, KXCoreInit());
    g_data.allocator->AddRef();
    EXPECT_RESULT(KX_S_OK, KXCoreTerm());
    ASSERT_NE(nullptr, g_data.allocator);
    EXPECT_EQ(AllocatorGoesWithItsLastReference(), g_data.allocator->Release() == 0);
}

TEST_F(Startup, BasicServicesWorkWithoutIt) {
    void* block = nullptr;
    EXPECT_RESULT(KX_S_OK, KXMalloc(8, &block));
    EXPECT_RESULT(KX_S_OK, KXFree(block));
    KXGUID guid{};
    EXPECT_RESULT(KX_S_OK, KXComGenerateGUID(&guid));
}
