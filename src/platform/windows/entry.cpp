#include "platform/entry.h"

#include "platform/windows/native.h"

// The loader calls it under its own lock, and behind the library's static constructors.
extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    return kx::core::LibraryMain(instance, reason);
}

static_assert(kx::core::kProcessAttach == DLL_PROCESS_ATTACH &&
              kx::core::kProcessDetach == DLL_PROCESS_DETACH &&
              kx::core::kThreadAttach == DLL_THREAD_ATTACH &&
              kx::core::kThreadDetach == DLL_THREAD_DETACH);
