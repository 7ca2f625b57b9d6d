// The machine's addresses and name in namespaces that a test makes for itself, with interfaces as
// it likes them. Where the kernel lets nobody make one, this is said, and what is left is tested.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <kxcore7/address.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "host/computer.h"
#include "support/native_addresses.h"
#include "support/posix/descriptors.h"
#include "support/posix/fork.h"
#include "support/results.h"

namespace {

using Texts = std::vector<std::string>;

// --- Namespaces ----------------------------------------------------------------------------------

// Leaves the namespaces of this process for new ones, if need be as a user who may.
bool Enter(int namespaces) {
    return unshare(namespaces) == 0 || unshare(namespaces | CLONE_NEWUSER) == 0;
}

// What a child prints in namespaces of its own. Nothing where it may not have them, of which the
// test's output tells.
Texts LinesFromInside(int namespaces, const std::function<void()>& body) {
    int ends[2];
    EXPECT_EQ(0, pipe(ends));
    const int exitCode = kx::test::InChild([&] {
        if (!Enter(namespaces)) return 1;
        dup2(ends[1], STDOUT_FILENO);
        body();
        std::fflush(stdout);
        return ::testing::Test::HasFailure() ? 2 : 0;
    });
    close(ends[1]);
    std::string all;
    char part[4096];
    for (ssize_t got; (got = read(ends[0], part, sizeof part)) > 0;) {
        all.append(part, static_cast<std::size_t>(got));
    }
    close(ends[0]);
    if (exitCode == 1) {
        std::printf("no namespace of its own is given to this process: it is tested without\n");
        return {};
    }
    EXPECT_EQ(0, exitCode) << all;
    Texts lines;
    std::istringstream stream(all);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

// --- Interfaces ----------------------------------------------------------------------------------

// A message to the kernel's network, with its attributes.
class Request final {
  public:
    template <typename Header>
    Request(std::uint16_t type, std::uint16_t flags, const Header& header) {
        auto& message = *Message();
        message.nlmsg_type = type;
        message.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | NLM_F_ACK | flags);
        message.nlmsg_len = NLMSG_LENGTH(sizeof header);
        std::memcpy(m_bytes + NLMSG_HDRLEN, &header, sizeof header);
    }

    Request& Add(std::uint16_t type, const void* data, std::size_t size) {
        auto& message = *Message();
        const rtattr attribute{static_cast<std::uint16_t>(RTA_LENGTH(size)), type};
        unsigned char* const end = m_bytes + NLMSG_ALIGN(message.nlmsg_len);
        std::memcpy(end, &attribute, sizeof attribute);
        std::memcpy(end + RTA_LENGTH(0), data, size);
        message.nlmsg_len = static_cast<std::uint32_t>(NLMSG_ALIGN(message.nlmsg_len) +
                                                       RTA_ALIGN(RTA_LENGTH(size)));
        return *this;
    }

    // 0, or the kernel's error.
    int Send() {
        const int netlink = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
        EXPECT_EQ(static_cast<ssize_t>(Message()->nlmsg_len),
                  send(netlink, m_bytes, Message()->nlmsg_len, 0));
        alignas(nlmsghdr) unsigned char answer[4096];
        EXPECT_GE(recv(netlink, answer, sizeof answer, 0),
                  static_cast<ssize_t>(NLMSG_LENGTH(sizeof(nlmsgerr))));
        nlmsgerr outcome;
        std::memcpy(&outcome, answer + NLMSG_HDRLEN, sizeof outcome);
        close(netlink);
        return -outcome.error;
    }

  private:
    nlmsghdr* Message() { return reinterpret_cast<nlmsghdr*>(m_bytes); }

    alignas(nlmsghdr) unsigned char m_bytes[1024] = {};
};

void SwitchOn(const char* name) {
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request{};
    std::strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    ASSERT_EQ(0, ioctl(control, SIOCGIFFLAGS, &request));
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    ASSERT_EQ(0, ioctl(control, SIOCSIFFLAGS, &request)) << name;
    close(control);
}

int TryToAddInterface(const char* name, int number, const std::string& kind) {
    ifinfomsg header{};
    header.ifi_index = number;
    Request request(RTM_NEWLINK, NLM_F_CREATE | NLM_F_EXCL, header);
    request.Add(IFLA_IFNAME, name, std::strlen(name) + 1);
    // The kind is an attribute inside another.
    std::string inner(RTA_SPACE(kind.size()), '\0');
    const rtattr attribute{static_cast<std::uint16_t>(RTA_LENGTH(kind.size())), IFLA_INFO_KIND};
    std::memcpy(inner.data(), &attribute, sizeof attribute);
    kind.copy(inner.data() + RTA_LENGTH(0), kind.size());
    return request.Add(IFLA_LINKINFO, inner.data(), inner.size()).Send();
}

// Adds an interface with this number, of a kind that the kernel has.
void AddInterface(const char* name, int number) {
    int error = 0;
    for (const char* const kind : {"dummy", "bridge", "veth"}) {
        error = TryToAddInterface(name, number, kind);
        if (error == 0) return;
    }
    ADD_FAILURE() << name << ": " << std::strerror(error);
}

// Gives an address to an interface, valid at once.
void AddAddress(int number, const char* text, std::uint8_t prefix) {
    const bool isIpv6 = std::strchr(text, ':') != nullptr;
    ifaddrmsg header{};
    header.ifa_family = isIpv6 ? AF_INET6 : AF_INET;
    header.ifa_prefixlen = prefix;
    header.ifa_flags = isIpv6 ? IFA_F_NODAD : 0;
    header.ifa_index = static_cast<std::uint32_t>(number);
    unsigned char address[16];
    ASSERT_EQ(1, inet_pton(header.ifa_family, text, address)) << text;
    const int error = Request(RTM_NEWADDR, NLM_F_CREATE | NLM_F_EXCL, header)
                          .Add(IFA_LOCAL, address, isIpv6 ? 16 : 4)
                          .Add(IFA_ADDRESS, address, isIpv6 ? 16 : 4)
                          .Send();
    EXPECT_EQ(0, error) << text << ": " << std::strerror(error);
}

constexpr int kLoopbackInterface = 1;

// --- What the library makes of them --------------------------------------------------------------

// What the system tells of one family, in its order.
void AppendSystems(const ifaddrs* interfaces, int family, socklen_t length, Texts* texts) {
    for (const ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != family) continue;
        addrinfo record{};
        record.ai_family = family;
        record.ai_addrlen = length;
        record.ai_addr = entry->ifa_addr;
        const std::string text = kx::test::AddressTexts(&record).front();
        if (text != "::1" && text != "fe80::1%1") texts->push_back(text);
    }
}

// The machine's addresses without those that are the loopback's.
Texts SystemsAddresses() {
    Texts texts;
    ifaddrs* interfaces = nullptr;
    EXPECT_EQ(0, getifaddrs(&interfaces));
    AppendSystems(interfaces, AF_INET, sizeof(sockaddr_in), &texts);
    AppendSystems(interfaces, AF_INET6, sizeof(sockaddr_in6), &texts);
    freeifaddrs(interfaces);
    return texts;
}

void Print(const char* what, Texts texts) {
    std::sort(texts.begin(), texts.end());
    std::printf("%s:", what);
    for (const std::string& text : texts) std::printf(" %s", text.c_str());
    std::printf("\n");
}

// Both lists of a library that was just loaded, and what it says of some names.
void PrintAddresses(const Texts& names) {
    static kx::core::MyAddresses s_addresses;
    static kx::core::KnownComputers s_computers(s_addresses);
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    EXPECT_RESULT(KX_S_OK, s_addresses.Get(&mine, &loopback));
    EXPECT_EQ(SystemsAddresses(), kx::test::AddressTexts(mine));
    Print("mine", kx::test::AddressTexts(mine));
    Print("sockets", kx::test::SocketTexts(mine));
    ASSERT_NE(nullptr, loopback);
    std::printf("first of the loopback: %s %s\n", kx::test::AddressTexts(loopback).front().c_str(),
                kx::test::SocketTexts(loopback).front().c_str());
    for (const std::string& name : names) {
        std::printf("%s is mine: %d\n", name.c_str(), s_computers.IsThis(name.c_str()));
    }
}

bool Contains(const Texts& lines, const std::string& line) {
    for (const std::string& one : lines) {
        if (one == line) return true;
    }
    return false;
}

void ExpectLines(const Texts& expected, const Texts& lines) {
    if (lines.empty()) return;
    std::string all;
    for (const std::string& line : lines) all += line + "\n";
    for (const std::string& line : expected)
        EXPECT_TRUE(Contains(lines, line)) << line << "\nin\n" << all;
}

}  // namespace

TEST(PosixNetwork, ManyInterfacesGiveAllTheirAddresses) {
    const Texts lines = LinesFromInside(CLONE_NEWNET, [] {
        SwitchOn("lo");
        AddInterface("one", 7);
        AddInterface("two", 9);
        AddAddress(7, "10.1.0.1", 24);
        AddAddress(7, "10.1.0.2", 24);
        AddAddress(7, "2001:db8::1", 64);
        AddAddress(7, "fe80::77", 64);
        AddAddress(9, "10.2.0.1", 24);
        AddAddress(9, "fe80::77", 64);
        AddAddress(9, "fe80::1", 64);
        PrintAddresses({"10.1.0.1", "10.2.0.1", "10.2.0.2", "2001:db8::1", "2001:db8::2",
                        "fe80::77%7", "fe80::77%3", "fe80::78%7", "127.0.0.1"});
    });
    ExpectLines(
        {"mine: 10.1.0.1 10.1.0.2 10.2.0.1 127.0.0.1 2001:db8::1 fe80::1%9 fe80::77%7 fe80::77%9",
         "sockets: 0/0 0/0 0/0 0/0 0/0 0/0 0/0 0/0", "10.1.0.1 is mine: 1", "10.2.0.1 is mine: 1",
         "10.2.0.2 is mine: 0", "2001:db8::1 is mine: 1", "2001:db8::2 is mine: 0",
         "fe80::77%7 is mine: 1", "fe80::77%3 is mine: 1", "fe80::78%7 is mine: 0",
         "127.0.0.1 is mine: 1"},
        lines);
}

TEST(PosixNetwork, TheFirstInterfacesLinkLocalLoopbackIsNotTheMachines) {
    const Texts lines = LinesFromInside(CLONE_NEWNET, [] {
        SwitchOn("lo");
        AddAddress(kLoopbackInterface, "fe80::1", 64);
        AddAddress(kLoopbackInterface, "fe80::2", 64);
        AddInterface("one", 7);
        AddAddress(7, "fe80::1", 64);
        PrintAddresses({"fe80::1%1", "fe80::1%5"});
    });
    ExpectLines({"mine: 127.0.0.1 fe80::1%7 fe80::2%1", "first of the loopback: fe80::1%1 1/6",
                 "fe80::1%1 is mine: 1", "fe80::1%5 is mine: 1"},
                lines);
}

TEST(PosixNetwork, FurtherAddressesOfTheLoopbackAreTheMachines) {
    const Texts lines = LinesFromInside(CLONE_NEWNET, [] {
        SwitchOn("lo");
        AddAddress(kLoopbackInterface, "127.0.0.2", 32);
        PrintAddresses({"127.0.0.2", "127.0.0.3"});
    });
    ExpectLines({"mine: 127.0.0.1 127.0.0.2", "127.0.0.2 is mine: 1", "127.0.0.3 is mine: 0"},
                lines);
}

TEST(PosixNetwork, AMachineWithNothingButItselfHasItsLoopback) {
    const Texts lines = LinesFromInside(CLONE_NEWNET, [] {
        SwitchOn("lo");
        PrintAddresses({"localhost", "127.0.0.1", "::1", "", "127.0.0.2", "0--1.ipv6-literal.net"});
    });
    ExpectLines({"mine: 127.0.0.1", "localhost is mine: 1", "127.0.0.1 is mine: 1",
                 "::1 is mine: 1", " is mine: 1", "127.0.0.2 is mine: 0"},
                lines);
}

TEST(PosixNetwork, WithoutAnyAddressTheMachineIsItselfAllTheSame) {
    const Texts lines = LinesFromInside(CLONE_NEWNET, [] {
        PrintAddresses({"localhost", "127.0.0.1", "::1", "", "192.0.2.77"});
    });
    ExpectLines({"mine:", "sockets:", "localhost is mine: 1", "127.0.0.1 is mine: 1",
                 "::1 is mine: 1", " is mine: 1", "192.0.2.77 is mine: 0"},
                lines);
}

TEST(PosixNetwork, ThisMachinesAddressesStandInTheSystemsOrder) {
    static kx::core::MyAddresses s_addresses;
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    ASSERT_RESULT(KX_S_OK, s_addresses.Get(&mine, &loopback));
    EXPECT_EQ(SystemsAddresses(), kx::test::AddressTexts(mine));
}

TEST(PosixNetwork, AskingForInterfacesLeavesNothingOpen) {
    const kx::test::NothingStaysOpen check;
    for (const auto family : {kx::platform::Family::kIpv4, kx::platform::Family::kIpv6}) {
        std::free(kx::platform::InterfaceAddresses(family).entries);
    }
}

// --- Host name -----------------------------------------------------------------------------------

TEST(PosixHostName, OfAnyLengthIsTold) {
    for (const std::size_t length : {1u, 64u}) {
        const Texts lines = LinesFromInside(CLONE_NEWUTS, [length] {
            const std::string name(length, 'N');
            EXPECT_EQ(0, sethostname(name.c_str(), name.size()));
            char told[100];
            EXPECT_RESULT(KX_S_OK, KXGetHostNameA(told, sizeof told));
            std::printf("%s %d\n", told, KXIsThisMyComputerA(std::string(length, 'n').c_str()));
        });
        ExpectLines({std::string(length, 'N') + " 1"}, lines);
    }
}

TEST(PosixHostName, ThatIsNoTextInTheLocaleIsAlwaysTerminated) {
    const Texts lines = LinesFromInside(CLONE_NEWUTS, [] {
        std::setlocale(LC_ALL, "C.UTF-8");
        EXPECT_EQ(0, sethostname("host\xFFname", 9));
        char narrow[10];
        EXPECT_RESULT(KX_S_OK, KXGetHostNameA(narrow, sizeof narrow));
        EXPECT_STREQ("host\xFFname", narrow);
        std::u16string wide(12, u'#');
        EXPECT_RESULT(KX_S_OK, KXGetHostName(wide.data(), 10));
        EXPECT_LT(wide.find(u'\0'), 10u);
        EXPECT_EQ(u'#', wide[10]);
        std::printf("done\n");
    });
    ExpectLines({"done"}, lines);
}
