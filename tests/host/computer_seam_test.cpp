// Which names mean this computer, over a network that the test makes up: what the resolver is
// asked, and what is remembered of its answers.
#include <kxcore7/address.h>

#include <atomic>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "support/failing_new.h"
#include "support/fake_network.h"
#include "support/host_seam.h"
#include "support/waiting_thread.h"

using kx::core::KnownComputers;
using kx::test::FailingNew;
using kx::test::FreshComputers;
using kx::test::g_listsInUse;
using kx::test::g_network;
using kx::test::Gate;
using kx::test::Ipv4;
using kx::test::Ipv6;
using kx::test::kLoopback4;
using kx::test::WaitingThread;
using Names = std::vector<std::string>;

namespace {

class ComputerSeam : public kx::test::HostSeam {
  protected:
    void SetUp() override {
        HostSeam::SetUp();
        g_network.hostName = "Vault-7";
        g_network.names["localhost"] = {Ipv6(0, 1), kLoopback4};
        g_network.ipv4 = {Ipv4(10, 0, 0, 1)};
        g_network.ipv6 = {Ipv6(0x2001, 1), kx::test::LinkLocal(9, 2)};
    }
};

// From a thread other than this, so that a lock which was not given back is in the way.
KXBool16 AskedElsewhere(KnownComputers& computers, const char* name) {
    KXBool16 answer = -1;
    std::thread([&] { answer = computers.IsThis(name); }).join();
    return answer;
}

// Of eight threads that ask for a name: one who comes to the gate, and seven who wait for it.
int OnesOfEight(KnownComputers& computers, const char* name, Gate& gate) {
    std::atomic<int> ones{0};
    {
        const auto ask = [&] { ones += computers.IsThis(name); };
        std::deque<WaitingThread> threads;
        threads.emplace_back(ask);
        gate.WaitUntilReached();
        while (threads.size() < 8) {
            threads.emplace_back(ask);
            threads.back().WaitUntilAsleep();
        }
        EXPECT_EQ(0, ones);
        gate.Open();
    }
    return ones;
}

}  // namespace

// --- Names that are known ------------------------------------------------------------------------

TEST_F(ComputerSeam, NamesThatMeanEveryComputerAskNobody) {
    KnownComputers& computers = FreshComputers();
    for (const char* const name : {"localhost", "LOCALHOST", "LocalHost", "127.0.0.1", "::1", ""}) {
        EXPECT_EQ(1, computers.IsThis(name)) << name;
    }
    EXPECT_TRUE(g_network.asked.empty());
}

TEST_F(ComputerSeam, TheHostNameInAnyCaseAsksNobody) {
    KnownComputers& computers = FreshComputers();
    for (const char* const name : {"vault-7", "VAULT-7", "Vault-7"}) {
        EXPECT_EQ(1, computers.IsThis(name)) << name;
    }
    EXPECT_TRUE(g_network.asked.empty());
    EXPECT_EQ(1025u, g_network.hostNameSize);
}

TEST_F(ComputerSeam, TheHostNameCountsAsAWhole) {
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(0, computers.IsThis("vault-7.example"));
    EXPECT_EQ(0, computers.IsThis("vault-"));
    EXPECT_EQ((Names{"vault-7.example", "vault-"}), g_network.asked);
}

TEST_F(ComputerSeam, AHostNameThatIsNotToldIsNone) {
    g_network.hostNameErrors = {10014};
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis("localhost"));
    EXPECT_EQ(1, computers.IsThis(""));
    EXPECT_EQ(0, computers.IsThis("vault-7"));
    EXPECT_EQ((Names{"vault-7"}), g_network.asked);
}

TEST_F(ComputerSeam, AHostNamedLikeTheOthersIsKnownOnce) {
    g_network.hostName = "LOCALHOST";
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis("localhost"));
    EXPECT_TRUE(g_network.asked.empty());
}

TEST_F(ComputerSeam, AHostNameWithoutAnEndIsCut) {
    g_network.hostName.assign(3000, 'v');
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis(std::string(1025, 'v').c_str()));
    EXPECT_TRUE(g_network.asked.empty());
}

// --- Names that are judged -----------------------------------------------------------------------

TEST_F(ComputerSeam, ANameOfAnAddressInEitherListIsThisComputers) {
    g_network.names["mine"] = {Ipv4(10, 9, 9, 9), Ipv4(10, 0, 0, 1)};
    g_network.names["six"] = {Ipv6(0x2001, 1)};
    g_network.names["link"] = {kx::test::LinkLocal(9, 77)};
    g_network.names["loop"] = {kLoopback4};
    g_network.names["127.0.0.2"] = {Ipv4(127, 0, 0, 2)};
    g_network.names["elsewhere"] = {Ipv4(10, 0, 0, 2), Ipv6(0x2001, 2)};
    KnownComputers& computers = FreshComputers();
    const int before = g_listsInUse;
    EXPECT_EQ(1, computers.IsThis("mine"));
    EXPECT_EQ(1, computers.IsThis("six"));
    EXPECT_EQ(1, computers.IsThis("link")) << "the scope does not count";
    EXPECT_EQ(1, computers.IsThis("loop"));
    EXPECT_EQ(0, computers.IsThis("127.0.0.2")) << "localhost has another address";
    EXPECT_EQ(0, computers.IsThis("elsewhere"));
    EXPECT_EQ(0, computers.IsThis("unknown"));
    EXPECT_EQ(7u, g_network.asked.size());
    EXPECT_EQ(before + 1, g_listsInUse) << "all are given back but the one of localhost";
    EXPECT_EQ(nullptr, g_network.service);
    EXPECT_EQ(nullptr, g_network.hints);
}

TEST_F(ComputerSeam, FurtherLoopbackAddressesAreThisComputersIfLocalhostHasThem) {
    g_network.names["localhost"] = {Ipv4(127, 0, 0, 2)};
    g_network.names["127.0.0.2"] = {Ipv4(127, 0, 0, 2)};
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis("127.0.0.2"));
}

TEST_F(ComputerSeam, AnAnswerIsKeptWhateverBecomesOfTheName) {
    g_network.names["moves"] = {Ipv4(10, 0, 0, 1)};
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis("moves"));
    EXPECT_EQ(0, computers.IsThis("comes"));
    g_network.names["comes"] = {Ipv4(10, 0, 0, 1)};
    g_network.names["moves"] = {Ipv4(10, 0, 0, 2)};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(1, computers.IsThis("moves"));
        EXPECT_EQ(0, computers.IsThis("comes"));
    }
    EXPECT_EQ((Names{"moves", "comes"}), g_network.asked);
}

TEST_F(ComputerSeam, NamesThatDifferInCaseShareAnAnswer) {
    KnownComputers& computers = FreshComputers();
    g_network.names["other"] = {Ipv4(10, 0, 0, 1)};
    EXPECT_EQ(1, computers.IsThis("OTHER"));
    EXPECT_EQ(1, computers.IsThis("other"));
    EXPECT_EQ(1, computers.IsThis("oTHeR"));
    EXPECT_EQ((Names{"other"}), g_network.asked);
}

TEST_F(ComputerSeam, BracketsBackslashesPortsAndDotsGoToTheResolver) {
    KnownComputers& computers = FreshComputers();
    const Names names = {"[::1]", "\\\\localhost", "localhost:80", "localhost.", " localhost"};
    for (const std::string& name : names) EXPECT_EQ(0, computers.IsThis(name.c_str())) << name;
    EXPECT_EQ(names, g_network.asked);
}

TEST_F(ComputerSeam, AnIpv6LiteralAsAHostNameIsAnAddress) {
    g_network.names["0::1"] = {Ipv6(0, 1)};
    g_network.names["2001::1"] = {Ipv6(0x2001, 1)};
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(1, computers.IsThis("0--1.ipv6-literal.net"));
    EXPECT_EQ(1, computers.IsThis("2001--1.IPv6-Literal.Net"));
    EXPECT_EQ((Names{"0::1", "2001::1"}), g_network.asked);
    EXPECT_EQ(1, computers.IsThis("0--1.IPV6-LITERAL.NET")) << "known as it was written";
    EXPECT_EQ(2u, g_network.asked.size());
}

TEST_F(ComputerSeam, NamesAreCutAt1025Bytes) {
    const std::string cut(1025, 'n');
    g_network.names[cut] = {kLoopback4};
    KnownComputers& computers = FreshComputers();
    EXPECT_EQ(0, computers.IsThis(cut.substr(1).c_str())) << "a byte less is another name";
    for (const std::size_t length : {1025u, 1026u, 2000u, 70'000u}) {
        EXPECT_EQ(1, computers.IsThis(std::string(length, 'n').c_str())) << length;
    }
    EXPECT_EQ(1, computers.IsThis((cut + "other").c_str()));
    EXPECT_EQ((Names{cut.substr(1), cut}), g_network.asked);
}

TEST_F(ComputerSeam, BytesOfAnyKindMakeNames) {
    const Names names = {"\x01", "\xFF", "\x7F", "caf\xC3\xA9", "localhost\x01", "localhost\xFF"};
    KnownComputers& computers = FreshComputers();
    for (int i = 0; i < 2; ++i) {
        for (const std::string& name : names) EXPECT_EQ(0, computers.IsThis(name.c_str()));
    }
    EXPECT_EQ(names, g_network.asked);
}

// --- Failures ------------------------------------------------------------------------------------

TEST_F(ComputerSeam, WithoutANetworkNothingIsThisComputerAndTheNextCallTriesAgain) {
    g_network.startsThatFail = 4;
    KnownComputers& computers = FreshComputers();
    for (const char* const name : {"localhost", "", "vault-7", "other"}) {
        EXPECT_EQ(0, computers.IsThis(name)) << name;
    }
    EXPECT_EQ(4, g_network.starts);
    EXPECT_TRUE(g_network.asked.empty());
    g_network.names["other"] = {kLoopback4};
    for (const char* const name : {"localhost", "", "vault-7", "other"}) {
        EXPECT_EQ(1, computers.IsThis(name)) << name;
    }
}

// The start goes well, and that of the lists does not.
TEST_F(ComputerSeam, WithoutListsTheKnownNamesAreKnownAllTheSame) {
    KnownComputers& computers = FreshComputers();
    g_network.names["10.0.0.1"] = {Ipv4(10, 0, 0, 1)};
    g_network.onStart = [] { g_network.startsThatFail = g_network.starts == 1 ? 1 : 0; };
    EXPECT_EQ(1, computers.IsThis("localhost"));
    EXPECT_EQ(2, g_network.starts);
    EXPECT_EQ(0, computers.IsThis("10.0.0.1"));
    EXPECT_EQ(2, g_network.starts) << "the lists are not asked for again";
}

TEST_F(ComputerSeam, ExhaustedMemoryAtTheFirstCallIsMadeUpForByTheNext) {
    g_network.hostName = "a-host-name-that-is-too-long-to-be-held-inside-a-string";
    for (int allowed = 0;; ++allowed) {
        KnownComputers& computers = FreshComputers();
        KXBool16 answer = -1;
        {
            const FailingNew failing(allowed);
            answer = computers.IsThis("localhost");
        }
        if (answer == 1) {
            EXPECT_GT(allowed, 5) << "the two locks and five names";
            break;
        }
        EXPECT_EQ(0, answer);
        EXPECT_EQ(1, AskedElsewhere(computers, "localhost"));
        EXPECT_EQ(1, AskedElsewhere(computers, g_network.hostName.c_str()));
        EXPECT_EQ(1, AskedElsewhere(computers, ""));
    }
    EXPECT_TRUE(g_network.asked.empty());
}

TEST_F(ComputerSeam, ExhaustedMemoryKeepsNoAnswerAndNoLock) {
    const std::string name = "a-name-that-is-too-long-to-be-held-inside-a-string";
    g_network.names[name] = {kLoopback4};
    bool wasAnsweredAndNotKept = false;
    for (int allowed = 0;; ++allowed) {
        KnownComputers& computers = FreshComputers();
        computers.IsThis("localhost");
        const int before = g_listsInUse;
        g_network.asked.clear();
        KXBool16 answer = -1;
        {
            const FailingNew failing(allowed, 1);
            answer = computers.IsThis(name.c_str());
        }
        EXPECT_EQ(before, g_listsInUse);
        const std::size_t asked = g_network.asked.size();
        EXPECT_EQ(1, AskedElsewhere(computers, name.c_str()));
        if (g_network.asked.size() == asked) break;
        wasAnsweredAndNotKept |= answer == 1;
    }
    EXPECT_TRUE(wasAnsweredAndNotKept);
}

TEST_F(ComputerSeam, AKnownNameNeedsNoMemory) {
    KnownComputers& computers = FreshComputers();
    const std::string name(1000, 'n');
    g_network.names[name] = {kLoopback4};
    EXPECT_EQ(1, computers.IsThis(name.c_str()));
    const FailingNew failing;
    EXPECT_EQ(1, computers.IsThis(name.c_str()));
}

// --- Threads -------------------------------------------------------------------------------------

TEST_F(ComputerSeam, OneOfManyWhoAskForAnUnknownNameResolvesIt) {
    g_network.names["other"] = {kLoopback4};
    KnownComputers& computers = FreshComputers();
    Gate gate;
    g_network.whileAsked = [&](const std::string&) { gate.Pass(); };
    EXPECT_EQ(8, OnesOfEight(computers, "Other", gate));
    EXPECT_EQ((Names{"other"}), g_network.asked);
}

TEST_F(ComputerSeam, ASlowResolverLosesNoAnswer) {
    g_network.names["slow"] = {kLoopback4};
    g_network.names["quick"] = {kLoopback4};
    KnownComputers& computers = FreshComputers();
    Gate gate;
    g_network.whileAsked = [&](const std::string& name) {
        if (name == "slow") gate.Pass();
    };
    std::atomic<int> ones{0};
    {
        WaitingThread slow([&] { ones += computers.IsThis("slow"); });
        gate.WaitUntilReached();
        WaitingThread quick([&] { ones += computers.IsThis("quick"); });
        WaitingThread known([&] { ones += computers.IsThis("localhost"); });
        quick.WaitUntilAsleep();
        known.WaitUntilAsleep();
        gate.Open();
    }
    EXPECT_EQ(3, ones);
    EXPECT_EQ(1, computers.IsThis("slow"));
    EXPECT_EQ(1, computers.IsThis("quick"));
    EXPECT_EQ((Names{"slow", "quick"}), g_network.asked);
}

TEST_F(ComputerSeam, WhoeverComesDuringTheFirstCallWaitsForIt) {
    KnownComputers& computers = FreshComputers();
    Gate gate;
    g_network.whileCanonicalAsked = [&] { gate.Pass(); };
    EXPECT_EQ(8, OnesOfEight(computers, "localhost", gate));
    EXPECT_EQ(2, g_network.starts) << "for the names, and for the lists";
}

// --- Wide names ----------------------------------------------------------------------------------

// The exports share what they remember, through all tests of this process: each has a name of its
// own here.
TEST_F(ComputerSeam, WideAndNarrowNamesShareAnAnswer) {
    EXPECT_EQ(1, KXIsThisMyComputerW(u"LocalHost"));
    EXPECT_EQ(1, KXIsThisMyComputerW(u""));
    EXPECT_EQ(0, KXIsThisMyComputerW(u"Shared-By-Wide-And-Narrow"));
    g_network.names["shared-by-wide-and-narrow"] = {kLoopback4};
    EXPECT_EQ(0, KXIsThisMyComputerA("shared-by-wide-and-narrow"));
    EXPECT_EQ((Names{"shared-by-wide-and-narrow"}), g_network.asked);
}

TEST_F(ComputerSeam, AWideNameThatDoesNotFitIsNotLookedAt) {
    EXPECT_EQ(0, KXIsThisMyComputerW(std::u16string(1025, u'w').c_str()));
    EXPECT_EQ((Names{std::string(1025, 'w')}), g_network.asked);
    g_network.asked.clear();
    g_network.names[std::string(1025, 'x')] = {kLoopback4};
    for (const std::size_t length : {1026u, 2000u, 70'000u}) {
        EXPECT_EQ(0, KXIsThisMyComputerW(std::u16string(length, u'x').c_str())) << length;
    }
    EXPECT_TRUE(g_network.asked.empty());
}
