#include "support/faults.h"

#include <windows.h>

namespace kx::test {

void KeepFaultsQuiet() {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

bool EndedByBreakpoint(int status) {
    return static_cast<DWORD>(status) == EXCEPTION_BREAKPOINT;
}

// The runtime's own end for that signal.
bool EndedByAbort(int status) {
    return status == 3;
}

}  // namespace kx::test
