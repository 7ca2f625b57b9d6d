// Libraries that tests open.
#ifndef KXCORE7_TESTS_SUPPORT_LIBRARIES_H
#define KXCORE7_TESTS_SUPPORT_LIBRARIES_H

#include <kxcore7/library.h>

#include <filesystem>
#include <string>

#include "support/results.h"

namespace kx::test {

// One that every system has where its loader searches, and a function in it.
struct SystemLibrary {
    const char16_t* name;
    const char16_t* symbol;
};
extern const SystemLibrary kSystemLibrary;

inline std::u16string Wide(const std::filesystem::path& path) {
    return path.u16string();
}

// The result of opening the library; what was opened is closed.
inline KXResult Open(const std::u16string& path) {
    KXLibraryHandle library = 77;
    const KXResult result = KXLibOpen(path.c_str(), &library);
    if (result < 0) {
        EXPECT_EQ(KX_INVALID_HANDLE, library);
    } else {
        KXLibClose(library);
    }
    return result;
}

}  // namespace kx::test

#endif
