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
