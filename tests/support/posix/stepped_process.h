// A copy of this process that a test takes step by step, and ends at any of them.
#ifndef KXCORE7_TESTS_SUPPORT_POSIX_STEPPED_PROCESS_H
#define KXCORE7_TESTS_SUPPORT_POSIX_STEPPED_PROCESS_H

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kx::test {

enum class StepOf { instruction, systemCall };

class SteppedProcess final {
  public:
    // Stands in front of what is to be taken in steps.
    template <typename Body>
    explicit SteppedProcess(Body body) : m_process(fork()) {
        if (m_process == 0) {
            if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(kRefused);
            raise(SIGSTOP);
            body();
            raise(SIGSTOP);  // leaving would take more steps than the body
        }
        m_runs = Wait() == SIGSTOP;
    }
    ~SteppedProcess() { Kill(); }
    SteppedProcess(const SteppedProcess&) = delete;
    SteppedProcess& operator=(const SteppedProcess&) = delete;

    // False when it has come to its end.
    bool Step(StepOf step) {
        ptrace(step == StepOf::instruction ? PTRACE_SINGLESTEP : PTRACE_SYSCALL, m_process, nullptr,
               nullptr);
        return Wait() == SIGTRAP;
    }
    // When this returns, nothing is left of it.
    void Kill() {
        if (m_process <= 0) return;
        kill(m_process, SIGKILL);
        while (Wait() != 0) {
        }
    }
    // Whether the system lets processes be taken in steps.
    bool Runs() const { return m_runs; }

  private:
    static constexpr int kRefused = 77;

    // The signal at which it stands; 0 if it has ended.
    int Wait() {
        int status = 0;
        if (waitpid(m_process, &status, 0) != m_process) return 0;
        if (WIFSTOPPED(status)) return WSTOPSIG(status);
        m_process = -1;
        return 0;
    }

    pid_t m_process;
    bool m_runs = false;
};

}  // namespace kx::test

#endif
