// Faults that tests provoke on purpose.
#ifndef KXCORE7_TESTS_SUPPORT_FAULTS_H
#define KXCORE7_TESTS_SUPPORT_FAULTS_H

namespace kx::test {

// Keeps the system from showing a fault of this process to a person or a debugger.
void KeepFaultsQuiet();

// For EXPECT_EXIT: whether a process ended at a breakpoint.
bool EndedByBreakpoint(int status);

// For EXPECT_EXIT: whether a process ended by the abort signal.
bool EndedByAbort(int status);

}  // namespace kx::test

#endif
