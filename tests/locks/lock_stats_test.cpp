// The report on locks with statistics. Its numbers, to the tick, are in lock_stats_seam_test.cpp.
#include <kxcore7/lockstats.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "support/child_process.h"
#include "support/lock_report.h"
#include "support/scratch_dir.h"

using kx::test::CreateMeasured;
using kx::test::kReportColumns;
using kx::test::kReportFrequency;
using kx::test::ReadBytes;
using kx::test::ReadLines;
using kx::test::RowStart;
using kx::test::TakeAndRelease;

namespace {

using Lines = std::vector<std::string>;

// Lines of a report that are no rows: three before them, three behind.
constexpr std::size_t kLinesAround = 6;

class LockReport : public ::testing::Test {
  protected:
    void SetUp() override { KXResetLockStats(); }
    void TearDown() override { KXResetLockStats(); }

    KXResult Dump(const char* title = "title") const {
        return KXDumpLockStats(title, m_file.u16string().c_str());
    }
    // The rows of a file that holds one report.
    Lines Rows() const {
        const Lines lines = ReadLines(m_file);
        if (lines.size() < kLinesAround) return {"no report"};
        return {lines.begin() + 3, lines.end() - 3};
    }
    // The rows of a report made now.
    Lines RowsNow() const {
        std::filesystem::remove(m_file);
        EXPECT_RESULT(KX_S_OK, Dump());
        return Rows();
    }

    kx::test::ScratchDir m_directory;
    const std::filesystem::path m_file = m_directory / "report.csv";
};

// Whether a line is the words and a time behind them.
bool HasTimeBehind(const std::string& line, const std::string& words) {
    constexpr std::string_view kForm = "##/##/#### ##:##:##";
    if (!line.starts_with(words) || line.size() != words.size() + kForm.size()) return false;
    return std::equal(kForm.begin(), kForm.end(), line.end() - kForm.size(), [](char form, char c) {
        return form == '#' ? c >= '0' && c <= '9' : form == c;
    });
}

}  // namespace

TEST_F(LockReport, WithoutLocksIsItsFourLinesAndTwoEmptyOnes) {
    EXPECT_RESULT(KX_S_OK, Dump("a title"));
    const Lines lines = ReadLines(m_file);
    ASSERT_EQ(kLinesAround, lines.size());
    EXPECT_TRUE(HasTimeBehind(lines[0], "BeginLockStatistics: a title - ")) << lines[0];
    EXPECT_EQ(kReportFrequency, lines[1]);
    EXPECT_EQ(kReportColumns, lines[2]);
    EXPECT_TRUE(HasTimeBehind(lines[3], "EndLockStatistics: a title - ")) << lines[3];
    EXPECT_EQ("", lines[4]);
    EXPECT_EQ("", lines[5]);
}

TEST_F(LockReport, EndsLinesAsTheSystemsTextStreamsDo) {
    const KXMutexHandle lock = CreateMeasured("one");
    EXPECT_RESULT(KX_S_OK, Dump());
    const std::filesystem::path streamed = m_directory / "streamed";
    {
        std::ofstream stream(streamed);
        for (const std::string& line : ReadLines(m_file)) stream << line << '\n';
    }
    EXPECT_EQ(ReadBytes(streamed), ReadBytes(m_file));
    KXMutexDestroy(lock);
}

TEST_F(LockReport, ARowIsTheLocksRecordInTheOrderOfTheColumns) {
    const KXMutexHandle lock = CreateMeasured("Class::m_lock", KX_MUTEX_CHECKED);
    for (int i = 0; i < 3; ++i) TakeAndRelease(lock);
    KXMutexAcquire(lock);
    TakeAndRelease(lock);
    const Lines rows = RowsNow();
    KXLockStatRecord record{};
    EXPECT_RESULT(KX_S_OK, KXGetLockStats(lock, &record));
    EXPECT_EQ(5, record.acquireCount);
    EXPECT_EQ(4, record.heldCount);
    std::string expected = RowStart("KX_MUTEX", lock, "Class::m_lock");
    for (const std::int64_t number :
         {record.heldCount, record.totalHeldTime, record.maxHeldTime, record.acquireCount,
          record.totalAcquireTime, record.maxAcquireTime, record.contentionCount}) {
        expected += ',';
        expected += std::to_string(number);
    }
    EXPECT_EQ(Lines{expected}, rows);
    KXMutexRelease(lock);
    KXMutexDestroy(lock);
}

TEST_F(LockReport, ListsLivingLocksBeforeDestroyedOnesEachByAddress) {
    constexpr std::size_t kLocks = 12;
    std::array<KXMutexHandle, kLocks> locks{};
    for (KXMutexHandle& lock : locks) lock = CreateMeasured("n");
    std::array<KXMutexHandle, kLocks / 2> living{}, destroyed{};
    for (std::size_t i = 0; i < kLocks; ++i) (i % 2 == 0 ? living : destroyed)[i / 2] = locks[i];
    // In falling order, so that neither order of arrival will do.
    std::ranges::sort(destroyed);
    for (std::size_t i = destroyed.size(); i-- > 0;) KXMutexDestroy(destroyed[i]);
    std::ranges::sort(living);
    Lines expected;
    for (const KXMutexHandle lock : living) expected.push_back(RowStart("KX_MUTEX", lock, "n"));
    for (const KXMutexHandle lock : destroyed) {
        expected.push_back(RowStart("KX_DEL_MUTEX", lock, "n"));
    }
    const Lines rows = RowsNow();
    ASSERT_EQ(expected.size(), rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(expected[i] + ",0,0,0,0,0,0,0", rows[i]);
    for (const KXMutexHandle lock : living) KXMutexDestroy(lock);
}

TEST_F(LockReport, NamesStandAsTheyAre) {
    for (const std::string& name :
         {std::string(), std::string("a,b,,c"), std::string("\"quoted\" (twice)"),
          std::string("caf\xC3\xA9"), std::string("%s%n"), std::string(5'000, 'x')}) {
        const KXMutexHandle lock = CreateMeasured(name.c_str());
        EXPECT_EQ(Lines{RowStart("KX_MUTEX", lock, name) + ",0,0,0,0,0,0,0"}, RowsNow());
        KXMutexDestroy(lock);
        KXResetLockStats();
    }
}

TEST_F(LockReport, TitlesStandAsTheyAre) {
    for (const std::string& title :
         {std::string(), std::string("a, b - c"), std::string("%d"), std::string(3'000, 't')}) {
        std::filesystem::remove(m_file);
        EXPECT_RESULT(KX_S_OK, Dump(title.c_str()));
        const Lines lines = ReadLines(m_file);
        ASSERT_EQ(kLinesAround, lines.size());
        EXPECT_TRUE(HasTimeBehind(lines[0], "BeginLockStatistics: " + title + " - "));
        EXPECT_TRUE(HasTimeBehind(lines[3], "EndLockStatistics: " + title + " - "));
    }
}

TEST_F(LockReport, LocksThatAreNotMeasuredHaveNoRow) {
    std::vector<KXMutexHandle> locks;
    for (const std::uint32_t flags : {0u, KX_MUTEX_CHECKED, KX_MUTEX_SPIN, KX_MUTEX_NO_STATS,
                                      KX_MUTEX_NO_STATS | KX_MUTEX_STATS,
                                      KX_MUTEX_NO_STATS | KX_MUTEX_STATS | KX_MUTEX_CHECKED}) {
        KXMutexHandle lock = 0;
        ASSERT_RESULT(KX_S_OK, KXMutexCreate("n", flags, &lock));
        TakeAndRelease(lock);
        locks.push_back(lock);
    }
    EXPECT_EQ(Lines{}, RowsNow());
    for (const KXMutexHandle lock : locks) KXMutexDestroy(lock);
    EXPECT_EQ(Lines{}, RowsNow());
}

TEST_F(LockReport, IsAddedToWhatStandsInTheFile) {
    {
        std::ofstream stream(m_file);
        stream << "not a report\n";
    }
    const std::string before = ReadBytes(m_file);
    EXPECT_RESULT(KX_S_OK, Dump("first"));
    const std::string first = ReadBytes(m_file);
    EXPECT_TRUE(first.starts_with(before));
    EXPECT_RESULT(KX_S_OK, Dump("second"));
    const std::string both = ReadBytes(m_file);
    EXPECT_TRUE(both.starts_with(first));
    const Lines lines = ReadLines(m_file);
    ASSERT_EQ(1 + 2 * kLinesAround, lines.size());
    EXPECT_TRUE(HasTimeBehind(lines[1], "BeginLockStatistics: first - "));
    EXPECT_TRUE(HasTimeBehind(lines[7], "BeginLockStatistics: second - "));
}

TEST_F(LockReport, ADestroyedLockStandsInItWithItsLastNumbersUntilTheReset) {
    const KXMutexHandle living = CreateMeasured("living");
    const KXMutexHandle destroyed = CreateMeasured("destroyed");
    TakeAndRelease(living);
    TakeAndRelease(destroyed);
    TakeAndRelease(destroyed);
    KXMutexDestroy(destroyed);
    for (int report = 0; report < 2; ++report) {
        const Lines rows = RowsNow();
        ASSERT_EQ(2u, rows.size());
        EXPECT_TRUE(rows[0].starts_with(RowStart("KX_MUTEX", living, "living") + ",1,"));
        EXPECT_TRUE(rows[1].starts_with(RowStart("KX_DEL_MUTEX", destroyed, "destroyed") + ",2,"));
    }
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    EXPECT_EQ(Lines{RowStart("KX_MUTEX", living, "living") + ",0,0,0,0,0,0,0"}, RowsNow());
    EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    KXMutexDestroy(living);
}

TEST_F(LockReport, OthersMayHaveTheFileOpen) {
    std::ofstream writer(m_file, std::ios::app);
    std::ifstream reader(m_file);
    EXPECT_RESULT(KX_S_OK, Dump());
    writer << "behind it" << std::endl;
    EXPECT_TRUE(writer.good());
    const Lines lines = ReadLines(m_file);
    ASSERT_EQ(kLinesAround + 1, lines.size());
    EXPECT_EQ("behind it", lines.back());
    std::string line;
    std::getline(reader, line);
    EXPECT_TRUE(HasTimeBehind(line, "BeginLockStatistics: title - "));
}

TEST_F(LockReport, AFileThatCannotBeOpenedIsFailAndTheNextReportWorks) {
    const KXMutexHandle lock = CreateMeasured("n");
    for (const std::filesystem::path& path :
         {m_directory / "missing" / "report.csv", m_directory.Path(), std::filesystem::path()}) {
        EXPECT_RESULT(KX_E_FAIL, KXDumpLockStats("title", path.u16string().c_str())) << path;
        EXPECT_EQ(1u, RowsNow().size());
    }
    EXPECT_FALSE(std::filesystem::exists(m_directory / "missing"));
    // From another thread, too: the list is free.
    std::thread([&] { EXPECT_EQ(1u, RowsNow().size()); }).join();
    KXMutexDestroy(lock);
}

TEST_F(LockReport, FileNamesMayHaveAnyCharacters) {
    for (const std::u16string name :
         {u"two words.csv", u"caf\u00E9 \u65E5\u672C.csv", u"\U0001F512.csv", u"no extension"}) {
        const std::filesystem::path path = m_directory.Path() / name;
        EXPECT_RESULT(KX_S_OK, KXDumpLockStats("title", path.u16string().c_str())) << path;
        EXPECT_EQ(kLinesAround, ReadLines(path).size()) << path;
    }
}

TEST_F(LockReport, WithoutATitleAndAFileHasItsOwnInTheCurrentDirectory) {
    kx::test::ChildProcess child(KXTEST_PROBE, {"report here", m_directory.Path().string()});
    EXPECT_EQ("0x00000000", child.ReadLine());
    EXPECT_EQ(0, child.Wait());
    const Lines lines = ReadLines(m_directory / "kxlockstats.csv");
    ASSERT_EQ(kLinesAround, lines.size());
    EXPECT_TRUE(HasTimeBehind(lines[0], "BeginLockStatistics: LockStatsDump - ")) << lines[0];
    EXPECT_TRUE(HasTimeBehind(lines[3], "EndLockStatistics: LockStatsDump - ")) << lines[3];
}

TEST_F(LockReport, ReportsOfProcessesAtOnceStayWhole) {
    constexpr int kReports = 200;
    constexpr std::size_t kLocks = 50;
    std::vector<kx::test::ChildProcess> children;
    for (const char* const title : {"a", "b", "c"}) {
        children.emplace_back(KXTEST_PROBE, std::vector<std::string>{
                                                "reports", m_file.string(), title,
                                                std::to_string(kReports), std::to_string(kLocks)});
    }
    for (auto& child : children) EXPECT_EQ("ready", child.ReadLine());
    std::ofstream(m_file).close();  // what they wait for
    for (auto& child : children) EXPECT_EQ(0, child.Wait());

    const Lines lines = ReadLines(m_file);
    const std::size_t length = kLinesAround + kLocks;
    ASSERT_EQ(3 * kReports * length, lines.size());
    for (std::size_t first = 0; first < lines.size(); first += length) {
        const std::string title = lines[first].substr(0, 25);
        ASSERT_TRUE(title.starts_with("BeginLockStatistics: ")) << first << lines[first];
        ASSERT_TRUE(HasTimeBehind(lines[first], title)) << first << lines[first];
        const std::string name = title.substr(21, 1);
        ASSERT_EQ(kReportFrequency, lines[first + 1]);
        ASSERT_EQ(kReportColumns, lines[first + 2]);
        for (std::size_t row = 0; row < kLocks; ++row) {
            ASSERT_TRUE(lines[first + 3 + row].ends_with("(" + name + "),0,0,0,0,0,0,0"))
                << lines[first + 3 + row];
        }
        ASSERT_TRUE(HasTimeBehind(lines[first + length - 3], "EndLockStatistics: " + name + " - "));
        ASSERT_EQ("", lines[first + length - 2]);
        ASSERT_EQ("", lines[first + length - 1]);
    }
}

// A reset may fall between the two steps of a destruction, a report as well.
TEST_F(LockReport, DestructionsReportsAndResetsMayRace) {
    constexpr int kThreads = 4;
    constexpr int kLocks = 1'000;
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < kLocks; ++round) {
                const KXMutexHandle lock = CreateMeasured("a name too long for a short string");
                TakeAndRelease(lock);
                EXPECT_RESULT(KX_S_OK, KXMutexDestroy(lock));
            }
            --running;
        });
    }
    threads.emplace_back([&] {
        while (running > 0) EXPECT_RESULT(KX_S_OK, KXResetLockStats());
    });
    threads.emplace_back([&] {
        while (running > 0) {
            EXPECT_RESULT(KX_S_OK, Dump());
            std::filesystem::remove(m_file);
        }
    });
    for (std::thread& thread : threads) thread.join();
    KXResetLockStats();
    EXPECT_EQ(Lines{}, RowsNow()) << "none was left behind";
}
