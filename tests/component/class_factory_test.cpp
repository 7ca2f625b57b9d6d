// The way from a class identifier to an object, over a component library that keeps a log.
#include <kxcore7/component.h>
#include <kxcore7/module.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "components/test_component.h"
#include "support/environment.h"
#include "support/results.h"
#include "support/scratch_registry.h"

using namespace kx::test;

namespace {

std::u16string TextOf(const KXGUID& guid) {
    char16_t text[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&guid, text, KX_GUID_TEXT_SIZE);
    return text;
}

std::u16string ServerKey(const KXGUID& clsid) {
    return u"CLSID\\" + TextOf(clsid) + u"\\InprocServer32";
}

class ClassFactory : public ::testing::Test {
  protected:
    void SetUp() override {
        for (const KXGUID& clsid : {kGoodClass, kRefusedClass, kBarrenClass, kReEntrantClass,
                                    kSelfEntrantClass, kFlushingClass, kSlowClass}) {
            Register(clsid, std::filesystem::path(KXTEST_COMPONENT).u16string());
        }
    }
    void TearDown() override {
        EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
        EXPECT_EQ(0, m_log.liveObjects);
        EXPECT_EQ(0, m_log.liveFactories);
        EXPECT_FALSE(m_log.factoryOutlivedLibrary);
        // What a failed request left open, by contract, is not to reach the next test.
        for (int open = m_log.loads - m_log.unloads; open > 0; --open) CloseLeftOpen();
        KXRegistryDeleteKey(KX_HKEY_CLASSES, u"CLSID");
    }

    static void Register(const KXGUID& clsid, const std::u16string& path) {
        ASSERT_RESULT(KX_S_OK, SetText(KX_HKEY_CLASSES, ServerKey(clsid), u"", path));
    }
    static KXResult Request(const KXGUID& clsid, const KXGUID& iid = kClassFactory) {
        void* factory = &factory;
        const KXResult result = KXComGetClassObject(&clsid, &iid, &factory);
        EXPECT_EQ(result < 0, factory == nullptr);
        if (factory != nullptr) IKXUnknown_Release(static_cast<IKXUnknown*>(factory));
        return result;
    }
    static KXResult Create(const KXGUID& clsid, const KXGUID& iid = kUnknown) {
        void* object = nullptr;
        const KXResult result = KXComCreateObject(&clsid, nullptr, &iid, &object);
        if (object != nullptr) IKXUnknown_Release(static_cast<IKXUnknown*>(object));
        return result;
    }
    static void CloseLeftOpen() {
        KXLibraryHandle library = 0;
        KXLibOpen(std::filesystem::path(KXTEST_COMPONENT).u16string().c_str(), &library);
        KXLibClose(library);
        KXLibClose(library);
    }

    ComponentLog m_log;
    ScopedEnvironment m_variable{kLogVariable,
                                 std::to_string(reinterpret_cast<std::uintptr_t>(&m_log))};
};

}  // namespace

TEST_F(ClassFactory, MakesAnObjectAndKeepsOnlyTheCachesReferenceOnTheFactory) {
    void* object = nullptr;
    ASSERT_RESULT(KX_S_OK, KXComCreateObject(&kGoodClass, nullptr, &kUnknown, &object));
    EXPECT_EQ(1, m_log.liveObjects);
    EXPECT_EQ(1, m_log.liveFactories);
    EXPECT_EQ(0u, IKXUnknown_Release(static_cast<IKXUnknown*>(object)));
    EXPECT_EQ(0, m_log.unloads) << "the cache keeps the library";
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    EXPECT_EQ(0, m_log.liveFactories);
    EXPECT_EQ(1, m_log.unloads);
}

TEST_F(ClassFactory, TwoRequestsLoadOnceWhateverInterfaceTheyAskFor) {
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass, kUnknown));
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass, kClassFactory));
    EXPECT_EQ(1, m_log.loads);
    EXPECT_EQ(1, m_log.requests) << "the second goes through QueryInterface";
}

TEST_F(ClassFactory, ACachedRequestReadsNoRegistry) {
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_EQ(0, KXRegistryDeleteKey(KX_HKEY_CLASSES, u"CLSID"));
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, Request(kGoodClass));
}

TEST_F(ClassFactory, AfterAFlushARequestLoadsAgain) {
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_EQ(2, m_log.loads);
    EXPECT_EQ(2, m_log.requests);
}

TEST_F(ClassFactory, FlushOfAnEmptyCacheIsFine) {
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
}

TEST_F(ClassFactory, ACachedFactoryThatRefusesTheInterfaceStays) {
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_RESULT(kNoInterface, Request(kGoodClass, kUnknownInterface));
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_EQ(1, m_log.requests);
}

TEST_F(ClassFactory, AFactoryThatMakesNothingGivesItsCodeAndStays) {
    EXPECT_RESULT(kBarren, Create(kBarrenClass));
    EXPECT_RESULT(kBarren, Create(kBarrenClass));
    EXPECT_EQ(1, m_log.requests);
    EXPECT_RESULT(kNoInterface, Create(kGoodClass, kUnknownInterface));
}

TEST_F(ClassFactory, AClassWithoutARegistrationIsNotRegistered) {
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, Request(ClassId(77)));
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, Create(ClassId(77)));
    SetText(KX_HKEY_CLASSES, ServerKey(ClassId(77)), u"other", u"no default value");
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, Request(ClassId(77)));
    EXPECT_EQ(0, m_log.loads);
}

TEST_F(ClassFactory, APathThatIsTooLongIsNotRegistered) {
    const std::u16string longest(259, u'x');
    Register(ClassId(77), longest);
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Request(ClassId(77))) << "259 units and a terminator";
    Register(ClassId(77), longest + u"x");
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, Request(ClassId(77)));
}

TEST_F(ClassFactory, APathStoredWithoutATerminatorIsRead) {
    const std::u16string path = std::filesystem::path(KXTEST_COMPONENT).u16string();
    KXRegistrySetValue(KX_HKEY_CLASSES, ServerKey(kGoodClass).c_str(), u"", KX_REG_SZ, path.c_str(),
                       static_cast<std::uint32_t>(path.size() * 2));
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
}

TEST_F(ClassFactory, ALibraryThatCantBeLoadedGivesTheLoadersCode) {
    const ScratchDir scratch;
    std::ofstream(scratch / "text.so") << "no library";
    Register(kGoodClass, (scratch / "missing.so").u16string());
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, Request(kGoodClass));
    Register(kGoodClass, (scratch / "text.so").u16string());
    EXPECT_RESULT(KX_E_FAIL, Request(kGoodClass));
    Register(kGoodClass, scratch.Path().u16string());
    EXPECT_RESULT(KX_E_ACCESSDENIED, Request(kGoodClass));
    Register(kGoodClass, std::filesystem::path(KXTEST_COMPONENT).u16string());
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass)) << "nothing of the failures was cached";
}

TEST_F(ClassFactory, ALibraryWithoutTheSymbolFailsAndStaysOpen) {
    const std::u16string path = std::filesystem::path(KXTEST_NO_ENTRY).u16string();
    Register(kGoodClass, path);
    EXPECT_RESULT(KX_E_FAIL, Request(kGoodClass));
    KXLibraryHandle library = 0;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(path.c_str(), &library));
    EXPECT_RESULT(KX_S_OK, KXLibClose(library));
    EXPECT_RESULT(KX_S_OK, KXLibClose(library)) << "the open that the request left behind";
}

TEST_F(ClassFactory, AClassThatIsRefusedGivesThatCodeAndTheLibraryStaysOpen) {
    EXPECT_RESULT(kRefusal, Request(kRefusedClass));
    EXPECT_EQ(0, m_log.unloads);
    EXPECT_RESULT(kRefusal, Request(kRefusedClass));
    EXPECT_EQ(2, m_log.requests) << "nothing was cached";
    EXPECT_RESULT(kNoInterface, Request(kGoodClass, kUnknownInterface));
    EXPECT_EQ(0, m_log.liveFactories);
    // Three opens were left behind.
    for (int i = 0; i < 2; ++i) CloseLeftOpen();
}

TEST_F(ClassFactory, ALibraryMayAskForAnotherClassWhileItIsAsked) {
    EXPECT_RESULT(KX_S_OK, Request(kReEntrantClass));
    EXPECT_EQ(2, m_log.requests);
    EXPECT_RESULT(KX_S_OK, Request(kGoodClass));
    EXPECT_EQ(2, m_log.requests) << "both are cached";
}

TEST_F(ClassFactory, AnEntryThatAppearsMeanwhileIsReplaced) {
    void* made = nullptr;
    void* cached = nullptr;
    EXPECT_RESULT(KX_S_OK, KXComGetClassObject(&kSelfEntrantClass, &kClassFactory, &made));
    EXPECT_RESULT(KX_S_OK, KXComGetClassObject(&kSelfEntrantClass, &kClassFactory, &cached));
    EXPECT_EQ(made, cached);
    for (void* const factory : {made, cached}) {
        IKXUnknown_Release(static_cast<IKXUnknown*>(factory));
    }
    EXPECT_EQ(2, m_log.requests);
    EXPECT_EQ(1, m_log.liveFactories) << "the earlier one has lost its reference";
}

TEST_F(ClassFactory, AFactoryMayAskForAClassWhileItIsFlushed) {
    EXPECT_RESULT(KX_S_OK, Request(kFlushingClass));
    EXPECT_RESULT(KX_S_OK, KXComFlushFactoryCache());
    EXPECT_EQ(1, m_log.liveFactories) << "the one that it asked for";
}

using ClassFactoryDeathTest = ClassFactory;

// The cache is emptied at the end of the process, too, and has no lock by then.
TEST_F(ClassFactoryDeathTest, AFactoryMayAskForAClassAtTheEndOfTheProcess) {
    EXPECT_EXIT(
        {
            Request(kFlushingClass);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

// A second image of the library stands for one that a program unloads.
TEST_F(ClassFactory, IsReleasedWhenTheLibraryIsUnloadedAndItsOwnLibraryStays) {
    const std::u16string path = std::filesystem::path(KXTEST_LIBRARY_COPY).u16string();
    KXLibraryHandle copy = 0;
    ASSERT_RESULT(KX_S_OK, KXLibOpen(path.c_str(), &copy));
    void* symbol = nullptr;
    ASSERT_RESULT(KX_S_OK, KXLibGetSymbol(copy, u"KXComGetClassObject", &symbol));
    void* factory = nullptr;
    EXPECT_RESULT(KX_S_OK, reinterpret_cast<decltype(&KXComGetClassObject)>(symbol)(
                               &kGoodClass, &kClassFactory, &factory));
    IKXUnknown_Release(static_cast<IKXUnknown*>(factory));
    EXPECT_EQ(1, m_log.liveFactories) << "the copy's cache holds it";
    EXPECT_RESULT(KX_S_OK, KXLibClose(copy));
    EXPECT_EQ(0, m_log.liveFactories);
    EXPECT_EQ(0, m_log.unloads);
}

TEST_F(ClassFactory, ManyThreadsLoadOnce) {
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&good] {
            for (int round = 0; round < 50; ++round) good += Request(kGoodClass) == 0 ? 1 : 0;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(300, good.load());
    EXPECT_EQ(1, m_log.loads);
    EXPECT_EQ(1, m_log.requests);
}

TEST_F(ClassFactory, AThreadThatAsksWhileALibraryIsLoadedWaitsForIt) {
    std::thread other([] { EXPECT_RESULT(KX_S_OK, Request(kSlowClass)); });
    EXPECT_RESULT(KX_S_OK, Request(kSlowClass));
    other.join();
    EXPECT_EQ(1, m_log.requests);
}

TEST_F(ClassFactory, ProgIDIsReadInEveryFormOfAnIdentifier) {
    const std::u16string braced = TextOf(kGoodClass);
    std::u16string lower = braced.substr(1, 36);
    for (char16_t& unit : lower) unit = unit >= u'A' && unit <= u'F' ? char16_t(unit + 32) : unit;
    for (const std::u16string& text : {braced, lower}) {
        SetText(KX_HKEY_CLASSES, u"KxTest.Thing.1\\CLSID", u"", text);
        KXGUID clsid{};
        EXPECT_RESULT(KX_S_OK, KXComClassIDFromProgID(u"KxTest.Thing.1", &clsid));
        EXPECT_EQ(1, KXComIsEqualGUID(&kGoodClass, &clsid));
        void* object = nullptr;
        EXPECT_RESULT(KX_S_OK,
                      KXComCreateObjectByProgID(u"KxTest.Thing.1", nullptr, &kUnknown, &object));
        IKXUnknown_Release(static_cast<IKXUnknown*>(object));
    }
    KXRegistryDeleteKey(KX_HKEY_CLASSES, u"KxTest.Thing.1");
}

TEST_F(ClassFactory, ProgIDThatLeadsNowhereTellsWhy) {
    KXGUID clsid = kGoodClass;
    void* object = nullptr;
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG, KXComClassIDFromProgID(u"KxTest.None", &clsid));
    EXPECT_RESULT(KX_REGDB_E_CLASSNOTREG,
                  KXComCreateObjectByProgID(u"KxTest.None", nullptr, &kUnknown, &object));
    SetText(KX_HKEY_CLASSES, u"KxTest.Bad\\CLSID", u"", u"no identifier");
    EXPECT_RESULT(KX_E_INVALIDARG, KXComClassIDFromProgID(u"KxTest.Bad", &clsid));
    SetText(KX_HKEY_CLASSES, u"KxTest.Bad\\CLSID", u"", std::u16string(39, u'0'));
    EXPECT_RESULT(KX_E_FAIL, KXComClassIDFromProgID(u"KxTest.Bad", &clsid)) << "too long to read";
    EXPECT_EQ(1, KXComIsEqualGUID(&kGoodClass, &clsid)) << "untouched";
    EXPECT_EQ(nullptr, object);
    KXRegistryDeleteKey(KX_HKEY_CLASSES, u"KxTest.Bad");
}

namespace {

class Module : public ClassFactory {
  protected:
    ~Module() override { KXModuleSetInitialized(kModule, 0); }

    static constexpr KXModuleID kModule = 0x1234;
};

}  // namespace

TEST_F(Module, ThatNeverAnnouncedItselfIsRefusedAndNoOutputIsTouched) {
    int other = 0;
    void* out = &other;
    KXLibraryHandle library = 77;
    EXPECT_RESULT(KX_CO_E_INIT_TLS,
                  KXModuleComCreateObject(kModule, &kGoodClass, nullptr, &kUnknown, &out));
    EXPECT_RESULT(KX_CO_E_INIT_TLS,
                  KXModuleComGetClassObject(kModule, &kGoodClass, &kUnknown, &out));
    EXPECT_RESULT(KX_CO_E_INIT_TLS, KXModuleLibOpen(kModule, u"/nowhere", &library));
    EXPECT_RESULT(KX_CO_E_INIT_TLS, KXModuleLibClose(kModule, library));
    EXPECT_EQ(&other, out);
    EXPECT_EQ(77u, library);
}

TEST_F(Module, ThatAnnouncedItselfIsServed) {
    EXPECT_RESULT(KX_S_OK, KXModuleSetInitialized(kModule, 1));
    void* out = nullptr;
    EXPECT_RESULT(KX_S_OK, KXModuleComCreateObject(kModule, &kGoodClass, nullptr, &kUnknown, &out));
    IKXUnknown_Release(static_cast<IKXUnknown*>(out));
    EXPECT_RESULT(KX_S_OK, KXModuleComGetClassObject(kModule, &kGoodClass, &kUnknown, &out));
    IKXUnknown_Release(static_cast<IKXUnknown*>(out));
    KXLibraryHandle library = 0;
    const std::u16string path = std::filesystem::path(KXTEST_COMPONENT).u16string();
    EXPECT_RESULT(KX_S_OK, KXModuleLibOpen(kModule, path.c_str(), &library));
    EXPECT_RESULT(KX_S_OK, KXModuleLibClose(kModule, library));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXModuleLibOpen(kModule, u"/nowhere", &library));
}

TEST_F(Module, IsInTheSetOrOutWhateverItAnnouncedHowOften) {
    KXLibraryHandle library = 0;
    KXModuleSetInitialized(kModule, -1);
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXModuleLibOpen(kModule, u"/nowhere", &library));
    KXModuleSetInitialized(kModule, 1);
    EXPECT_RESULT(KX_S_OK, KXModuleSetInitialized(kModule, 0));
    EXPECT_RESULT(KX_CO_E_INIT_TLS, KXModuleLibOpen(kModule, u"/nowhere", &library));
    EXPECT_RESULT(KX_S_OK, KXModuleSetInitialized(kModule, 0)) << "taking out what is not in";
}

TEST_F(Module, FlagCountsByItsLow16Bits) {
    KXModuleSetInitialized(kModule, 1);
    // A caller in another language may pass a full word.
    using WideFlag = KXResult (*)(KXModuleID, std::int32_t);
    const auto set = reinterpret_cast<WideFlag>(reinterpret_cast<void*>(&KXModuleSetInitialized));
    EXPECT_RESULT(KX_S_OK, set(kModule, 0x10000));
    KXLibraryHandle library = 0;
    EXPECT_RESULT(KX_CO_E_INIT_TLS, KXModuleLibOpen(kModule, u"/nowhere", &library));
}

TEST_F(Module, IdentifiersAreComparedWhole) {
    const KXModuleID wide = kModule | KXModuleID{1} << (sizeof(KXModuleID) * 8 - 1);
    KXLibraryHandle library = 0;
    KXModuleSetInitialized(wide, 1);
    EXPECT_RESULT(KX_CO_E_INIT_TLS, KXModuleLibOpen(kModule, u"/nowhere", &library));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, KXModuleLibOpen(wide, u"/nowhere", &library));
    KXModuleSetInitialized(wide, 0);
}
