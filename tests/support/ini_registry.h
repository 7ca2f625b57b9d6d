// The registry functions over an INI file, for the time of a scope, in a directory of its own.
#ifndef KXCORE7_TESTS_SUPPORT_INI_REGISTRY_H
#define KXCORE7_TESTS_SUPPORT_INI_REGISTRY_H

#include <kxcore7/systeminfo.h>

#include <filesystem>
#include <string>

#include "registry/ini_registry.h"
#include "support/current_dir.h"
#include "support/files.h"
#include "support/results.h"

namespace kx::test {

inline constexpr const char* kIniName = "kxregistry.ini";

// The section of the current user, in bytes. Their names are plain on the machines of the tests.
inline std::string UserSection() {
    char16_t name[300];
    EXPECT_RESULT(KX_S_OK, KXGetUserName(name, 300));
    const std::u16string wide = name;
    return "KX_HKEY_USER\\" + std::string(wide.begin(), wide.end());
}

// A directory in which the file may be.
class IniDirectory {
  public:
    std::filesystem::path Path() const { return m_directory / kIniName; }
    void Put(const std::string& bytes) const { Store(Path(), bytes); }
    std::string Bytes() const { return Stored(Path()); }
    bool HasFile() const { return std::filesystem::exists(Path()); }

  private:
    const InScratchDirectory m_directory;
};

class IniRegistry final : public IniDirectory {
  public:
    IniRegistry() { EXPECT_RESULT(KX_S_OK, registry::Initialize()); }
    ~IniRegistry() { EXPECT_RESULT(KX_S_OK, registry::Terminate()); }
    IniRegistry(const IniRegistry&) = delete;
    IniRegistry& operator=(const IniRegistry&) = delete;
};

}  // namespace kx::test

#endif
