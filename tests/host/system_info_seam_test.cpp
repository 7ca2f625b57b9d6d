// The machine's record over a machine that the test makes up.
#include <kxcore7/systeminfo.h>

#include <cstring>

#include "support/fake_machine.h"
#include "support/results.h"

using kx::test::g_machine;

namespace {

class SystemInfoSeam : public ::testing::Test {
  protected:
    void SetUp() override {
        g_machine = {};
        std::memset(&m_info, 0x77, sizeof m_info);
    }
    void TearDown() override { g_machine = {}; }

    KXSystemInfo m_info;
};

constexpr std::uint16_t kUntouched = 0x7777;

}  // namespace

TEST_F(SystemInfoSeam, EveryFieldHasItsFigure) {
    g_machine.memory = {1ull << 40, 2ull << 40, 3ull << 40, 4ull << 40};
    g_machine.processors = {65536, 4096, 8664, 6, 0x5507, 12};
    g_machine.version = {2, 10, 1, 19045};
    EXPECT_RESULT(KX_S_OK, KXGetSystemInfo(&m_info, sizeof m_info));
    EXPECT_EQ(1ull << 40, m_info.totalPhysical);
    EXPECT_EQ(2ull << 40, m_info.availPhysical);
    EXPECT_EQ(3ull << 40, m_info.totalVirtual);
    EXPECT_EQ(4ull << 40, m_info.availVirtual);
    EXPECT_EQ(65536u, m_info.allocationGranularity);
    EXPECT_EQ(4096u, m_info.pageSize);
    EXPECT_EQ(8664, m_info.processorType);
    EXPECT_EQ(6, m_info.processorLevel);
    EXPECT_EQ(0x5507, m_info.processorRevision);
    EXPECT_EQ(12, m_info.processorCount);
    EXPECT_EQ(2, m_info.platformId);
    EXPECT_EQ(0, m_info.reserved);
    EXPECT_EQ(10, m_info.majorVersion);
    EXPECT_EQ(1, m_info.minorVersion);
    EXPECT_EQ(19045, m_info.buildNumber);
}

TEST_F(SystemInfoSeam, NumbersAreCutToTheirLowBits) {
    g_machine.processors = {0x80000001, 0x80000002, 0x10003, 0x10004, 0x1FFFF, 0x1FFFE};
    g_machine.version = {0x10005, 0x10006, 0x10007, 0x1FFFD};
    EXPECT_RESULT(KX_S_OK, KXGetSystemInfo(&m_info, sizeof m_info));
    EXPECT_EQ(0x80000001u, m_info.allocationGranularity);
    EXPECT_EQ(0x80000002u, m_info.pageSize);
    EXPECT_EQ(3, m_info.processorType);
    EXPECT_EQ(4, m_info.processorLevel);
    EXPECT_EQ(0xFFFF, m_info.processorRevision);
    EXPECT_EQ(0xFFFE, m_info.processorCount);
    EXPECT_EQ(5, m_info.platformId);
    EXPECT_EQ(6, m_info.majorVersion);
    EXPECT_EQ(7, m_info.minorVersion);
    EXPECT_EQ(0xFFFD, m_info.buildNumber);
}

TEST_F(SystemInfoSeam, WithoutAVersionTheFieldsInFrontAreFilled) {
    g_machine.memory.availVirtual = 5;
    g_machine.processors.count = 3;
    g_machine.version.major = 9;
    g_machine.versionError = 5;
    EXPECT_RESULT(KX_E_ACCESSDENIED, KXGetSystemInfo(&m_info, sizeof m_info));
    EXPECT_EQ(0u, m_info.totalPhysical);
    EXPECT_EQ(5u, m_info.availVirtual);
    EXPECT_EQ(3, m_info.processorCount);
    EXPECT_EQ(kUntouched, m_info.platformId);
    EXPECT_EQ(kUntouched, m_info.reserved);
    EXPECT_EQ(kUntouched, m_info.majorVersion);
    EXPECT_EQ(kUntouched, m_info.minorVersion);
    EXPECT_EQ(kUntouched, m_info.buildNumber);
    g_machine.versionError = 122;
    EXPECT_RESULT(KX_E_FAIL, KXGetSystemInfo(&m_info, sizeof m_info));
}

TEST_F(SystemInfoSeam, TheSizeIsNotLookedAt) {
    g_machine.version.build = 4;
    for (const std::uint32_t size : {0u, 1u, 0xFFFFFFFFu}) {
        m_info.buildNumber = 0;
        EXPECT_RESULT(KX_S_OK, KXGetSystemInfo(&m_info, size));
        EXPECT_EQ(4, m_info.buildNumber);
    }
}
