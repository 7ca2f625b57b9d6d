// Keys of any names in an INI file: what is set is found, and a walk over all of them ends and
// meets no value twice.
#include <algorithm>
#include <clocale>

#include "fuzz/fuzz.h"
#include "platform/entry.h"
#include "registry/ini_file.h"
#include "registry/ini_registry.h"
#include "registry/reg_key.h"
#include "support/current_dir.h"

using namespace kx::test;
using kx::core::CRegKey;

namespace {

struct Started {
    Started() {
        kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
        std::setlocale(LC_ALL, "C");
    }
    const InScratchDirectory directory;
};

// The values that are met on the way. A path that comes again would come for ever.
std::size_t Walk(CRegKey& key, std::size_t depth) {
    constexpr std::size_t kDeepest = 100;
    Require(depth < kDeepest);
    std::size_t values = 0;
    for (; key.HasNextValue(); ++values) key.NextValue();
    while (key.HasNextKey()) values += Walk(*key.NextKey().Get(), depth + 1);
    return values;
}

void RequireFound(std::uint32_t root, const std::u16string& path, const std::u16string& name,
                  const std::u16string& text) {
    std::u16string out(text.size() + 2, u'#');
    std::uint32_t type = 99;
    std::uint32_t bytes = 0;
    Require(registry::GetValue(root, path.c_str(), name.c_str(), &type, out.data(), &bytes) == 0);
    Require(type == KX_REG_SZ && bytes == (text.size() + 1) * 2);
    Require(out == text + u'\0' + u'#');
}

}  // namespace

// Up to four values: a byte for the root, one for the length of the path, and the path.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Started started;
    registry::Initialize();
    std::size_t stored = 0;
    for (int i = 0; i < 4 && size >= 3; ++i) {
        const std::uint32_t root = data[0] % 6;
        const std::size_t length = std::min<std::size_t>(data[1] % 64u, size - 2);
        // A step of the alphabet in which separators are frequent.
        std::u16string path;
        for (std::size_t at = 2; at < 2 + length; ++at) {
            path += data[at] < 128 ? u'\\' : static_cast<char16_t>(u'A' + data[at] % 60);
        }
        const std::u16string name(1, static_cast<char16_t>(u'a' + data[2] % 4));
        const std::u16string text = u"text" + name;
        const KXResult set =
            registry::SetValue(root, path.c_str(), name.c_str(), KX_REG_SZ, text.c_str(), 0);
        Require((set == 0) == (root <= KX_HKEY_CONFIG_64));
        if (set == 0) {
            RequireFound(root, path, name, text);
            ++stored;
        }
        data += 2 + length;
        size -= 2 + length;
    }
    std::size_t met = 0;
    for (std::uint32_t root = KX_HKEY_CLASSES; root <= KX_HKEY_CONFIG_64; ++root) {
        met += Walk(*CRegKey::Create(root, u"", KX_REGISTRY_INI).Get(), 0);
    }
    Require(met <= stored);
    registry::DeleteIniFile();
    registry::Terminate();
    return 0;
}
