// Calls the library from a static destructor, with an open registry and a cached nothing.
#include <kxcore7/kxcore7.h>

#include <cstdio>

#include "support/scratch_registry.h"

namespace {

struct LateCaller {
    ~LateCaller() {
        KXMutexHandle mutex = 0;
        KXResult result = KXMutexCreate("late", 0, &mutex);
        result |= KXMutexAcquire(mutex) | KXMutexRelease(mutex) | KXMutexDestroy(mutex);
        uint32_t number = 1;
        result |= KXRegistrySetValue(KX_HKEY_USER, u"Late", u"v", KX_REG_DWORD, &number, 4);
        std::printf("late call: %d\n", result);
        std::fflush(stdout);
    }
};

const LateCaller g_caller;

}  // namespace

int main() {
    kx::test::JoinScratchRegistry();
    return 0;
}
