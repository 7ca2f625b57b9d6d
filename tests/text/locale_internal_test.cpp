// The names of locales and encodings by number, whatever the system's own are.
#include "text/locale.h"

#include <kxcore7/locale.h>
#include <unicode/ucnv.h>

#include <limits>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <string>

#include "platform/locale.h"
#include "support/failing_new.h"
#include "support/results.h"

using namespace kx;
using test::FailingNew;

namespace {

// --- Every name, by language ---------------------------------------------------------------------

// A language, its number, and what stands behind its name for each sublanguage from 1 up.
struct Language {
    const char* name;
    std::uint32_t number;
    const char* regions;
};

const Language kLanguages[] = {
    {"es", 0x0A, "_TRADITIONAL MX ES GT CR PA DO VE CO PE AR EC CL UY PY BO SV HN NI PR"},
    {"ar", 0x01, "SA IQ EG LY DZ MA TN OM YE SY JO LB KW AE BH QA"},
    {"en", 0x09, "US GB AU CA NZ IE ZA JM VI BZ TT ZW PH"},
    {"fr", 0x0C, "FR BE CA CH LU MC"},
    {"de", 0x07, "DE CH AT LU LI"},
    {"zh", 0x04, "TW CN HK SG MO"},
    {"hr", 0x1A, "HR"},
    {"az", 0x2C, "AZ_L AZ"},
    {"it", 0x10, "IT CH"},
    {"ko", 0x12, "KR KP"},
    {"ms", 0x3E, "MY BN"},
    {"nb", 0x14, "NO"},
    {"ne", 0x61, "NP IN"},
    {"nl", 0x13, "NL BE"},
    {"pt", 0x16, "BR PT"},
    {"sv", 0x1D, "SE FI"},
    {"ur", 0x20, "PK IN"},
    {"uz", 0x43, "UZ_L UZ"},
    {"af", 0x36, "ZA"},
    {"as", 0x4D, "IN"},
    {"be", 0x23, "BY"},
    {"bg", 0x02, "BG"},
    {"bn", 0x45, "IN"},
    {"ca", 0x03, "ES"},
    {"cs", 0x05, "CZ"},
    {"da", 0x06, "DK"},
    {"div", 0x65, "MV"},
    {"el", 0x08, "GR"},
    {"et", 0x25, "EE"},
    {"eu", 0x2D, "ES"},
    {"fa", 0x29, "IR"},
    {"fi", 0x0B, "FI"},
    {"fo", 0x38, "FO"},
    {"gl", 0x56, "ES"},
    {"gu", 0x47, "IN"},
    {"he", 0x0D, "IL"},
    {"hi", 0x39, "IN"},
    {"hu", 0x0E, "HU"},
    {"hy", 0x2B, "AM"},
    {"id", 0x21, "ID"},
    {"is", 0x0F, "IS"},
    {"ja", 0x11, "JP"},
    {"ka", 0x37, "GE"},
    {"kk", 0x3F, "KZ"},
    {"kn", 0x4B, "IN"},
    {"kok", 0x57, "IN"},
    {"ks", 0x60, "IN"},
    {"ky", 0x40, "KG"},
    {"lt", 0x27, "LT"},
    {"lv", 0x26, "LV"},
    {"mk", 0x2F, "MK"},
    {"ml", 0x4C, "IN"},
    {"mn", 0x50, "MN"},
    {"mni", 0x58, "IN"},
    {"mr", 0x4E, "IN"},
    {"mt", 0x3A, "MT"},
    {"or", 0x48, "IN"},
    {"pa", 0x46, "IN"},
    {"pl", 0x15, "PL"},
    {"ro", 0x18, "RO"},
    {"ru", 0x19, "RU"},
    {"sa", 0x4F, "IN"},
    {"sd", 0x59, "IN"},
    {"sk", 0x1B, "SK"},
    {"sl", 0x24, "SI"},
    {"sq", 0x1C, "AL"},
    {"sw", 0x41, "KE"},
    {"syr", 0x5A, "SY"},
    {"ta", 0x49, "IN"},
    {"te", 0x4A, "IN"},
    {"th", 0x1E, "TH"},
    {"tr", 0x1F, "TR"},
    {"tt", 0x44, "RU"},
    {"uk", 0x22, "UA"},
    {"vi", 0x2A, "VN"},
};

// What no language's rule gives.
const std::map<std::uint32_t, std::string> kExceptions = {
    {0x0000, "root"},           {0x007F, "en_US_POSIX"},  // neutral and invariant
    {0x10407, "de__PHONEBOOK"},                           // a sort order
    {0x0814, "nn_NO"},                                    // the other Norwegian
    {0x081A, "sh_YU"},          {0x0C1A, "sr_YU"},        // Serbian in Latin and in Cyrillic
};

std::map<std::uint32_t, std::string> EveryLocale() {
    std::map<std::uint32_t, std::string> all = kExceptions;
    for (const Language& language : kLanguages) {
        all[language.number] = language.name;
        std::istringstream regions(language.regions);
        std::uint32_t sublanguage = 0;
        for (std::string region; regions >> region;) {
            ++sublanguage;
            all[sublanguage << 10 | language.number] = std::string(language.name) + "_" + region;
        }
    }
    return all;
}

// --- Storing -------------------------------------------------------------------------------------

constexpr std::size_t kRoom = 24;

struct Stored {
    KXResult result;
    // All of the target, '#' where nothing was written.
    std::u16string units;
};

Stored StoreLocale(const char* name, std::uint32_t count) {
    Stored stored{KX_E_FAIL, std::u16string(kRoom, u'#')};
    stored.result = core::StoreLocaleName(name, stored.units.data(), count);
    return stored;
}

std::u16string StoreEncoding(std::uint32_t codePage, std::int32_t count = 8) {
    std::u16string units(kRoom, u'#');
    EXPECT_RESULT(KX_S_OK, core::StoreEncodingName(codePage, units.data(), count));
    EXPECT_EQ(u'#', units[8]) << "no more than every name may need";
    return units.c_str();
}

std::u16string PaddedTo(std::u16string text, std::size_t count) {
    text.resize(count, u'\0');
    text.resize(kRoom, u'#');
    return text;
}

}  // namespace

// --- The table -----------------------------------------------------------------------------------

TEST(LocaleNames, EveryIdentifierHasItsNameAndAllOthersAreAmericanEnglish) {
    const std::map<std::uint32_t, std::string> all = EveryLocale();
    EXPECT_EQ(225u, all.size());
    for (std::uint32_t identifier = 0; identifier <= 0x1FFFF; ++identifier) {
        const auto found = all.find(identifier);
        EXPECT_EQ(found != all.end() ? found->second : "en_US", core::LocaleNameOf(identifier))
            << std::hex << identifier;
    }
}

TEST(LocaleNames, AnIdentifierIsComparedWhole) {
    EXPECT_STREQ("fr", core::LocaleNameOf(0x000C));
    EXPECT_STREQ("en_US", core::LocaleNameOf(0x2C0C)) << "a French that is not in the table";
    EXPECT_STREQ("en_US", core::LocaleNameOf(0x0017)) << "a language that is not";
    EXPECT_STREQ("en_US", core::LocaleNameOf(0x20407)) << "a sort order that is not";
    EXPECT_STREQ("en_US", core::LocaleNameOf(0x1040A)) << "nor is this";
    EXPECT_STREQ("en_US", core::LocaleNameOf(0x80000407));
    EXPECT_STREQ("en_US", core::LocaleNameOf(platform::kNoLocale));
}

TEST(LocaleNames, TheNamesWithAStoryAreWhatTheyWere) {
    const std::map<std::uint32_t, std::string> names = {
        {0x0000, "root"},           {0x007F, "en_US_POSIX"}, {0x040A, "es__TRADITIONAL"},
        {0x0C0A, "es_ES"},          {0x042C, "az_AZ_L"},     {0x082C, "az_AZ"},
        {0x0443, "uz_UZ_L"},        {0x0843, "uz_UZ"},       {0x081A, "sh_YU"},
        {0x0C1A, "sr_YU"},          {0x0404, "zh_TW"},       {0x0804, "zh_CN"},
        {0x0812, "ko_KP"},          {0x0414, "nb_NO"},       {0x0814, "nn_NO"},
        {0x10407, "de__PHONEBOOK"}, {0x0409, "en_US"},
    };
    for (const auto& [identifier, name] : names) EXPECT_EQ(name, core::LocaleNameOf(identifier));
}

// --- The name of a locale, stored ----------------------------------------------------------------

TEST(LocaleNames, AreStoredWithATerminatorAndTheRestCleared) {
    const char* const name = core::LocaleNameOf(0x0409);
    for (std::uint32_t count = 6; count <= kRoom; ++count) {
        const Stored stored = StoreLocale(name, count);
        EXPECT_RESULT(KX_S_OK, stored.result);
        EXPECT_EQ(PaddedTo(u"en_US", count), stored.units) << count;
    }
}

TEST(LocaleNames, ThatDoNotFitLeaveTheTargetAlone) {
    for (std::uint32_t count = 0; count <= 5; ++count) {
        const Stored stored = StoreLocale("en_US", count);
        EXPECT_RESULT(0x80004009, stored.result) << count;
        EXPECT_EQ(std::u16string(kRoom, u'#'), stored.units);
    }
    EXPECT_RESULT(0x80004009, StoreLocale("es__TRADITIONAL", 15).result);
    EXPECT_RESULT(KX_S_OK, StoreLocale("es__TRADITIONAL", 16).result);
}

TEST(LocaleNames, EveryOneFitsWhereItsLengthIsBelowTheCount) {
    for (const auto& [identifier, name] : EveryLocale()) {
        const auto length = static_cast<std::uint32_t>(name.size());
        EXPECT_RESULT(0x80004009, StoreLocale(core::LocaleNameOf(identifier), length).result);
        const Stored stored = StoreLocale(core::LocaleNameOf(identifier), length + 1);
        EXPECT_RESULT(KX_S_OK, stored.result);
        EXPECT_EQ(PaddedTo(std::u16string(name.begin(), name.end()), length + 1), stored.units);
    }
}

TEST(LocaleNames, ThePlainLocaleIsEnglish) {
    EXPECT_EQ(PaddedTo(u"en", 3), StoreLocale("C", 3).units);
    EXPECT_RESULT(0x80004009, StoreLocale("C", 2).result);
    EXPECT_EQ(PaddedTo(u"CC", 3), StoreLocale("CC", 3).units);
    EXPECT_EQ(PaddedTo(u"c", 2), StoreLocale("c", 2).units);
}

TEST(LocaleNames, NeedMemoryWhenTheyAreLong) {
    char16_t units[kRoom] = {u'#'};
    const FailingNew failing;
    EXPECT_THROW(core::StoreLocaleName("en_US_POSIX", units, kRoom), std::bad_alloc);
    EXPECT_EQ(u'#', units[0]);
}

// --- The name of an encoding, stored -------------------------------------------------------------

TEST(EncodingNamesByNumber, AreTheCodePageInDecimal) {
    EXPECT_EQ(u"CP1252", StoreEncoding(1252));
    EXPECT_EQ(u"CP932", StoreEncoding(932));
    EXPECT_EQ(u"CP0", StoreEncoding(0));
    EXPECT_EQ(u"CP32768", StoreEncoding(32768));
    EXPECT_EQ(u"CP65000", StoreEncoding(65000));
    EXPECT_EQ(u"CP65535", StoreEncoding(65535));
}

TEST(EncodingNamesByNumber, UseTheLow16Bits) {
    EXPECT_EQ(u"CP1252", StoreEncoding(0x10000 + 1252));
    EXPECT_EQ(u"CP65001", StoreEncoding(0x10000 + 65001)) << "which is not that of UTF-8";
    EXPECT_EQ(u"CP65535", StoreEncoding(0xFFFFFFFF));
}

TEST(EncodingNamesByNumber, KnowUtf8) {
    EXPECT_EQ(u"UTF-8", StoreEncoding(65001));
    EXPECT_EQ(u"UTF-8", StoreEncoding(65001, std::numeric_limits<std::int32_t>::max()));
}
