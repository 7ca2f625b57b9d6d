// A registry store of the test program's own, in place of the user's and the machine's.
#ifndef KXCORE7_TESTS_SUPPORT_SCRATCH_REGISTRY_H
#define KXCORE7_TESTS_SUPPORT_SCRATCH_REGISTRY_H

#include <kxcore7/registry.h>

#include <cstdint>
#include <string>

#include "support/environment.h"
#include "support/scratch_dir.h"

namespace kx::test {

// Turns this process to the registry that KX_REGISTRY_DIR names, or to the system's own without
// that variable. A process that a test starts calls it first of all.
void JoinScratchRegistry();

// Removes the registry that KX_REGISTRY_DIR names, as far as it is not in that directory.
void RemoveScratchRegistry();

class ScratchRegistry final {
  public:
    ScratchRegistry() { JoinScratchRegistry(); }
    ~ScratchRegistry() { RemoveScratchRegistry(); }
    ScratchRegistry(const ScratchRegistry&) = delete;
    ScratchRegistry& operator=(const ScratchRegistry&) = delete;

    const ScratchDir& Directory() const { return m_directory; }

  private:
    // The last to go: back to the registry that was there before.
    struct Rejoin {
        ~Rejoin() { JoinScratchRegistry(); }
    } m_rejoin;
    ScratchDir m_directory;
    ScopedEnvironment m_variable{"KX_REGISTRY_DIR", m_directory.Path().string()};
};

// Bytes of a text with its terminator, as they are stored.
inline std::uint32_t BytesOf(const std::u16string& text) {
    return static_cast<std::uint32_t>((text.size() + 1) * sizeof(char16_t));
}

inline KXResult SetText(std::uint32_t root, const std::u16string& key, const std::u16string& name,
                        const std::u16string& text, std::uint32_t type = KX_REG_SZ) {
    return KXRegistrySetValue(root, key.c_str(), name.c_str(), type, text.c_str(), BytesOf(text));
}

// The text of a value, or the result code in place of it.
inline std::u16string GetText(std::uint32_t root, const std::u16string& key,
                              const std::u16string& name) {
    char16_t text[512] = u"";
    std::uint32_t type = 0;
    std::uint32_t bytes = sizeof text;
    const KXResult result =
        KXRegistryGetValue(root, key.c_str(), name.c_str(), &type, text, &bytes);
    return result == 0 ? text : u"<failed>";
}

}  // namespace kx::test

#endif
