// How much memory a process may use, read from files as kernels and containers have them.
#include "platform/posix/memory_limits.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/scratch_dir.h"

using kx::platform::PhysicalMemory;
using kx::platform::ReadPhysicalMemory;

namespace kx::platform {

static bool operator==(const PhysicalMemory& left, const PhysicalMemory& right) {
    return left.total == right.total && left.available == right.available;
}

static void PrintTo(const PhysicalMemory& memory, std::ostream* out) {
    *out << memory.available << " of " << memory.total;
}

}  // namespace kx::platform

namespace {

constexpr std::uint64_t kMega = 1024 * 1024;
constexpr PhysicalMemory kMachine{8000 * kMega, 6000 * kMega};

// A machine of 8000 megabytes, 6000 of them available, and what a test adds.
class MemoryLimits : public ::testing::Test {
  protected:
    void SetUp() override {
        Write("proc/meminfo",
              "MemTotal:        8192000 kB\nMemFree:            1000 kB\n"
              "MemAvailable:    6144000 kB\nBuffers:            2000 kB\n");
    }

    void Write(const std::string& path, const std::string& text) {
        const std::filesystem::path file = m_root / path;
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
    void WriteGroups(const std::string& text) { Write("proc/self/cgroup", text); }

    // Files of the second version, in megabytes.
    void LimitVersion2(const std::string& group, const std::string& limit, std::uint64_t used,
                       std::uint64_t reclaimable) {
        const std::string directory = "sys/fs/cgroup" + group;
        Write(directory + "/memory.max", limit + "\n");
        Write(directory + "/memory.current", std::to_string(used * kMega) + "\n");
        Write(directory + "/memory.stat", "anon 12\ninactive_anon 77\ninactive_file " +
                                              std::to_string(reclaimable * kMega) +
                                              "\nactive_file 5\n");
    }
    // Those of the first.
    void LimitVersion1(const std::string& group, std::uint64_t limit, std::uint64_t used,
                       std::uint64_t reclaimable) {
        const std::string directory = "sys/fs/cgroup/memory" + group;
        Write(directory + "/memory.limit_in_bytes", std::to_string(limit * kMega) + "\n");
        Write(directory + "/memory.usage_in_bytes", std::to_string(used * kMega) + "\n");
        Write(directory + "/memory.stat", "cache 5\ninactive_file 1\ntotal_inactive_file " +
                                              std::to_string(reclaimable * kMega) + "\n");
    }

    PhysicalMemory Read() { return ReadPhysicalMemory(m_root.Path()); }

    static std::string Megabytes(std::uint64_t count) { return std::to_string(count * kMega); }
    static PhysicalMemory Of(std::uint64_t total, std::uint64_t available) {
        return {total * kMega, available * kMega};
    }

  private:
    kx::test::ScratchDir m_root;
};

}  // namespace

TEST_F(MemoryLimits, WithoutGroupsItIsTheMachines) {
    EXPECT_EQ(kMachine, Read());
    WriteGroups("");
    EXPECT_EQ(kMachine, Read());
}

TEST_F(MemoryLimits, WithoutFilesNothingIsKnown) {
    EXPECT_EQ((PhysicalMemory{0, 0}), ReadPhysicalMemory("/nowhere-at-all"));
}

TEST_F(MemoryLimits, AGroupWithoutALimitChangesNothing) {
    WriteGroups("0::/user.slice\n");
    LimitVersion2("/user.slice", "max", 7000, 0);
    EXPECT_EQ(kMachine, Read());
    WriteGroups("4:memory:/user.slice\n");
    LimitVersion1("/user.slice", (1ull << 43) - 1, 7000, 0);  // as the kernel says "none"
    EXPECT_EQ(kMachine, Read());
}

TEST_F(MemoryLimits, AGroupsLimitIsAllThereIs) {
    WriteGroups("0::/box\n");
    LimitVersion2("/box", Megabytes(512), 200, 50);
    EXPECT_EQ(Of(512, 362), Read()) << "what holds files is available";
}

TEST_F(MemoryLimits, SoItIsWithGroupsOfTheFirstVersion) {
    WriteGroups("5:cpu,cpuacct:/other\n4:hugetlb,memory:/box\n1:name=systemd:/\n0::/\n");
    LimitVersion1("/box", 512, 200, 50);
    LimitVersion1("/other", 100, 0, 0);
    EXPECT_EQ(Of(512, 362), Read());
}

TEST_F(MemoryLimits, TheNarrowestOfTheGroupsAroundCounts) {
    WriteGroups("0::/outer/middle/inner\n");
    LimitVersion2("/outer", Megabytes(1000), 900, 0);
    LimitVersion2("/outer/middle", Megabytes(400), 50, 0);
    LimitVersion2("/outer/middle/inner", "max", 40, 0);
    EXPECT_EQ(Of(400, 100), Read()) << "what the others in the outer one use is not left either";
}

TEST_F(MemoryLimits, AContainersOwnGroupIsAtTheMount) {
    LimitVersion2("", Megabytes(512), 100, 0);
    for (const char* const path : {"0::/\n", "0::/docker/0123abcd\n", "0::/../outside\n"}) {
        WriteGroups(path);
        EXPECT_EQ(Of(512, 412), Read()) << path;
    }
}

TEST_F(MemoryLimits, SoItIsInTheFirstVersion) {
    WriteGroups("4:memory:/docker/0123abcd\n");
    LimitVersion1("", 512, 100, 0);
    EXPECT_EQ(Of(512, 412), Read());
}

TEST_F(MemoryLimits, WhatLiesBesideTheMountIsNotLookedAt) {
    LimitVersion2("", Megabytes(512), 100, 0);
    LimitVersion2("/../outside", Megabytes(64), 0, 0);
    WriteGroups("0::/../outside\n");
    EXPECT_EQ(Of(512, 412), Read());
}

TEST_F(MemoryLimits, GroupsOfOtherControllersDoNotCount) {
    LimitVersion1("/other", 64, 0, 0);
    LimitVersion2("/other", Megabytes(64), 0, 0);
    LimitVersion2("/box", Megabytes(512), 0, 0);
    WriteGroups("3:memoryless,notmemory:/other\n2:cpu:/other\n1:name=systemd:/other\n0::/box\n");
    EXPECT_EQ(Of(512, 512), Read());
}

TEST_F(MemoryLimits, MoreThanTheMachineHasIsNoLimit) {
    WriteGroups("0::/box\n");
    LimitVersion2("/box", Megabytes(100'000), 10, 0);
    EXPECT_EQ(kMachine, Read());
}

TEST_F(MemoryLimits, NoMoreIsLeftThanTheMachineHasLeft) {
    WriteGroups("0::/box\n");
    LimitVersion2("/box", Megabytes(7000), 10, 0);
    EXPECT_EQ(Of(7000, 6000), Read());
}

TEST_F(MemoryLimits, NothingIsLeftBehindALimitThatWasLowered) {
    WriteGroups("0::/box\n");
    LimitVersion2("/box", Megabytes(100), 200, 0);
    EXPECT_EQ(Of(100, 0), Read());
    LimitVersion2("/box", Megabytes(100), 50, 60);
    EXPECT_EQ(Of(100, 100), Read()) << "the figures are not of one moment";
}

TEST_F(MemoryLimits, WithoutFiguresOfUseTheWholeLimitIsLeft) {
    WriteGroups("0::/box\n");
    Write("sys/fs/cgroup/box/memory.max", Megabytes(512));
    EXPECT_EQ(Of(512, 512), Read());
}

TEST_F(MemoryLimits, LinesThatMakeNoSenseArePassedOver) {
    LimitVersion2("/box", Megabytes(512), 0, 0);
    WriteGroups("\n:\n4\n4:\n4:memory\n::\n");
    EXPECT_EQ(kMachine, Read());
    WriteGroups("\n:\n4\n4:memory\n3:memoryless,notmemory:/box\n0::/box");
    EXPECT_EQ(Of(512, 512), Read()) << "the last one has no end";
    for (const char* const limit : {"", "\n", "-5", "lots", "99999999999999999999999"}) {
        Write("sys/fs/cgroup/box/memory.max", limit);
        EXPECT_EQ(kMachine, Read()) << limit;
    }
}

TEST(AddressSpace, InUseIsTheFirstNumberOfItsFileInPages) {
    const kx::test::ScratchDir root;
    EXPECT_EQ(0u, kx::platform::ReadAddressSpaceInUse(root.Path()));
    std::filesystem::create_directories(root / "proc/self");
    std::ofstream(root / "proc/self/statm") << "123 45 6 7 0 8 0\n";
    EXPECT_EQ(0u, kx::platform::ReadAddressSpaceInUse(root.Path()) % 123);
    EXPECT_GE(kx::platform::ReadAddressSpaceInUse(root.Path()), 123u * 4096);
}
