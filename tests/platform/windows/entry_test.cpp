// The library's marks on its process.
#include <gtest/gtest.h>
#include <kxcore7/mutex.h>
#include <kxcore7/result.h>
#include <windows.h>

#include <clocale>
#include <thread>

TEST(Loading, StartUpTakesTheLocaleOfTheUser) {
    EXPECT_STRNE("C", std::setlocale(LC_ALL, nullptr));
}

// Clients may use the primitive with the system's own calls.
TEST(Mutex, ThePrimitiveIsACriticalSection) {
    for (const uint32_t flags : {0u, KX_MUTEX_CHECKED, KX_MUTEX_SPIN}) {
        KXMutexHandle mutex = 0;
        ASSERT_EQ(0, KXMutexCreate("native", flags, &mutex));
        auto* const section = static_cast<CRITICAL_SECTION*>(KXMutexGetOSMutex(mutex));
        EnterCriticalSection(section);
        KXResult result = 0;
        std::thread([&] { result = KXMutexTryAcquire(mutex); }).join();
        EXPECT_EQ(KX_E_FAIL, result);
        LeaveCriticalSection(section);
        EXPECT_EQ(flags == KX_MUTEX_SPIN ? 4000u : 0u, section->SpinCount & 0xFFFFFF);
        KXMutexDestroy(mutex);
    }
}
