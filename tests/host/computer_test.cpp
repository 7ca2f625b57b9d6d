// Which names mean this machine, on this machine. Nothing here asks the network.
#include <kxcore7/address.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/native_addresses.h"
#include "support/results.h"

using kx::test::AddressTexts;

namespace {

std::u16string Wide(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

// The same of either entry, at the first call and at the next.
void ExpectAnswer(KXBool16 expected, const std::string& name) {
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(expected, KXIsThisMyComputerA(name.c_str())) << name;
        EXPECT_EQ(expected, KXIsThisMyComputerW(Wide(name).c_str())) << name;
    }
}

// What the lists that the library hands out say of an address.
bool IsListed(const std::string& address) {
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    EXPECT_RESULT(KX_S_OK, KXGetMyAddressInformation(&mine, &loopback));
    for (const addrinfo* const list : {mine, loopback}) {
        const auto texts = AddressTexts(list);
        if (std::find(texts.begin(), texts.end(), address) != texts.end()) return true;
    }
    return false;
}

}  // namespace

TEST(ThisComputer, HasTheNamesThatEveryComputerHas) {
    for (const char* const name : {"localhost", "LOCALHOST", "LocalHost", "127.0.0.1", "::1", ""}) {
        ExpectAnswer(1, name);
    }
}

TEST(ThisComputer, HasItsHostNameInAnyCase) {
    std::string name = kx::test::NativeHostName();
    ExpectAnswer(1, name);
    for (char& ch : name) {
        if (ch >= 'a' && ch <= 'z') ch = static_cast<char>(ch - 'a' + 'A');
    }
    ExpectAnswer(1, name);
}

TEST(ThisComputer, HasEachOfItsAddresses) {
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    ASSERT_RESULT(KX_S_OK, KXGetMyAddressInformation(&mine, &loopback));
    for (const addrinfo* const list : {mine, loopback}) {
        for (const std::string& address : AddressTexts(list)) ExpectAnswer(1, address);
    }
}

TEST(ThisComputer, HasNoOtherAddresses) {
    // Some are for documentation, and nobody's; further ones of the loopback may be the machine's.
    for (const char* const address : {"192.0.2.77", "2001:db8::77", "127.0.0.2", "::2"}) {
        ExpectAnswer(IsListed(address) ? 1 : 0, address);
    }
}

TEST(ThisComputer, HasTheIpv6LoopbackAsAHostNameIfLocalhostHasIt) {
    ExpectAnswer(IsListed("::1") ? 1 : 0, "0--1.ipv6-literal.net");
    ExpectAnswer(0, "2001-db8--77.ipv6-literal.net");
}

TEST(ThisComputer, HasNoWideNameThatIsTooLong) {
    for (const std::size_t length : {1026u, 2000u}) {
        EXPECT_EQ(0, KXIsThisMyComputerW(std::u16string(length, u'w').c_str()));
    }
}
