// The library as a program meets it: loaded, unloaded, and left at the end of a process.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kxcore7/mutex.h>
#include <kxcore7/registry.h>

#include <filesystem>
#include <iterator>

#include "support/child_process.h"
#include "support/environment.h"

// A copy of the library that this program is not linked to.
TEST(Loading, TheLibraryMayComeAndGo) {
    for (int round = 0; round < 3; ++round) {
        void* const library = dlopen(KXTEST_LIBRARY_COPY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(nullptr, library) << dlerror();
        const auto create =
            reinterpret_cast<decltype(&KXMutexCreate)>(dlsym(library, "KXMutexCreate"));
        const auto destroy =
            reinterpret_cast<decltype(&KXMutexDestroy)>(dlsym(library, "KXMutexDestroy"));
        ASSERT_NE(&KXMutexCreate, create);
        KXMutexHandle mutex = 0;
        EXPECT_EQ(0, create("m", KX_MUTEX_STATS, &mutex));
        EXPECT_EQ(0, destroy(mutex));
        EXPECT_EQ(0, dlclose(library));
        EXPECT_EQ(nullptr, dlopen(KXTEST_LIBRARY_COPY, RTLD_NOW | RTLD_NOLOAD));
    }
}

TEST(Loading, TheLibraryGoesWithItsFiles) {
    const auto descriptors = [] {
        using Iterator = std::filesystem::directory_iterator;
        return std::distance(Iterator("/proc/self/fd"), Iterator());
    };
    const auto before = descriptors();
    void* const library = dlopen(KXTEST_LIBRARY_COPY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    const auto set =
        reinterpret_cast<decltype(&KXRegistrySetValue)>(dlsym(library, "KXRegistrySetValue"));
    EXPECT_EQ(0, set(KX_HKEY_USER, u"Key", u"v", KX_REG_SZ, u"", 2));
    EXPECT_GT(descriptors(), before);
    EXPECT_EQ(0, dlclose(library));
    EXPECT_EQ(before, descriptors());
}

// Conversions follow the user's locale without the program's doing anything for it.
TEST(Loading, StartUpTakesTheLocaleFromTheEnvironment) {
    const kx::test::ScopedEnvironment locale("LC_ALL", "C.UTF-8");
    kx::test::ChildProcess child(KXTEST_PROBE, {"locale"});
    EXPECT_EQ("4", child.ReadLine());
}

// The loader's order at the end of a process: a static object of the program may still call.
TEST(Loading, StaticDestructorsOfTheProgramMayStillCall) {
    kx::test::ChildProcess child(KXTEST_LATE_CALLER, {});
    EXPECT_EQ("late call: 0", child.ReadLine());
    EXPECT_EQ(0, child.Wait());
}
