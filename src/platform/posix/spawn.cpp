#include "platform/posix/spawn.h"

#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <iterator>

// The C library's clone by its other name. Sanitizers stand before the first one and take it for a
// fork, behind which they let no thread begin.
extern "C" int __clone(int (*run)(void*), void* stack, int flags, void* argument, ...) noexcept;

namespace kx::platform {
namespace {

using Step = SpawnOutcome::Step;

struct Child {
    const SpawnRequest& request;
    SpawnOutcome outcome;
};

// --- In the child --------------------------------------------------------------------------------
//
// Until it has a program of its own, the child runs in its parent's memory, with its parent's
// thread: only the kernel is called, by numbers, since what the C library has around its calls may
// keep accounts there.

// A signal's disposition as the kernel has it: the handler is the first word, and the default one,
// with nothing else set, is all zeros.
using Disposition = std::array<unsigned long, 8>;
constexpr std::size_t kKernelSignalSetSize = 8;

void ResetSignal(int signal) {
    const Disposition byDefault{};
    syscall(SYS_rt_sigaction, signal, byDefault.data(), nullptr, kKernelSignalSetSize);
}

bool IsIgnored(int signal) {
    Disposition disposition{};
    syscall(SYS_rt_sigaction, signal, nullptr, disposition.data(), kKernelSignalSetSize);
    return disposition[0] == reinterpret_cast<unsigned long>(SIG_IGN);
}

void ResetSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        const bool isUsers = signal == SIGHUP || signal == SIGINT || signal == SIGQUIT;
        if (!isUsers || !IsIgnored(signal)) ResetSignal(signal);
    }
}

void UnblockSignals() {
    const unsigned long none = 0;
    syscall(SYS_rt_sigprocmask, SIG_SETMASK, &none, nullptr, kKernelSignalSetSize);
}

// Out of the way of the standard ones, which may be among those given.
bool MoveUp(int (&descriptors)[3]) {
    for (int& descriptor : descriptors) {
        if (descriptor < 0 || descriptor > STDERR_FILENO) continue;
        descriptor =
            static_cast<int>(syscall(SYS_fcntl, descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
        if (descriptor < 0) return false;
    }
    return true;
}

bool SetDescriptors(const SpawnRequest& request) {
    int sources[3];
    for (int i = 0; i < 3; ++i) sources[i] = request.standard[i];
    if (!MoveUp(sources)) return false;
    for (int i = 0; i < 3; ++i) {
        if (sources[i] >= 0 && syscall(SYS_dup3, sources[i], i, 0) < 0) return false;
    }
    for (const int descriptor : request.inherited) syscall(SYS_fcntl, descriptor, F_SETFD, 0);
    return true;
}

Step BecomeProgram(const SpawnRequest& request) {
    if (!SetDescriptors(request)) return Step::handles;
    if (request.directory != nullptr && syscall(SYS_chdir, request.directory) < 0) {
        return Step::directory;
    }
    ResetSignals();
    UnblockSignals();
    syscall(SYS_execve, request.program, request.arguments, request.environment);
    return Step::program;
}

int RunChild(void* argument) {
    Child& child = *static_cast<Child*>(argument);
    child.outcome.failed = BecomeProgram(child.request);
    child.outcome.error = errno;
    for (;;) syscall(SYS_exit_group, 127);
}

// --- In the parent -------------------------------------------------------------------------------

// No handler of the parent's may run in the child, in its parent's memory.
class BlockedSignals final {
  public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t m_before;
};

constexpr std::size_t kStackSize = 16'384;

// Of a child that never had a program: no SIGCHLD tells of it, and nobody else can wait for it.
void Reap(int process) {
    siginfo_t info;
    while (waitid(P_PIDFD, static_cast<id_t>(process), &info, WEXITED | __WALL) != 0 &&
           errno == EINTR) {
    }
}

}  // namespace

SpawnOutcome Spawn(const SpawnRequest& request, Descriptor* process) noexcept {
    // A child that has its program is one like any other, with SIGCHLD at its end.
    constexpr int kNoSignalAtTheEnd = 0;
    alignas(16) char stack[kStackSize];  // this thread's waits meanwhile
    Child child{request, {}};
    int descriptor = -1;
    {
        const BlockedSignals blocked;
        if (__clone(&RunChild, std::end(stack),
                    CLONE_VM | CLONE_VFORK | CLONE_PIDFD | kNoSignalAtTheEnd, &child,
                    &descriptor) < 0) {
            return {Step::start, errno};
        }
    }
    if (child.outcome.failed == Step::none) {
        *process = Descriptor(descriptor);
        return {};
    }
    Reap(descriptor);
    close(descriptor);
    return child.outcome;
}

}  // namespace kx::platform
