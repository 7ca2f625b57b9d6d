#include "support/started_child.h"

#include <windows.h>

namespace kx::test {

KXFileHandle InheritableFile(const std::filesystem::path& path) {
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    return reinterpret_cast<KXFileHandle>(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                                      FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                                      OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

void AwaitEnd(KXProcessHandle process) {
    WaitForSingleObject(reinterpret_cast<HANDLE>(process), INFINITE);
}

}  // namespace kx::test
