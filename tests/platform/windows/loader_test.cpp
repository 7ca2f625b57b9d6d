#include <filesystem>
#include <fstream>

#include "support/environment.h"
#include "support/libraries.h"
#include "support/results.h"
#include "support/scratch_dir.h"

using namespace kx::test;

TEST(Library, NameWithoutAnExtensionGetsOne) {
    EXPECT_RESULT(KX_S_OK, Open(u"kernel32"));
}

TEST(Library, FoundBySearchButBrokenIsNotMissing) {
    const ScratchDir scratch;
    std::ofstream(scratch / "kxtest-broken.dll") << "no library";
    const ScopedEnvironment path("PATH", scratch.Path().string());
    EXPECT_RESULT(KX_E_FAIL, Open(u"kxtest-broken.dll"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(u"kxtest-missing.dll"));
}

// The file lies beside the test program, and what it needs nowhere.
TEST(Library, FoundBySearchButWithANeedThatNobodyMeetsIsNotMissing) {
    const std::filesystem::path library = KXTEST_UNRESOLVED;
    EXPECT_RESULT(KX_E_FAIL, Open(Wide(library.filename())));
    EXPECT_RESULT(KX_E_FAIL, Open(Wide(library.stem()))) << "the system adds the extension";
}
