// What only a file system and a loader of this kind have.
#include <dlfcn.h>
#include <kxcore7/library.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/child_process.h"
#include "support/environment.h"
#include "support/libraries.h"
#include "support/results.h"
#include "support/scratch_dir.h"

using namespace kx::test;

// In a child without the rights of root, which no file mode binds.
TEST(Library, FileThatMayNotBeReadIsRefused) {
    const ScratchDir scratch;
    std::filesystem::copy_file(KXTEST_COMPONENT, scratch / "secret.so");
    std::filesystem::permissions(scratch / "secret.so", std::filesystem::perms::none);
    std::filesystem::permissions(scratch.Path(), std::filesystem::perms::all);
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t kNobody = 65534;
        if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(99);
        _exit(Open(Wide(scratch / "secret.so")) == KX_E_ACCESSDENIED ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

TEST(Library, LinkToItselfIsRefused) {
    const ScratchDir scratch;
    std::filesystem::create_symlink("loop.so", scratch / "loop.so");
    EXPECT_RESULT(KX_E_ACCESSDENIED, Open(Wide(scratch / "loop.so")));
}

TEST(Library, PipeIsNoLibraryAndIsNotWaitedFor) {
    const ScratchDir scratch;
    ASSERT_EQ(0, mkfifo((scratch / "pipe.so").c_str(), 0600));
    EXPECT_RESULT(KX_E_FAIL, Open(Wide(scratch / "pipe.so")));
}

TEST(Library, SharesItsNamesWithNobody) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(Wide(KXTEST_COMPONENT).c_str(), &library));
    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "DllGetClassObject"));
    KXLibClose(library);
}

TEST(Library, FoundBySearchButBrokenIsNotMissing) {
    const ScratchDir scratch;
    std::ofstream(scratch / "libkxtest-broken.so") << "no library";
    const ScopedEnvironment path("LD_LIBRARY_PATH", scratch.Path().string());
    ChildProcess broken(KXTEST_PROBE, {"open", "libkxtest-broken.so"});
    EXPECT_EQ("0x80004005", broken.ReadLine());
    ChildProcess missing(KXTEST_PROBE, {"open", "libkxtest-broken"});
    EXPECT_EQ("0x80070002", missing.ReadLine());
}

TEST(Library, NameThatIsNoUtf8IsOpened) {
    const ScratchDir scratch;
    const std::u16string name = Wide(scratch.Path()) + u"/n\xDCFF.so";
    std::filesystem::copy_file(KXTEST_COMPONENT, scratch.Path() / "n\xFF.so");
    EXPECT_RESULT(KX_S_OK, Open(name));
}
