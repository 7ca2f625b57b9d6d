// The library as a program meets it: loaded, unloaded, and left at the end of a process.
#include <kxcore7/library.h>
#include <kxcore7/mutex.h>

#include <filesystem>

#include "support/child_process.h"
#include "support/results.h"

namespace {

template <typename Function>
Function Find(KXLibraryHandle library, const char16_t* name) {
    void* symbol = nullptr;
    EXPECT_RESULT(KX_S_OK, KXLibGetSymbol(library, name, &symbol));
    return reinterpret_cast<Function>(symbol);
}

}  // namespace

// A copy of the library that this program is not linked to.
TEST(Loading, TheLibraryMayComeAndGo) {
    const std::u16string path = std::filesystem::path(KXTEST_LIBRARY_COPY).u16string();
    for (int round = 0; round < 3; ++round) {
        KXLibraryHandle library = 0;
        ASSERT_RESULT(KX_S_OK, KXLibOpen(path.c_str(), &library));
        const auto create = Find<decltype(&KXMutexCreate)>(library, u"KXMutexCreate");
        const auto destroy = Find<decltype(&KXMutexDestroy)>(library, u"KXMutexDestroy");
        ASSERT_NE(&KXMutexCreate, create);
        KXMutexHandle mutex = 0;
        EXPECT_EQ(0, create("m", KX_MUTEX_STATS, &mutex));
        EXPECT_EQ(0, destroy(mutex));
        EXPECT_RESULT(KX_S_OK, KXLibClose(library));
        EXPECT_RESULT(KX_E_HANDLE, KXLibClose(library)) << "it has been unloaded";
    }
}

// The loader's order at the end of a process: a static object of the program may still call.
TEST(Loading, StaticDestructorsOfTheProgramMayStillCall) {
    kx::test::ChildProcess child(KXTEST_LATE_CALLER, {});
    EXPECT_EQ("late call: 0", child.ReadLine());
    EXPECT_EQ(0, child.Wait());
}
