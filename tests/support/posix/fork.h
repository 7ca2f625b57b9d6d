// What a fork of the test does in its place.
#ifndef KXCORE7_TESTS_SUPPORT_POSIX_FORK_H
#define KXCORE7_TESTS_SUPPORT_POSIX_FORK_H

#include <sys/wait.h>
#include <unistd.h>

namespace kx::test {

// Runs a body in a fork of this process and gives what it returns; 128 plus the number of a signal
// that ended it.
template <typename Body>
int InChild(Body body) {
    const pid_t child = fork();
    if (child == 0) _exit(body());
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Takes this process's privileges away for good, if it has any.
inline bool BecomeAnybody() {
    constexpr uid_t kNobody = 65534;
    return geteuid() != 0 || (setgid(kNobody) == 0 && setuid(kNobody) == 0);
}

}  // namespace kx::test

#endif
