// Reports on locks where memory runs out.
#include <thread>

#include "support/failing_new.h"
#include "support/lock_report.h"
#include "support/scratch_dir.h"

using kx::test::FailingNew;

namespace {

class LockReportOutOfMemory : public ::testing::TestWithParam<int> {};

}  // namespace

// Each allocation fails once, alone or with all that follow.
TEST_P(LockReportOutOfMemory, IsReportedAndTheNextReportWorks) {
    const kx::test::ScratchDir directory;
    const std::u16string file = (directory / "report.csv").u16string();
    KXResetLockStats();
    const KXMutexHandle lock =
        kx::test::CreateMeasured("a name too long to be held inside a string");
    int failed = 0;
    for (int allowed = 0;; ++allowed) {
        KXResult result = KX_S_OK;
        {
            const FailingNew failing(allowed, GetParam());
            result = KXDumpLockStats("a title too long to be held inside a string", file.c_str());
        }
        // Another thread finds the list free.
        std::thread([&] { EXPECT_RESULT(KX_S_OK, KXResetLockStats()); }).join();
        if (result == KX_S_OK) break;
        EXPECT_RESULT(KX_E_OUTOFMEMORY, result) << allowed;
        ++failed;
    }
    EXPECT_GT(failed, 3);
    const auto lines = kx::test::ReadLines(directory / "report.csv");
    EXPECT_EQ(7u, lines.size()) << "the only report that there was memory for";
    KXMutexDestroy(lock);
    KXResetLockStats();
}

INSTANTIATE_TEST_SUITE_P(Failures, LockReportOutOfMemory, ::testing::Values(1, FailingNew::kAll));
