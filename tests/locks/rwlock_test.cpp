// Who gets a reader-writer lock, who waits for whom, and what stands behind each release. Threads
// are named by what they do: readers, writers, and strangers, who have no hold.
#include <kxcore7/rwlock.h>

#include <memory>
#include <vector>

#include "support/rwlock_user.h"

using kx::test::RWLock;
using kx::test::RWLockState;
using kx::test::RWLockUser;
using kx::test::StateOf;

using enum RWLockState;

namespace {

constexpr auto Read = KXRWLockAcquireRead;
constexpr auto Write = KXRWLockAcquireWrite;
constexpr auto TryRead = KXRWLockTryAcquireRead;
constexpr auto TryWrite = KXRWLockTryAcquireWrite;
constexpr auto EndRead = KXRWLockReleaseRead;
constexpr auto EndWrite = KXRWLockReleaseWrite;

// All of them succeed, one after the other.
void Succeed(RWLockUser& user, std::initializer_list<RWLockUser::Operation> operations) {
    int position = 0;
    for (const auto operation : operations) {
        EXPECT_RESULT(KX_S_OK, user(operation)) << "operation " << position;
        ++position;
    }
}

// Makes a reader whose upgrade had to wait for another reader, and is over.
void LeaveTheGateOpenBehind(RWLockUser& reader, RWLockUser& other) {
    Succeed(reader, {Read});
    Succeed(other, {Read});
    reader.StartsToWait(Write);
    Succeed(other, {EndRead});
    EXPECT_RESULT(KX_S_OK, reader.Finish());
    Succeed(reader, {EndWrite});
}

}  // namespace

// --- Made and destroyed --------------------------------------------------------------------------

TEST(RWLock, IsFreeWhenMade) {
    const RWLock lock;
    EXPECT_NE(KX_INVALID_HANDLE, lock);
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, NullNameAndAnyFlagsMakeTheSameLock) {
    for (const std::uint32_t flags : {0u, 1u, 0x00020000u, 0x80040000u, 0xFFFFFFFFu}) {
        KXRWLockHandle lock = KX_INVALID_HANDLE;
        ASSERT_RESULT(KX_S_OK, KXRWLockCreate(nullptr, flags, &lock));
        EXPECT_RESULT(KX_S_OK, Write(lock));
        EXPECT_RESULT(KX_S_OK, Write(lock)) << "recursive, whatever the flags " << flags;
        EXPECT_EQ(kTaken, StateOf(lock));
        EXPECT_RESULT(KX_S_OK, EndWrite(lock));
        EXPECT_RESULT(KX_S_OK, EndWrite(lock));
        EXPECT_EQ(kFree, StateOf(lock));
        EXPECT_RESULT(KX_S_OK, KXRWLockDestroy(lock));
    }
}

TEST(RWLock, DestroyOfNullIsAccepted) {
    EXPECT_RESULT(KX_S_OK, KXRWLockDestroy(0));
}

TEST(RWLock, DestroyDoesNotAskForHolders) {
    for (const auto operation : {Read, Write}) {
        KXRWLockHandle lock = KX_INVALID_HANDLE;
        ASSERT_RESULT(KX_S_OK, KXRWLockCreate("held", 0, &lock));
        EXPECT_RESULT(KX_S_OK, operation(lock));
        EXPECT_RESULT(KX_S_OK, KXRWLockDestroy(lock));
    }
}

TEST(RWLock, LocksOfOneNameAreTwo) {
    const RWLock one;
    const RWLock two;
    EXPECT_RESULT(KX_S_OK, Write(one));
    EXPECT_EQ(kFree, StateOf(two));
    EXPECT_RESULT(KX_S_OK, EndWrite(one));
}

// --- Reading -------------------------------------------------------------------------------------

TEST(RWLock, ThreeReadsNeedThreeReleases) {
    const RWLock lock;
    RWLockUser reader(lock);
    EXPECT_RESULT(KX_S_OK, reader(Read));
    EXPECT_RESULT(KX_S_OK, reader(TryRead));
    EXPECT_RESULT(KX_S_OK, reader(Read));
    for (int releases = 0; releases < 3; ++releases) {
        EXPECT_EQ(kRead, StateOf(lock)) << releases;
        EXPECT_RESULT(KX_S_OK, reader(EndRead));
    }
    EXPECT_EQ(kFree, StateOf(lock));
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, ReadersReadTogetherAndTheLastFreesTheLock) {
    const RWLock lock;
    RWLockUser a(lock), b(lock), c(lock);
    Succeed(a, {Read, Read});
    Succeed(b, {TryRead});
    Succeed(c, {Read});
    Succeed(b, {EndRead});
    EXPECT_EQ(kRead, StateOf(lock));
    Succeed(a, {EndRead});
    Succeed(c, {EndRead});
    EXPECT_EQ(kRead, StateOf(lock)) << "one hold of the first is left";
    Succeed(a, {EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AReadReleaseByAStrangerFailsAndChangesNothing) {
    const RWLock lock;
    RWLockUser stranger(lock), reader(lock);
    EXPECT_RESULT(KX_E_FAIL, stranger(EndRead)) << "nobody has it";
    EXPECT_EQ(kFree, StateOf(lock));
    Succeed(reader, {Read});
    EXPECT_RESULT(KX_E_FAIL, stranger(EndRead));
    EXPECT_EQ(kRead, StateOf(lock));
    Succeed(reader, {EndRead});
    Succeed(reader, {Write});
    EXPECT_RESULT(KX_E_FAIL, stranger(EndRead)) << "nothing is parked";
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead)) << "the writer itself does not read";
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(reader, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, HoldsOfMoreReadersThanThereIsRoomForAtFirstAreKept) {
    const RWLock lock;
    std::vector<std::unique_ptr<RWLockUser>> readers;
    for (int i = 0; i < 100; ++i) {
        readers.push_back(std::make_unique<RWLockUser>(lock));
        Succeed(*readers.back(), {Read, Read});
    }
    // From the middle, so that gaps close on both sides.
    for (std::size_t i = 0; i < readers.size(); ++i) {
        RWLockUser& reader = *readers[(i + 50) % readers.size()];
        Succeed(reader, {EndRead});
        EXPECT_RESULT(KX_E_FAIL, RWLockUser(lock)(TryWrite)) << i;
        Succeed(reader, {EndRead});
        EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
    }
    EXPECT_EQ(kFree, StateOf(lock));
}

// --- Writing -------------------------------------------------------------------------------------

TEST(RWLock, AWriterExcludesEveryoneElse) {
    const RWLock lock;
    RWLockUser writer(lock), stranger(lock);
    Succeed(writer, {Write});
    EXPECT_RESULT(KX_E_FAIL, stranger(TryRead));
    EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite));
    Succeed(writer, {EndWrite});
    Succeed(stranger, {TryRead, EndRead, TryWrite, EndWrite});
}

TEST(RWLock, WritesOfTheWriterNeedAsManyReleases) {
    const RWLock lock;
    RWLockUser writer(lock);
    Succeed(writer, {TryWrite, Write, TryWrite});
    for (int releases = 0; releases < 3; ++releases) {
        EXPECT_EQ(kTaken, StateOf(lock)) << releases;
        Succeed(writer, {EndWrite});
    }
    EXPECT_EQ(kFree, StateOf(lock));
    EXPECT_RESULT(KX_E_FAIL, writer(EndWrite));
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AWriteReleaseWhileNobodyWritesFailsAndChangesNothing) {
    const RWLock lock;
    RWLockUser reader(lock), writer(lock);
    EXPECT_RESULT(KX_E_FAIL, writer(EndWrite));
    EXPECT_EQ(kFree, StateOf(lock));
    Succeed(reader, {Read});
    EXPECT_RESULT(KX_E_FAIL, reader(EndWrite)) << "a reader";
    EXPECT_RESULT(KX_E_FAIL, writer(EndWrite)) << "a stranger";
    EXPECT_EQ(kRead, StateOf(lock));
    writer.StartsToWait(Write);
    EXPECT_RESULT(KX_E_FAIL, reader(EndWrite)) << "a writer that waits does not write";
    writer.WaitsStill();
    Succeed(reader, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, ReadersAndWritersWaitForTheWriter) {
    const RWLock lock;
    RWLockUser first(lock), reader(lock), writer(lock);
    Succeed(first, {Write, Write});
    reader.StartsToWait(Read);
    writer.StartsToWait(Write);
    Succeed(first, {EndWrite});
    reader.WaitsStill();
    writer.WaitsStill();
    Succeed(first, {EndWrite});
    // Whichever of the two comes first lets the other through.
    EXPECT_RESULT(KX_S_OK, reader.Finish());
    Succeed(reader, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AWriterWaitsForTheLastHoldOfTheLastReader) {
    const RWLock lock;
    RWLockUser writer(lock), a(lock), b(lock);
    Succeed(a, {Read, Read});
    Succeed(b, {Read});
    writer.StartsToWait(Write);
    Succeed(a, {EndRead});
    writer.WaitsStill();
    Succeed(a, {EndRead});
    writer.WaitsStill();
    Succeed(b, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, BehindAWaitingWriterNewReadersWaitWhileOldOnesReadOn) {
    const RWLock lock;
    RWLockUser writer(lock), oldReader(lock), newReader(lock), stranger(lock);
    Succeed(oldReader, {Read});
    writer.StartsToWait(Write);
    newReader.StartsToWait(Read);
    EXPECT_RESULT(KX_E_FAIL, stranger(TryRead));
    EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite));
    Succeed(oldReader, {Read, TryRead, EndRead, EndRead});
    writer.WaitsStill();
    newReader.WaitsStill();
    Succeed(oldReader, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    newReader.WaitsStill();
    Succeed(writer, {EndWrite});
    EXPECT_RESULT(KX_S_OK, newReader.Finish());
    EXPECT_EQ(kRead, StateOf(lock));
    Succeed(newReader, {EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}

// --- Reading and writing -------------------------------------------------------------------------

TEST(RWLock, TheOnlyReaderWritesWithoutWaitingAndReadsAgainBehindIt) {
    for (const auto write : {Write, TryWrite}) {
        const RWLock lock;
        RWLockUser reader(lock), stranger(lock);
        Succeed(reader, {Read, write});
        EXPECT_EQ(kTaken, StateOf(lock));
        Succeed(reader, {EndWrite});
        // Nobody opens the gate for who writes no more.
        Succeed(stranger, {TryRead, EndRead});
        EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite)) << "the gate is closed";
        Succeed(reader, {EndRead});
        EXPECT_EQ(kFree, StateOf(lock));
        EXPECT_RESULT(KX_E_FAIL, reader(EndRead)) << "it was one hold";
    }
}

TEST(RWLock, ParkedReadsComeBackAsManyAsAreLeft) {
    const RWLock lock;
    RWLockUser reader(lock);
    Succeed(reader, {Read, Read, Read, Write, Read, TryRead, EndRead, EndRead, EndRead, EndWrite});
    for (int holds = 0; holds < 2; ++holds) {
        EXPECT_EQ(kRead, StateOf(lock)) << holds;
        Succeed(reader, {EndRead});
    }
    EXPECT_EQ(kFree, StateOf(lock));
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
}

TEST(RWLock, MoreReadsComeBackThanWereParkedWhenTheWriterTookMore) {
    const RWLock lock;
    RWLockUser reader(lock);
    Succeed(reader, {Read, Write, Read, TryRead, EndWrite});
    for (int holds = 0; holds < 3; ++holds) {
        EXPECT_EQ(kRead, StateOf(lock)) << holds;
        Succeed(reader, {EndRead});
    }
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, ParkedReadsWaitForTheOutermostWriteRelease) {
    const RWLock lock;
    RWLockUser reader(lock);
    Succeed(reader, {Read, Write, Write, EndWrite});
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(reader, {EndWrite});
    EXPECT_EQ(kRead, StateOf(lock));
    Succeed(reader, {EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AReaderThatStopsReadingWhileItWritesLeavesTheLockFree) {
    const RWLock lock;
    RWLockUser reader(lock), other(lock), writer(lock);
    Succeed(reader, {Read, Read, Write, EndRead, EndRead});
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
    Succeed(reader, {EndWrite});
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead)) << "its place is gone";
    Succeed(writer, {TryWrite, EndWrite, Write, EndWrite});
    // And all goes on as ever.
    Succeed(other, {Read});
    writer.StartsToWait(Write);
    Succeed(other, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AnUpgradeWaitsForTheOtherReadersAlone) {
    const RWLock lock;
    RWLockUser upgrading(lock), a(lock), b(lock);
    Succeed(a, {Read});
    Succeed(upgrading, {Read, Read});
    Succeed(b, {Read, Read});
    upgrading.StartsToWait(Write);
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(a, {EndRead});
    upgrading.WaitsStill();
    Succeed(b, {EndRead});
    upgrading.WaitsStill();
    Succeed(b, {EndRead});
    EXPECT_RESULT(KX_S_OK, upgrading.Finish());
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(upgrading, {EndWrite, EndRead, EndRead});
    EXPECT_RESULT(KX_E_FAIL, upgrading(EndRead));
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, BehindAnUpgradeThatWaitedALaterWriterPassesBesideTheReader) {
    for (const auto write : {Write, TryWrite}) {
        const RWLock lock;
        RWLockUser reader(lock), other(lock), writer(lock);
        LeaveTheGateOpenBehind(reader, other);
        Succeed(writer, {write, EndWrite});
        Succeed(other, {Read});
        Succeed(writer, {write, EndWrite});
        Succeed(reader, {EndRead});
        Succeed(writer, {write, EndWrite});
        Succeed(other, {EndRead});
        // From no readers to the first one, the gate closes as ever.
        Succeed(reader, {Read});
        EXPECT_RESULT(KX_E_FAIL, writer(TryWrite));
        EXPECT_EQ(kRead, StateOf(lock));
        Succeed(reader, {EndRead});
        EXPECT_EQ(kFree, StateOf(lock));
    }
}

TEST(RWLock, AReaderBesideAWriterReadsOnWithoutWaiting) {
    const RWLock lock;
    RWLockUser reader(lock), other(lock), writer(lock);
    LeaveTheGateOpenBehind(reader, other);
    Succeed(writer, {Write});
    Succeed(reader, {Read, TryRead, EndRead, EndRead});
    EXPECT_RESULT(KX_E_FAIL, other(TryRead)) << "a new one is kept out";
    Succeed(writer, {EndWrite});
    Succeed(reader, {EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, ReadsBegunWhileWritingAreReleasedBeforeTheWrite) {
    const RWLock lock;
    RWLockUser writer(lock);
    Succeed(writer, {Write, Write, Read, EndRead, EndWrite, EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
    Succeed(writer, {Write, TryRead, Read, EndRead, EndRead});
    EXPECT_RESULT(KX_E_FAIL, writer(EndRead));
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, ReadsBegunWhileWritingAreNobodysBehindTheWrite) {
    const RWLock lock;
    RWLockUser writer(lock), reader(lock), other(lock);
    Succeed(reader, {Read, EndRead});  // closes the gate and opens it
    Succeed(writer, {Write, Read, EndWrite});
    EXPECT_RESULT(KX_E_FAIL, writer(EndRead));
    // The count stands above 0: the next reader is not the first, and closes no gate.
    Succeed(reader, {Read});
    Succeed(other, {TryWrite, EndWrite});
    Succeed(reader, {EndRead});
    EXPECT_RESULT(KX_E_FAIL, writer(EndRead));
    // Whoever writes finds the hold parked and may give it up.
    Succeed(other, {Write, EndRead});
    EXPECT_RESULT(KX_E_FAIL, other(EndRead));
    Succeed(other, {EndWrite});
    Succeed(reader, {Read});
    EXPECT_EQ(kRead, StateOf(lock));
    Succeed(reader, {EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AParkedReadIsReleasedWhoeverAsks) {
    const RWLock lock;
    RWLockUser reader(lock), stranger(lock);
    Succeed(reader, {Read, Write});
    Succeed(stranger, {EndRead});
    EXPECT_RESULT(KX_E_FAIL, stranger(EndRead));
    Succeed(reader, {EndWrite});
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
    EXPECT_EQ(kFree, StateOf(lock));
}

// --- Tries ---------------------------------------------------------------------------------------

TEST(RWLock, AFailedTryToWriteLeavesEverythingAsItWas) {
    const RWLock lock;
    RWLockUser reader(lock), other(lock), stranger(lock);
    Succeed(reader, {Read, Read});
    Succeed(other, {Read});
    EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite));
    EXPECT_RESULT(KX_E_FAIL, reader(TryWrite)) << "another reads";
    Succeed(stranger, {TryRead, EndRead});
    Succeed(other, {EndRead});
    EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite)) << "nobody opened the gate for who gave up";
    Succeed(reader, {TryWrite});
    EXPECT_EQ(kTaken, StateOf(lock));
    Succeed(reader, {EndWrite, EndRead, EndRead});
    EXPECT_RESULT(KX_E_FAIL, reader(EndRead));
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AReaderTriesToWriteInVainBehindAWaitingWriter) {
    const RWLock lock;
    RWLockUser reader(lock), writer(lock);
    Succeed(reader, {Read});
    writer.StartsToWait(Write);
    EXPECT_RESULT(KX_E_FAIL, reader(TryWrite));
    writer.WaitsStill();
    Succeed(reader, {EndRead});
    EXPECT_RESULT(KX_S_OK, writer.Finish());
    Succeed(writer, {EndWrite});
    EXPECT_EQ(kFree, StateOf(lock));
}

TEST(RWLock, AnUpgradingWriterIsStillMarkedAfterTriesOfOthersFailed) {
    const RWLock lock;
    RWLockUser upgrading(lock), other(lock), stranger(lock);
    Succeed(upgrading, {Read});
    Succeed(other, {Read});
    upgrading.StartsToWait(Write);
    EXPECT_RESULT(KX_E_FAIL, stranger(TryWrite));
    EXPECT_RESULT(KX_E_FAIL, other(TryWrite));
    EXPECT_RESULT(KX_E_FAIL, stranger(TryRead));
    Succeed(other, {EndRead});
    EXPECT_RESULT(KX_S_OK, upgrading.Finish());
    Succeed(upgrading, {EndWrite, EndRead});
    EXPECT_EQ(kFree, StateOf(lock));
}
