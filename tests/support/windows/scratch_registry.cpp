#include "support/scratch_registry.h"

#include <windows.h>

#include <cstdlib>
#include <filesystem>

namespace kx::test {
namespace {

const struct {
    HKEY hive;
    const wchar_t* name;
} kHives[] = {{HKEY_CLASSES_ROOT, L"CLASSES"},
              {HKEY_LOCAL_MACHINE, L"MACHINE"},
              {HKEY_CURRENT_USER, L"USER"}};

void LeaveScratchRegistry() {
    for (const auto& [hive, name] : kHives) RegOverridePredefKey(hive, nullptr);
}

// The key, under the user's real hive, that stands for the directory.
std::wstring RootKey(const char* directory) {
    return L"Software\\kxcore7-tests\\" + std::filesystem::path(directory).filename().wstring();
}

}  // namespace

// The three hives are keys of the test's own for this process, so nothing else sees them.
void JoinScratchRegistry() {
    LeaveScratchRegistry();
    const char* const directory = std::getenv("KX_REGISTRY_DIR");
    if (directory == nullptr) return;
    HKEY keys[std::size(kHives)] = {};
    for (std::size_t i = 0; i < std::size(kHives); ++i) {
        RegCreateKeyW(HKEY_CURRENT_USER, (RootKey(directory) + L"\\" + kHives[i].name).c_str(),
                      &keys[i]);
    }
    for (std::size_t i = 0; i < std::size(kHives); ++i) {
        RegOverridePredefKey(kHives[i].hive, keys[i]);
        RegCloseKey(keys[i]);
    }
}

void RemoveScratchRegistry() {
    LeaveScratchRegistry();
    const char* const directory = std::getenv("KX_REGISTRY_DIR");
    if (directory != nullptr) RegDeleteTreeW(HKEY_CURRENT_USER, RootKey(directory).c_str());
}

}  // namespace kx::test
