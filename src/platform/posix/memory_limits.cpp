#include "platform/posix/memory_limits.h"

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <string_view>

#include "platform/posix/descriptor.h"

namespace kx::platform {
namespace {

constexpr std::uint64_t kBytesPerKilobyte = 1024;

// Empty for a file that can't be read.
std::string ReadFile(const std::string& path) {
    std::string text;
    Descriptor file;
    if (!file.Open(path.c_str(), O_RDONLY)) return text;
    char part[4096];
    for (ssize_t got; (got = read(file.Get(), part, sizeof part)) > 0;) {
        text.append(part, static_cast<std::size_t>(got));
    }
    return text;
}

// The number that text begins with, behind blanks; nothing for other text, such as "max".
std::optional<std::uint64_t> LeadingNumber(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    std::uint64_t number = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec != std::errc{}) return {};
    return number;
}

std::optional<std::uint64_t> NumberIn(const std::string& path) {
    return LeadingNumber(ReadFile(path));
}

// Calls with each line of a text, until one is true.
template <typename Call>
void ForEachLine(std::string_view text, Call call) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        if (call(text.substr(0, end))) return;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

// The number in the line that begins with the label.
std::optional<std::uint64_t> Labelled(std::string_view text, std::string_view label) {
    std::optional<std::uint64_t> number;
    ForEachLine(text, [&](std::string_view line) {
        if (line.starts_with(label)) number = LeadingNumber(line.substr(label.size()));
        return number.has_value();
    });
    return number;
}

// Where the two versions of control groups have what.
struct ControlGroups {
    std::string_view mount;
    std::string_view limit;
    std::string_view usage;
    std::string_view reclaimable;  // a label in the file "memory.stat"
};

constexpr ControlGroups kVersion1{"/sys/fs/cgroup/memory", "/memory.limit_in_bytes",
                                  "/memory.usage_in_bytes", "total_inactive_file "};
constexpr ControlGroups kVersion2{"/sys/fs/cgroup", "/memory.max", "/memory.current",
                                  "inactive_file "};

// Whether "memory" is one of the names between commas.
bool HasMemory(std::string_view controllers) {
    std::string list = ",";
    list.append(controllers).append(",");
    return list.find(",memory,") != std::string::npos;
}

// The group in a line of /proc/self/cgroup, "NUMBER:CONTROLLERS:PATH", if it may limit memory in
// that version: in the second all controllers are in one line, which names none.
std::optional<std::string_view> GroupIn(std::string_view line, bool isVersion1) {
    const std::size_t first = line.find(':');
    if (first == std::string_view::npos) return {};
    const std::size_t second = line.find(':', first + 1);
    if (second == std::string_view::npos) return {};
    const std::string_view controllers = line.substr(first + 1, second - first - 1);
    if (isVersion1 ? !HasMemory(controllers) : !controllers.empty()) return {};
    return line.substr(second + 1);
}

std::optional<std::string> OwnGroup(const std::string& groups, bool isVersion1) {
    std::optional<std::string> own;
    ForEachLine(groups, [&](std::string_view line) {
        if (const auto path = GroupIn(line, isVersion1)) own = *path;
        return own.has_value();
    });
    return own;
}

std::uint64_t LeftOf(std::uint64_t limit, const std::string& directory,
                     const ControlGroups& groups) {
    const std::uint64_t usage = NumberIn(directory + std::string(groups.usage)).value_or(0);
    const std::uint64_t reclaimable =
        Labelled(ReadFile(directory + "/memory.stat"), groups.reclaimable).value_or(0);
    const std::uint64_t used = usage - std::min(usage, reclaimable);
    return limit - std::min(limit, used);
}

// What is left of the machine's memory behind one limit after the other.
class NarrowedMemory final {
  public:
    NarrowedMemory(const std::string& root, const PhysicalMemory& machine)
        : m_root(root), m_machine(machine), m_left(machine) {}

    // A container may see the group's path as it is outside, and of the groups only its own, at the
    // mount: so what is not there is passed over on the way up.
    void NarrowTo(const ControlGroups& groups, std::string_view own) {
        // A group beside the mount is out of sight.
        if (own.find("/..") != std::string_view::npos) own = "/";
        for (; own.size() > 1; own = own.substr(0, own.rfind('/'))) NarrowToOne(groups, own);
        NarrowToOne(groups, "");
    }
    const PhysicalMemory& Left() const { return m_left; }

  private:
    void NarrowToOne(const ControlGroups& groups, std::string_view group) {
        std::string directory = m_root;
        directory.append(groups.mount).append(group);
        const auto limit = NumberIn(directory + std::string(groups.limit));
        // The kernel takes its time over a group's figures, which most have no need of.
        if (!limit.has_value() || *limit >= m_machine.total) return;
        m_left.total = std::min(m_left.total, *limit);
        m_left.available = std::min(m_left.available, LeftOf(*limit, directory, groups));
    }

    const std::string& m_root;
    const PhysicalMemory m_machine;
    PhysicalMemory m_left;
};

PhysicalMemory MachinesMemory(const std::string& root) {
    const std::string text = ReadFile(root + "/proc/meminfo");
    return {Labelled(text, "MemTotal:").value_or(0) * kBytesPerKilobyte,
            Labelled(text, "MemAvailable:").value_or(0) * kBytesPerKilobyte};
}

}  // namespace

PhysicalMemory ReadPhysicalMemory(const std::string& root) {
    NarrowedMemory memory(root, MachinesMemory(root));
    const std::string groups = ReadFile(root + "/proc/self/cgroup");
    for (const bool isVersion1 : {true, false}) {
        const auto own = OwnGroup(groups, isVersion1);
        if (own.has_value()) memory.NarrowTo(isVersion1 ? kVersion1 : kVersion2, *own);
    }
    return memory.Left();
}

std::uint64_t ReadAddressSpaceInUse(const std::string& root) {
    const auto pages = NumberIn(root + "/proc/self/statm").value_or(0);
    return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace kx::platform
