// The order in which the singletons come and go, watched at the library's own locks: the linker
// sends every call of KXMutexCreate and KXMutexDestroy through here (--wrap).
#include <kxcore7/mutex.h>

#include <string>
#include <vector>

#include "frame/global_data.h"
#include "frame/startup.h"
#include "locks/mutex.h"
#include "platform/entry.h"
#include "support/results.h"

extern "C" {
KXResult __real_KXMutexCreate(const char* name, uint32_t flags, KXMutexHandle* out);
KXResult __real_KXMutexDestroy(KXMutexHandle handle);
KXResult __wrap_KXMutexCreate(const char* name, uint32_t flags, KXMutexHandle* out);
KXResult __wrap_KXMutexDestroy(KXMutexHandle handle);
}

namespace {

using kx::core::g_data;

std::vector<std::string> g_events;
std::string g_refused;  // the lock that can't be made

// The singletons that exist at this moment, a letter each in order of creation.
std::string Alive() {
    std::string alive;
    if (g_data.mutexProvider != nullptr) alive += 'p';
    if (g_data.lockStatManager != nullptr) alive += 's';
    if (g_data.m_debugMutex != nullptr) alive += 'd';
    if (g_data.moduleManager != nullptr) alive += 'm';
    if (g_data.clientData != nullptr) alive += 'c';
    return alive;
}

}  // namespace

KXResult __wrap_KXMutexCreate(const char* name, uint32_t flags, KXMutexHandle* out) {
    g_events.push_back("create " + std::string(name) + " " + std::to_string(flags) + " " + Alive());
    if (name == g_refused) {
        *out = KX_INVALID_HANDLE;
        return KX_E_ACCESSDENIED;
    }
    return __real_KXMutexCreate(name, flags, out);
}

KXResult __wrap_KXMutexDestroy(KXMutexHandle handle) {
    g_events.push_back("destroy " + reinterpret_cast<IMutex*>(handle)->GetName() + " " + Alive());
    return __real_KXMutexDestroy(handle);
}

TEST(SingletonOrder, CreationIsForcedByWhoNeedsLocksAndStatistics) {
    g_events.clear();
    ASSERT_RESULT(KX_S_OK, kx::core::KXCoreInit());
    EXPECT_EQ(std::vector<std::string>({
                  "create CKXLockStatManager::m_mutex 16 p",
                  "create CKXGlobalData::m_debugMutex 16 ps",
                  "create CKXModuleManager::m_setLock 0 psd",
                  "create CKXProcessManager::m_setMutex 0 psdm",
                  "create CKXThreadManager::m_mapMutex 0 psdm",
                  "create CKXFactoryManager::m_mapMutex 0 psdm",
              }),
              g_events);
    EXPECT_EQ("psdmc", Alive());
    kx::core::KXCoreTerm();
}

TEST(SingletonOrder, DestructionIsNotItsReverse) {
    ASSERT_RESULT(KX_S_OK, kx::core::KXCoreInit());
    g_events.clear();
    ASSERT_RESULT(KX_S_OK, kx::core::KXCoreTerm());
    EXPECT_EQ(std::vector<std::string>({
                  "destroy CKXFactoryManager::m_mapMutex psdmc",
                  "destroy CKXThreadManager::m_mapMutex psdmc",
                  "destroy CKXProcessManager::m_setMutex psdmc",
                  "destroy CKXModuleManager::m_setLock psdm",
                  "destroy CKXGlobalData::m_debugMutex psd",
                  "destroy CKXLockStatManager::m_mutex s",
              }),
              g_events)
        << "the provider goes before the statistics manager, which is the last";
    EXPECT_EQ("", Alive());
}

TEST(SingletonOrder, ADebugLockThatCantBeMadeEndsStartUpThereAndTheLoadStillSucceeds) {
    g_refused = "CKXGlobalData::m_debugMutex";
    EXPECT_RESULT(KX_E_ACCESSDENIED, kx::core::KXCoreInit());
    EXPECT_EQ("ps", Alive());
    EXPECT_RESULT(KX_S_OK, kx::core::KXCoreTerm());
    EXPECT_EQ("", Alive());
    EXPECT_EQ(1, kx::core::LibraryMain(nullptr, kx::core::kProcessAttach));
    EXPECT_EQ(1, kx::core::LibraryMain(nullptr, kx::core::kProcessDetach));
    g_refused.clear();
}
