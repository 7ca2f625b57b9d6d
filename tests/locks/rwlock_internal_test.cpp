// Reader-writer locks where memory runs out.
#include "locks/rwlock.h"

#include <memory>
#include <vector>

#include "support/failing_new.h"
#include "support/rwlock_user.h"

using kx::test::FailingNew;
using kx::test::RWLock;
using kx::test::RWLockState;
using kx::test::RWLockUser;
using kx::test::StateOf;

namespace {

// Opens a private member to these tests: access is not checked in an explicit instantiation.
template <auto member>
struct Opened {
    friend auto& ArrayLockOf(CKXRWLockImpl& lock) { return lock.*member; }
};
template struct Opened<&CKXRWLockImpl::m_arrayLock>;
auto& ArrayLockOf(CKXRWLockImpl& lock);

KXMutexHandle ArrayLockOf(KXRWLockHandle lock) {
    return ArrayLockOf(*reinterpret_cast<CKXRWLockImpl*>(lock)).Get();
}

constexpr RWLockUser::Operation kOperations[] = {KXRWLockAcquireRead,     KXRWLockTryAcquireRead,
                                                 KXRWLockReleaseRead,     KXRWLockAcquireWrite,
                                                 KXRWLockTryAcquireWrite, KXRWLockReleaseWrite};

constexpr const char* kLongName = "a name too long to be held inside a string";

// Creates a lock with one allocation that fails.
KXResult CreateWithout(int allocation, KXRWLockHandle* lock) {
    const FailingNew failing(allocation, 1);
    return KXRWLockCreate(kLongName, 0, lock);
}

KXResult ReadOutOfMemory(KXRWLockHandle lock) {
    const FailingNew failing;
    return KXRWLockAcquireRead(lock);
}
KXResult TryReadOutOfMemory(KXRWLockHandle lock) {
    const FailingNew failing;
    return KXRWLockTryAcquireRead(lock);
}

using Users = std::vector<std::unique_ptr<RWLockUser>>;

void AddReaders(Users& users, KXRWLockHandle lock, std::size_t count) {
    while (users.size() < count) {
        users.push_back(std::make_unique<RWLockUser>(lock));
        EXPECT_RESULT(KX_S_OK, (*users.back())(KXRWLockAcquireRead));
    }
}

}  // namespace

// The inner mutexes alone may be missing: what fails there shows when the lock is asked for.
TEST(RWLockOutOfMemory, AtCreationEitherThereIsNoLockOrItRefusesEveryOperation) {
    int refused = 0;
    int broken = 0;
    for (int allocation = 0;; ++allocation) {
        KXRWLockHandle lock = 0;
        const KXResult result = CreateWithout(allocation, &lock);
        if (result < 0) {
            EXPECT_RESULT(KX_E_OUTOFMEMORY, result);
            EXPECT_EQ(KX_INVALID_HANDLE, lock);
            ++refused;
            continue;
        }
        const bool whole = KXRWLockTryAcquireWrite(lock) >= 0;
        if (whole) {
            EXPECT_RESULT(KX_S_OK, KXRWLockReleaseWrite(lock));
            EXPECT_EQ(RWLockState::kFree, StateOf(lock));
        } else {
            for (const auto operation : kOperations) EXPECT_RESULT(KX_E_FAIL, operation(lock));
            ++broken;
        }
        EXPECT_RESULT(KX_S_OK, KXRWLockDestroy(lock));
        if (whole) break;
    }
    EXPECT_GT(refused, 3) << "the object, its name, the gate, room for readers";
    EXPECT_GE(broken, 2) << "each of the two mutexes";
}

TEST(RWLockOutOfMemory, EightReadersNeedNone) {
    const RWLock lock;
    Users users;
    for (int i = 0; i < 8; ++i) {
        users.push_back(std::make_unique<RWLockUser>(lock));
        EXPECT_RESULT(KX_S_OK, (*users.back())(i % 2 == 0 ? ReadOutOfMemory : TryReadOutOfMemory));
    }
    for (const auto& user : users) EXPECT_RESULT(KX_S_OK, (*user)(KXRWLockReleaseRead));
    EXPECT_EQ(RWLockState::kFree, StateOf(lock));
}

TEST(RWLockOutOfMemory, RoomGrowsByHalf) {
    for (const std::size_t full : {8u, 12u, 18u, 27u}) {
        const RWLock lock;
        Users users;
        AddReaders(users, lock, full - 1);
        RWLockUser last(lock), tooMany(lock);
        EXPECT_RESULT(KX_S_OK, last(ReadOutOfMemory)) << full;
        EXPECT_RESULT(KX_E_OUTOFMEMORY, tooMany(ReadOutOfMemory)) << full;
    }
}

TEST(RWLockOutOfMemory, AReaderWithoutRoomLeavesTheLockUnusable) {
    for (const auto read : {ReadOutOfMemory, TryReadOutOfMemory}) {
        const RWLock lock;
        Users users;
        AddReaders(users, lock, 8);
        RWLockUser ninth(lock), stranger(lock);
        EXPECT_RESULT(KX_E_OUTOFMEMORY, ninth(read));
        EXPECT_RESULT(KX_E_FAIL, stranger(KXRWLockTryAcquireRead));
        EXPECT_RESULT(KX_E_FAIL, stranger(KXRWLockTryAcquireWrite));
        EXPECT_RESULT(KX_E_FAIL, (*users[0])(KXRWLockTryAcquireRead)) << "not even a reader";
        EXPECT_RESULT(KX_E_FAIL, ninth(KXRWLockReleaseRead)) << "it has got nothing";
    }
}

TEST(RWLockOutOfMemory, AReaderThatReadsAlreadyNeedsNone) {
    const RWLock lock;
    Users users;
    AddReaders(users, lock, 8);
    EXPECT_RESULT(KX_S_OK, (*users[7])(ReadOutOfMemory));
    EXPECT_RESULT(KX_S_OK, (*users[7])(TryReadOutOfMemory));
}

TEST(RWLockOutOfMemory, AWriterNeedsNone) {
    const RWLock lock;
    const FailingNew failing;
    EXPECT_RESULT(KX_S_OK, KXRWLockAcquireWrite(lock));
    EXPECT_RESULT(KX_S_OK, KXRWLockAcquireRead(lock));
    EXPECT_RESULT(KX_S_OK, KXRWLockReleaseRead(lock));
    EXPECT_RESULT(KX_S_OK, KXRWLockReleaseWrite(lock));
}

// A try promises no more than not to wait.
TEST(RWLockObject, TriesFailWhileAnotherThreadIsInsideForAnInstant) {
    const RWLock lock;
    RWLockUser inside(lock), reader(lock), stranger(lock);
    EXPECT_RESULT(KX_S_OK, reader(KXRWLockAcquireRead));
    EXPECT_RESULT(KX_S_OK, inside.Thread().Do([&] { return KXMutexAcquire(ArrayLockOf(lock)); }));
    EXPECT_RESULT(KX_E_FAIL, reader(KXRWLockTryAcquireRead));
    EXPECT_RESULT(KX_E_FAIL, reader(KXRWLockTryAcquireWrite));
    EXPECT_RESULT(KX_E_FAIL, stranger(KXRWLockTryAcquireRead));
    EXPECT_RESULT(KX_E_FAIL, stranger(KXRWLockTryAcquireWrite));
    EXPECT_RESULT(KX_S_OK, inside.Thread().Do([&] { return KXMutexRelease(ArrayLockOf(lock)); }));
    EXPECT_RESULT(KX_S_OK, stranger(KXRWLockTryAcquireRead)) << "the tries left nothing behind";
    EXPECT_RESULT(KX_S_OK, stranger(KXRWLockReleaseRead));
    EXPECT_RESULT(KX_S_OK, reader(KXRWLockTryAcquireWrite));
    EXPECT_RESULT(KX_S_OK, reader(KXRWLockReleaseWrite));
    EXPECT_RESULT(KX_S_OK, reader(KXRWLockReleaseRead));
    EXPECT_RESULT(KX_E_FAIL, reader(KXRWLockReleaseRead));
    EXPECT_EQ(RWLockState::kFree, StateOf(lock));
}
