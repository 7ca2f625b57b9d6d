// The record of this machine.
#include <kxcore7/systeminfo.h>

#include <cstring>
#include <thread>

#include "support/results.h"

namespace {

KXSystemInfo Info() {
    KXSystemInfo info;
    std::memset(&info, 0x77, sizeof info);
    EXPECT_RESULT(KX_S_OK, KXGetSystemInfo(&info, sizeof info));
    return info;
}

bool IsPowerOfTwo(std::uint32_t number) {
    return number != 0 && (number & (number - 1)) == 0;
}

}  // namespace

TEST(SystemInfo, TheReservedFieldIsZero) {
    EXPECT_EQ(0, Info().reserved);
}

TEST(SystemInfo, TheWholeRecordIsFilledWhateverItsSizeSays) {
    const KXSystemInfo whole = Info();
    for (const std::uint32_t size : {0u, 4u, 0xFFFFFFFFu}) {
        KXSystemInfo info{};
        EXPECT_RESULT(KX_S_OK, KXGetSystemInfo(&info, size));
        EXPECT_EQ(whole.totalPhysical, info.totalPhysical);
        EXPECT_EQ(whole.buildNumber, info.buildNumber);
        EXPECT_NE(0, info.majorVersion);
    }
}

TEST(SystemInfo, ThereIsNoMoreLeftThanThereIs) {
    const KXSystemInfo info = Info();
    EXPECT_GT(info.totalPhysical, 16u << 20);
    EXPECT_GT(info.availPhysical, 0u);
    EXPECT_LE(info.availPhysical, info.totalPhysical);
    EXPECT_GT(info.availVirtual, 0u);
    EXPECT_LT(info.availVirtual, info.totalVirtual);
}

TEST(SystemInfo, MappingsBeginAtPages) {
    const KXSystemInfo info = Info();
    EXPECT_TRUE(IsPowerOfTwo(info.pageSize));
    EXPECT_GE(info.pageSize, 4096u);
    EXPECT_TRUE(IsPowerOfTwo(info.allocationGranularity));
    EXPECT_GE(info.allocationGranularity, info.pageSize);
}

TEST(SystemInfo, ProcessorsAreCountedAsTheSystemDoes) {
    EXPECT_EQ(std::thread::hardware_concurrency(), Info().processorCount);
}

TEST(SystemInfo, ThePlatformIsTheNewOne) {
    EXPECT_EQ(2, Info().platformId);
}
