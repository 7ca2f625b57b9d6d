// What shutdown does to cached factories.
#include <kxcore7/component.h>
#include <kxcore7/module.h>

#include <string>

#include "components/test_component.h"
#include "platform/entry.h"
#include "support/environment.h"
#include "support/failing_new.h"
#include "support/results.h"
#include "support/scratch_registry.h"

using namespace kx::test;

namespace {

class CachedClass : public ::testing::Test {
  protected:
    CachedClass() {
        char16_t text[KX_GUID_TEXT_SIZE];
        KXComStringFromGUID(&kGoodClass, text, KX_GUID_TEXT_SIZE);
        SetText(KX_HKEY_CLASSES, u"CLSID\\" + std::u16string(text) + u"\\InprocServer32", u"",
                std::filesystem::path(KXTEST_COMPONENT).u16string());
    }

    // By contract some of these leave the library open.
    ~CachedClass() override {
        KXComFlushFactoryCache();
        KXLibraryHandle library = 0;
        KXLibOpen(std::filesystem::path(KXTEST_COMPONENT).u16string().c_str(), &library);
        while (KXLibClose(library) == 0) {
        }
    }

    static KXResult Request() {
        void* factory = nullptr;
        const KXResult result = KXComGetClassObject(&kGoodClass, &kClassFactory, &factory);
        if (factory != nullptr) IKXUnknown_Release(static_cast<IKXUnknown*>(factory));
        return result;
    }

    ComponentLog m_log;
    ScopedEnvironment m_variable{kLogVariable,
                                 std::to_string(reinterpret_cast<std::uintptr_t>(&m_log))};
};

}  // namespace

TEST_F(CachedClass, IsReleasedAtShutdownAndItsLibraryStaysLoaded) {
    ASSERT_RESULT(KX_S_OK, Request());
    kx::core::LibraryMain(nullptr, kx::core::kProcessDetach);
    EXPECT_EQ(0, m_log.liveFactories);
    EXPECT_EQ(0, m_log.unloads) << "the close is refused: the library has left the module set";
    kx::core::LibraryMain(nullptr, kx::core::kProcessAttach);
    ASSERT_RESULT(KX_S_OK, Request());
    EXPECT_EQ(1, m_log.loads) << "it is loaded still";
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    KXLibraryHandle library = 0;
    KXLibOpen(std::filesystem::path(KXTEST_COMPONENT).u16string().c_str(), &library);
    KXLibClose(library);
    KXLibClose(library);
    EXPECT_EQ(1, m_log.unloads);
}

TEST_F(CachedClass, RequestOutOfMemoryIsReportedAndLeavesTheManagerUsable) {
    ASSERT_RESULT(KX_S_OK, Request());  // the registry's connections are not to be counted
    ASSERT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    int failures = 0;
    for (int allowed = 0;; ++allowed) {
        KXResult result = KX_S_OK;
        {
            const FailingNew failing(allowed);
            result = Request();
        }
        if (result == KX_S_OK) break;
        ++failures;
        EXPECT_TRUE(result == KX_E_OUTOFMEMORY || result == KX_REGDB_E_CLASSNOTREG)
            << Hex(result) << ": every failure to read the registration says that there is none";
    }
    EXPECT_GT(failures, 2);
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
}
