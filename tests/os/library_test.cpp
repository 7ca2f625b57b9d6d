#include <kxcore7/library.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/libraries.h"
#include "support/results.h"
#include "support/scratch_dir.h"

using namespace kx::test;

namespace {

const std::u16string kComponent = Wide(KXTEST_COMPONENT);

}  // namespace

TEST(Library, OpensFindsAndCloses) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    void* symbol = nullptr;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(kComponent.c_str(), &library));
    EXPECT_RESULT(KX_S_OK, KXLibGetSymbol(library, u"DllGetClassObject", &symbol));
    EXPECT_NE(nullptr, symbol);
    EXPECT_RESULT(KX_S_OK, KXLibClose(library));
}

TEST(Library, OpenedTwiceHasOneHandleAndNeedsTwoCloses) {
    KXLibraryHandle first = 0;
    KXLibraryHandle second = 0;
    void* symbol = nullptr;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(kComponent.c_str(), &first));
    ASSERT_RESULT(KX_S_OK, KXLibOpen(kComponent.c_str(), &second));
    EXPECT_EQ(first, second);
    EXPECT_RESULT(KX_S_OK, KXLibClose(first));
    EXPECT_RESULT(KX_S_OK, KXLibGetSymbol(second, u"DllGetClassObject", &symbol));
    EXPECT_RESULT(KX_S_OK, KXLibClose(second));
    EXPECT_RESULT(KX_E_HANDLE, KXLibClose(second)) << "it has been unloaded";
}

TEST(Library, MissingFileIsNotFound) {
    const ScratchDir scratch;
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(Wide(scratch / "none.so")));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(Wide(scratch / "none" / "none.so")));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(kComponent + u"/through-a-file.so"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(u"kxtest-no-such-library.so"));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Open(u""));
}

TEST(Library, FileThatIsNoLibraryFails) {
    const ScratchDir scratch;
    for (const std::string content : {"", "no library",
                                      "\x7F"
                                      "ELF and then nothing"}) {
        std::ofstream(scratch / "text.so") << content;
        EXPECT_RESULT(KX_E_FAIL, Open(Wide(scratch / "text.so")));
    }
}

TEST(Library, WithANeedThatNobodyMeetsFailsAtOnce) {
    EXPECT_RESULT(KX_E_FAIL, Open(Wide(KXTEST_UNRESOLVED)));
}

TEST(Library, DirectoryIsRefused) {
    const ScratchDir scratch;
    EXPECT_RESULT(KX_E_ACCESSDENIED, Open(Wide(scratch.Path())));
}

TEST(Library, NameWithoutADirectoryIsSearchedFor) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    void* symbol = nullptr;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(kSystemLibrary.name, &library));
    EXPECT_RESULT(KX_S_OK, KXLibGetSymbol(library, kSystemLibrary.symbol, &symbol));
    EXPECT_RESULT(KX_S_OK, KXLibClose(library));
}

TEST(Library, MissingSymbolFailsAndStoresNull) {
    KXLibraryHandle library = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(kComponent.c_str(), &library));
    const char16_t lone[] = {char16_t(0xD800), 0};
    for (const char16_t* const name : {u"NoSuchSymbol", u"", u"\u4E2D", lone}) {
        void* symbol = &library;
        EXPECT_RESULT(KX_E_FAIL, KXLibGetSymbol(library, name, &symbol));
        EXPECT_EQ(nullptr, symbol);
    }
    KXLibClose(library);
}

TEST(Library, HandleThatIsNoLibraryIsBad) {
    int other = 0;
    for (const KXLibraryHandle handle :
         {KXLibraryHandle{0}, KX_INVALID_HANDLE, KXLibraryHandle{4096},
          reinterpret_cast<KXLibraryHandle>(&other)}) {
        void* symbol = &other;
        EXPECT_RESULT(KX_E_HANDLE, KXLibGetSymbol(handle, u"cos", &symbol));
        EXPECT_EQ(nullptr, symbol);
        EXPECT_RESULT(KX_E_HANDLE, KXLibClose(handle));
    }
}
