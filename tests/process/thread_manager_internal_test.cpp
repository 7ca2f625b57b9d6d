#include "process/thread_manager.h"

#include <kxcore7/thread.h>

#include "support/failing_new.h"
#include "support/results.h"

namespace {

using Record = CKXThreadManager::Record;

constexpr std::uint32_t kId = 0x7FFFFFF0;

Record Add(CKXThreadManager& manager, kx::platform::ThreadHandle handle) {
    manager.Add(kId, handle, CKXThreadManager::MakePlace());
    return manager.Get(kId);
}

}  // namespace

TEST(ThreadManager, RecordsTheThreadThatMakesIt) {
    const CKXThreadManager manager;
    const Record record = manager.Get(kx::platform::CurrentThreadId());
    ASSERT_TRUE(record);
    EXPECT_EQ(kx::platform::CurrentThreadPseudoHandle(), record->m_handle);
    EXPECT_FALSE(record->m_detached);
    EXPECT_FALSE(record->m_finished);
}

TEST(ThreadManager, KeepsARecordUntilItIsBothDetachedAndFinished) {
    CKXThreadManager manager;
    Record record = Add(manager, 1);
    EXPECT_TRUE(manager.MarkDetached(kId, record));
    EXPECT_EQ(record.Get(), manager.Get(kId).Get());
    manager.MarkFinished(kId);
    EXPECT_FALSE(manager.Get(kId));

    record = Add(manager, 2);
    manager.MarkFinished(kId);
    EXPECT_EQ(record.Get(), manager.Get(kId).Get());
    EXPECT_TRUE(manager.MarkDetached(kId, record));
    EXPECT_FALSE(manager.Get(kId));
}

TEST(ThreadManager, GivesUpAHandleOnce) {
    CKXThreadManager manager;
    const Record record = Add(manager, 1);
    EXPECT_TRUE(manager.MarkDetached(kId, record));
    EXPECT_FALSE(manager.MarkDetached(kId, record));
}

TEST(ThreadManager, AnIdThatComesAgainHasTheRecordOfItsNewThread) {
    CKXThreadManager manager;
    const Record returned = Add(manager, 1);
    manager.MarkFinished(kId);
    const Record next = Add(manager, 2);
    EXPECT_NE(returned.Get(), next.Get());
    EXPECT_EQ(2u, next->m_handle);
    EXPECT_FALSE(next->m_finished);
}

TEST(ThreadManager, WhoGivesUpAThreadWhoseIdHasComeAgainLeavesTheNewOneAlone) {
    CKXThreadManager manager;
    const Record returned = Add(manager, 1);
    manager.MarkFinished(kId);
    const Record next = Add(manager, 2);
    EXPECT_TRUE(manager.MarkDetached(kId, returned));
    EXPECT_EQ(next.Get(), manager.Get(kId).Get());
    EXPECT_FALSE(next->m_detached);
}

TEST(ThreadManager, RecordsOutliveItForThoseWhoHoldThem) {
    Record record;
    {
        CKXThreadManager manager;
        record = Add(manager, 1);
    }
    EXPECT_EQ(1u, record->m_handle);
}

TEST(ThreadCreate, LeavesNothingBehindWithoutMemory) {
    for (int allowed = 0;; ++allowed) {
        KXThreadHandle handle = 0;
        std::uint32_t id = 1;
        KXResult result = KX_S_OK;
        {
            const kx::test::FailingNew failing(allowed, 1);
            result = KXThreadCreate([](void*) { return 5u; }, nullptr, 0, 0, &handle, &id);
        }
        if (result == KX_S_OK) {
            EXPECT_GT(allowed, 3);
            EXPECT_RESULT(KX_S_OK, KXThreadJoin(handle, nullptr));
            return;
        }
        EXPECT_RESULT(KX_E_OUTOFMEMORY, result) << allowed;
        EXPECT_EQ(KX_INVALID_THREAD, handle);
        EXPECT_EQ(0u, id);
    }
}
