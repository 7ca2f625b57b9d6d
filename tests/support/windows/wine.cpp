#include "support/wine.h"

#include <windows.h>

namespace kx::test {

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

}  // namespace kx::test
