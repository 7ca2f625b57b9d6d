// The INI file: what is read from which bytes, what is written, and when it is read again.
#include "registry/ini_file.h"

#include <filesystem>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "frame/exception.h"
#include "support/failing_new.h"
#include "support/files.h"
#include "support/ini_image.h"
#include "support/ini_lock.h"
#include "support/locales.h"
#include "support/results.h"
#include "support/text_mode.h"
#include "support/waiting_thread.h"
#include "support/write_time.h"

using namespace kx::test;
using namespace std::string_literals;
namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::u16string>;

// A file's first second, and those around it.
constexpr std::int64_t kThen = 1'000'000'000;

// The longest line that one read takes whole, with its newline.
constexpr std::size_t kLongestLine = 510;

class IniFileTest : public ::testing::Test {
  protected:
    const fs::path& Path() const { return m_path; }

    std::unique_ptr<IniFile> Open() const {
        return std::make_unique<IniFile>(m_path.u16string().c_str());
    }
    std::unique_ptr<IniFile> Open(const std::string& bytes) const {
        Store(m_path, bytes);
        return Open();
    }

    // What is read from these bytes.
    std::u16string Read(const std::string& bytes) const { return ImageOf(*Open(bytes)); }

    // What becomes of these bytes when the file is written again.
    std::string Rewritten(const std::string& bytes) const {
        EXPECT_EQ(0, Open(bytes)->Save(nullptr));
        return Stored(m_path);
    }

    // Writes the file as another process would, in a second of its own.
    void StoreAt(std::int64_t second, const std::string& bytes) const {
        Store(m_path, bytes);
        SetWriteTime(m_path, second);
    }

  private:
    const ScratchDir m_directory;
    const fs::path m_path = m_directory / "file.ini";
};

using IniFileReading = IniFileTest;
using IniFileWriting = IniFileTest;
using IniFileChanges = IniFileTest;
using IniFileNames = IniFileTest;
using IniFileLock = IniFileTest;

struct Row {
    std::string bytes;
    std::u16string image;
};

std::string Repeated(std::size_t count) {
    return std::string(count, 'x');
}

std::u16string Wide(const std::string& text) {
    return {text.begin(), text.end()};
}

KXResult CodeOf(const auto& call) {
    try {
        call();
    } catch (const EKXCoreException& exception) {
        return exception.result;
    }
    return KX_S_OK;
}

}  // namespace

// --- Reading -------------------------------------------------------------------------------------

TEST_F(IniFileReading, NoFileAndAnEmptyOneAreEmpty) {
    EXPECT_EQ(u"", ImageOf(*Open()));
    EXPECT_FALSE(fs::exists(Path()));
    EXPECT_EQ(u"", Read(""));
}

TEST_F(IniFileReading, SectionsHoldValues) {
    const Row rows[] = {
        {"[KX_HKEY_CONFIG\\Software\\Sample\\Engine]\nCacheSize=128\nHome=C:\\data\\engine\n\n"
         "[KX_HKEY_USER\\someuser\\Engine]\nTheme=dark=blue\n\n",
         u"[KX_HKEY_CONFIG\\Software\\Sample\\Engine]{CacheSize|128}{Home|C:\\data\\engine}"
         u"[KX_HKEY_USER\\someuser\\Engine]{Theme|dark=blue}"},
        {"[s]\n", u"[s]"},
        {"[s]", u"[s]"},
        {"[s]\n\n[t]\n", u"[s][t]"},
        {"[s]\na=1\n", u"[s]{a|1}"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.image, Read(row.bytes)) << row.bytes;
}

TEST_F(IniFileReading, ASectionsNameIsAllUpToTheLastBracketOfItsLine) {
    const Row rows[] = {
        {"[a]b]\n\n", u"[a]b]"},
        {"[]\nk=1\n\n", u"[]{k|1}"},
        {"[ a ]\n\n", u"[ a ]"},
        {"[a] # remark\n\n", u"[a]"},
        {"[a] [b] x\n\n", u"[a] [b]"},
        {"[[a]]\n\n", u"[[a]]"},
        {"[a\tb=c]\nk=1\n", u"[a\tb=c]{k|1}"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.image, Read(row.bytes)) << row.bytes;
}

TEST_F(IniFileReading, AHeaderWithoutItsSecondBracketEndsTheRead) {
    EXPECT_EQ(u"[p]{k|1}", Read("[p]\nk=1\n\n[s\na=1\n\n[t]\nb=1\n\n"));
    EXPECT_EQ(u"[p]{k|1}", Read("[p]\nk=1\n\n[s\0]\na=1\n\n[t]\nb=1\n\n"s));
    EXPECT_EQ(u"", Read("["));
}

TEST_F(IniFileReading, TheFirstEqualSignDividesAndBlanksAroundEitherGo) {
    const Row rows[] = {
        {"=x\n", u"{|x}"},
        {"k=\n", u"{k|}"},
        {"k = v\n", u"{k|v}"},
        {"k=   \n", u"{k|   }"},
        {"k==v\n", u"{k|=v}"},
        {"k= = v \n", u"{k|= v}"},
        {"k  =  v  w  \n", u"{k|v  w}"},
        {"k\t=\tv\t\n", u"{k\t|\tv\t}"},
        {"k=\"v\"\n", u"{k|\"v\"}"},
        {"k=a\\n%X%\\\n", u"{k|a\\n%X%\\}"},
        {"k=[v]\n", u"{k|[v]}"},
    };
    for (const Row& row : rows) EXPECT_EQ(u"[s]" + row.image, Read("[s]\n" + row.bytes));
}

TEST_F(IniFileReading, InsideASectionThereAreNoComments) {
    EXPECT_EQ(u"[s]{#x|1}{:z|3}{;y|2}", Read("[s]\n#x=1\n;y=2\n:z=3\n\n"));
    for (const char* const mark : {"#", ";", ":"}) {
        EXPECT_EQ(u"[p]{k|1}", Read("[p]\nk=1\n\n[s]\na=1\n"s + mark + "x\nb=2\n\n[t]\nc=3\n\n"));
    }
}

TEST_F(IniFileReading, OnlyABlankLineEndsASection) {
    EXPECT_EQ(u"[p]{k|1}", Read("[p]\nk=1\n\n[s]\na=1\n[Next]\nb=2\n\n[t]\nc=3\n\n"));
    EXPECT_EQ(u"", Read("[s]\na=1\n[Next]\nb=2\n\n")) << "the section above is lost too";
    EXPECT_EQ(u"[s]{[Next|1]}{a|1}{b|2}", Read("[s]\na=1\n[Next=1]\nb=2\n\n"));
    EXPECT_EQ(u"[p]{k|1}", Read("[p]\nk=1\n\n[s]\na=1\nnothing\nb=2\n\n[t]\nc=3\n\n"));
}

TEST_F(IniFileReading, ALineThatBeginsWithWhiteSpaceEndsASectionAndItsTextIsNothing) {
    for (const std::string& white : {" "s, "\t"s, "\v"s, "\f"s, "\r"s, "\n"s, "\0"s}) {
        EXPECT_EQ(u"[s]{a|1}[t]{d|1}", Read("[s]\na=1\n" + white + "b=2 [x]\nc=3\nd\n[t]\nd=1\n\n"))
            << static_cast<int>(white[0]);
    }
}

TEST_F(IniFileReading, BetweenSectionsAllIsPassedOverThatIsNoHeader) {
    EXPECT_EQ(u"[s]{a|1}[t]{b|2}",
              Read("# one\n; two\n: three\nx=1\n [y]\n\tz\n\n\n[s]\na=1\n\n# four\n\n"
                   "any=thing\n]\n=\n[t]\nb=2\n\n\n\n; five"));
}

TEST_F(IniFileReading, ANulByteEndsItsLine) {
    EXPECT_EQ(u"[s]{j|2}{k|a}", Read("[s]\nk=ab\0cd\nj=2\n\n"s)) << "its last character goes";
    EXPECT_EQ(u"", Read("[s]\nk\0=1\n\n"s));
    EXPECT_EQ(u"[s]{k|1}", Read("\0[x]\n[s]\nk=1\n"s));
}

TEST_F(IniFileReading, AtTheEndOfTheFileTheLastCharacterIsTakenForANewline) {
    const Row rows[] = {
        {"[s]\nk=vw", u"[s]{k|v}"},
        {"[s]\nk=v", u"[s]{k|}"},
        {"[s]\nk=", u""},
        {"[s]\n=", u""},
        {"[s]\na=1\nx", u""},
        {"[p]\n\n[s]\na=1\nx", u"[p]"},
        {"[s]\na=1\n ", u"[s]{a|1}"},
        {"[s]\na=1\n\nx", u"[s]{a|1}"},
        {"[s]\na=1\n\n[t]", u"[s]{a|1}[t]"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.image, Read(row.bytes)) << row.bytes;
}

TEST_F(IniFileReading, OfANameThatComesTwiceTheFirstSpellingAndTheLastTextStay) {
    EXPECT_EQ(u"[s]{Key|3}{other|2}", Read("[s]\nKey=1\nother=2\nKEY=3\n\n"));
}

TEST_F(IniFileReading, ASectionThatComesTwiceIsReplacedWholeButForItsSpelling) {
    EXPECT_EQ(u"[Sec]{c|3}[t]", Read("[Sec]\na=1\nb=2\n\n[t]\n\n[sEC]\nc=3\n\n"));
    EXPECT_EQ(u"[Sec]", Read("[Sec]\na=1\n\n[SEC]\n\n"));
    EXPECT_EQ(u"[Sec]{a|1}", Read("[Sec]\na=1\n\n[SEC]\nb\n\n")) << "one that is thrown away";
}

TEST_F(IniFileReading, AByteOrderMarkHidesTheFirstSection) {
    EXPECT_EQ(u"[b]{j|2}", Read("\xEF\xBB\xBF[a]\nk=1\n\n[b]\nj=2\n\n"));
}

TEST_F(IniFileReading, AValueLineOfUpTo510BytesIsReadWhole) {
    for (const std::size_t bytes : {kLongestLine - 1, kLongestLine}) {
        const std::string text = Repeated(bytes - 3);
        EXPECT_EQ(u"[s]{j|1}{k|" + Wide(text) + u"}", Read("[s]\nk=" + text + "\nj=1\n\n"));
    }
}

TEST_F(IniFileReading, ALongerValueLineIsReadInPieces) {
    const std::string piece = "k=" + Repeated(kLongestLine - 2);
    const std::u16string cut = u"{k|" + Wide(Repeated(kLongestLine - 3)) + u"}";
    const std::string next = "\na=1\n\n[t]\n\n";
    const Row rows[] = {
        // The rest is a line of its own: the one that ends the section ...
        {piece, u"[s]" + cut + u"[t]"},
        {piece + " rest", u"[s]" + cut + u"[t]"},
        // ... one without an equal sign, which ends the read ...
        {piece + "x", u""},
        {piece + Repeated(kLongestLine), u""},
        // ... or a value.
        {piece + "j=2", u"[s]{a|1}{j|2}" + cut + u"[t]"},
        {piece + "j=" + Repeated(kLongestLine - 3),
         u"[s]{a|1}{j|" + Wide(Repeated(kLongestLine - 3)) + u"}" + cut + u"[t]"},
        {piece + "j=" + Repeated(kLongestLine - 2),
         u"[s]{j|" + Wide(Repeated(kLongestLine - 3)) + u"}" + cut + u"[t]"},
    };
    for (const Row& row : rows) EXPECT_EQ(row.image, Read("[s]\n" + row.bytes + next)) << row.bytes;
}

TEST_F(IniFileReading, APieceAtTheEndOfTheFileLosesItsLastCharacter) {
    for (const std::size_t bytes : {kLongestLine - 2, kLongestLine - 1, kLongestLine}) {
        EXPECT_EQ(u"[s]{k|" + Wide(Repeated(bytes - 3)) + u"}",
                  Read("[s]\nk=" + Repeated(bytes - 2)));
    }
    EXPECT_EQ(u"", Read("[s]\nk=" + Repeated(kLongestLine - 1))) << "the second piece is an x";
}

TEST_F(IniFileReading, AHeaderMayFillARead) {
    const std::string name = Repeated(kLongestLine - 3);
    EXPECT_EQ(u"[" + Wide(name) + u"]{k|1}", Read("[" + name + "]\nk=1\n\n"));
    // Of a longer one the rest of the line is the first line of the section.
    EXPECT_EQ(u"[t][" + Wide(name) + u"x]", Read("[" + name + "x]\nk=1\n\n[t]\n"));
    EXPECT_EQ(u"[" + Wide(name) + u"x]{j|2}{k|1}", Read("[" + name + "x]j=2\nk=1\n\n"));
    EXPECT_EQ(u"[p]", Read("[p]\n\n[" + name + "xx]\nk=1\n\n[t]\n"));
}

TEST_F(IniFileReading, ThePieceOfALineThatIsPassedOverMayBeAHeader) {
    EXPECT_EQ(u"[x]{k|1}", Read("#" + Repeated(kLongestLine - 1) + "[x]\nk=1\n\n"));
    EXPECT_EQ(u"", Read("#" + Repeated(kLongestLine - 2) + "[x]\nk=1\n\n"));
}

TEST_F(IniFileReading, TextIsInTheEncodingOfTheLocale) {
    {
        const InLocale locale(kWesternLocale);
        EXPECT_EQ(u"[\u00C4]{\u00D7|\u00E4}", Read("[\xC4]\n\xD7=\xE4\n\n"));
    }
    const InLocale locale(kMultiByteLocale.name);
    const std::string narrow = kMultiByteLocale.narrow;
    const std::u16string wide = kMultiByteLocale.wide;
    EXPECT_EQ(u"[" + wide + u"]{" + wide + u"|" + wide + u"}",
              Read("[" + narrow + "]\n" + narrow + "=" + narrow + "\n\n"));
    // What is dropped at the end of the file is a character, not a byte.
    EXPECT_EQ(u"[s]{k|" + wide + u"}", Read("[s]\nk=" + narrow + narrow));
}

TEST_F(IniFileReading, ALineThatIsNoTextEndsTheReadWhereItMatters) {
    const InLocale locale(kMultiByteLocale.name);
    EXPECT_EQ(u"[p]", Read("[p]\n\n[s\xFF]\nk=1\n\n[t]\n"));
    EXPECT_EQ(u"[p]", Read("[p]\n\n[s]\na=1\nk=\xFF\n\n[t]\n"));
    EXPECT_EQ(u"[p][t]{k|1}", Read("[p]\n\n\xFF\n# \xFF\n[t]\nk=1\n"));
    EXPECT_EQ(u"[s]{a|1}[t]", Read("[s]\na=1\n \xFF\n[t]\n"));
}

TEST_F(IniFileReading, CarriageReturnsAreTextWhereTheRuntimeKeepsThem) {
    const std::u16string end = kTextModeHasCarriageReturns ? u"" : u"\r";
    EXPECT_EQ(u"[s]{j|" + end + u"}{k|v" + end + u"}[t]",
              Read("[s]\r\nk= v\r\nj=\r\n\r\n# remark\r\n[t]\r\n"));
    EXPECT_EQ(u"[s]{k|a\rb}", Read("[s]\nk=a\rb\n")) << "one that ends no line";
}

TEST_F(IniFileReading, AnotherTimeTakesNothingOverFromBefore) {
    const auto file = Open();
    for (const char* const bytes :
         {"[a]\nk=1\nl=some longer text\n\n[b]\n\n[c]\nm=3\n\n", "[a]\nK=2\nk=4\nk=5\n\n",
          "[c]\nz=1\ny=2\nx=3\n\n[a]\na longer name=1\nb=\nc=1\n\n", "[d]\nk=1\nfault\n", ""}) {
        const std::u16string image = Read(bytes);
        EXPECT_EQ(0, file->Load());
        EXPECT_EQ(image, ImageOf(*file)) << bytes;
    }
}

// Bytes of every kind, and among them what means something.
TEST_F(IniFileReading, OfAnyBytesAWriteKeepsWhatWasRead) {
    constexpr int kFiles = 100;
    const std::string_view pieces[] = {"[a]\n", "[B\\c]\n", "k=v\n", "K= w \n", "=\n", "\n\n",
                                       "[",     "]",        "=",     " ",       "#",   "\r\n"};
    std::mt19937 random(20'26);
    int withValues = 0;
    for (int i = 0; i < kFiles; ++i) {
        std::string bytes;
        for (auto left = random() % 60; left != 0; --left) {
            const std::size_t choice = random() % (std::size(pieces) + 1);
            if (choice < std::size(pieces)) {
                bytes += pieces[choice];
            } else {
                bytes += static_cast<char>(random());
            }
        }
        const auto file = Open(bytes);
        const std::u16string image = ImageOf(*file);
        withValues += image.find(u'{') != std::u16string::npos ? 1 : 0;
        char16_t text[kLongestLine];
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, file->GetValue(u"no such", u"value", text));
        EXPECT_EQ(bytes, Stored(Path())) << "a reader leaves it as it is";
        EXPECT_EQ(0, file->Save(nullptr));
        ASSERT_EQ(image, ImageOf(*Open())) << i;
    }
    EXPECT_LT(kFiles / 10, withValues);
}

// --- Writing -------------------------------------------------------------------------------------

TEST_F(IniFileWriting, EachSectionIsFollowedByABlankLine) {
    EXPECT_EQ(OnDisk("[a\\b]\nk=v=w\nn=\n\n[c]\n\n"), Rewritten("[a\\b]\nn=\nk=v=w\n\n[c]\n"));
    EXPECT_EQ("", Rewritten("# nothing\n"));
}

TEST_F(IniFileWriting, SectionsAndValuesAreSortedByTheirFoldedNames) {
    EXPECT_EQ(OnDisk("[_]\n\n[a]\nX=2\ny=1\nZ=3\n\n[AB]\n\n[B]\n\n[b\\c]\n\n[c]\n\n"),
              Rewritten("[c]\n\n[b\\c]\n\n[B]\n\n[_]\n\n[AB]\n\n[a]\ny=1\nX=2\nZ=3\n"));
}

TEST_F(IniFileWriting, WhatWasPassedOverIsGone) {
    EXPECT_EQ(OnDisk("[a]\nk=v\n\n[b]\n\n"),
              Rewritten("# one\n[a] # two\n k\n[b]\n\nthree\n[a]\n  four\n[a]\nk = v\n\n\n\n"));
}

TEST_F(IniFileWriting, SectionsBehindAFaultAreErasedByTheNextSet) {
    const auto file = Open("[p]\nk=1\n\n[s]\na=1\nfault\n\n[t]\nb=2\n\n");
    EXPECT_EQ(0, file->SetValue(u"q", u"c", u"3", true));
    EXPECT_EQ(OnDisk("[p]\nk=1\n\n[q]\nc=3\n\n"), Stored(Path()));
}

TEST_F(IniFileWriting, NamesKeepTheSpellingThatTheFileHas) {
    const auto file = Open("[Section]\nName=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"SECTION", u"name", u"2", true));
    EXPECT_EQ(OnDisk("[Section]\nName=2\n\n"), Stored(Path()));
    EXPECT_EQ(u"2", TextIn(*file, u"section", u"NAME"));
}

TEST_F(IniFileWriting, CaseIsFoldedByTheLocale) {
    const InLocale locale(kWesternLocale);
    const auto file = Open("[\xC4]\n\xC4=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"\u00E4", u"\u00E4", u"2", true));
    EXPECT_EQ(OnDisk("[\xC4]\n\xC4=2\n\n"), Stored(Path()));
}

TEST_F(IniFileWriting, WithoutOverwritingAValueStaysAndTheFileIsNotTouched) {
    const std::string before = "# remark\n[s]\nk=1\n";
    const auto file = Open(before);
    EXPECT_EQ(-1, file->SetValue(u"S", u"K", u"2", false));
    EXPECT_EQ(before, Stored(Path()));
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    EXPECT_EQ(0, file->SetValue(u"s", u"j", u"2", false));
    EXPECT_EQ(0, file->SetValue(u"r", u"k", u"3", false));
    EXPECT_EQ(OnDisk("[r]\nk=3\n\n[s]\nj=2\nk=1\n\n"), Stored(Path()));
}

TEST_F(IniFileWriting, WhatTheLocaleCantExpressIsWrittenAsNothing) {
    const InLocale locale(kWesternLocale);
    const auto file = Open();
    EXPECT_EQ(0, file->SetValue(u"s\u3042", u"n\u3042", u"t\u3042", true));
    EXPECT_EQ(0, file->SetValue(u"s", u"n", u"\u00E4", true));
    EXPECT_EQ(OnDisk("[s]\nn=\xE4\n\n[]\n=\n\n"), Stored(Path()));
    EXPECT_EQ(u"[]{|}[s]{n|\u00E4}", ImageOf(*Open()));
}

TEST_F(IniFileWriting, TextThatTheFormatCantHoldIsWrittenAsItStands) {
    static constexpr struct {
        const char16_t* name;
        const char16_t* text;
        const char* written;
        const char16_t* read;
    } kRows[] = {
        {u"k", u" v ", "k= v \n", u"[s]{k|v}[t]"},
        {u"k", u"a\nj=b", "k=a\nj=b\n", u"[s]{j|b}{k|a}[t]"},
        {u"k", u"a\nb", "k=a\nb\n", u""},
        {u"k", u"a\n", "k=a\n\n", u"[s]{k|a}[t]"},
        {u" k", u"a", " k=a\n", u"[s][t]"},
        {u"k=j", u"a", "k=j=a\n", u"[s]{k|j=a}[t]"},
        {u"[k", u"a", "[k=a\n", u"[s]{[k|a}[t]"},
    };
    for (const auto& row : kRows) {
        const auto file = Open("[t]\n\n");
        EXPECT_EQ(0, file->SetValue(u"s", row.name, row.text, true));
        EXPECT_EQ(OnDisk("[s]\n" + std::string(row.written) + "\n[t]\n\n"), Stored(Path()));
        EXPECT_EQ(row.read, ImageOf(*Open())) << row.written;
    }
}

TEST_F(IniFileWriting, ANameThatBeginsWithABlankTakesTheValuesBehindItAlong) {
    const auto file = Open("[s]\na=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"s", u" k", u"2", true));
    EXPECT_EQ(OnDisk("[s]\n k=2\na=1\n\n"), Stored(Path()));
    EXPECT_EQ(u"[s]", ImageOf(*Open()));
}

TEST_F(IniFileWriting, ATextTooLongForOneReadIsWrittenWholeAndItsSectionIsLost) {
    const std::string text = Repeated(kLongestLine - 3);
    auto file = Open("[p]\na=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"s", u"k", Wide(text).c_str(), true));
    EXPECT_EQ(Wide(text), TextIn(*Open(), u"s", u"k"));
    EXPECT_EQ(0, file->SetValue(u"s", u"k", Wide(text + "yz").c_str(), true));
    EXPECT_EQ(OnDisk("[p]\na=1\n\n[s]\nk=" + text + "yz\n\n"), Stored(Path()));
    EXPECT_EQ(u"[p]{a|1}", ImageOf(*Open()));
    EXPECT_EQ(0, file->SetValue(u"s", u"k", Wide(text + "yj=2").c_str(), true));
    EXPECT_EQ(u"[p]{a|1}[s]{j|2}{k|" + Wide(text) + u"}", ImageOf(*Open())) << "the rest is one";
}

TEST_F(IniFileWriting, CarriageReturnsOfAnotherSystemStayInTheText) {
    const std::string before = "[s]\r\nk=v\r\n\r\n";
    EXPECT_EQ(kTextModeHasCarriageReturns ? before : "[s]\nk=v\r\n\n", Rewritten(before));
}

TEST_F(IniFileWriting, AFileThatCantBeOpenedIsToldBySaveAndNotBySet) {
    const std::u16string nowhere = (Path() / "missing" / "file.ini").u16string();
    IniFile file(nowhere.c_str());
    EXPECT_EQ(0, file.SetValue(u"s", u"k", u"v", true));
    EXPECT_EQ(u"v", TextIn(file, u"s", u"k")) << "in the image of this process";
    EXPECT_EQ(1, file.Save(nullptr));
    EXPECT_EQ(1, file.Save(nowhere.c_str()));
    EXPECT_EQ(u"", ImageOf(IniFile(nowhere.c_str())));
    EXPECT_EQ(0, file.Save(Path().u16string().c_str()));
    EXPECT_EQ(OnDisk("[s]\nk=v\n\n"), Stored(Path()));
}

TEST_F(IniFileWriting, WithoutAPathThereIsAnImageAndNoFile) {
    IniFile file(nullptr);
    EXPECT_EQ(0, file.SetValue(u"s", u"k", u"v", true));
    EXPECT_EQ(u"v", TextIn(file, u"s", u"k"));
    EXPECT_EQ(1, file.Save(nullptr));
}

TEST_F(IniFileWriting, ADirectoryInItsPlaceIsAnEmptyFileThatCantBeWritten) {
    fs::create_directory(Path());
    const auto file = Open();
    EXPECT_EQ(u"", ImageOf(*file));
    EXPECT_EQ(0, file->SetValue(u"s", u"k", u"v", true));
    EXPECT_EQ(1, file->Save(nullptr));
    EXPECT_TRUE(fs::is_directory(Path()));
}

// --- Changes by others ---------------------------------------------------------------------------

TEST_F(IniFileChanges, AreSeenByTheFirstLookWhateverTheirTime) {
    const auto file = Open("[s]\nk=1\n\n");
    StoreAt(1, "[s]\nk=2\n\n");
    EXPECT_EQ(u"[s]{k|1}", ImageOf(*file));
    EXPECT_EQ(u"2", TextIn(*file, u"s", u"k"));
}

TEST_F(IniFileChanges, AreSeenWhenTheFileIsNewerBySeconds) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    StoreAt(kThen, "[s]\nk=2\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k")) << "in the same second";
    StoreAt(kThen + 1, "[s]\nk=3\n\n");
    EXPECT_EQ(u"3", TextIn(*file, u"s", u"k"));
}

TEST_F(IniFileChanges, WithinASecondAreNotSeen) {
    using namespace std::chrono_literals;
    const auto file = Open();
    Store(Path(), "[s]\nk=1\n\n");
    SetWriteTime(Path(), kThen, 100ms);
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    Store(Path(), "[s]\nk=2\n\n");
    SetWriteTime(Path(), kThen, 900ms);
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
}

TEST_F(IniFileChanges, ThatWentBackInTimeAreNotedAndNotRead) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    StoreAt(kThen - 10, "[s]\nk=2\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    StoreAt(kThen - 9, "[s]\nk=3\n\n");
    EXPECT_EQ(u"3", TextIn(*file, u"s", u"k")) << "older than the first, newer than the last";
}

TEST_F(IniFileChanges, ThatWentUnseenAreOverwritten) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    StoreAt(kThen, "[s]\nj=2\nk=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"s", u"i", u"3", true));
    EXPECT_EQ(OnDisk("[s]\ni=3\nk=1\n\n"), Stored(Path()));
    StoreAt(WriteTime(Path()) + 1, "[s]\nk=4\n\n");
    EXPECT_EQ(u"4", TextIn(*file, u"s", u"k")) << "a write is a look, too";
}

TEST_F(IniFileChanges, AreReadBeforeAValueIsSet) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(-1, file->SetValue(u"s", u"k", u"2", false)) << "it exists by now";
    StoreAt(kThen + 1, "[t]\nj=1\n\n");
    EXPECT_EQ(0, file->SetValue(u"s", u"k", u"2", false));
    EXPECT_EQ(OnDisk("[s]\nk=2\n\n[t]\nj=1\n\n"), Stored(Path()));
}

TEST_F(IniFileChanges, OfItsOwnAreNotReadAgain) {
    const auto file = Open();
    EXPECT_EQ(0, file->SetValue(u"s", u"k", u" v ", true));
    SetWriteTime(Path(), kThen);
    EXPECT_EQ(u" v ", TextIn(*file, u"s", u"k")) << "the file itself would give it without blanks";
    SetWriteTime(Path(), kThen + 1);
    EXPECT_EQ(u"v", TextIn(*file, u"s", u"k"));
}

TEST_F(IniFileChanges, AnotherFileThatIsWrittenLeavesItsTimeBehind) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    const fs::path copy = Path().string() + ".copy";
    EXPECT_EQ(0, file->Save(copy.u16string().c_str()));
    EXPECT_EQ(OnDisk("[s]\nk=1\n\n"), Stored(copy));
    StoreAt(kThen + 1, "[s]\nk=2\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k")) << "the copy is newer";
    StoreAt(kThen + 2, "[s]\nk=3\n\n");
    EXPECT_EQ(u"3", TextIn(*file, u"s", u"k"));
}

TEST_F(IniFileChanges, AFileThatIsGoneLeavesTheImageFromWhichItIsMadeAnew) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    fs::remove(Path());
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    EXPECT_EQ(0, file->SetValue(u"s", u"j", u"2", true));
    EXPECT_EQ(OnDisk("[s]\nj=2\nk=1\n\n"), Stored(Path()));
}

TEST_F(IniFileChanges, ADirectoryThatTookItsPlaceIsAnEmptyFile) {
    const auto file = Open();
    StoreAt(kThen, "[s]\nk=1\n\n");
    EXPECT_EQ(u"1", TextIn(*file, u"s", u"k"));
    fs::remove(Path());
    fs::create_directory(Path());
    EXPECT_EQ(u"<none>", TextIn(*file, u"s", u"k"));
}

// --- Names ---------------------------------------------------------------------------------------

TEST_F(IniFileNames, AValueIsCopiedWithItsTerminatorAndNothingMore) {
    const auto file = Open("[s]\nk=abc\n\n");
    char16_t text[] = u"######";
    EXPECT_RESULT(KX_S_OK, file->GetValue(u"s", u"k", text));
    EXPECT_EQ(std::u16string(u"abc\0##", 6), std::u16string(text, 6));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, file->GetValue(u"s", u"j", text));
    EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, file->GetValue(u"t", u"k", text));
    EXPECT_EQ(std::u16string(u"abc\0##", 6), std::u16string(text, 6));
}

TEST_F(IniFileNames, OfValuesAreFoundWithoutCaseInOneSectionOnly) {
    const auto file = Open("[s]\nk=1\n\n[t]\nj=1\n\n[]\n=1\n\n");
    EXPECT_TRUE(file->HasValue(u"S", u"K"));
    EXPECT_TRUE(file->HasValue(u"", u""));
    EXPECT_FALSE(file->HasValue(u"s", u"j"));
    EXPECT_FALSE(file->HasValue(u"s", u""));
    EXPECT_FALSE(file->HasValue(u"s\\", u"k"));
    EXPECT_FALSE(file->HasValue(u"u", u"k"));
}

TEST_F(IniFileNames, OfSectionsAtAPathAndBelowAreExact) {
    const auto file = Open("[a\\bc]\n\n[a\\b\\d]\n\n[A\\b\\e]\n\n[a\\b]\n\n[a\\b ]\n\n[x\\y]\n\n");
    EXPECT_EQ((Names{u"a\\b", u"a\\b ", u"a\\b\\d", u"A\\b\\e", u"a\\bc", u"x\\y"}),
              file->GetSections());
    EXPECT_EQ((Names{u"a\\b", u"a\\b\\d"}), file->GetSectionsUnder(u"a\\b"));
    EXPECT_EQ((Names{u"A\\b\\e"}), file->GetSectionsUnder(u"A"));
    EXPECT_EQ((Names{}), file->GetSectionsUnder(u"A\\B"));
    EXPECT_EQ((Names{u"x\\y"}), file->GetSectionsUnder(u"x"));
    EXPECT_EQ((Names{}), file->GetSectionsUnder(u"x\\"));
    EXPECT_EQ((Names{}), file->GetSectionsUnder(u""));
}

TEST_F(IniFileNames, ASectionIsThereWithoutCaseAndItsParentsAreExact) {
    const auto file = Open("[a\\b\\c]\n\n");
    EXPECT_TRUE(file->HasSection(u"a\\b\\c"));
    EXPECT_TRUE(file->HasSection(u"A\\B\\C"));
    EXPECT_TRUE(file->HasSection(u"a\\b"));
    EXPECT_TRUE(file->HasSection(u"a"));
    EXPECT_FALSE(file->HasSection(u"a\\B"));
    EXPECT_FALSE(file->HasSection(u"a\\b\\"));
    EXPECT_FALSE(file->HasSection(u"b"));
    EXPECT_FALSE(file->HasSection(u""));
}

namespace {

Names AllOf(IniFileIteratorBase&& iterator) {
    Names names;
    while (iterator.HasNext()) names.push_back(iterator.Next());
    EXPECT_RESULT(KX_ERROR_HANDLE_EOF, CodeOf([&] { iterator.Next(); }));
    EXPECT_FALSE(iterator.HasNext());
    return names;
}

}  // namespace

TEST_F(IniFileNames, OfChildrenAreSortedByUnitsAndCaseMatters) {
    const auto file = Open(
        "[a\\foo\\x]\n\n[a\\Foo\\y]\n\n[a\\Foo\\z]\n\n[a\\b]\n\n[a\\B\\c\\d]\n\n[a\\_]\n\n[a]\n\n"
        "[ab\\no]\n\n[A\\other]\n\n[q\\b\\c]\n\n");
    EXPECT_EQ((Names{u"B", u"Foo", u"_", u"b", u"foo"}), AllOf(IniFileSetIterator(*file, u"a")));
    EXPECT_EQ((Names{u"other"}), AllOf(IniFileSetIterator(*file, u"A")));
    EXPECT_EQ((Names{u"y", u"z"}), AllOf(IniFileSetIterator(*file, u"a\\Foo")));
    EXPECT_EQ((Names{u"c"}), AllOf(IniFileSetIterator(*file, u"q\\b")));
    EXPECT_EQ((Names{}), AllOf(IniFileSetIterator(*file, u"q\\B"))) << "though values are found";
    EXPECT_EQ((Names{}), AllOf(IniFileSetIterator(*file, u"a\\b")));
    EXPECT_EQ((Names{}), AllOf(IniFileSetIterator(*file, u"nowhere")));
}

TEST_F(IniFileNames, OfChildrenMayBeEmpty) {
    const auto file = Open("[\\x]\n\n[a\\\\b]\n\n[a\\c\\]\n\n");
    EXPECT_EQ((Names{u"x"}), AllOf(IniFileSetIterator(*file, u"")));
    EXPECT_EQ((Names{u"", u"c"}), AllOf(IniFileSetIterator(*file, u"a")));
    EXPECT_EQ((Names{u"b"}), AllOf(IniFileSetIterator(*file, u"a\\")));
    EXPECT_EQ((Names{u""}), AllOf(IniFileSetIterator(*file, u"a\\c")));
    EXPECT_EQ((Names{}), AllOf(IniFileSetIterator(*file, u"a\\c\\")));
}

TEST_F(IniFileNames, OfASectionsValuesComeInTheOrderOfTheFile) {
    const auto file = Open("[a\\b]\nz=1\n_=1\nY=1\n=1\n\n[a\\empty]\n\n");
    EXPECT_EQ((Names{u"", u"_", u"Y", u"z"}), AllOf(IniFileKeyIterator(*file, u"a\\b")));
    EXPECT_EQ((Names{u"", u"_", u"Y", u"z"}), AllOf(IniFileKeyIterator(*file, u"A\\B")));
    EXPECT_EQ((Names{}), AllOf(IniFileKeyIterator(*file, u"a\\empty")));
    EXPECT_EQ((Names{}), AllOf(IniFileKeyIterator(*file, u"a"))) << "it is there by its children";
    for (const char16_t* const missing : {u"A", u"a\\b\\", u"b", u""}) {
        EXPECT_RESULT(KX_ERROR_FILE_NOT_FOUND, CodeOf([&] { IniFileKeyIterator(*file, missing); }));
    }
    EXPECT_EQ(0, file->SetValue(u"a", u"k", u"v", true)) << "the lock was given back";
}

TEST_F(IniFileNames, ThatWereTakenStayWhateverBecomesOfTheFile) {
    auto file = Open("[a\\b]\nk=1\nl=1\n\n[a\\c]\n\n");
    IniFileSetIterator children(*file, u"a");
    IniFileKeyIterator values(*file, u"a\\b");
    StoreAt(kThen, "[a\\d]\nm=1\n\n");
    EXPECT_EQ((Names{}), AllOf(IniFileSetIterator(*file, u"a\\b"))) << "the image is another";
    file.reset();
    fs::remove(Path());
    EXPECT_EQ(u"a", children.GetPath());
    EXPECT_EQ(u"a\\b", values.GetPath());
    EXPECT_EQ((Names{u"b", u"c"}), AllOf(std::move(children)));
    EXPECT_EQ((Names{u"k", u"l"}), AllOf(std::move(values)));
}

TEST_F(IniFileNames, AreTakenFromANewerFile) {
    const auto file = Open("[a\\b]\nk=1\n\n");
    StoreAt(kThen, "[a\\c]\nl=1\n\n");
    EXPECT_EQ((Names{u"c"}), AllOf(IniFileSetIterator(*file, u"a")));
    StoreAt(kThen + 1, "[a\\c]\nm=1\n\n");
    EXPECT_EQ((Names{u"m"}), AllOf(IniFileKeyIterator(*file, u"a\\c")));
}

// --- The lock ------------------------------------------------------------------------------------

TEST_F(IniFileLock, IsWaitedForByEveryOperation) {
    const auto file = Open("[s]\nk=1\n\n[s\\t]\n\n");
    const std::function<void()> operations[] = {
        [&] { IniFile(u"another.ini"); },
        [&] { EXPECT_EQ(u"1", TextIn(*file, u"s", u"k")); },
        [&] { EXPECT_EQ(-1, file->SetValue(u"s", u"k", u"2", false)); },
        [&] { EXPECT_EQ((Names{u"t"}), AllOf(IniFileSetIterator(*file, u"s"))); },
        [&] { EXPECT_EQ((Names{u"k"}), AllOf(IniFileKeyIterator(*file, u"s"))); },
    };
    for (const auto& operation : operations) {
        HeldIniLock lock;
        WaitingThread thread(operation);
        thread.WaitUntilAsleep();
        lock.LetGo();
    }
}

TEST_F(IniFileLock, ThatCantBeGivenBackIsTold) {
    KXSemaphoreHandle full = KX_INVALID_HANDLE;
    ASSERT_RESULT(KX_S_OK, KXSemaphoreCreate(KX_SEM_MAX, nullptr, 0, &full));
    const KXResult refused = KXSemaphorePost(full);
    EXPECT_GT(0, refused);
    {
        IniFile::Lock lock(full);
        EXPECT_RESULT(KX_S_OK, KXSemaphorePost(full));
        EXPECT_RESULT(refused, CodeOf([&] { lock.Release(); }));
        EXPECT_RESULT(KX_S_OK, KXSemaphoreWait(full));
    }
    EXPECT_RESULT(KX_S_OK, KXSemaphorePost(full)) << "the end of the scope gave nothing back";
    EXPECT_RESULT(KX_S_OK, KXSemaphoreDestroy(full));
}

TEST_F(IniFileLock, LetsThreadsShareAFile) {
    constexpr int kThreads = 4;
    constexpr int kValues = 15;
    const auto file = Open();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&file, i] {
            const std::u16string section(1, static_cast<char16_t>(u'a' + i));
            for (int value = 0; value < kValues; ++value) {
                const std::u16string name(1, static_cast<char16_t>(u'a' + value));
                EXPECT_EQ(0, file->SetValue(section.c_str(), name.c_str(), u"v", true));
                EXPECT_EQ(u"v", TextIn(*file, section, name));
                EXPECT_EQ(static_cast<std::size_t>(value) + 1,
                          AllOf(IniFileKeyIterator(*file, section.c_str())).size());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(ImageOf(*file), ImageOf(*Open()));
    EXPECT_EQ(static_cast<std::size_t>(kThreads), file->GetSections().size());
}

TEST_F(IniFileLock, IsGivenBackWhenMemoryIsExhausted) {
    Store(Path(), "[section of some length]\nname of some length=text of some length\n\n");
    const std::u16string path = Path().u16string();
    std::unique_ptr<IniFile> file;
    const std::function<void()> operations[] = {
        [&] { file = std::make_unique<IniFile>(path.c_str()); },
        [&] { file->SetValue(u"another section", u"another long name", u"a text like it", true); },
        [&] { IniFileSetIterator(*file, u"section of some length"); },
        [&] { IniFileKeyIterator(*file, u"section of some length"); },
        [&] {
            SetWriteTime(Path(), WriteTime(Path()) + 1);
            char16_t text[64];
            file->GetValue(u"section of some length", u"name of some length", text);
        },
    };
    for (const auto& operation : operations) {
        bool done = false;
        for (int allowed = 0; !done; ++allowed) {
            try {
                const FailingNew failing(allowed);
                operation();
                done = true;
            } catch (const std::bad_alloc&) {
            } catch (const EKXCoreException& exception) {
                ASSERT_RESULT(KX_E_OUTOFMEMORY, exception.result) << "of the lock";
            }
            ASSERT_NE("", Stored(Path())) << "nothing was cut";
            // Would wait for ever.
            const HeldIniLock lock;
        }
    }
    EXPECT_EQ(u"text of some length",
              TextIn(*file, u"section of some length", u"name of some length"));
    EXPECT_EQ(u"a text like it", TextIn(*file, u"another section", u"another long name"));
}
