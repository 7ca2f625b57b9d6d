// What the library leaves behind when it is unloaded, and the locale that it starts with.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <kxcore7/registry.h>

#include <filesystem>
#include <iterator>

#include "support/child_process.h"
#include "support/environment.h"

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
