// Named objects where they are: their files, what others may have put in their place, and what
// processes leave that are killed at any of their steps.
#include "platform/posix/shared_object.h"

#include <fcntl.h>
#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/mappings.h"
#include "platform/posix/shared_semaphore.h"
#include "support/named_objects.h"
#include "support/posix/stepped_process.h"
#include "support/scratch_dir.h"
#include "support/waiting_thread.h"

using namespace kx::platform;
using namespace kx::test;

namespace {

std::string PathOf(const std::string& systemName) {
    return SharedFile(systemName).GetPath().data();
}

bool Exists(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0;
}

std::ptrdiff_t OpenDescriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

class SharedFiles : public ::testing::Test {
  protected:
    ~SharedFiles() override {
        unlink(m_semaphorePath.c_str());
        rmdir(m_semaphorePath.c_str());
        unlink(m_memoryPath.c_str());
        EXPECT_EQ(m_descriptors, OpenDescriptors()) << "a descriptor has leaked";
    }

    // Not the public one, which waits longer for those who mean harm.
    NativeError Open(SharedObject* object, std::uint32_t patience = 20, bool create = true) const {
        return OpenSharedObject({.kind = SharedKind::semaphore,
                                 .name = m_systemName,
                                 .create = create,
                                 .size = sizeof(SharedCount),
                                 .firstWord = SharedCount::WordOf(1),
                                 .patience = patience},
                                object);
    }
    NativeError Outcome(std::uint32_t patience = 20) const {
        SharedObject object;
        return Open(&object, patience);
    }

    // A file in the semaphore's place, locked as asked; F_UNLCK for not at all.
    Descriptor Plant(const std::string& content, short lock = F_UNLCK) const {
        Descriptor file;
        EXPECT_TRUE(file.Open(m_semaphorePath.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0666));
        EXPECT_EQ(static_cast<ssize_t>(content.size()),
                  write(file.Get(), content.data(), content.size()));
        Lock(file, lock);
        return file;
    }
    static void Lock(const Descriptor& file, short type) {
        struct flock lock {};
        lock.l_type = type;
        lock.l_len = 1;
        EXPECT_EQ(0, fcntl(file.Get(), F_OFD_SETLK, &lock));
    }

    const std::string m_name = UniqueName();
    const std::string m_systemName = "SEM:" + m_name;
    const std::string m_semaphorePath = PathOf(m_systemName);
    const std::string m_memoryPath = PathOf("SHM:" + m_name);
    const std::ptrdiff_t m_descriptors = OpenDescriptors();
};

}  // namespace

TEST_F(SharedFiles, AreNamedByAHashOfAllBytesOfAName) {
    EXPECT_STREQ("/dev/shm/kxcore7.6c62272e07bb014262b821756295c58d",
                 SharedFile("").GetPath().data());
    EXPECT_STREQ("/dev/shm/kxcore7.d228cb696f1a8caf78912b704e4a8964",
                 SharedFile("a").GetPath().data());
    EXPECT_STREQ("/dev/shm/kxcore7.343e1662793c64bf6f0d3597ba446f18",
                 SharedFile("foobar").GetPath().data());
    EXPECT_NE(PathOf("a\xFF"), PathOf("a\x7F"));
}

TEST_F(SharedFiles, AreGoneWithTheirObjects) {
    {
        const NamedSemaphore one(m_name);
        const NamedSemaphore two(m_name);
        const SharedMemory memory(m_name, KX_FILE_CREATE, 10);
        const SharedView view(memory);
        EXPECT_TRUE(Exists(m_semaphorePath));
        EXPECT_TRUE(Exists(m_memoryPath));
    }
    EXPECT_FALSE(Exists(m_semaphorePath));
    EXPECT_FALSE(Exists(m_memoryPath));
}

TEST_F(SharedFiles, AreEverybodysWhateverTheUmask) {
    for (const mode_t mask : {0077, 0777, 0}) {
        const mode_t before = umask(mask);
        const NamedSemaphore semaphore(m_name);
        const SharedMemory memory(m_name, KX_FILE_CREATE, 10);
        umask(before);
        for (const std::string& path : {m_semaphorePath, m_memoryPath}) {
            struct stat status {};
            EXPECT_EQ(0, stat(path.c_str(), &status));
            EXPECT_EQ(S_IFREG | 0666u, status.st_mode) << std::oct << mask;
        }
    }
}

// --- What may be in an object's place
// -------------------------------------------------------------

TEST_F(SharedFiles, ASymbolicLinkInTheirPlaceIsNotFollowed) {
    const ScratchDir directory;
    for (const bool exists : {false, true}) {
        const std::string target = directory / "target";
        if (exists) Descriptor().Open(target.c_str(), O_WRONLY | O_CREAT, 0666);
        ASSERT_EQ(0, symlink(target.c_str(), m_semaphorePath.c_str()));
        EXPECT_EQ(kInvalidHandle, Outcome());
        KXSemaphoreHandle handle = 77;
        EXPECT_RESULT(0x80070006, KXNamedSemOpen(m_name.c_str(), 1, &handle));
        EXPECT_EQ(KX_INVALID_HANDLE, handle);
        EXPECT_EQ(exists, Exists(target) && std::filesystem::file_size(target) == 0);
        unlink(m_semaphorePath.c_str());
    }
}

TEST_F(SharedFiles, NothingButAPlainFileIsTakenForOne) {
    ASSERT_EQ(0, mkfifo(m_semaphorePath.c_str(), 0666));
    EXPECT_EQ(kInvalidHandle, Outcome());
    EXPECT_TRUE(Exists(m_semaphorePath));
    unlink(m_semaphorePath.c_str());
    ASSERT_EQ(0, mkdir(m_semaphorePath.c_str(), 0777));
    EXPECT_EQ(kInvalidHandle, Outcome());
    EXPECT_TRUE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, AHardLinkToSomebodysFileIsNotTouched) {
    const std::string somebodys = "/dev/shm/" + UniqueName();
    {
        Descriptor file;
        ASSERT_TRUE(file.Open(somebodys.c_str(), O_WRONLY | O_CREAT, 0666));
        ASSERT_EQ(4, write(file.Get(), "mine", 4));
    }
    ASSERT_EQ(0, link(somebodys.c_str(), m_semaphorePath.c_str()));
    EXPECT_EQ(kInvalidHandle, Outcome());
    SweepSharedObjects();
    EXPECT_TRUE(Exists(m_semaphorePath));
    EXPECT_EQ(4u, std::filesystem::file_size(somebodys));
    unlink(somebodys.c_str());
}

TEST_F(SharedFiles, WhatNobodyHoldsIsMadeAfresh) {
    for (const std::string& content :
         {std::string(), std::string("garbage"), std::string(4096, 'x'), std::string(9999, '\0')}) {
        Plant(content);
        SharedObject object;
        ASSERT_EQ(kSuccess, Open(&object));
        EXPECT_FALSE(object.existed);
        EXPECT_EQ(sizeof(SharedCount), object.size);
        EXPECT_EQ(kSharedHeaderSize + sizeof(SharedCount),
                  std::filesystem::file_size(m_semaphorePath));
        object.descriptor.Close();
        LeaveSharedObject(object.file);
        EXPECT_FALSE(Exists(m_semaphorePath));
    }
}

TEST_F(SharedFiles, WhatNobodyHoldsIsNotOpenedAndCleared) {
    Plant("garbage");
    SharedObject object;
    EXPECT_EQ(kFileNotFound, Open(&object, 20, false));
    EXPECT_FALSE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, GarbageThatSomebodyHoldsIsRefused) {
    for (const std::string& content :
         {std::string(), std::string("garbage"), std::string(5000, 'x'), std::string(4096, '\0')}) {
        const Descriptor holder = Plant(content, F_RDLCK);
        EXPECT_EQ(kInvalidHandle, Outcome());
        EXPECT_TRUE(Exists(m_semaphorePath));
    }
}

TEST_F(SharedFiles, WhoNeverLetsGoHoldsNobodyUp) {
    const Descriptor holder = Plant("garbage", F_WRLCK);
    EXPECT_EQ(kBusy, Outcome());
    SweepSharedObjects();
    EXPECT_TRUE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, WhoLetsGoIsWaitedFor) {
    const Descriptor holder = Plant("garbage", F_WRLCK);
    std::atomic<bool> opened{false};
    const std::ptrdiff_t before = OpenDescriptors();
    std::thread opener([&] {
        EXPECT_EQ(kSuccess, Outcome(600'000));
        opened = true;
    });
    while (OpenDescriptors() == before) std::this_thread::yield();
    EXPECT_FALSE(opened);
    Lock(holder, F_UNLCK);
    opener.join();
}

TEST_F(SharedFiles, OneThatIsTakenAlongMeanwhileIsMadeAnew) {
    const Descriptor holder = Plant("garbage", F_WRLCK);
    const std::ptrdiff_t before = OpenDescriptors();
    std::thread opener([&] {
        SharedObject object;
        EXPECT_EQ(kSuccess, Open(&object, 10'000));
        EXPECT_FALSE(object.existed);
    });
    while (OpenDescriptors() == before) std::this_thread::yield();
    EXPECT_EQ(0, unlink(m_semaphorePath.c_str()));
    opener.join();  // the lock is held still
}

// Each byte of a header, the name's among them, and the sizes.
TEST_F(SharedFiles, ACorruptHeaderIsRefused) {
    SharedObject object;
    ASSERT_EQ(kSuccess, Open(&object));
    const int file = object.descriptor.Get();
    const std::size_t end = 6 * sizeof(std::uint32_t) + m_systemName.size();
    std::string header(end, '\0');
    ASSERT_EQ(static_cast<ssize_t>(end), pread(file, header.data(), end, 0));
    for (std::size_t at = 0; at < end; ++at) {
        const auto wrong = static_cast<char>(header[at] ^ 0x40);
        ASSERT_EQ(1, pwrite(file, &wrong, 1, static_cast<off_t>(at)));
        EXPECT_EQ(kInvalidHandle, Outcome(2)) << at;
        ASSERT_EQ(1, pwrite(file, &header[at], 1, static_cast<off_t>(at)));
    }
    for (const off_t size : {0, 10, 4096, 4099, 4101, 8192}) {
        ASSERT_EQ(0, ftruncate(file, size));
        EXPECT_EQ(kInvalidHandle, Outcome(2)) << size;
        if (size < static_cast<off_t>(end)) {
            ASSERT_EQ(static_cast<ssize_t>(end), pwrite(file, header.data(), end, 0));
        }
    }
    ASSERT_EQ(0, ftruncate(file, kSharedHeaderSize + sizeof(SharedCount)));
    EXPECT_EQ(kSuccess, Outcome());
}

TEST_F(SharedFiles, OfAnotherSizeIsNoSemaphore) {
    SharedObject object;
    ASSERT_EQ(kSuccess, OpenSharedObject({.kind = SharedKind::semaphore,
                                          .name = m_systemName,
                                          .create = true,
                                          .size = 2 * sizeof(SharedCount),
                                          .firstWord = 0},
                                         &object));
    KXSemaphoreHandle handle = 77;
    EXPECT_RESULT(KX_E_HANDLE, KXNamedSemOpen(m_name.c_str(), 1, &handle));
}

TEST_F(SharedFiles, NamesHaveALimit) {
    for (const std::size_t length : {std::size_t{400}, std::size_t{3990}, kMaxSharedName - 4}) {
        const std::string name(length, 'n');
        const NamedSemaphore semaphore(m_name.substr(0, 20) + name.substr(20), 3);
        EXPECT_EQ(3, Drain(semaphore));
    }
    KXSemaphoreHandle handle = 77;
    const std::string name(kMaxSharedName - 3, 'n');
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemOpen(name.c_str(), 1, &handle));
    EXPECT_EQ(KX_INVALID_HANDLE, handle);
}

// --- What runs out
// --------------------------------------------------------------------------------

TEST_F(SharedFiles, WithoutADescriptorNothingIsOpened) {
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    KXSemaphoreHandle semaphore = 77;
    KXSharedMemHandle memory = 77;
    const NativeError error = Outcome();
    const KXResult semaphoreResult = KXNamedSemOpen(m_name.c_str(), 1, &semaphore);
    const KXResult memoryResult = KXSharedMemOpen(m_name.c_str(), KX_FILE_CREATE, 0, 10, &memory);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(kTooManyOpenFiles, error);
    EXPECT_RESULT(KX_E_FAIL, semaphoreResult);
    EXPECT_RESULT(KX_E_FAIL, memoryResult);
    EXPECT_EQ(KX_INVALID_HANDLE, semaphore);
    EXPECT_EQ(KX_INVALID_HANDLE, memory);
    EXPECT_FALSE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, OfWhomDescriptorsRanOutAreClearedLater) {
    KXSemaphoreHandle semaphore = 0;
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(m_name.c_str(), 1, &semaphore));
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(semaphore));
    setrlimit(RLIMIT_NOFILE, &before);
    SweepSharedObjects();
    EXPECT_FALSE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, PastTheLimitOfAFilesSizeIsAResult) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    const rlimit little{100'000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &little);
    NativeError error = kSuccess;
    const std::string name = "SHM:" + m_name;
    EXPECT_EQ(kNoMapping, CreateMapping({name.c_str(), u""}, 200'000, &error));
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(kDiskFull, error);
    EXPECT_FALSE(Exists(m_memoryPath));
    const SharedMemory memory(m_name, KX_FILE_CREATE, 200'000);
    EXPECT_RESULT(2, memory.Result());
}

namespace {

// In a child, since mounts are a process's own there. 77: the system does not let us.
int EndOnASmallFileSystem(const std::string& name) {
    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNS) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) _exit(77);
        mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
        if (mount("none", "/dev/shm", "tmpfs", 0, "size=64k") != 0) _exit(77);
        NativeError error = kSuccess;
        const MappingName both{name.c_str(), u""};
        if (CreateMapping(both, 1 << 20, &error) != kNoMapping || error != kDiskFull) _exit(1);
        if (Exists(PathOf(name))) _exit(2);
        const MappingHandle mapping = CreateMapping(both, 32'000, &error);
        if (mapping == kNoMapping || error != kSuccess) _exit(3);
        void* view = nullptr;
        if (MapView(mapping, MappingAccess::write, &view) != kSuccess) _exit(4);
        std::memset(view, 1, 32'000);  // no fault: its room was taken
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status)) << status;
    return WEXITSTATUS(status);
}

}  // namespace

TEST_F(SharedFiles, AFullFileSystemIsAResultAndNoFaultLater) {
    const int end = EndOnASmallFileSystem("SHM:" + m_name);
    if (end == 77) GTEST_SKIP() << "needs a mount of its own";
    EXPECT_EQ(0, end);
}

// --- Who holds
// ------------------------------------------------------------------------------------

namespace {

// A fork of this process that runs a body and then stands still until it is killed.
class Copy final {
  public:
    template <typename Body>
    explicit Copy(Body body) : m_process(fork()) {
        if (m_process == 0) {
            const bool good = body();
            raise(good ? SIGSTOP : SIGABRT);
        }
        int status = 0;
        waitpid(m_process, &status, WUNTRACED);
        EXPECT_TRUE(WIFSTOPPED(status)) << status;
    }
    ~Copy() { Kill(); }
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    void Kill() {
        if (m_process <= 0) return;
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        m_process = -1;
    }

  private:
    pid_t m_process;
};

}  // namespace

TEST_F(SharedFiles, AChildByForkKeepsWhatItInherited) {
    KXSemaphoreHandle semaphore = 0;
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(m_name.c_str(), 5, &semaphore));
    auto memory = std::make_unique<SharedMemory>(m_name, KX_FILE_CREATE, 100);
    Copy child([] { return true; });
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(semaphore));
    memory.reset();
    {
        const NamedSemaphore again(m_name, 1);
        EXPECT_EQ(5, Drain(again));
        EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, 1).Result());
    }
    child.Kill();
    const NamedSemaphore another(m_name, 1);
    EXPECT_EQ(1, Drain(another));
    EXPECT_RESULT(2, SharedMemory(m_name, KX_FILE_CREATE, 1).Result());
}

TEST_F(SharedFiles, AChildByForkMayCloseWhatItInherited) {
    const NamedSemaphore semaphore(m_name, 5);
    const SharedMemory memory(m_name, KX_FILE_CREATE, 100);
    const SharedView view(memory);
    const Copy child([&] {
        return KXNamedSemPost(semaphore) == 0 && KXNamedSemClose(semaphore) == 0 &&
               KXSharedMemDetach(view.Address()) == 0 && KXSharedMemClose(memory) == 0;
    });
    const NamedSemaphore again(m_name, 1);
    EXPECT_EQ(6, Drain(again));
    EXPECT_RESULT(KX_S_OK, SharedMemory(m_name, KX_FILE_CREATE, 1).Result());
    EXPECT_TRUE(Exists(m_semaphorePath));
    EXPECT_TRUE(Exists(m_memoryPath));
}

TEST_F(SharedFiles, AViewInAChildByForkKeepsTheMemory) {
    auto memory = std::make_unique<SharedMemory>(m_name, KX_FILE_CREATE, 100);
    auto view = std::make_unique<SharedView>(*memory);
    memory->Close();
    Copy child([] { return true; });
    (*view)[0] = 9;
    view.reset();
    const SharedMemory again(m_name, 0);
    ASSERT_RESULT(2, again.Result());
    EXPECT_EQ(9, SharedView(again, KX_FILE_READ)[0]);
}

TEST_F(SharedFiles, ASweepClearsWhatNobodyHoldsAndNothingElse) {
    const NamedSemaphore held(m_name + " held", 1);
    const std::string close = m_semaphorePath + "0";
    {
        Plant("left by a killed process");
        Descriptor file;
        ASSERT_TRUE(file.Open(close.c_str(), O_WRONLY | O_CREAT, 0666));
    }
    SweepSharedObjects();
    EXPECT_FALSE(Exists(m_semaphorePath));
    EXPECT_TRUE(Exists(close)) << "no name of ours";
    EXPECT_TRUE(Exists(PathOf("SEM:" + m_name + " held")));
    EXPECT_EQ(1, Drain(held));
    unlink(close.c_str());
}

TEST_F(SharedFiles, WhoMakesAnObjectSweeps) {
    Plant("left by a killed process");
    ObjectWorker worker({"sem", m_name + "'s other", "0", "hold"});
    worker.ExpectLine(KX_S_OK);
    EXPECT_FALSE(Exists(m_semaphorePath));
    worker.Kill();
    SweepSharedObjects();
    EXPECT_FALSE(Exists(PathOf(m_systemName + "'s other")));
}

TEST_F(SharedFiles, WhoGivesAnObjectBackSweeps) {
    const NamedSemaphore other(m_name + "'s other");
    Plant("left by a killed process");
    ObjectWorker worker({"sem", m_name + "'s other", "0", "drop", "hold"});
    worker.ExpectLine(KX_S_OK);
    worker.ExpectLine(KX_S_OK);
    EXPECT_FALSE(Exists(m_semaphorePath));
}

TEST_F(SharedFiles, HandlesOfFilesAndOfMemoryAreNotMistakenForEachOther) {
    const SharedMemory memory(m_name, KX_FILE_CREATE, 100);
    std::uint32_t done = 77;
    char buffer[10] = {};
    EXPECT_RESULT(KX_E_HANDLE, KXFileRead(memory, buffer, sizeof buffer, &done));
    Descriptor file;
    ASSERT_TRUE(file.Open("/dev/null", O_RDWR));
    void* address = nullptr;
    EXPECT_RESULT(KX_E_HANDLE, KXSharedMemAttach(static_cast<KXSharedMemHandle>(file.Get()),
                                                 KX_FILE_READ, &address));
}

// --- Other accounts
// -------------------------------------------------------------------------------

namespace {

constexpr uid_t kNobody = 65534;

// What a body comes to under an account without rights.
template <typename Body>
int AsNobody(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        if (setresgid(kNobody, kNobody, kNobody) != 0) _exit(100);
        if (setresuid(kNobody, kNobody, kNobody) != 0) _exit(100);
        _exit(body());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST_F(SharedFiles, OfAnotherAccountAreOpenToAll) {
    if (geteuid() != 0) GTEST_SKIP() << "needs two accounts";
    const mode_t before = umask(0077);
    const NamedSemaphore semaphore(m_name, 3);
    const SharedMemory memory(m_name, KX_FILE_CREATE, 100);
    umask(before);
    EXPECT_EQ(3, AsNobody([&] {
                  const SharedMemory mine(m_name, KX_FILE_WRITE);
                  const SharedView view(mine);
                  view[0] = 33;
                  const NamedSemaphore again(m_name, 1);
                  return Drain(again);
              }));
    EXPECT_EQ(33, SharedView(memory)[0]);
    EXPECT_EQ(0, Drain(semaphore));
}

TEST_F(SharedFiles, OfAKilledProcessOfAnotherAccountAreMadeAfresh) {
    if (geteuid() != 0) GTEST_SKIP() << "needs two accounts";
    {
        const Descriptor file = Plant("left by a killed process");
        ASSERT_EQ(0, fchmod(file.Get(), 0666));
    }
    EXPECT_EQ(2, AsNobody([&] {
                  const NamedSemaphore again(m_name, 2);
                  return Drain(again);
              }));
    if (Exists(m_semaphorePath)) {
        EXPECT_EQ(0u, std::filesystem::file_size(m_semaphorePath))
            << "can't be removed, and takes no room";
    }
    const NamedSemaphore mine(m_name, 4);
    EXPECT_EQ(4, Drain(mine));
}

TEST_F(SharedFiles, ThatAreClosedToUsAreRefused) {
    if (geteuid() != 0) GTEST_SKIP() << "needs two accounts";
    const Descriptor file = Plant("somebody's", F_RDLCK);
    ASSERT_EQ(0, fchmod(file.Get(), 0600));
    EXPECT_EQ(static_cast<int>(kAccessDenied),
              AsNobody([&] { return static_cast<int>(Outcome()); }));
}

// --- Killed at every step
// -------------------------------------------------------------------------

namespace {

// How often Step goes before the body's end.
template <typename Body>
int StepsOf(StepOf step, Body body) {
    SteppedProcess process(body);
    if (!process.Runs()) return -1;
    int steps = 0;
    while (process.Step(step)) ++steps;
    return steps;
}

// Calls look after a process was killed at its n-th step, for every n that the stride leaves.
template <typename Body, typename Look>
void KillAtEveryStep(StepOf step, int most, Body body, Look look) {
    const int steps = StepsOf(step, body);
    if (steps < 0) GTEST_SKIP() << "processes can't be traced here";
    look(steps);
    const int stride = std::max(1, steps / most);
    for (int end = 0; end <= steps; end += stride) {
        {
            SteppedProcess process(body);
            for (int i = 0; i < end && process.Step(step); ++i) {
            }
            process.Kill();
        }
        look(end);
        if (::testing::Test::HasFailure()) return;
    }
}

}  // namespace

// A post that ends somebody's sleep: it was done and woke, or it was not done.
TEST_F(SharedFiles, APosterKilledAtAnyInstructionLeavesNobodyAsleepBesideACount) {
    std::unique_ptr<NamedSemaphore> semaphore;
    std::unique_ptr<WaitingThread> waiter;
    const auto begin = [&] {
        semaphore = std::make_unique<NamedSemaphore>(m_name);
        waiter = std::make_unique<WaitingThread>(
            [&] { EXPECT_RESULT(KX_S_OK, KXNamedSemWait(*semaphore)); });
        waiter->WaitUntilAsleep();
    };
    begin();
    int posted = 0;
    int looks = 0;
    KillAtEveryStep(
        StepOf::instruction, 250, [&] { KXNamedSemPost(*semaphore); },
        [&](int end) {
            ++looks;
            if (waiter->WaitUntilAsleepOrEnded()) {
                EXPECT_RESULT(KX_E_FAIL, KXNamedSemTryWait(*semaphore))
                    << "asleep beside a count, killed at " << end;
                EXPECT_RESULT(KX_S_OK, KXNamedSemPost(*semaphore));
            } else {
                ++posted;
            }
            waiter->Join();
            EXPECT_EQ(0, Drain(*semaphore)) << "killed at " << end;
            waiter.reset();
            semaphore.reset();
            begin();
        });
    EXPECT_RESULT(KX_S_OK, KXNamedSemPost(*semaphore));
    waiter->Join();
    waiter.reset();
    semaphore.reset();
    EXPECT_LT(0, posted);
    EXPECT_TRUE(looks <= 1 || posted < looks) << "some were killed before";
    EXPECT_FALSE(Exists(m_semaphorePath));
}

// One that nobody waits for: counts are whole.
TEST_F(SharedFiles, AProcessKilledAtAnyInstructionOfAPostOrATakeLeavesAWholeCount) {
    std::unique_ptr<NamedSemaphore> semaphore = std::make_unique<NamedSemaphore>(m_name, 3);
    int least = 3;
    int most = 3;
    KillAtEveryStep(
        StepOf::instruction, 100,
        [&] {
            KXNamedSemWait(*semaphore);
            KXNamedSemPost(*semaphore);
            KXNamedSemPost(*semaphore);
        },
        [&](int end) {
            const int count = Drain(*semaphore);
            least = std::min(least, count);
            most = std::max(most, count);
            EXPECT_TRUE(count >= 2 && count <= 4) << count << ", killed at " << end;
            semaphore.reset();
            semaphore = std::make_unique<NamedSemaphore>(m_name, 3);
        });
    EXPECT_EQ(4, most);
    EXPECT_TRUE(IsSkipped() || least == 2) << least;
}

// System calls are all that others can see of opening and closing.
TEST_F(SharedFiles, AProcessKilledAtAnySystemCallOfOpeningAndClosingLeavesNothing) {
    KillAtEveryStep(
        StepOf::systemCall, 1000,
        [&] {
            KXSemaphoreHandle semaphore = 0;
            KXNamedSemOpen(m_name.c_str(), 7, &semaphore);
            KXNamedSemPost(semaphore);
            KXNamedSemClose(semaphore);
        },
        [&](int end) {
            {
                const NamedSemaphore mine(m_name, 2);
                EXPECT_EQ(2, Drain(mine)) << "killed at " << end;
            }
            EXPECT_FALSE(Exists(m_semaphorePath)) << "killed at " << end;
        });
}

TEST_F(SharedFiles, AProcessKilledAtAnySystemCallLeavesOthersWhatTheyHold) {
    const auto keeper = std::make_unique<NamedSemaphore>(m_name, 2);
    KillAtEveryStep(
        StepOf::systemCall, 1000,
        [&] {
            KXSemaphoreHandle semaphore = 0;
            KXNamedSemOpen(m_name.c_str(), 7, &semaphore);
            KXNamedSemClose(semaphore);
        },
        [&](int end) {
            const NamedSemaphore mine(m_name, 5);
            EXPECT_EQ(2, Drain(mine)) << "killed at " << end;
            EXPECT_RESULT(KX_S_OK, KXNamedSemPost(*keeper));
            EXPECT_RESULT(KX_S_OK, KXNamedSemPost(*keeper));
        });
}

// Somebody takes the lock at one step and clears the file away some steps later: between any two
// steps of an opening, that is, be it of a new file or of one that was left.
TEST_F(SharedFiles, WhoOpensWhileASweepPassesHasTheObjectThatOthersFind) {
    constexpr int kMostSteps = 60;
    const auto open = [&] {
        KXSemaphoreHandle semaphore = 0;
        if (KXNamedSemOpen(m_name.c_str(), 7, &semaphore) != 0) _exit(1);
    };
    for (const int length : {0, 1, 2, 4, 6, 8}) {
        for (int at = 0; at < kMostSteps; ++at) {
            if (at % 2 != 0) Plant("left by a killed process");
            SteppedProcess process(open);
            if (!process.Runs()) GTEST_SKIP() << "processes can't be traced here";
            for (int i = 0; i < at / 2 && process.Step(StepOf::systemCall); ++i) {
            }
            Descriptor sweep;
            struct flock lock {};
            lock.l_type = F_WRLCK;
            lock.l_len = 1;
            if (sweep.Open(m_semaphorePath.c_str(), O_RDWR) &&
                fcntl(sweep.Get(), F_OFD_SETLK, &lock) == 0) {
                for (int i = 0; i < length && process.Step(StepOf::systemCall); ++i) {
                }
                unlink(m_semaphorePath.c_str());
            }
            sweep.Close();
            while (process.Step(StepOf::systemCall)) {
            }
            const NamedSemaphore mine(m_name, 2);
            ASSERT_EQ(7, Drain(mine)) << "from step " << at / 2 << " for " << length;
        }
    }
}

// Somebody waits already for the one who makes it: an object half made is not joined.
TEST_F(SharedFiles, WhoWaitsForAMakerThatIsKilledHasAWholeObject) {
    constexpr int kMostSteps = 40;
    for (int at = 0; at < kMostSteps; ++at) {
        SteppedProcess process([&] {
            KXSemaphoreHandle semaphore = 0;
            KXNamedSemOpen(m_name.c_str(), 7, &semaphore);
        });
        if (!process.Runs()) GTEST_SKIP() << "processes can't be traced here";
        for (int i = 0; i < at && process.Step(StepOf::systemCall); ++i) {
        }
        std::atomic<bool> opened{false};
        const std::ptrdiff_t before = OpenDescriptors();
        std::thread opener([&] {
            const NamedSemaphore mine(m_name, 2);
            opened = true;
            const int count = Drain(mine);
            EXPECT_TRUE(count == 2 || count == 7) << count << ", killed at " << at;
        });
        while (!opened && OpenDescriptors() == before) std::this_thread::yield();
        process.Kill();
        opener.join();
        SweepSharedObjects();
        EXPECT_FALSE(Exists(m_semaphorePath)) << "killed at " << at;
    }
}

TEST_F(SharedFiles, AProcessKilledAtAnySystemCallOfSharingMemoryLeavesNothing) {
    KillAtEveryStep(
        StepOf::systemCall, 1000,
        [&] {
            SharedMemory memory(m_name, KX_FILE_CREATE, 20'000);
            SharedView view(memory);
            view[0] = 1;
            memory.Close();
        },
        [&](int end) {
            {
                const SharedMemory mine(m_name, KX_FILE_CREATE, 100);
                EXPECT_RESULT(2, mine.Result()) << "killed at " << end;
                EXPECT_EQ(0, SharedView(mine)[0]);
            }
            EXPECT_FALSE(Exists(m_memoryPath)) << "killed at " << end;
        });
}

// --- The count's word
// -----------------------------------------------------------------------------

namespace {

// A count in memory of the test's own, which it can set as killed processes leave it.
class CountInMemory final {
  public:
    explicit CountInMemory(std::uint32_t word) : m_word(word) {}

    SharedCount& operator*() { return *reinterpret_cast<SharedCount*>(&m_word); }
    SharedCount* operator->() { return &**this; }
    std::uint32_t Word() const { return m_word.load(); }

    static std::uint32_t WordOf(std::uint32_t waiters, std::uint32_t count,
                                std::uint32_t promises) {
        return waiters << 21 | count << 6 | promises;
    }

  private:
    std::atomic<std::uint32_t> m_word;
};

}  // namespace

TEST(SharedCounts, APostForAWaiterThatWasKilledIsKept) {
    CountInMemory count(CountInMemory::WordOf(1, 0, 0));
    for (std::uint32_t posts = 1; posts < 4; ++posts) {
        EXPECT_EQ(kSuccess, count->Post());
        EXPECT_EQ(CountInMemory::WordOf(1, posts, 0), count.Word());
    }
    EXPECT_EQ(kSuccess, count->Wait(0));
    EXPECT_EQ(CountInMemory::WordOf(1, 2, 0), count.Word());
}

TEST(SharedCounts, APromiseThatWasNotKeptLowersTheCeiling) {
    CountInMemory count(CountInMemory::WordOf(0, SharedCount::kCeiling - 3, 2));
    EXPECT_EQ(kSuccess, count->Post());
    EXPECT_EQ(kTooManyPosts, count->Post());
    EXPECT_EQ(CountInMemory::WordOf(0, SharedCount::kCeiling - 2, 2), count.Word());
}

TEST(SharedCounts, WithoutRoomForAPromiseAPostWakesAllTheSame) {
    for (const std::uint32_t promises : {62u, 63u}) {
        CountInMemory count(CountInMemory::WordOf(0, 0, promises));
        std::vector<std::unique_ptr<WaitingThread>> waiters;
        for (int i = 0; i < 3; ++i) {
            waiters.push_back(std::make_unique<WaitingThread>(
                [&] { EXPECT_EQ(kSuccess, count->Wait(kNoLimit)); }));
            waiters.back()->WaitUntilAsleep();
        }
        EXPECT_EQ(CountInMemory::WordOf(3, 0, promises), count.Word());
        for (int i = 0; i < 3; ++i) EXPECT_EQ(kSuccess, count->Post());
        waiters.clear();
        EXPECT_EQ(CountInMemory::WordOf(0, 0, promises), count.Word());
    }
}

TEST(SharedCounts, MoreWaitersThanCanBeWrittenDownAreManyForEver) {
    for (const std::uint32_t many : {2046u, 2047u}) {
        CountInMemory count(CountInMemory::WordOf(many, 0, 0));
        EXPECT_EQ(kWaitTimedOut, count->Wait(1));
        EXPECT_EQ(CountInMemory::WordOf(2047, 0, 0), count.Word());
        WaitingThread waiter([&] { EXPECT_EQ(kSuccess, count->Wait(kNoLimit)); });
        waiter.WaitUntilAsleep();
        EXPECT_EQ(kSuccess, count->Post());
        waiter.Join();
        EXPECT_EQ(CountInMemory::WordOf(2047, 0, 0), count.Word());
    }
}

TEST(SharedCounts, WhoRunsOutOfTimeIsStruckOff) {
    CountInMemory count(CountInMemory::WordOf(5, 0, 0));
    for (int i = 0; i < 3; ++i) EXPECT_EQ(kWaitTimedOut, count->Wait(1));
    EXPECT_EQ(CountInMemory::WordOf(5, 0, 0), count.Word());
    EXPECT_EQ(kWaitTimedOut, count->Wait(0));
}
