#include "support/asleep.h"

#include <windows.h>

#include <stdexcept>

namespace kx::test {
namespace {

constexpr int kLooks = 20;

struct Place {
    DWORD64 instruction;
    DWORD64 stack;

    bool operator==(const Place&) const = default;
};

Place PlaceOf(HANDLE thread) {
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_CONTROL;
    SuspendThread(thread);
    GetThreadContext(thread, &context);
    ResumeThread(thread);
#ifdef _WIN64
    return {context.Rip, context.Rsp};
#else
    return {context.Eip, context.Esp};
#endif
}

bool IsInSystemCalls(const Place& place) {
    HMODULE module = nullptr;
    return GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<const char*>(place.instruction), &module) != 0 &&
           module == GetModuleHandleA("ntdll.dll");
}

}  // namespace

std::uint32_t ThisThread() {
    return GetCurrentThreadId();
}

// The system tells nobody: a thread that is seen again and again at one place of the system's calls
// is taken for asleep there.
void WaitUntilAsleep(std::uint32_t thread) {
    const HANDLE handle = OpenThread(THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT, FALSE, thread);
    if (handle == nullptr) throw std::runtime_error("no such thread");
    Place last{};
    for (int looks = 0; looks < kLooks;) {
        const Place place = PlaceOf(handle);
        looks = place == last && IsInSystemCalls(place) ? looks + 1 : 0;
        last = place;
        Sleep(1);
    }
    CloseHandle(handle);
}

}  // namespace kx::test
