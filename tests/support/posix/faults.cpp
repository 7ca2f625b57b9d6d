#include "support/faults.h"

#include <sys/wait.h>

#include <csignal>

namespace kx::test {

void KeepFaultsQuiet() {}

bool EndedByBreakpoint(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGTRAP;
}

bool EndedByAbort(int status) {
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT;
}

}  // namespace kx::test
