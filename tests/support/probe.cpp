// Asks the library one thing in a process of its own, under the environment that the test gave it.
//
//   probe open NAME    the result of opening a library
//   probe locale       how many wide units "caf\u00E9" has in UTF-8
//   probe fold         whether the registry finds a name beyond ASCII in another case
#include <kxcore7/kxcore7.h>

#include <cstdio>
#include <string>

#include "support/scratch_registry.h"

namespace {

KXResult Open(const std::string& name) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    return KXLibOpen(std::u16string(name.begin(), name.end()).c_str(), &library);
}

KXResult FindInAnotherCase() {
    KXRegistrySetValue(KX_HKEY_USER, u"\u00C4pfel", u"", KX_REG_SZ, u"x", 4);
    return KXRegistryGetValue(KX_HKEY_USER, u"\u00E4PFEL", u"", nullptr, nullptr, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    kx::test::JoinScratchRegistry();
    const std::string command = argc > 1 ? argv[1] : "";
    if (command == "open" && argc == 3) {
        std::printf("0x%08X\n", static_cast<unsigned>(Open(argv[2])));
    } else if (command == "locale") {
        std::printf("%zu\n", KXAnsiToUnicode(nullptr, "caf\xC3\xA9", 0));
    } else if (command == "fold") {
        std::printf("0x%08X\n", static_cast<unsigned>(FindInAnotherCase()));
    } else {
        return 64;
    }
    return 0;
}
