#include "platform/processes.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/posix/command_line.h"
#include "platform/posix/descriptor.h"
#include "platform/posix/error.h"
#include "platform/posix/immortal.h"
#include "platform/posix/inheritance.h"
#include "platform/posix/paths.h"
#include "platform/posix/spawn.h"
#include "platform/posix/utf8.h"

namespace kx::platform {
namespace {

// --- What a child is started with ----------------------------------------------------------------

// Texts as programs get them: pointers to each, and a null one.
class TextVector final {
  public:
    void Add(std::u16string_view text) { m_texts.push_back(PathFromWide(text)); }
    char* const* Get() {
        m_pointers.clear();
        for (std::string& text : m_texts) m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
        return m_pointers.data();
    }

  private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

// The texts of a block, each with its terminator, up to the one that is empty.
TextVector TextsOf(const char16_t* block) {
    TextVector texts;
    for (std::u16string_view text(block); !text.empty();
         text = std::u16string_view(text.data() + text.size() + 1)) {
        texts.Add(text);
    }
    return texts;
}

// The program's path, and its arguments. A program that exists without the suffix alone is called
// by that name, too: some do one thing or another by the name that they are called by.
struct Command {
    std::string program;
    TextVector arguments;
};

Command CommandOf(const ProcessRequest& request) {
    constexpr std::u16string_view kSuffix = u".exe";
    const std::u16string_view program = request.program;
    std::u16string line = request.commandLine;
    Command command{PathFromWide(program), {}};
    if (program.ends_with(kSuffix) && access(command.program.c_str(), F_OK) != 0 &&
        errno == ENOENT) {
        command.program.resize(command.program.size() - kSuffix.size());
        if (line.starts_with(program)) line.erase(program.size() - kSuffix.size(), kSuffix.size());
    }
    for (const std::u16string& argument : SplitCommandLine(line)) command.arguments.Add(argument);
    return command;
}

NativeError ErrorOf(const SpawnOutcome& outcome) {
    switch (outcome.failed) {
        case SpawnOutcome::Step::none:
            return kSuccess;
        case SpawnOutcome::Step::directory:
            if (outcome.error == ENOENT || outcome.error == ENOTDIR) return kBadDirectory;
            break;
        default:
            break;
    }
    return NativeErrorFromErrno(outcome.error);
}

// --- Children that nobody waits for --------------------------------------------------------------

// The system keeps an ended child until its parent has asked for it. Those whose handle was given
// up while they ran are asked for whenever another one is started or given up.
class Orphans final {
  public:
    void Add(Descriptor child) {
        const std::lock_guard guard(m_lock);
        m_children.push_back(std::move(child));
    }
    void Reap() noexcept {
        const std::lock_guard guard(m_lock);
        std::erase_if(m_children, [](const Descriptor& child) { return !IsRunning(child.Get()); });
    }
    // Of a child of ours, which is gone if not.
    static bool IsRunning(int child) noexcept {
        siginfo_t info{};
        return waitid(P_PIDFD, static_cast<id_t>(child), &info, WEXITED | WNOHANG) == 0 &&
               info.si_pid == 0;
    }

  private:
    std::mutex m_lock;
    std::vector<Descriptor> m_children;
};

Orphans& TheOrphans() noexcept {
    static Immortal<Orphans> orphans;
    return orphans.Get();
}

// --- Exit codes ----------------------------------------------------------------------------------

constexpr std::uint32_t kKilledBySignal = 128;

bool HasEnded(int process) {
    pollfd ready{process, POLLIN, 0};
    return poll(&ready, 1, 0) == 1;
}

// What kernels from 6.15 on tell of a process that is gone (struct pidfd_info, in its first form).
struct ProcessInfo {
    std::uint64_t mask;
    std::uint64_t cgroup;
    std::uint32_t ids[11];
    std::int32_t exitStatus;
};
constexpr std::uint64_t kExitStatus = 1 << 3;

// Of a child that somebody else has waited for: other parts of the program, or the kernel itself
// where SIGCHLD is ignored.
NativeError QueryTakenExitCode(int process, std::uint32_t* exitCode) {
    if (!HasEnded(process)) {
        *exitCode = kStillActive;
        return kSuccess;
    }
    ProcessInfo info{};
    static_assert(sizeof info == 64);
    info.mask = kExitStatus;
    if (ioctl(process, _IOWR(0xFF, 11, ProcessInfo), &info) != 0 ||
        (info.mask & kExitStatus) == 0) {
        return kNoChildren;
    }
    *exitCode = WIFSIGNALED(info.exitStatus)
                    ? kKilledBySignal + static_cast<std::uint32_t>(WTERMSIG(info.exitStatus))
                    : static_cast<std::uint32_t>(WEXITSTATUS(info.exitStatus));
    return kSuccess;
}

// --- Names ---------------------------------------------------------------------------------------

// Whether it is the id of a process that has not been waited for; the kernel shows threads in the
// same place.
bool IsProcess(std::uint32_t id) {
    return id <= INT_MAX &&
           Descriptor(static_cast<int>(syscall(SYS_pidfd_open, static_cast<int>(id), 0))).Get() >=
               0;
}

// A file that has no name any more is told by its last one.
std::string_view WithoutMark(std::string_view path) {
    constexpr std::string_view kMark = " (deleted)";
    if (path.ends_with(kMark) && access(path.data(), F_OK) != 0) path.remove_suffix(kMark.size());
    return path;
}

}  // namespace

std::uint32_t CurrentProcessId() noexcept {
    return static_cast<std::uint32_t>(getpid());
}

std::uintptr_t CurrentProcessPseudoHandle() noexcept {
    return ~std::uintptr_t{0};
}

// A child is told its ends one by one, and no other can have them.
StartScope::StartScope() noexcept = default;
StartScope::~StartScope() = default;

NativeError CreateChildPipe(ChildEnd end, FileHandle* childs, FileHandle* own) noexcept {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return NativeErrorFromErrno(errno);
    const bool reads = end == ChildEnd::reads;
    *childs = static_cast<FileHandle>(ends[reads ? 0 : 1]);
    *own = static_cast<FileHandle>(ends[reads ? 1 : 0]);
    return kSuccess;
}

NativeError StartProcess(const ProcessRequest& request, ProcessHandle* process) {
    TheOrphans().Reap();
    Command command = CommandOf(request);
    std::string directory;
    if (request.directory != nullptr) {
        directory = PathFromWide(request.directory);
        // The program is found from where the parent is, not from where the child begins.
        if (!command.program.empty() && !MakeAbsolute(&command.program)) {
            return NativeErrorFromErrno(errno);
        }
    }
    TextVector environment;
    if (request.environment != nullptr) environment = TextsOf(request.environment);

    SpawnRequest spawn{command.program.c_str(),
                       command.arguments.Get(),
                       request.environment != nullptr ? environment.Get() : environ,
                       request.directory != nullptr ? directory.c_str() : nullptr,
                       {-1, -1, -1},
                       {}};
    if (request.standardHandles != nullptr) {
        for (int i = 0; i < 3; ++i) {
            spawn.standard[i] = DescriptorOf(request.standardHandles[i]);
            if (spawn.standard[i] < 0) return kInvalidHandle;
        }
    }
    const SharedWithChildren inherited;
    spawn.inherited = inherited.Get();
    Descriptor child;
    const NativeError error = ErrorOf(Spawn(spawn, &child));
    if (error == kSuccess) *process = static_cast<ProcessHandle>(child.Take());
    return error;
}

NativeError WaitForProcess(ProcessHandle process) noexcept {
    std::size_t which = 0;
    return WaitForAnyProcess({&process, 1}, &which);
}

NativeError WaitForAnyProcess(std::span<const ProcessHandle> processes,
                              std::size_t* which) noexcept {
    if (processes.empty() || processes.size() > kMaxProcessesWaitedFor) return kInvalidParameter;
    pollfd ready[kMaxProcessesWaitedFor];
    const auto end = std::transform(processes.begin(), processes.end(), ready, [](auto process) {
        return pollfd{DescriptorOf(process), POLLIN, 0};
    });
    // The kernel passes over negative numbers.
    if (std::any_of(ready, end, [](const pollfd& one) { return one.fd < 0; })) {
        return kInvalidHandle;
    }
    while (poll(ready, processes.size(), -1) < 0) {
        if (errno != EINTR) return NativeErrorFromErrno(errno);
    }
    const auto isNone = [](const pollfd& one) { return (one.revents & POLLNVAL) != 0; };
    if (std::any_of(ready, end, isNone)) return kInvalidHandle;
    const auto first = std::find_if(ready, end, [](const pollfd& one) { return one.revents != 0; });
    *which = static_cast<std::size_t>(first - ready);
    return kSuccess;
}

NativeError QueryProcessExitCode(ProcessHandle process, std::uint32_t* exitCode) noexcept {
    const int descriptor = DescriptorOf(process);
    if (descriptor < 0) return kInvalidHandle;
    siginfo_t info{};
    const int options = WEXITED | WNOHANG | WNOWAIT;
    if (waitid(P_PIDFD, static_cast<id_t>(descriptor), &info, options) != 0) {
        return errno == ECHILD ? QueryTakenExitCode(descriptor, exitCode)
                               : NativeErrorFromErrno(errno);
    }
    const auto status = static_cast<std::uint32_t>(info.si_status);
    *exitCode = info.si_pid == 0             ? kStillActive
                : info.si_code == CLD_EXITED ? status
                                             : kKilledBySignal + status;
    return kSuccess;
}

// A child that runs on keeps a descriptor here, by another number: this one is the caller's no
// more.
NativeError CloseProcess(ProcessHandle process) noexcept {
    const int descriptor = DescriptorOf(process);
    if (Orphans::IsRunning(descriptor)) {
        Descriptor orphan(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
        try {
            if (orphan.Get() >= 0) TheOrphans().Add(std::move(orphan));
        } catch (const std::bad_alloc&) {  // it will be kept by the system until this process ends
        }
    }
    if (close(descriptor) != 0 && errno == EBADF) return kInvalidHandle;
    TheOrphans().Reap();
    return kSuccess;
}

bool QueryImageName(std::uint32_t id, char (&name)[kMaxImageName]) noexcept {
    char link[32];
    std::snprintf(link, sizeof link, "/proc/%u/exe", static_cast<unsigned>(id));
    char path[PATH_MAX];
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length <= 0 || !IsProcess(id)) return false;
    path[length] = '\0';
    std::string_view image = WithoutMark({path, static_cast<std::size_t>(length)});
    image.remove_prefix(image.rfind('/') + 1);
    if (image.size() >= kMaxImageName) return false;
    *std::copy(image.begin(), image.end(), name) = '\0';
    return true;
}

}  // namespace kx::platform
