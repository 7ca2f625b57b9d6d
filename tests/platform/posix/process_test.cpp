#include <kxcore7/process.h>
#include <kxcore7/semaphore.h>
#include <kxcore7/sharedmem.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>

#include "support/child_process.h"
#include "support/current_dir.h"
#include "support/environment.h"
#include "support/named_objects.h"
#include "support/posix/descriptors.h"
#include "support/posix/fork.h"
#include "support/started_child.h"

using kx::test::AwaitEnd;
using kx::test::InChild;
using kx::test::InScratchDirectory;
using kx::test::NothingStaysOpen;
using kx::test::StartedChild;
using kx::test::Store;
namespace fs = std::filesystem;

namespace {

const fs::path kChild = KXTEST_CHILD;

// The limit on descriptors under which so many are to be had yet.
rlim_t LimitWithFree(int free) {
    const std::set<int> open = kx::test::OpenDescriptors();
    for (int limit = 0;; ++limit) {
        if (open.contains(limit)) continue;
        if (free-- == 0) return static_cast<rlim_t>(limit);
    }
}

// The value of a line "NAME:\tvalue" of a file of the kernel's.
std::string ValueIn(const fs::path& file, const std::string& name) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name + ":\t")) return line.substr(name.size() + 2);
    }
    return {};
}

pid_t IdOf(KXProcessHandle process) {
    return std::stoi(ValueIn("/proc/self/fdinfo/" + std::to_string(process), "Pid"));
}

fs::path FolderOf(pid_t process) {
    return "/proc/" + std::to_string(process);
}

std::set<std::string> DescriptorsOf(pid_t process) {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(FolderOf(process) / "fd"))
        names.insert(entry.path().filename());
    return names;
}

// Returns when this process has no children: those that earlier tests have detached may run yet,
// and the library asks for them when another one is started.
void AwaitNoChildren() {
    siginfo_t any{};
    while (waitid(P_ALL, 0, &any, WEXITED | WNOHANG | WNOWAIT | __WALL) == 0) {
        KXProcessHandle none = 0;
        KXProcessCreate(u"nothing", nullptr, nullptr, nullptr, 0, nullptr, &none);
    }
}

// What every program gets that this one starts: the standard ones, and what whoever started this
// one left open.
std::set<std::string> PassedOn() {
    std::set<std::string> names{"0", "1", "2"};
    for (const int descriptor : kx::test::OpenDescriptors()) {
        if ((fcntl(descriptor, F_GETFD) & FD_CLOEXEC) == 0)
            names.insert(std::to_string(descriptor));
    }
    return names;
}

// A child's descriptors are as they are to be by the time that it answers: the parent goes on a
// little earlier.
void AwaitAnswer(int to, int from) {
    char byte = 'x';
    EXPECT_EQ(1, write(to, &byte, 1));
    EXPECT_EQ(1, read(from, &byte, 1));
}
void AwaitAnswer(const StartedChild& child) {
    AwaitAnswer(static_cast<int>(child.End(0)), static_cast<int>(child.End(1)));
}

std::uint64_t SignalsIn(pid_t process, const std::string& which) {
    return std::stoull(ValueIn(FolderOf(process) / "status", which), nullptr, 16);
}

constexpr std::uint64_t BitOf(int signal) {
    return std::uint64_t{1} << (signal - 1);
}

// A signal's disposition for the time of a scope.
class ScopedSignal final {
  public:
    ScopedSignal(int signal, void (*handler)(int)) : m_signal(signal) {
        struct sigaction action {};
        action.sa_handler = handler;
        sigaction(signal, &action, &m_before);
    }
    ~ScopedSignal() { sigaction(m_signal, &m_before, nullptr); }
    ScopedSignal(const ScopedSignal&) = delete;
    ScopedSignal& operator=(const ScopedSignal&) = delete;

  private:
    const int m_signal;
    struct sigaction m_before {};
};

// Whether the kernel remembers the exit code of a child that somebody else has waited for.
bool KernelKeepsExitCodes() {
    utsname system{};
    uname(&system);
    int major = 0;
    int minor = 0;
    std::sscanf(system.release, "%d.%d", &major, &minor);
    return major > 6 || (major == 6 && minor >= 15);
}

// The join of a child that ended with 9 and that somebody else has waited for.
void ExpectCodeOfTakenChild(KXProcessHandle process) {
    std::uint32_t exitCode = 77;
    const KXResult result = KXProcessJoin(process, &exitCode);
    if (KernelKeepsExitCodes()) {
        EXPECT_RESULT(KX_S_OK, result);
        EXPECT_EQ(9u, exitCode);
    } else {
        EXPECT_RESULT(KX_E_FAIL, result);
        EXPECT_EQ(77u, exitCode);
        EXPECT_RESULT(KX_S_OK, KXProcessDetach(process));
    }
}

}  // namespace

// --- The program -------------------------------------------------------------------------------

TEST(PosixProcess, AProgramIsFoundWithoutTheSuffixThatItDoesNotHave) {
    EXPECT_EQ(0u, StartedChild("/bin/true", nullptr).Join());
    EXPECT_EQ(1u, StartedChild("/bin/false.exe", nullptr).Join());
}

TEST(PosixProcess, AProgramWithTheSuffixGoesFirst) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "both.exe");
    fs::create_symlink("/bin/true", here / "both");
    EXPECT_EQ(7u, StartedChild("both", nullptr).Join());
    fs::remove(here / "both.exe");
    EXPECT_EQ(0u, StartedChild("both", nullptr).Join());
}

// There are programs that look at it to know what to do.
TEST(PosixProcess, AProgramWithoutSuffixIsCalledByItsName) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "plain");
    fs::copy_file(kChild, here / "suffixed.exe");
    StartedChild plain("./plain", u"arguments");
    EXPECT_EQ("[./plain]", plain.ReadLine());
    StartedChild suffixed("./suffixed", u"arguments");
    EXPECT_EQ("[./suffixed.exe]", suffixed.ReadLine());
}

TEST(PosixProcess, AProgramWithABlankStandsBareOnTheCommandLine) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "two words");
    StartedChild child("two words", u"arguments x");
    ASSERT_RESULT(KX_S_OK, child.Result());
    EXPECT_EQ(64u, child.Join()) << "its second word is taken for the command";
}

TEST(PosixProcess, AScriptRunsByItsFirstLine) {
    const InScratchDirectory here;
    Store(here / "script", "#!/bin/sh\nexit 12\n");
    fs::permissions(here / "script", fs::perms::owner_all);
    fs::create_directory(here / "there");
    StartedChild child("script", nullptr, {.directory = u"there"});
    EXPECT_EQ(12u, child.Join());
}

TEST(PosixProcess, AFileThatMayNotBeRunIsRefused) {
    const InScratchDirectory here;
    Store(here / "text", "no program");
    EXPECT_RESULT(0x80070005, StartedChild("text", nullptr).Result());
    EXPECT_RESULT(0x80070002, StartedChild("text/below", nullptr).Result());
}

TEST(PosixProcess, AnyBytesGoThereAndBack) {
    const InScratchDirectory here;
    const fs::path name = "caf\xC3\xA9-\xFF";
    fs::copy_file(kChild, here / name.c_str());
    // What is no UTF-8 is a low surrogate of its own.
    const std::u16string wide = u"caf\u00E9-\xDCFF";
    KXProcessHandle process = 0;
    KXProcessStdHandles ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
    ASSERT_RESULT(KX_S_OK, KXProcessCreate(wide.c_str(), u"arguments \xDC80\u00FC", nullptr,
                                           nullptr, 0, ends, &process));
    char bytes[100] = {};
    std::uint32_t count = 0;
    KXFileRead(ends[1], bytes, sizeof bytes, &count);
    EXPECT_EQ("[caf\xC3\xA9-\xFF]\n[\x80\xC3\xBC]\n", std::string(bytes));
    for (const KXFileHandle end : ends) KXFileClose(end);
    EXPECT_RESULT(KX_S_OK, KXProcessJoin(process, nullptr));
}

// --- What fails leaves nothing -------------------------------------------------------------------

TEST(PosixProcess, AStartThatFailsLeavesNothingOpenAndNoChild) {
    const InScratchDirectory here;
    Store(here / "text", "no program");
    Store(here / "junk", "no program");
    fs::permissions(here / "junk", fs::perms::owner_all);
    AwaitNoChildren();
    const NothingStaysOpen open;
    for (const char* program : {"nothing", "text", "junk", "/", "."})
        EXPECT_NE(KX_S_OK, StartedChild(program, nullptr).Result()) << program;
    EXPECT_NE(KX_S_OK, StartedChild(kChild, nullptr, {.directory = u"nowhere"}).Result());
    siginfo_t any{};
    EXPECT_EQ(-1, waitid(P_ALL, 0, &any, WEXITED | WNOHANG | __WALL));
    EXPECT_EQ(ECHILD, errno);
}

TEST(PosixProcess, WithoutDescriptorsTheStartFailsAndLeavesNothing) {
    EXPECT_EQ(
        0, InChild([] {
            for (int free = 0; free < 9; ++free) {
                const std::size_t before = kx::test::OpenDescriptors().size();
                rlimit limit{};
                getrlimit(RLIMIT_NOFILE, &limit);
                const rlimit low{LimitWithFree(free), limit.rlim_max};
                setrlimit(RLIMIT_NOFILE, &low);
                KXProcessStdHandles ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
                KXProcessHandle process = 0;
                const KXResult result =
                    KXProcessCreate(u"/bin/true", nullptr, nullptr, nullptr, 0, ends, &process);
                setrlimit(RLIMIT_NOFILE, &limit);
                if (result == KX_S_OK) {
                    for (const KXFileHandle end : ends) KXFileClose(end);
                    if (KXProcessJoin(process, nullptr) != KX_S_OK) return 1;
                    if (free < 7) return 2;  // six ends, and the child
                } else {
                    if (result != KX_E_FAIL || process != KX_INVALID_HANDLE) return 3;
                    if (free >= 7) return 4;
                }
                if (kx::test::OpenDescriptors().size() != before) return 5;
            }
            return 0;
        }));
}

TEST(PosixProcess, AHandleThatIsNoneIsRefused) {
    AwaitNoChildren();
    const NothingStaysOpen open;
    KXProcessStdHandles ends{KX_INVALID_HANDLE, 0x7FFFFFF0, KX_INVALID_HANDLE};
    KXProcessHandle process = 0;
    EXPECT_RESULT(0x80070006, KXProcessCreate(kChild.u16string().c_str(), nullptr, nullptr, nullptr,
                                              0, ends, &process));
    ends[0] = ends[2] = KX_INVALID_HANDLE;
    ends[1] = ~KXFileHandle{0} - 1;
    EXPECT_RESULT(0x80070006, KXProcessCreate(kChild.u16string().c_str(), nullptr, nullptr, nullptr,
                                              0, ends, &process));
    EXPECT_EQ(KX_INVALID_HANDLE, process);
}

// --- What a child inherits -----------------------------------------------------------------------

TEST(PosixProcess, AChildHasItsStandardDescriptorsAndNoOther) {
    StartedChild other(kChild, u"wait");
    const KXFileHandle file = static_cast<KXFileHandle>(open("/dev/null", O_RDWR | O_CLOEXEC));
    StartedChild child(kChild, u"answer");
    AwaitAnswer(child);
    EXPECT_EQ(PassedOn(), DescriptorsOf(IdOf(child.Handle())));
    KXFileClose(file);
}

TEST(PosixProcess, PipesWorkWhereTheParentHasNoStandardDescriptors) {
    EXPECT_EQ(0, InChild([] {
                  for (int i = 0; i < 3; ++i) close(i);
                  KXProcessStdHandles ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
                  KXProcessHandle process = 0;
                  if (KXProcessCreate(kChild.u16string().c_str(), u"both", nullptr, nullptr, 0,
                                      ends, &process) != KX_S_OK) {
                      return 1;
                  }
                  std::uint32_t count = 0;
                  KXFileWrite(ends[0], "abc", 3, &count);
                  KXFileClose(ends[0]);
                  char output[4] = {};
                  char error[4] = {};
                  KXFileRead(ends[1], output, 3, &count);
                  KXFileRead(ends[2], error, 3, &count);
                  return output == std::string("abc") && error == std::string("abc") ? 0 : 2;
              }));
}

// The three places of one descriptor, in an order in which each is in another's way.
TEST(PosixProcess, GivenDescriptorsMayBeTheStandardOnesInAnyOrder) {
    const kx::test::ScratchDir scratch;
    EXPECT_EQ(0, InChild([&scratch] {
                  const int input = open("/dev/null", O_RDONLY);
                  const int output = open((scratch / "output").c_str(), O_RDWR | O_CREAT, 0600);
                  const int error = open((scratch / "error").c_str(), O_RDWR | O_CREAT, 0600);
                  dup2(output, 0);
                  dup2(error, 1);
                  dup2(input, 2);
                  KXProcessStdHandles given{2, 0, 1};
                  KXProcessHandle process = 0;
                  if (KXProcessCreate(u"/bin/sh", u"-c \"echo out; echo err >&2\"", nullptr,
                                      nullptr, 0, given, &process) != KX_S_OK) {
                      return 1;
                  }
                  return KXProcessJoin(process, nullptr) == KX_S_OK ? 0 : 2;
              }));
    EXPECT_EQ("out\n", kx::test::Stored(scratch / "output"));
    EXPECT_EQ("err\n", kx::test::Stored(scratch / "error"));
}

TEST(PosixProcess, WithoutHandlesAChildHasItsParents) {
    const kx::test::ScratchDir scratch;
    EXPECT_EQ(0, InChild([&scratch] {
                  dup2(open((scratch / "output").c_str(), O_RDWR | O_CREAT, 0600), 1);
                  KXProcessHandle process = 0;
                  if (KXProcessCreate(u"/bin/echo", u"mine", nullptr, nullptr, 0, nullptr,
                                      &process) != KX_S_OK) {
                      return 1;
                  }
                  return KXProcessJoin(process, nullptr) == KX_S_OK ? 0 : 2;
              }));
    EXPECT_EQ("mine\n", kx::test::Stored(scratch / "output"));
}

// Started by the host itself, at the same time.
TEST(PosixProcess, ChildrenOfOthersGetNoneOfItsDescriptors) {
    const std::set<std::string> passedOn = PassedOn();
    std::atomic<bool> stop{false};
    std::thread host([&] {
        while (!stop) {
            int input[2];
            int output[2];
            ASSERT_EQ(0, pipe2(input, O_CLOEXEC));
            ASSERT_EQ(0, pipe2(output, O_CLOEXEC));
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_adddup2(&actions, input[0], 0);
            posix_spawn_file_actions_adddup2(&actions, output[1], 1);
            pid_t child = -1;
            std::string program = kChild;
            std::string word = "answer";
            char* const words[] = {program.data(), word.data(), nullptr};
            ASSERT_EQ(0, posix_spawn(&child, program.c_str(), &actions, nullptr, words, environ));
            posix_spawn_file_actions_destroy(&actions);
            AwaitAnswer(input[1], output[0]);
            EXPECT_EQ(passedOn, DescriptorsOf(child));
            for (const int end : {input[0], input[1], output[0], output[1]}) close(end);
            waitpid(child, nullptr, 0);
        }
    });
    for (int i = 0; i < 60; ++i) EXPECT_EQ(7u, StartedChild(kChild, nullptr).Join());
    stop = true;
    host.join();
}

TEST(PosixProcess, AChildKeepsNamedObjectsOfItsParentAlive) {
    const std::string name = kx::test::UniqueName();
    KXSemaphoreHandle semaphore = 0;
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(name.c_str(), 0, &semaphore));
    KXSharedMemHandle memory = 0;
    ASSERT_RESULT(2, KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, 4096, &memory));
    StartedChild child(kChild, u"wait");
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(semaphore));
    EXPECT_RESULT(KX_S_OK, KXSharedMemClose(memory));

    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(name.c_str(), 5, &semaphore));
    EXPECT_RESULT(KX_E_FAIL, KXNamedSemTryWait(semaphore)) << "it is the one with no count";
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(semaphore));
    EXPECT_RESULT(KX_S_OK, KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, 4096, &memory));
    EXPECT_RESULT(KX_S_OK, KXSharedMemClose(memory));

    EXPECT_EQ(0u, child.Join());
    ASSERT_RESULT(KX_S_OK, KXNamedSemOpen(name.c_str(), 5, &semaphore));
    EXPECT_RESULT(KX_S_OK, KXNamedSemTryWait(semaphore)) << "nobody had it any more";
    EXPECT_RESULT(KX_S_OK, KXNamedSemClose(semaphore));
    EXPECT_RESULT(2, KXSharedMemOpen(name.c_str(), KX_FILE_CREATE, 0, 4096, &memory));
    EXPECT_RESULT(KX_S_OK, KXSharedMemClose(memory));
}

TEST(PosixProcess, AChildBlocksNothingAndIgnoresWhatTheUserDoes) {
    const ScopedSignal pipes(SIGPIPE, SIG_IGN);
    const ScopedSignal children(SIGCHLD, [](int) {});
    const ScopedSignal hangups(SIGHUP, SIG_IGN);
    const ScopedSignal interrupts(SIGINT, SIG_IGN);
    const ScopedSignal realTime(SIGRTMIN + 3, SIG_IGN);
    sigset_t blocked;
    sigset_t before;
    sigfillset(&blocked);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    StartedChild child(kChild, u"answer");
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    AwaitAnswer(child);
    const pid_t id = IdOf(child.Handle());
    EXPECT_EQ(0u, SignalsIn(id, "SigBlk"));
    EXPECT_EQ(BitOf(SIGHUP) | BitOf(SIGINT), SignalsIn(id, "SigIgn"));
    EXPECT_EQ(1, sigismember(&after, SIGTERM)) << "the parent's own mask is as it was";
}

TEST(PosixProcess, StartsFromALargeParent) {
    constexpr std::size_t kSize = std::size_t{8} << 30;
    void* const memory = mmap(nullptr, kSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    EXPECT_EQ(7u, StartedChild(kChild, nullptr).Join());
    munmap(memory, kSize);
}

// --- Exit codes and the host's ways --------------------------------------------------------------

TEST(PosixProcess, AKilledChildHasTheSignalInItsCode) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        StartedChild child(kChild, u"wait");
        kill(IdOf(child.Handle()), signal);
        EXPECT_EQ(128u + static_cast<unsigned>(signal), child.Join());
    }
}

TEST(PosixProcess, AHostThatWaitsForAllChildrenTakesThem) {
    StartedChild child(kChild, u"exit 9");
    const pid_t id = IdOf(child.Handle());
    while (waitpid(-1, nullptr, 0) != id) continue;  // as others may be there, detached
    ExpectCodeOfTakenChild(child.Release());
}

TEST(PosixProcess, AHostThatIgnoresSigchldKeepsNoChildren) {
    const ScopedSignal ignored(SIGCHLD, SIG_IGN);
    StartedChild child(kChild, u"exit 9");
    ExpectCodeOfTakenChild(child.Release());
    StartedChild running(kChild, u"wait");
    std::uint32_t exitCode = 77;
    EXPECT_RESULT(KX_E_FAIL, KXProcessGetExitCode(running.Handle(), &exitCode));
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(running.Release()));
}

// In a process that has no other children.
TEST(PosixProcess, AHandlerOfSigchldIsToldAsOfAnyChild) {
    EXPECT_EQ(0, InChild([] {
                  static std::atomic<int> told{0};
                  const ScopedSignal handled(SIGCHLD, [](int) { ++told; });
                  if (StartedChild(kChild, nullptr).Join() != 7) return 1;
                  while (told == 0) std::this_thread::yield();
                  if (told != 1) return 2;
                  if (StartedChild("nothing", nullptr).Result() == KX_S_OK) return 3;
                  return told == 1 ? 0 : 4;  // a child that never was one is not told of
              }));
}

TEST(PosixProcess, ADetachedChildIsNotKeptByTheSystem) {
    AwaitNoChildren();
    const NothingStaysOpen open;
    StartedChild detached(kChild, u"wait");
    const pid_t id = IdOf(detached.Handle());
    EXPECT_RESULT(KX_S_OK, KXProcessDetach(detached.Release()));
    detached.CloseInput();
    while (!ValueIn(FolderOf(id) / "status", "State").starts_with("Z")) std::this_thread::yield();
    // Whoever starts the next one asks for it.
    EXPECT_EQ(7u, StartedChild(kChild, nullptr).Join());
    EXPECT_FALSE(fs::exists(FolderOf(id)));
}

TEST(PosixProcess, ManyChildrenLeaveNoDescriptor) {
    AwaitNoChildren();
    const NothingStaysOpen open;
    for (int i = 0; i < 50; ++i) {
        StartedChild joined(kChild, nullptr);
        StartedChild detached(kChild, nullptr);
        EXPECT_RESULT(KX_S_OK, KXProcessDetach(detached.Release()));
        EXPECT_EQ(7u, joined.Join());
    }
    AwaitNoChildren();
}

TEST(PosixProcess, ADescriptorThatIsNoProcessIsAnInvalidHandle) {
    const int file = open("/dev/null", O_RDWR | O_CLOEXEC);
    EXPECT_RESULT(0x80070006, KXProcessJoin(static_cast<KXProcessHandle>(file), nullptr));
    EXPECT_NE(-1, fcntl(file, F_GETFD)) << "it is not closed";
    close(file);
}

// --- Names ---------------------------------------------------------------------------------------

namespace {

// The name of the file behind a process's link; empty for none.
std::string FileOf(const fs::path& process) {
    std::error_code gone;
    return fs::read_symlink(process / "exe", gone).filename();
}

}  // namespace

TEST(PosixProcessName, IsThatOfTheFileOfEveryProcessThatHasOne) {
    std::size_t named = 0;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string number = entry.path().filename();
        if (number.find_first_not_of("0123456789") != std::string::npos) continue;
        const std::string file = FileOf(entry.path());
        char name[300] = {};
        const bool known = KXProcessGetName(static_cast<std::uint32_t>(std::stoul(number)), name,
                                            sizeof name) != 0;
        // It may have become another program meanwhile, or have ended.
        if (FileOf(entry.path()) != file || file.ends_with(" (deleted)")) continue;
        EXPECT_EQ(!file.empty(), known) << number << ": kernel threads have none";
        EXPECT_EQ(file, name);
        named += known ? 1 : 0;
    }
    EXPECT_NE(0u, named);
}

TEST(PosixProcessName, OfAChildThatHasEndedIsNone) {
    StartedChild child(kChild, u"wait");
    const auto id = static_cast<std::uint32_t>(IdOf(child.Handle()));
    char name[300];
    EXPECT_EQ(1, KXProcessGetName(id, name, sizeof name));
    EXPECT_EQ(kChild.filename(), name);
    child.CloseInput();
    AwaitEnd(child.Handle());
    EXPECT_EQ(0, KXProcessGetName(id, name, sizeof name)) << "it is there, and has no program";
    EXPECT_EQ(0u, child.Join());
    EXPECT_EQ(0, KXProcessGetName(id, name, sizeof name));
}

TEST(PosixProcessName, OfADeletedProgramIsTheOneItHad) {
    const InScratchDirectory here;
    fs::copy_file(kChild, here / "short-lived");
    StartedChild child("short-lived", u"wait");
    fs::remove(here / "short-lived");
    char name[300];
    EXPECT_EQ(
        1, KXProcessGetName(static_cast<std::uint32_t>(IdOf(child.Handle())), name, sizeof name));
    EXPECT_EQ("short-lived", std::string(name));
}

TEST(PosixProcessName, OfAThreadIsNone) {
    std::thread([] {
        char name[300];
        EXPECT_EQ(0, KXProcessGetName(static_cast<std::uint32_t>(gettid()), name, sizeof name));
    }).join();
}
