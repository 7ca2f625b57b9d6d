// A value under any path and name is either refused or found again, and gone when it is removed.
#include <kxcore7/registry.h>

#include "fuzz/fuzz.h"
#include "platform/entry.h"
#include "support/scratch_registry.h"

using namespace kx::test;

namespace {

struct StartedLibrary {
    StartedLibrary() { kx::core::LibraryMain(nullptr, kx::core::kProcessAttach); }
    ScratchRegistry registry;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const StartedLibrary library;
    if (size < 2) return 0;
    const std::size_t split = data[0] % size;
    const std::u16string path = WideInput(data + 1, split);
    const std::u16string name = WideInput(data + split, size - split);
    const KXResult set = SetText(KX_HKEY_USER, path, name, u"text");
    if (set != 0) {
        Require(GetText(KX_HKEY_USER, path, name) == u"<failed>");
        return 0;
    }
    Require(GetText(KX_HKEY_USER, path, name) == u"text");
    KXRegistryEnumHandle walk = 0;
    Require(KXRegistryOpenValueEnum(KX_HKEY_USER, path.c_str(), &walk) == 0);
    std::u16string found(20'000, u'\0');
    auto length = static_cast<std::uint32_t>(found.size());
    Require(KXRegistryEnumNextValue(walk, found.data(), &length, nullptr, nullptr, nullptr) == 0);
    Require(found.substr(0, length) == name);
    KXRegistryCloseEnum(walk);
    Require(KXRegistryDeleteValue(KX_HKEY_USER, path.c_str(), name.c_str()) == 0);
    Require(GetText(KX_HKEY_USER, path, name) == u"<failed>");
    // The first component takes everything under it along.
    const std::size_t begin = path.find_first_not_of(u'\\');
    if (begin == std::u16string::npos) return 0;
    const std::u16string top = path.substr(begin, path.find(u'\\', begin) - begin);
    Require(KXRegistryDeleteKey(KX_HKEY_USER, top.c_str()) == 0 || top.size() >= 255);
    return 0;
}
