#include "support/fake_machine.h"

namespace kx::test {

FakeMachine g_machine;

}  // namespace kx::test

namespace kx::platform {

using test::g_machine;

MemoryFacts QueryMemory() {
    return g_machine.memory;
}

ProcessorFacts QueryProcessors() {
    return g_machine.processors;
}

NativeError QueryVersion(SystemVersion* out) {
    if (g_machine.versionError == 0) *out = g_machine.version;
    return g_machine.versionError;
}

}  // namespace kx::platform
