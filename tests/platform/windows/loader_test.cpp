#include <kxcore7/library.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/environment.h"
#include "support/results.h"
#include "support/scratch_dir.h"

using namespace kx::test;

namespace {

KXResult Open(const char16_t* name) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    const KXResult result = KXLibOpen(name, &library);
    if (result == 0) KXLibClose(library);
    return result;
}

}  // namespace

TEST(Library, NameWithoutADirectoryIsSearchedFor) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    void* symbol = nullptr;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(u"kernel32.dll", &library));
    EXPECT_RESULT(KX_S_OK, KXLibGetSymbol(library, u"GetTickCount", &symbol));
    EXPECT_RESULT(KX_S_OK, KXLibClose(library));
    EXPECT_RESULT(KX_S_OK, Open(u"kernel32")) << "the system adds the extension";
}

TEST(Library, FoundBySearchButBrokenIsNotMissing) {
    const ScratchDir scratch;
    std::ofstream(scratch / "kxtest-broken.dll") << "no library";
    const ScopedEnvironment path("PATH", scratch.Path().string());
    EXPECT_RESULT(KX_E_FAIL, Open(u"kxtest-broken.dll"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(u"kxtest-missing.dll"));
}
