// The record of this machine beside what the kernel says in other places.
#include <gtest/gtest.h>
#include <kxcore7/systeminfo.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support/posix/fork.h"

namespace {

KXSystemInfo Info() {
    KXSystemInfo info{};
    EXPECT_EQ(0, KXGetSystemInfo(&info, sizeof info));
    return info;
}

#if defined(__x86_64__)
// The number behind a label of the first processor.
int Of(const std::string& label) {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos &&
            line.substr(0, line.find_last_not_of("\t ", colon - 1) + 1) == label) {
            return std::stoi(line.substr(colon + 1));
        }
    }
    ADD_FAILURE() << label;
    return 0;
}
#endif

}  // namespace

TEST(PosixSystemInfo, TheVersionIsTheKernels) {
    utsname names{};
    ASSERT_EQ(0, uname(&names));
    unsigned major = 0;
    unsigned minor = 0;
    unsigned build = 0;
    ASSERT_GE(std::sscanf(names.release, "%u.%u.%u", &major, &minor, &build), 2);
    const KXSystemInfo info = Info();
    EXPECT_EQ(major, info.majorVersion);
    EXPECT_EQ(minor, info.minorVersion);
    EXPECT_EQ(build, info.buildNumber);
}

TEST(PosixSystemInfo, PhysicalMemoryIsNoMoreThanTheMachines) {
    struct sysinfo machine {};
    ASSERT_EQ(0, sysinfo(&machine));
    const std::uint64_t total = std::uint64_t{machine.totalram} * machine.mem_unit;
    EXPECT_LE(Info().totalPhysical, total);
}

TEST(PosixSystemInfo, GranularityAndPageAreTheKernels) {
    const auto page = static_cast<std::uint32_t>(sysconf(_SC_PAGESIZE));
    EXPECT_EQ(page, Info().pageSize);
    EXPECT_EQ(page, Info().allocationGranularity);
}

#if defined(__x86_64__)
TEST(PosixSystemInfo, TheProcessorIsTheKernelsOwn) {
    const KXSystemInfo info = Info();
    EXPECT_EQ(8664, info.processorType);
    EXPECT_EQ(Of("cpu family"), info.processorLevel);
    EXPECT_EQ(Of("model"), info.processorRevision >> 8);
    EXPECT_EQ(Of("stepping"), info.processorRevision & 0xFF);
}
#endif

TEST(PosixSystemInfo, AProcessThatIsHeldToAProcessorHasNoOther) {
    EXPECT_EQ(1, kx::test::InChild([] {
                  cpu_set_t set;
                  if (sched_getaffinity(0, sizeof set, &set) != 0) return -1;
                  int first = 0;
                  while (!CPU_ISSET(first, &set)) ++first;
                  CPU_ZERO(&set);
                  CPU_SET(first, &set);
                  if (sched_setaffinity(0, sizeof set, &set) != 0) return -2;
                  return int{Info().processorCount};
              }));
}

TEST(PosixSystemInfo, AddressSpaceInUseIsNotAvailable) {
    constexpr std::size_t kSize = std::size_t{1} << 32;
    const KXSystemInfo before = Info();
    void* const room =
        mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, room);
    const KXSystemInfo during = Info();
    munmap(room, kSize);
    EXPECT_EQ(before.totalVirtual, during.totalVirtual);
    EXPECT_GE(before.availVirtual - during.availVirtual, kSize / 2);
    EXPECT_LE(before.availVirtual - during.availVirtual, kSize * 2);
}

// A sanitizer has more address space in use than any limit leaves.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(PosixSystemInfo, ALimitOfTheAddressSpaceIsAllThereIs) {
    EXPECT_EQ(0, kx::test::InChild([] {
                  constexpr std::uint64_t kLimit = std::uint64_t{64} << 30;
                  const rlimit limit{kLimit, kLimit};
                  if (setrlimit(RLIMIT_AS, &limit) != 0) return 1;
                  const KXSystemInfo info = Info();
                  if (info.totalVirtual != kLimit) return 2;
                  return info.availVirtual > 0 && info.availVirtual < kLimit ? 0 : 3;
              }));
}
#endif
