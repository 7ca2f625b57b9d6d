// A client of components: it registers two classes, has objects of them made, uses them, and shows
// on the way what the cache of factories and the modules' announcements do.
#include <kxcore7/component.h>
#include <kxcore7/guid.h>
#include <kxcore7/module.h>
#include <kxcore7/registry.h>
#include <kxcore7/result.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include "com_ptr.h"
#include "files.h"
#include "narrator.h"
#include "text_counter.h"

namespace {

constexpr KXGUID kTextCounterIid = IID_TEXT_COUNTER;
constexpr KXGUID kClassFactoryIid = KX_IID_CLASS_FACTORY;

struct ComponentClass {
    const char* language;
    KXGUID clsid;
    const char16_t* progId;
};

constexpr ComponentClass kCppClass{"C++", CLSID_TEXT_COUNTER_CPP, PROGID_TEXT_COUNTER_CPP};
constexpr ComponentClass kCClass{"C", CLSID_TEXT_COUNTER_C, PROGID_TEXT_COUNTER_C};

// For wide text known to be ASCII: identifiers and ProgIDs.
std::string Narrow(std::u16string_view ascii) {
    std::string narrow;
    for (const char16_t unit : ascii) narrow.push_back(static_cast<char>(unit));
    return narrow;
}

std::u16string TextOf(const KXGUID& guid) {
    char16_t text[KX_GUID_TEXT_SIZE];
    KXComStringFromGUID(&guid, text, KX_GUID_TEXT_SIZE);
    return text;
}

std::string TextOf(const TextCounts& counts) {
    return std::to_string(counts.lines) + " lines, " + std::to_string(counts.words) + " words, " +
           std::to_string(counts.bytes) + " bytes";
}

bool operator==(const TextCounts& a, const TextCounts& b) {
    return a.lines == b.lines && a.words == b.words && a.bytes == b.bytes;
}

// The default value of a key, stored with its terminator.
KXResult SetDefaultValue(const std::u16string& key, const std::u16string& text) {
    const size_t bytes = (text.size() + 1) * sizeof(char16_t);
    return KXRegistrySetValue(KX_HKEY_CLASSES, key.c_str(), u"", KX_REG_SZ, text.c_str(),
                              static_cast<uint32_t>(bytes));
}

// What the registry knows of a class. It is taken back when the program ends, in whatever way.
class Registration final {
  public:
    Registration(const ComponentClass& component, std::u16string library)
        : m_clsid(TextOf(component.clsid)),
          m_progId(component.progId),
          m_library(std::move(library)) {}
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    ~Registration() {
        RemoveClass();
        KXRegistryDeleteKey(KX_HKEY_CLASSES, m_progId.c_str());
    }

    KXResult WriteClass() const { return SetDefaultValue(ServerKey(), m_library); }
    KXResult WriteProgId() const { return SetDefaultValue(m_progId + u"\\CLSID", m_clsid); }
    KXResult RemoveClass() const {
        return KXRegistryDeleteKey(KX_HKEY_CLASSES, ClassKey().c_str());
    }

    std::u16string ServerKey() const { return ClassKey() + u"\\InprocServer32"; }
    const std::u16string& Library() const { return m_library; }

  private:
    std::u16string ClassKey() const { return u"CLSID\\" + m_clsid; }

    const std::u16string m_clsid;
    const std::u16string m_progId;
    const std::u16string m_library;
};

// Stands for this program among the modules that announce themselves. Any address in it would do.
KXModuleID ThisModule() {
    return reinterpret_cast<KXModuleID>(&ThisModule);
}

// The steps, in the order of their numbers.
class Demo final {
  public:
    Demo(const std::string& cppLibrary, const std::string& cLibrary, std::string text)
        : m_text(std::move(text)),
          m_cppRegistration(kCppClass, Widen(cppLibrary)),
          m_cRegistration(kCClass, Widen(cLibrary)) {}

    void Run();

  private:
    void RegisterBoth();
    void Announce();
    void FindClass();
    void FindLibrary();
    void LoadFactory();
    void CreateFirst();
    void Count();
    void CreateFromCache();
    void Forget();
    void CountInC();
    void Leave();

    void Register(const ComponentClass& component, const Registration& registration) const;
    void Release(const std::string& name, ComPtr<ITextCounter>& counter) const;
    KXResult CreateCpp(ComPtr<ITextCounter>& counter) const;
    KXResult CreateByProgId(const ComponentClass& component, ComPtr<ITextCounter>& counter) const;
    TextCounts CountBy(const ComPtr<ITextCounter>& counter) const;

    Narrator m_narrator;
    const std::string m_text;
    const Registration m_cppRegistration;
    const Registration m_cRegistration;
    ComPtr<IKXClassFactory> m_factory;
    ComPtr<ITextCounter> m_first;
    ComPtr<ITextCounter> m_second;
    // What the first object took, from the ProgID on.
    double m_firstMicroseconds = 0;
    TextCounts m_cppCounts{};
};

void Demo::Run() {
    RegisterBoth();
    Announce();
    FindClass();
    FindLibrary();
    LoadFactory();
    CreateFirst();
    Count();
    CreateFromCache();
    Forget();
    CountInC();
    Leave();
}

void Demo::RegisterBoth() {
    m_narrator.Step(0, "Register both classes: where the library is, what the ProgID stands for");
    Register(kCppClass, m_cppRegistration);
    Register(kCClass, m_cRegistration);
}

void Demo::Register(const ComponentClass& component, const Registration& registration) const {
    const std::string language = component.language;
    m_narrator.Expect(KX_S_OK, "write CLSID\\...\\InprocServer32, " + language,
                      [&] { return registration.WriteClass(); });
    m_narrator.Expect(KX_S_OK, "write " + Narrow(component.progId) + "\\CLSID",
                      [&] { return registration.WriteProgId(); });
}

void Demo::Announce() {
    m_narrator.Step(1, "A module is served only after it has announced itself");
    ComPtr<ITextCounter> counter;
    m_narrator.Expect(KX_CO_E_INIT_TLS, "create an object too early",
                      [&] { return CreateCpp(counter); });
    m_narrator.Expect(KX_S_OK, "announce this module",
                      [] { return KXModuleSetInitialized(ThisModule(), 1); });
}

void Demo::FindClass() {
    m_narrator.Step(2, "The ProgID leads to the class");
    KXGUID clsid{};
    m_firstMicroseconds += m_narrator.Expect(KX_S_OK, "look up " + Narrow(kCppClass.progId), [&] {
        return KXComClassIDFromProgID(kCppClass.progId, &clsid);
    });
    m_narrator.Note(Narrow(TextOf(clsid)), KXComIsEqualGUID(&clsid, &kCppClass.clsid) != 0);
}

// The library reads this by itself; here it is only shown.
void Demo::FindLibrary() {
    m_narrator.Step(3, "The class leads to its library, which the next step reads, too");
    char16_t path[260] = u"";
    uint32_t bytes = sizeof path;
    uint32_t type = 0;
    m_narrator.Expect(KX_S_OK, "read CLSID\\...\\InprocServer32", [&] {
        return KXRegistryGetValue(KX_HKEY_CLASSES, m_cppRegistration.ServerKey().c_str(), u"",
                                  &type, path, &bytes);
    });
    m_narrator.Note(
        path == m_cppRegistration.Library() ? "the path as it was registered" : "another path",
        path == m_cppRegistration.Library());
}

void Demo::LoadFactory() {
    m_narrator.Step(4, "The first request loads the library and keeps the factory it hands out");
    m_firstMicroseconds += m_narrator.Expect(KX_S_OK, "ask for the class's factory", [&] {
        return KXModuleComGetClassObject(ThisModule(), &kCppClass.clsid, &kClassFactoryIid,
                                         m_factory.Out());
    });
}

void Demo::CreateFirst() {
    m_narrator.Step(5, "The factory makes the object; from then on the cache alone holds it");
    m_firstMicroseconds += m_narrator.Expect(KX_S_OK, "CreateInstance", [&] {
        return m_factory->CreateInstance(nullptr, &kTextCounterIid, m_first.Out());
    });
    const uint32_t left = m_factory.Release();
    m_narrator.Note("factory released, references left: " + std::to_string(left), left == 1);
}

void Demo::Count() {
    m_narrator.Step(6, "The component counts the file");
    m_cppCounts = CountBy(m_first);
}

void Demo::CreateFromCache() {
    m_narrator.Step(7, "The same road in one call loads nothing: the registration is gone");
    m_narrator.Expect(KX_S_OK, "remove the class's registration",
                      [&] { return m_cppRegistration.RemoveClass(); });
    const double microseconds =
        m_narrator.Expect(KX_S_OK, "create " + Narrow(kCppClass.progId),
                          [&] { return CreateByProgId(kCppClass, m_second); });
    char text[80];
    std::snprintf(text, sizeof text, "made from the cache, %.0f times faster than the first",
                  m_firstMicroseconds / microseconds);
    m_narrator.Note(text);
}

void Demo::Forget() {
    m_narrator.Step(8, "The cache is flushed: now the missing registration shows");
    Release("first", m_first);
    Release("second", m_second);
    m_narrator.Expect(KX_S_OK, "flush the cache", [] { return KXComFlushFactoryCache(); });
    m_narrator.Expect(KX_REGDB_E_CLASSNOTREG, "create an object by its CLSID",
                      [&] { return CreateCpp(m_second); });
}

void Demo::Release(const std::string& name, ComPtr<ITextCounter>& counter) const {
    const uint32_t left = counter.Release();
    m_narrator.Note(name + " object released, references left: " + std::to_string(left), left == 0);
}

void Demo::CountInC() {
    m_narrator.Step(9, "The same interface, implemented in C, counts the same");
    ComPtr<ITextCounter> counter;
    m_narrator.Expect(KX_S_OK, "create " + Narrow(kCClass.progId),
                      [&] { return CreateByProgId(kCClass, counter); });
    const bool agree = CountBy(counter) == m_cppCounts;
    m_narrator.Note(agree ? "both components agree" : "the components disagree", agree);
}

void Demo::Leave() {
    m_narrator.Step(10, "The module leaves");
    m_narrator.Expect(KX_S_OK, "take this module out",
                      [] { return KXModuleSetInitialized(ThisModule(), 0); });
}

KXResult Demo::CreateCpp(ComPtr<ITextCounter>& counter) const {
    return KXModuleComCreateObject(ThisModule(), &kCppClass.clsid, nullptr, &kTextCounterIid,
                                   counter.Out());
}

KXResult Demo::CreateByProgId(const ComponentClass& component,
                              ComPtr<ITextCounter>& counter) const {
    return KXComCreateObjectByProgID(component.progId, nullptr, &kTextCounterIid, counter.Out());
}

TextCounts Demo::CountBy(const ComPtr<ITextCounter>& counter) const {
    TextCounts counts{};
    m_narrator.Expect(KX_S_OK, "count lines, words and bytes",
                      [&] { return counter->Count(m_text.data(), m_text.size(), &counts); });
    m_narrator.Note(TextOf(counts));
    return counts;
}

// The file comes first: if it can't be read, nothing else is told.
void RunDemo(const char* cppLibrary, const char* cLibrary, const char* file) {
    std::string text = ReadFile(file);
    std::printf("Two components count the lines, words and bytes of %s\n", file);
    Demo(cppLibrary, cLibrary, std::move(text)).Run();
    std::printf("\ndemo: ok\n");
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: demo COMPONENT_CPP_LIB COMPONENT_C_LIB FILE\n");
        return EXIT_FAILURE;
    }
    // Names on the command line are in the person's locale; numbers stay in the plain one.
    std::setlocale(LC_CTYPE, "");
    try {
        RunDemo(argv[1], argv[2], argv[3]);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fflush(stdout);
        std::fprintf(stderr, "demo: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
