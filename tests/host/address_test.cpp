// The machine's own addresses and name. Nothing here asks the network: what is resolved is an
// address, "localhost" or the machine's own name.
#include <kxcore7/address.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/native_addresses.h"
#include "support/results.h"

using kx::test::AddressTexts;
using kx::test::NativeHostName;
using Texts = std::vector<std::string>;

namespace {

class MyAddresses : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_RESULT(KX_S_OK, KXGetMyAddressInformation(&m_mine, &m_loopback));
    }

    addrinfo* m_mine = nullptr;
    addrinfo* m_loopback = nullptr;
};

class AddressLiterals : public MyAddresses {};

// An address as the resolver reads it. On some systems it reads nothing before the library has
// asked for addresses of its own.
class Literal final {
  public:
    explicit Literal(const std::string& name)
        : m_error(KXgetaddrinfo(name.c_str(), nullptr, kx::test::NumericHint(), &m_list)) {}
    ~Literal() {
        if (m_error == 0) KXfreeaddrinfo(m_list);
    }
    Literal(const Literal&) = delete;
    Literal& operator=(const Literal&) = delete;

    const addrinfo* List() const { return m_error == 0 ? m_list : nullptr; }
    // Empty for what is no address.
    std::string Text() const { return m_error == 0 ? AddressTexts(m_list).front() : ""; }

  private:
    addrinfo* m_list = nullptr;
    int m_error;
};

bool Has(const Texts& texts, const std::string& text) {
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

}  // namespace

TEST_F(MyAddresses, AreTheVerySameListsAtEveryCall) {
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    EXPECT_RESULT(KX_S_OK, KXGetMyAddressInformation(&mine, &loopback));
    EXPECT_EQ(m_mine, mine);
    EXPECT_EQ(m_loopback, loopback);
}

TEST_F(MyAddresses, AreWholeRecordsWithoutAPort) {
    const Texts mine = AddressTexts(m_mine);
    EXPECT_FALSE(Has(mine, "?"));
    EXPECT_FALSE(Has(mine, "::1"));
    EXPECT_FALSE(Has(mine, "fe80::1%1"));
}

TEST_F(MyAddresses, OfLocalhostAreThoseOfTheLoopback) {
    const Texts loopback = AddressTexts(m_loopback);
    EXPECT_FALSE(Has(loopback, "?"));
    EXPECT_TRUE(Has(loopback, "127.0.0.1") || Has(loopback, "::1"));
}

TEST_F(MyAddresses, AreFoundAgainByTheirText) {
    for (const std::string& text : AddressTexts(m_mine)) {
        const Literal literal(text);
        EXPECT_EQ(1, KXCompareAddressInformation(m_mine, literal.List())) << text;
    }
    EXPECT_EQ(m_mine != nullptr ? 1 : 0, KXCompareAddressInformation(m_mine, m_mine));
    EXPECT_EQ(1, KXCompareAddressInformation(m_loopback, m_loopback));
}

TEST_F(AddressLiterals, OfTwoScopesAreOneAddress) {
    const Literal first("fe80::1%1");
    const Literal third("fe80::1%3");
    EXPECT_EQ("fe80::1%1", first.Text());
    EXPECT_EQ("fe80::1%3", third.Text());
    EXPECT_EQ(1, KXCompareAddressInformation(first.List(), third.List()));
}

TEST_F(AddressLiterals, OfTwoFamiliesAreTwoAddresses) {
    const Literal ipv4("127.0.0.1");
    const Literal ipv6("::ffff:127.0.0.1");
    EXPECT_EQ(1, KXCompareAddressInformation(ipv4.List(), ipv4.List()));
    EXPECT_EQ(1, KXCompareAddressInformation(ipv6.List(), ipv6.List()));
    EXPECT_EQ(0, KXCompareAddressInformation(ipv4.List(), ipv6.List()));
}

TEST_F(AddressLiterals, AreUncoveredWhereTheyAreWrittenAsHostNames) {
    EXPECT_EQ("fe80::1%4", Literal("FE80--1S4.IPV6-LITERAL.NET").Text());
    EXPECT_EQ("2001:db8::a", Literal("2001-DB8--A.ipv6-literal.net").Text());
    EXPECT_EQ("::1", Literal("0--1.ipv6-literal.net").Text());
    EXPECT_EQ("", Literal("0--1").Text());
}

TEST(HostName, IsTheSystems) {
    char name[1026];
    ASSERT_RESULT(KX_S_OK, KXGetHostNameA(name, sizeof name));
    EXPECT_EQ(NativeHostName(), name);
}

TEST(HostName, ThatDoesNotFitIsAFailure) {
    const std::string name = NativeHostName();
    const std::u16string wideName(name.begin(), name.end());
    for (std::size_t size = 0; size <= name.size(); ++size) {
        std::string narrow(name.size() + 2, '#');
        std::u16string wide(name.size() + 2, u'#');
        EXPECT_RESULT(KX_E_FAIL, KXGetHostNameA(narrow.data(), size)) << size;
        EXPECT_RESULT(KX_E_FAIL, KXGetHostName(wide.data(), size)) << size;
        EXPECT_EQ('#', narrow[size]);
        EXPECT_EQ(u'#', wide[size]);
    }
    std::string narrow(name.size() + 2, '#');
    std::u16string wide(name.size() + 2, u'#');
    EXPECT_RESULT(KX_S_OK, KXGetHostNameA(narrow.data(), name.size() + 1));
    EXPECT_RESULT(KX_S_OK, KXGetHostName(wide.data(), name.size() + 1));
    EXPECT_EQ(name + '\0' + '#', narrow);
    EXPECT_EQ(wideName + u'\0' + u'#', wide);
}
