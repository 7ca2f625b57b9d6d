// A floor whose machine a test makes up. Linked in place of the system's machine.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_MACHINE_H
#define KXCORE7_TESTS_SUPPORT_FAKE_MACHINE_H

#include "platform/machine.h"

namespace kx::test {

struct FakeMachine {
    platform::MemoryFacts memory;
    platform::ProcessorFacts processors;
    platform::SystemVersion version;
    platform::NativeError versionError = 0;
};

extern FakeMachine g_machine;

}  // namespace kx::test

#endif
