#include <ifaddrs.h>
#include <kxcore7/address.h>
#include <kxcore7/result.h>
#include <netdb.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "comparison.h"
#include "subjects.h"

namespace bench {
namespace {

// As quick as that, within the noise of such short times.
constexpr double kAsATable = 2.0;

// What a program writes that asks often: folded, in a table, under a lock.
class Names final {
  public:
    explicit Names(const std::string& name) : m_name(name) { m_answers[name] = true; }

    const char* Name() const { return m_name.c_str(); }

    bool IsOwn(const char* name) {
        std::string key = name;
        for (char& ch : key) {
            if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
        }
        const std::lock_guard guard(m_mutex);
        const auto found = m_answers.find(key);
        return found != m_answers.end() && found->second;
    }

  private:
    const std::string m_name;
    std::mutex m_mutex;
    std::unordered_map<std::string, bool> m_answers;
};

// Two heads that stay, likewise.
class Lists final {
  public:
    bool Get() {
        const std::lock_guard guard(m_mutex);
        const addrinfo* const mine = m_mine;
        const addrinfo* const loopback = m_loopback;
        return Opaque(mine) == Opaque(loopback);
    }

  private:
    std::mutex m_mutex;
    const addrinfo* m_mine = nullptr;
    const addrinfo* m_loopback = nullptr;
};

// What one writes that asks seldom.
bool IsHostName(const char* name) {
    char own[256];
    return gethostname(own, sizeof own) == 0 && strcasecmp(own, name) == 0;
}

bool Resolves(const char* name) {
    addrinfo* list = nullptr;
    if (getaddrinfo(name, nullptr, nullptr, &list) != 0) return false;
    freeaddrinfo(list);
    return true;
}

bool AsksForInterfaces() {
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) return false;
    freeifaddrs(list);
    return true;
}

bool GetsLists() {
    addrinfo* mine = nullptr;
    addrinfo* loopback = nullptr;
    return KXGetMyAddressInformation(&mine, &loopback) == KX_S_OK;
}

std::string OwnName() {
    char name[256] = {};
    gethostname(name, sizeof name - 1);
    return name;
}

// A name that was asked for before, which a program asks for again with every connection.
void AddKnownName(Report& report, const std::string& what, const std::string& name) {
    const auto names = std::make_shared<Names>(name);
    Names* const table = names.get();
    const char* const text = table->Name();
    Comparison comparison("KXIsThisMyComputerA, " + what, names);
    comparison.Own([text] { return KXIsThisMyComputerA(Opaque(text)); }, Is(KXBool16{1}));
    comparison.Peer(
        "std::unordered_map in a std::mutex", [=] { return table->IsOwn(Opaque(text)); }, Is(true));
    comparison.Aside(
        "getaddrinfo", [text] { return Resolves(Opaque(text)); }, Is(true));
    comparison.Aside(
        "gethostname", [text] { return IsHostName(text); }, [](bool) { return true; });
    comparison.AddTo(report, kAsATable);
}

void AddLists(Report& report) {
    const auto lists = std::make_shared<Lists>();
    Lists* const bare = lists.get();
    Comparison comparison("KXGetMyAddressInformation", lists);
    comparison.Own(GetsLists, Is(true));
    comparison.Peer(
        "two pointers in a std::mutex", [bare] { return bare->Get(); }, Is(true));
    comparison.Aside("getifaddrs", AsksForInterfaces, Is(true));
    comparison.AddTo(report);
}

}  // namespace

void RegisterHost(Report& report) {
    AddKnownName(report, "the host name", OwnName());
    AddKnownName(report, "an address", "127.0.0.1");
    AddLists(report);
}

}  // namespace bench
