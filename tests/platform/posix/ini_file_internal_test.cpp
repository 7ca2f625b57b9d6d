// The INI file where the system's own ways show through.
#include "registry/ini_file.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>

#include "frame/exception.h"
#include "platform/posix/shared_object.h"
#include "platform/registry.h"
#include "support/child_process.h"
#include "support/ini_image.h"
#include "support/ini_lock.h"
#include "support/ini_registry.h"
#include "support/locales.h"
#include "support/posix/descriptors.h"
#include "support/posix/fork.h"
#include "support/scratch_registry.h"
#include "support/waiting_thread.h"

using namespace kx::test;
namespace fs = std::filesystem;

namespace {

class PosixIniFile : public ::testing::Test {
  protected:
    const fs::path& Path() const { return m_path; }
    std::unique_ptr<IniFile> Open() const {
        return std::make_unique<IniFile>(m_path.u16string().c_str());
    }

  private:
    const ScratchDir m_directory;
    const fs::path m_path = m_directory / "file.ini";
};

// A soft limit of this process for the time of a scope.
class Limit final {
  public:
    Limit(int resource, rlim_t limit) : m_resource(resource) {
        getrlimit(m_resource, &m_before);
        rlimit now = m_before;
        now.rlim_cur = limit;
        EXPECT_EQ(0, setrlimit(m_resource, &now));
    }
    ~Limit() { setrlimit(m_resource, &m_before); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

  private:
    const int m_resource;
    rlimit m_before{};
};

}  // namespace

// --- Files that can't be used --------------------------------------------------------------------

TEST_F(PosixIniFile, ThatMayNotBeReadIsEmptyAndCantBeWritten) {
    Store(Path(), "[s]\nk=1\n\n");
    ASSERT_EQ(0, chmod(Path().c_str(), 0));
    EXPECT_EQ(0, InChild([&] {
                  if (!BecomeAnybody()) return 1;
                  const auto file = Open();
                  if (!ImageOf(*file).empty()) return 2;
                  if (file->SetValue(u"s", u"j", u"2", true) != 0) return 3;
                  if (file->Save(nullptr) != 1) return 4;
                  return ImageOf(*file) == u"[s]{j|2}" ? 0 : 5;
              }));
    ASSERT_EQ(0, chmod(Path().c_str(), 0600));
    EXPECT_EQ("[s]\nk=1\n\n", Stored(Path()));
}

TEST_F(PosixIniFile, ThatMayOnlyBeReadKeepsItsBytesAndTheImageGetsTheValue) {
    Store(Path(), "[s]\nk=1\n\n");
    ASSERT_EQ(0, chmod(Path().c_str(), 0444));
    EXPECT_EQ(0, InChild([&] {
                  if (!BecomeAnybody()) return 1;
                  const auto file = Open();
                  if (file->SetValue(u"s", u"j", u"2", true) != 0) return 2;
                  return ImageOf(*file) == u"[s]{j|2}{k|1}" ? 0 : 3;
              }));
    EXPECT_EQ("[s]\nk=1\n\n", Stored(Path()));
}

TEST_F(PosixIniFile, OnAFullDiskIsCutShortWithoutAWord) {
    const auto before = signal(SIGXFSZ, SIG_IGN);
    const auto file = Open();
    {
        const Limit limit(RLIMIT_FSIZE, 12);
        EXPECT_EQ(0, file->SetValue(u"first", u"k", u"value", true));
    }
    signal(SIGXFSZ, before);
    EXPECT_EQ("[first]\nk=va", Stored(Path()));
    EXPECT_EQ(u"value", TextIn(*file, u"first", u"k"));
    EXPECT_EQ(u"[first]{k|v}", ImageOf(*Open())) << "the next reader takes what is there";
}

TEST_F(PosixIniFile, IsWrittenToADeviceThatIsFull) {
    fs::create_symlink("/dev/full", Path().string() + ".full");
    IniFile file(nullptr);
    EXPECT_EQ(0, file.SetValue(u"s", u"k", u"1", true));
    EXPECT_EQ(0, file.Save((Path().u16string() + u".full").c_str()));
}

TEST_F(PosixIniFile, LeavesNothingOpen) {
    const NothingStaysOpen check;
    const auto file = Open();
    EXPECT_EQ(0, file->SetValue(u"s", u"k", u"1", true));
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
}

TEST_F(PosixIniFile, WithoutDescriptorsHasNoLockAndIsNot) {
    KXResult expected = KX_S_OK;
    KXResult found = KX_S_OK;
    {
        const Limit limit(RLIMIT_NOFILE, 0);
        KXSemaphoreHandle lock = 0;
        expected = KXNamedSemOpen(kIniLockName, 1, &lock);
        try {
            Open();
        } catch (const EKXCoreException& exception) {
            found = exception.result;
        }
    }
    EXPECT_GT(0, expected);
    EXPECT_RESULT(expected, found);
}

TEST_F(PosixIniFile, APieceOfALineThatEndsInsideACharacterIsNoText) {
    const InLocale locale("C.UTF-8");
    // The first of the two bytes is the 510th.
    Store(Path(), "[p]\n\n[s]\nk=" + std::string(507, 'x') + "\xC3\xA9=y\n\n");
    EXPECT_EQ(u"[p]", ImageOf(*Open()));
}

// --- The family over it --------------------------------------------------------------------------

TEST(PosixIniRegistry, TriesAgainWhenTheFileCouldNotBeMade) {
    const IniRegistry ini;
    ini.Put("[KX_HKEY_CONFIG\\a]\nk=1\n\n");
    KXRegistryEnumHandle walk = 0;
    KXResult result = KX_S_OK;
    {
        const Limit limit(RLIMIT_NOFILE, 0);
        result = registry::OpenKeyEnum(KX_HKEY_CONFIG, u"", &walk);
    }
    EXPECT_GT(0, result);
    EXPECT_EQ(KX_INVALID_HANDLE, walk);
    EXPECT_EQ(nullptr, registry::s_pIniFile);
    EXPECT_RESULT(KX_S_OK, registry::OpenKeyEnum(KX_HKEY_CONFIG, u"", &walk));
    EXPECT_RESULT(KX_S_OK, registry::CloseEnum(walk));
}

namespace {

// A native registry and a directory for the file, both empty.
class PosixMigration : public ::testing::Test {
  protected:
    PosixMigration() { kx::platform::CloseRegistry(); }
    ~PosixMigration() override { kx::platform::CloseRegistry(); }

    const IniDirectory& Ini() const { return m_ini; }
    const fs::path& RegistryDirectory() const { return m_registry.Directory().Path(); }

  private:
    const ScratchRegistry m_registry;
    const IniDirectory m_ini;
};

}  // namespace

TEST_F(PosixMigration, OfAUserWithoutANameDoesTheOtherRootsAndKeepsTheFile) {
    if (geteuid() != 0) GTEST_SKIP() << "only root can become a user without a name";
    const std::string bytes = "[KX_HKEY_CONFIG\\Kx]\nk=1\n\n[" + UserSection() + "\\Kx]\nk=2\n\n";
    Ini().Put(bytes);
    fs::permissions(RegistryDirectory(), fs::perms::all);
    fs::permissions(fs::current_path(), fs::perms::all);
    constexpr uid_t kNameless = 3'999'999'999;
    EXPECT_EQ(0, InChild([&] {
                  if (setgid(kNameless) != 0 || setuid(kNameless) != 0) return 1;
                  char16_t name[64];
                  if (KXGetUserName(name, 64) != KX_E_FAIL) return 2;
                  KXRegistryEnumHandle walk = 0;
                  registry::Initialize();
                  const KXResult opened = registry::OpenKeyEnum(KX_HKEY_USER, u"", &walk);
                  registry::Terminate();
                  if (opened != KX_E_FAIL || walk != KX_INVALID_HANDLE) return 5;
                  if (KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0) != KX_E_FAIL) {
                      return 3;
                  }
                  const auto text = GetText(KX_HKEY_CONFIG, u"Kx", u"k");
                  return text == u"1" ? 0 : 4;
              }));
    EXPECT_EQ(bytes, Ini().Bytes());
    EXPECT_RESULT(KX_S_OK, KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0));
    EXPECT_EQ(u"2", GetText(KX_HKEY_USER, u"Kx", u"k"));
    EXPECT_FALSE(Ini().HasFile());
}

TEST_F(PosixMigration, WithoutTheLockEndsAndKeepsTheFile) {
    const std::string bytes = "[KX_HKEY_CONFIG\\Kx]\nk=1\n\n";
    Ini().Put(bytes);
    KXResult expected = KX_S_OK;
    KXResult found = KX_S_OK;
    {
        const Limit limit(RLIMIT_NOFILE, 0);
        KXSemaphoreHandle lock = 0;
        expected = KXNamedSemOpen(kIniLockName, 1, &lock);
        found = KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0);
    }
    EXPECT_GT(0, expected);
    EXPECT_RESULT(expected, found);
    EXPECT_EQ(bytes, Ini().Bytes());
}

TEST_F(PosixMigration, OfAFileThatMayNotBeDeletedSucceedsAndKeepsIt) {
    const std::string bytes = "[KX_HKEY_CONFIG\\Kx]\nk=1\n\n";
    Ini().Put(bytes);
    fs::permissions(Ini().Path(), fs::perms::all);
    fs::permissions(RegistryDirectory(), fs::perms::all);
    constexpr auto kWrite =
        fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    fs::permissions(fs::current_path(), fs::perms::all & ~kWrite);
    EXPECT_EQ(0, InChild([] {
                  if (!BecomeAnybody()) return 1;
                  if (KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0) != 0) return 2;
                  return GetText(KX_HKEY_CONFIG, u"Kx", u"k") == u"1" ? 0 : 3;
              }));
    fs::permissions(fs::current_path(), fs::perms::owner_all);
    EXPECT_EQ(bytes, Ini().Bytes());
}

TEST_F(PosixMigration, EndsAtAStoreThatCantBeRead) {
    EXPECT_RESULT(KX_S_OK, SetText(KX_HKEY_CONFIG, u"Kx", u"k", u"1"));
    Store(RegistryDirectory() / "user.db", "no store at all, but something else");
    EXPECT_RESULT(KX_E_FAIL, KXRegistryMigrate(KX_REGISTRY_NATIVE, 0, KX_REGISTRY_INI, 0));
    EXPECT_EQ("[KX_HKEY_CONFIG\\Kx]\nk=1\n\n", Ini().Bytes()) << "what came before stays done";
    // The other way round nothing of it can be written, which counts for nothing.
    Ini().Put("[" + UserSection() + "\\Kx]\nk=2\n\n");
    EXPECT_RESULT(KX_S_OK, KXRegistryMigrate(KX_REGISTRY_INI, 0, KX_REGISTRY_NATIVE, 0));
    EXPECT_FALSE(Ini().HasFile());
}

// --- A process that is killed while it holds the lock --------------------------------------------

namespace {

// Starts one that holds the lock.
ChildProcess Holder() {
    ChildProcess holder(KXTEST_INI_WORKER, {"hold"});
    EXPECT_EQ("held", holder.ReadLine());
    return holder;
}

void KillAndWait(ChildProcess& process) {
    process.Kill();
    EXPECT_EQ(ChildProcess::kKilled, process.Wait());
}

// The file in which the lock is. A new lock may be made in the same one, with the mode of all: so
// another mode marks the lock that is there.
std::string LockFile() {
    return kx::platform::SharedFile(std::string("SEM:") + kIniLockName).GetPath().data();
}
void MarkLock() {
    EXPECT_EQ(0, chmod(LockFile().c_str(), 0667));
}
bool IsMarkedLock() {
    struct stat status {};
    EXPECT_EQ(0, stat(LockFile().c_str(), &status));
    return (status.st_mode & 0777) == 0667;
}

}  // namespace

TEST_F(PosixIniFile, OthersWaitForAKilledHolderAsLongAsTheLockIsOpenAnywhere) {
    IniLock lock;
    ChildProcess holder = Holder();
    WaitingThread reader([this] { EXPECT_EQ(u"", ImageOf(*Open())); });
    reader.WaitUntilAsleep();
    KillAndWait(holder);
    EXPECT_TRUE(reader.WaitUntilAsleepOrEnded()) << "it has the lock of a holder that is gone";
    // Puts right what would stop everybody else on this machine, too.
    lock.Give();
    reader.Join();
}

// Tests that run beside this one have the lock open now and then: then it is put right, and the
// holder is killed once more.
TEST_F(PosixIniFile, WhenNobodyHasTheLockOpenAKilledHolderIsForgotten) {
    constexpr int kMostTries = 1000;
    for (int i = 0; i < kMostTries; ++i) {
        ChildProcess holder = Holder();
        MarkLock();
        KillAndWait(holder);
        IniLock lock;
        if (IsMarkedLock()) {
            lock.Give();
            continue;
        }
        const auto file = Open();
        EXPECT_EQ(0, file->SetValue(u"s", u"k", u"1", true));
        return;
    }
    FAIL() << "the lock was open elsewhere each time";
}
