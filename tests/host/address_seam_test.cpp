// Address lists, resolver and host name over a network that the test makes up.
#include <kxcore7/address.h>
#include <kxcore7/str.h>

#include <algorithm>
#include <array>
#include <deque>
#include <string>
#include <vector>

#include "frame/exception.h"
#include "support/failing_new.h"
#include "support/fake_network.h"
#include "support/host_seam.h"
#include "support/results.h"
#include "support/waiting_thread.h"

using kx::core::MyAddresses;
using kx::platform::CanonicalNameOf;
using kx::test::AddressesIn;
using kx::test::FreshAddresses;
using kx::test::g_listsInUse;
using kx::test::g_network;
using kx::test::Gate;
using kx::test::HostSeam;
using kx::test::IpAddress;
using kx::test::Ipv4;
using kx::test::Ipv6;
using kx::test::kLoopback4;
using kx::test::LinkLocal;
using kx::test::RecordList;
using kx::test::WaitingThread;
using Addresses = std::vector<IpAddress>;

namespace {

class AddressSeam : public HostSeam {
  protected:
    // Those of a state in which none were asked for so far.
    void Build() { BuildFrom(FreshAddresses()); }
    void BuildFrom(MyAddresses& addresses) {
        EXPECT_RESULT(KX_S_OK, addresses.Get(&m_mine, &m_loopback));
    }

    addrinfo* m_mine = nullptr;
    addrinfo* m_loopback = nullptr;
};

class ResolverSeam : public HostSeam {
  protected:
    // What the resolver is asked for a name.
    static std::string AskedFor(const std::string& name) {
        addrinfo* list = nullptr;
        EXPECT_EQ(kx::test::FakeNetwork::kUnknownName,
                  KXgetaddrinfo(name.c_str(), nullptr, nullptr, &list));
        return g_network.asked.back();
    }
};

class HostNameSeam : public HostSeam {};

}  // namespace

TEST_F(AddressSeam, EveryCallGivesTheSameListsAndTheSystemIsAskedOnce) {
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    g_network.ipv6 = {LinkLocal(7, 2)};
    g_network.names["localhost"] = {kLoopback4};
    MyAddresses& addresses = FreshAddresses();
    BuildFrom(addresses);
    g_network.ipv4.push_back(Ipv4(10, 0, 0, 2));
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    EXPECT_RESULT(KX_S_OK, addresses.Get(&mine, &loopback));
    EXPECT_EQ(m_mine, mine);
    EXPECT_EQ(m_loopback, loopback);
    EXPECT_EQ((Addresses{Ipv4(10, 0, 0, 1), LinkLocal(7, 2)}), AddressesIn(mine));
    EXPECT_EQ(2, g_network.interfaceQueries) << "one a family";
    EXPECT_EQ(1, g_network.canonicalAsked);
    EXPECT_EQ(1, g_network.starts);
}

TEST_F(AddressSeam, AFailedStartIsToldAndTheNextCallTriesAgain) {
    g_network.startsThatFail = 2;
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    MyAddresses& addresses = FreshAddresses();
    const RecordList untouched({kLoopback4});
    for (int i = 0; i < 2; ++i) {
        addrinfo* mine = untouched.Head();
        addrinfo* loopback = untouched.Head();
        EXPECT_RESULT(KX_E_FAIL, addresses.Get(&mine, &loopback));
        EXPECT_EQ(nullptr, mine);
        EXPECT_EQ(untouched.Head(), loopback);
    }
    EXPECT_EQ(0, g_network.interfaceQueries);
    BuildFrom(addresses);
    EXPECT_EQ((Addresses{Ipv4(10, 0, 0, 1)}), AddressesIn(m_mine));
    BuildFrom(addresses);
    EXPECT_EQ(3, g_network.starts) << "what is built needs no start";
}

TEST_F(AddressSeam, AddressesStandInTheSystemsOrderIpv4First) {
    const Addresses ipv4 = {Ipv4(10, 0, 0, 2), Ipv4(127, 0, 0, 1), Ipv4(10, 0, 0, 1)};
    const Addresses ipv6 = {Ipv6(0x2001, 9), LinkLocal(9, 3), Ipv6(0x2001, 1)};
    g_network.ipv4 = ipv4;
    g_network.ipv6 = ipv6;
    Build();
    Addresses all = ipv4;
    all.insert(all.end(), ipv6.begin(), ipv6.end());
    EXPECT_EQ(all, AddressesIn(m_mine));
}

TEST_F(AddressSeam, TheIpv6LoopbackIsNotTheMachines) {
    g_network.ipv6 = {Ipv6(0, 1), Ipv6(0x2001, 1), Ipv6(0, 1, 5)};
    g_network.names["localhost"] = {Ipv6(0, 1), kLoopback4};
    Build();
    EXPECT_EQ((Addresses{Ipv6(0x2001, 1)}), AddressesIn(m_mine));
    EXPECT_EQ((Addresses{Ipv6(0, 1), kLoopback4}), AddressesIn(m_loopback))
        << "as the resolver has it";
}

TEST_F(AddressSeam, TheFirstInterfacesLinkLocalLoopbackIsInFrontOfTheLoopbackList) {
    g_network.ipv6 = {LinkLocal(1, 3), LinkLocal(1, 1), LinkLocal(2, 1)};
    g_network.names["localhost"] = {kLoopback4, Ipv6(0, 1)};
    Build();
    EXPECT_EQ((Addresses{LinkLocal(1, 1), kLoopback4, Ipv6(0, 1)}), AddressesIn(m_loopback));
    EXPECT_EQ((Addresses{LinkLocal(1, 3), LinkLocal(2, 1)}), AddressesIn(m_mine));
}

TEST_F(AddressSeam, ASecondSuchAddressIsTheMachines) {
    g_network.ipv6 = {LinkLocal(1, 1), LinkLocal(1, 1)};
    g_network.names["localhost"] = {kLoopback4};
    Build();
    EXPECT_EQ((Addresses{LinkLocal(1, 1), kLoopback4}), AddressesIn(m_loopback));
    EXPECT_EQ((Addresses{LinkLocal(1, 1)}), AddressesIn(m_mine));
}

TEST_F(AddressSeam, WithoutALocalhostTheLinkLocalLoopbackIsAlone) {
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    g_network.ipv6 = {LinkLocal(1, 1)};
    Build();
    EXPECT_EQ((Addresses{LinkLocal(1, 1)}), AddressesIn(m_loopback));
    EXPECT_EQ(nullptr, CanonicalNameOf(*m_loopback));
    EXPECT_EQ(nullptr, CanonicalNameOf(*m_mine));
}

TEST_F(AddressSeam, TheResolversNameIsInTheHeadOfEitherList) {
    for (const bool isInFront : {false, true}) {
        g_network.canonicalName = "vault.example";
        g_network.names["localhost"] = {kLoopback4};
        g_network.ipv4 = {Ipv4(10, 0, 0, 1), Ipv4(10, 0, 0, 2)};
        g_network.ipv6 = {LinkLocal(1, isInFront ? 1 : 3)};
        Build();
        EXPECT_EQ(isInFront, AddressesIn(m_loopback).front() == LinkLocal(1, 1));
        EXPECT_STREQ("vault.example", CanonicalNameOf(*m_loopback));
        EXPECT_STREQ("vault.example", CanonicalNameOf(*m_mine));
        EXPECT_NE(CanonicalNameOf(*m_loopback), CanonicalNameOf(*m_mine)) << "a copy";
        EXPECT_EQ(nullptr, CanonicalNameOf(*kx::platform::NextOf(*m_mine)));
    }
}

TEST_F(AddressSeam, WithoutACanonicalNameThereIsNone) {
    g_network.names["localhost"] = {kLoopback4};
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    Build();
    EXPECT_EQ(nullptr, CanonicalNameOf(*m_mine));
}

TEST_F(AddressSeam, ACanonicalNameNeedsAnAddressToStandAt) {
    g_network.canonicalName = "vault.example";
    g_network.names["localhost"] = {kLoopback4};
    Build();
    EXPECT_EQ(nullptr, m_mine);
    EXPECT_STREQ("vault.example", CanonicalNameOf(*m_loopback));
}

TEST_F(AddressSeam, AMachineWithoutANetworkStaysSo) {
    MyAddresses& addresses = FreshAddresses();
    BuildFrom(addresses);
    EXPECT_EQ(nullptr, m_mine);
    EXPECT_EQ(nullptr, m_loopback);
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    g_network.names["localhost"] = {kLoopback4};
    BuildFrom(addresses);
    EXPECT_EQ(nullptr, m_mine);
    EXPECT_EQ(nullptr, m_loopback);
}

TEST_F(AddressSeam, WhoeverComesWhileTheListsAreBuiltWaitsForThem) {
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    MyAddresses& addresses = FreshAddresses();
    Gate gate;
    g_network.whileCanonicalAsked = [&] { gate.Pass(); };
    std::array<addrinfo*, 8> heads{};
    {
        std::deque<WaitingThread> threads;
        for (addrinfo*& head : heads) {
            threads.emplace_back([&] {
                addrinfo* loopback = nullptr;
                EXPECT_RESULT(KX_S_OK, addresses.Get(&head, &loopback));
            });
            if (threads.size() == 1) {
                gate.WaitUntilReached();
            } else {
                threads.back().WaitUntilAsleep();
            }
        }
        gate.Open();
    }
    EXPECT_EQ(2, g_network.interfaceQueries);
    EXPECT_NE(nullptr, heads[0]);
    EXPECT_EQ(8, std::count(heads.begin(), heads.end(), heads[0]));
}

TEST_F(AddressSeam, WithoutMemoryForTheLockTheNextCallTriesAgain) {
    g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
    MyAddresses& addresses = FreshAddresses();
    const RecordList untouched({kLoopback4});
    addrinfo* mine = untouched.Head();
    addrinfo* loopback = untouched.Head();
    {
        const kx::test::FailingNew failing;
        EXPECT_THROW(addresses.Get(&mine, &loopback), EKXCoreException);
    }
    EXPECT_EQ(nullptr, mine);
    EXPECT_EQ(untouched.Head(), loopback);
    EXPECT_EQ(0, g_network.starts);
    BuildFrom(addresses);
    EXPECT_NE(nullptr, m_mine);
}

// --- Comparison ----------------------------------------------------------------------------------

TEST(AddressComparison, ListsThatShareAnAddressAreEqual) {
    const Addresses own = {Ipv4(10, 0, 0, 1), Ipv6(0x2001, 1, 0), LinkLocal(1, 1)};
    const struct {
        Addresses other;
        KXBool16 expected;
    } kRows[] = {
        {own, 1},
        {{Ipv4(10, 0, 0, 1)}, 1},
        {{Ipv6(0x2001, 1)}, 1},
        {{Ipv4(1, 2, 3, 4), Ipv6(0x2002, 1), LinkLocal(1, 1)}, 1},
        {{LinkLocal(1, 3)}, 1},  // the scope does not count
        {{Ipv4(10, 0, 0, 2)}, 0},
        {{Ipv4(11, 0, 0, 1)}, 0},
        {{Ipv6(0x2001, 2)}, 0},
        {{Ipv6(0x2011, 1)}, 0},
        {{}, 0},
    };
    const RecordList list(own);
    for (const auto& row : kRows) {
        const RecordList other(row.other);
        EXPECT_EQ(row.expected, KXCompareAddressInformation(list.Head(), other.Head()));
        EXPECT_EQ(row.expected, KXCompareAddressInformation(other.Head(), list.Head()));
    }
}

TEST(AddressComparison, EveryByteOfAnAddressCounts) {
    for (const IpAddress& address : {Ipv4(0, 0, 0, 0), Ipv6(0, 0)}) {
        const RecordList list({address});
        for (std::size_t i = 0; i < address.length; ++i) {
            IpAddress changed = address;
            changed.bytes[i] = 0x80;
            const RecordList other({changed});
            EXPECT_EQ(0, KXCompareAddressInformation(list.Head(), other.Head())) << i;
        }
    }
}

TEST(AddressComparison, NullIsNoList) {
    const RecordList list({kLoopback4});
    EXPECT_EQ(0, KXCompareAddressInformation(nullptr, list.Head()));
    EXPECT_EQ(0, KXCompareAddressInformation(list.Head(), nullptr));
    EXPECT_EQ(0, KXCompareAddressInformation(nullptr, nullptr));
}

TEST(AddressComparison, AnIpv4AddressIsNotItsIpv6Form) {
    IpAddress mapped = Ipv6(0, 1);
    mapped.bytes[10] = mapped.bytes[11] = 0xFF;
    mapped.bytes[12] = 127;
    const RecordList ipv4({kLoopback4});
    const RecordList ipv6({mapped});
    EXPECT_EQ(0, KXCompareAddressInformation(ipv4.Head(), ipv6.Head()));
    EXPECT_EQ(0, KXCompareAddressInformation(ipv6.Head(), ipv4.Head()));
}

TEST(AddressComparison, AnotherFamilyMatchesNothingNotEvenItself) {
    kx::platform::RecordRoom room{};  // family 0
    auto* const record = reinterpret_cast<addrinfo*>(room.storage);
    EXPECT_EQ(0, KXCompareAddressInformation(record, record));
    const RecordList list({Ipv4(0, 0, 0, 0)});
    EXPECT_EQ(0, KXCompareAddressInformation(record, list.Head()));
}

// --- Resolver ------------------------------------------------------------------------------------

TEST_F(ResolverSeam, NamesAreAskedForInLowerCase) {
    EXPECT_EQ("my-host", AskedFor("my-host"));
    EXPECT_EQ("my-host", AskedFor("MY-Host"));
    EXPECT_EQ("", AskedFor(""));
    EXPECT_EQ("[::1]", AskedFor("[::1]"));
    EXPECT_EQ("\\\\localhost", AskedFor("\\\\LOCALHOST"));
}

TEST_F(ResolverSeam, TheLiteralsSuffixIsCutOffAndAnAddressUncovered) {
    EXPECT_EQ("fe80::1%4", AskedFor("FE80--1S4.IPV6-LITERAL.NET"));
    EXPECT_EQ("fe80::1%4", AskedFor("fe80--1s4.ipv6-literal.net"));
    EXPECT_EQ("0::1", AskedFor("0--1.ipv6-literal.net"));
    EXPECT_EQ("", AskedFor(".ipv6-literal.net")) << "nothing in front";
    EXPECT_EQ("a:b", AskedFor("a-b.ipv6-literal.net.example-s")) << "all behind it goes as well";
    EXPECT_EQ("ho%t:name", AskedFor("host-name.ipv6-literal.net")) << "whatever stands there";
    EXPECT_EQ("a:", AskedFor("a-.ipv6-literal.net.ipv6-literal.net")) << "the first counts";
}

TEST_F(ResolverSeam, WhatIsAlmostTheSuffixIsNone) {
    for (const char* const name : {"a-s.ipv6-literal.ne", "a-sipv6-literal.net",
                                   "a-s.ipv6_literal.net", "ipv6-literal.net"}) {
        EXPECT_EQ(name, AskedFor(name));
    }
}

TEST_F(ResolverSeam, NamesOfAnyLengthGoThroughWhole) {
    for (const std::size_t length : {1u, 1025u, 1026u, 2000u, 100'000u}) {
        const std::string name(length, 'x');
        EXPECT_EQ(name, AskedFor(name));
        EXPECT_EQ(name, AskedFor(name + ".ipv6-literal.net"));
    }
}

TEST_F(ResolverSeam, BytesBeyondAsciiGoThrough) {
    EXPECT_EQ("h\xC3\xB6st\xFF", AskedFor("h\xC3\xB6st\xFF"));
    EXPECT_EQ("\x01", AskedFor("\x01")) << "what is next to the terminator";
}

TEST_F(ResolverSeam, TheOtherArgumentsAndTheResultAreTheResolvers) {
    g_network.names["host"] = {Ipv4(10, 0, 0, 1)};
    const RecordList hints({kLoopback4});
    addrinfo* list = nullptr;
    const char* const service = "http";
    const int before = g_listsInUse;
    EXPECT_EQ(0, KXgetaddrinfo("HOST", service, hints.Head(), &list));
    EXPECT_EQ(service, g_network.service);
    EXPECT_EQ(hints.Head(), g_network.hints);
    EXPECT_EQ((Addresses{Ipv4(10, 0, 0, 1)}), AddressesIn(list));
    EXPECT_EQ(before + 1, g_listsInUse);
    KXfreeaddrinfo(list);
    EXPECT_EQ(before, g_listsInUse);
    EXPECT_EQ(kx::test::FakeNetwork::kUnknownName, KXgetaddrinfo("other", nullptr, nullptr, &list));
    EXPECT_EQ(nullptr, g_network.service);
    EXPECT_EQ(nullptr, g_network.hints);
}

TEST_F(ResolverSeam, WithoutMemoryForTheNameItGivesTheResolversErrorForThat) {
    const std::string name(100, 'x');
    addrinfo* list = nullptr;
    const kx::test::FailingNew failing;
    EXPECT_EQ(kx::platform::ResolverOutOfMemory(),
              KXgetaddrinfo(name.c_str(), nullptr, nullptr, &list));
    EXPECT_TRUE(g_network.asked.empty());
}

// --- Host name -----------------------------------------------------------------------------------

TEST_F(HostNameSeam, IsToldWithItsTerminatorWhereItFits) {
    g_network.hostName = "Vault-7";
    for (std::size_t size = 0; size < 8; ++size) {
        std::string narrow(10, '#');
        std::u16string wide(10, u'#');
        EXPECT_RESULT(KX_E_FAIL, KXGetHostNameA(narrow.data(), size));
        EXPECT_RESULT(KX_E_FAIL, KXGetHostName(wide.data(), size));
        EXPECT_EQ(std::string(10, '#'), narrow);
        EXPECT_EQ(std::u16string(10, u'#'), wide);
    }
    std::string narrow(10, '#');
    std::u16string wide(10, u'#');
    EXPECT_RESULT(KX_S_OK, KXGetHostNameA(narrow.data(), 8));
    EXPECT_RESULT(KX_S_OK, KXGetHostName(wide.data(), 8));
    EXPECT_EQ(std::string("Vault-7\0##", 10), narrow);
    EXPECT_EQ(std::u16string(u"Vault-7\0##", 10), wide);
    EXPECT_EQ(0, g_network.starts);
}

TEST_F(HostNameSeam, TheNetworkIsStartedWhereThatWasMissing) {
    char name[20];
    g_network.hostNameErrors = {kx::platform::kNetworkNotStarted};
    EXPECT_RESULT(KX_S_OK, KXGetHostNameA(name, sizeof name));
    EXPECT_STREQ("machine", name);
    EXPECT_EQ(1, g_network.starts);

    g_network.startsThatFail = 1;
    g_network.hostNameErrors = {kx::platform::kNetworkNotStarted};
    EXPECT_RESULT(KX_S_OK, KXGetHostNameA(name, sizeof name)) << "it is tried whatever comes of it";
    EXPECT_EQ(2, g_network.starts);
}

TEST_F(HostNameSeam, ItIsTriedNoMoreThanTwice) {
    char name[20];
    char16_t wide[20];
    g_network.hostNameErrors.assign(3, kx::platform::kNetworkNotStarted);
    EXPECT_RESULT(KX_E_FAIL, KXGetHostNameA(name, sizeof name));
    EXPECT_EQ(1u, g_network.hostNameErrors.size());
    g_network.hostNameErrors.assign(3, kx::platform::kNetworkNotStarted);
    EXPECT_RESULT(KX_E_FAIL, KXGetHostName(wide, 20));
    EXPECT_EQ(1u, g_network.hostNameErrors.size());
    EXPECT_EQ(2, g_network.starts);
}

TEST_F(HostNameSeam, AnotherErrorIsToldAtOnce) {
    char name[20];
    char16_t wide[20];
    g_network.hostNameErrors = {10014, 5, 10014, 5};
    EXPECT_RESULT(KX_E_FAIL, KXGetHostNameA(name, sizeof name));
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXGetHostNameA(name, sizeof name));
    EXPECT_RESULT(KX_E_FAIL, KXGetHostName(wide, 20));
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXGetHostName(wide, 20));
    EXPECT_EQ(0, g_network.starts);
}

TEST_F(HostNameSeam, ANameThatFillsItsRoomEndsThere) {
    g_network.hostName.assign(2000, 'x');
    std::string narrow(1026, '#');
    std::u16string wide(1026, u'#');
    EXPECT_RESULT(KX_E_FAIL, KXGetHostNameA(narrow.data(), 1025));
    EXPECT_RESULT(KX_S_OK, KXGetHostNameA(narrow.data(), 1026));
    EXPECT_EQ(1025u, KXStrLenA(narrow.c_str()));
    EXPECT_RESULT(KX_E_FAIL, KXGetHostName(wide.data(), 1025));
    EXPECT_RESULT(KX_S_OK, KXGetHostName(wide.data(), 1026));
    EXPECT_EQ(1025u, KXStrLenW(wide.c_str()));
}
