// Reports on locks to files as this system has them.
#include <kxcore7/lockstats.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/lock_report.h"
#include "support/scratch_dir.h"

using kx::test::ReadLines;

namespace {

constexpr std::size_t kEmptyReport = 6;

class LockReportPosix : public ::testing::Test {
  protected:
    void SetUp() override { KXResetLockStats(); }

    kx::test::ScratchDir m_directory;
};

// What a report comes to for a user whom the modes of files bind.
KXResult DumpAsAnybody(const char16_t* file) {
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && setresuid(kNobody, kNobody, kNobody) != 0) _exit(100);
        const KXResult result = KXDumpLockStats("title", file);
        _exit(result == KX_S_OK ? 0 : result == KX_E_FAIL ? 1 : 2);
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
    return WEXITSTATUS(status) == 0 ? KX_S_OK : KX_E_FAIL;
}

}  // namespace

TEST_F(LockReportPosix, AFullDeviceIsFailAndTheNextReportWorks) {
    const KXMutexHandle lock = kx::test::CreateMeasured("n");
    EXPECT_RESULT(KX_E_FAIL, KXDumpLockStats("title", u"/dev/full"));
    // Short of what a stream keeps back, and beyond.
    const std::string title(100'000, 't');
    EXPECT_RESULT(KX_E_FAIL, KXDumpLockStats(title.c_str(), u"/dev/full"));
    const std::filesystem::path file = m_directory / "report.csv";
    EXPECT_RESULT(KX_S_OK, KXDumpLockStats("title", file.u16string().c_str()));
    EXPECT_EQ(kEmptyReport + 1, ReadLines(file).size());
    KXMutexDestroy(lock);
    KXResetLockStats();
}

TEST_F(LockReportPosix, AFileThatMayNotBeWrittenIsFailAndUntouched) {
    const std::filesystem::path file = m_directory / "report.csv";
    std::ofstream(file) << "kept\n";
    ASSERT_EQ(0, chmod(m_directory.Path().c_str(), 0777));
    ASSERT_EQ(0, chmod(file.c_str(), 0444));
    EXPECT_RESULT(KX_E_FAIL, DumpAsAnybody(file.u16string().c_str()));
    EXPECT_EQ("kept\n", kx::test::ReadBytes(file));
    ASSERT_EQ(0, chmod(file.c_str(), 0666));
    EXPECT_RESULT(KX_S_OK, DumpAsAnybody(file.u16string().c_str()));
    EXPECT_EQ(kEmptyReport + 1, ReadLines(file).size());
}

TEST_F(LockReportPosix, ADirectoryThatMayNotBeWrittenIsFail) {
    ASSERT_EQ(0, chmod(m_directory.Path().c_str(), 0555));
    const std::filesystem::path file = m_directory / "report.csv";
    EXPECT_RESULT(KX_E_FAIL, DumpAsAnybody(file.u16string().c_str()));
    EXPECT_FALSE(std::filesystem::exists(file));
    ASSERT_EQ(0, chmod(m_directory.Path().c_str(), 0755));
}

TEST_F(LockReportPosix, AFileNameThatIsNoTextIsCarriedByteByByte) {
    const std::u16string file = m_directory.Path().u16string() + u"/\xDCFF\xDC80.csv";
    EXPECT_RESULT(KX_S_OK, KXDumpLockStats("title", file.c_str()));
    EXPECT_EQ(kEmptyReport, ReadLines(m_directory / "\xFF\x80.csv").size());
}
