#include <kxcore7/security.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstring>

#include "support/results.h"
#include "support/windows/system_objects.h"

using namespace kx::test;

namespace {

// A descriptor for authenticated users, and its list.
class Restricted final {
  public:
    explicit Restricted(std::uint32_t mask) {
        std::memset(&m_descriptor, 0xA5, sizeof m_descriptor);
        EXPECT_RESULT(KX_S_OK, KXWinBuildRestrictedSD(&m_descriptor, mask, &m_list));
    }
    ~Restricted() { KXWinFreeRestrictedSD(m_list); }
    Restricted(const Restricted&) = delete;
    Restricted& operator=(const Restricted&) = delete;

    PSECURITY_DESCRIPTOR Descriptor() { return &m_descriptor; }
    ACL* List() { return static_cast<ACL*>(m_list); }

  private:
    SECURITY_DESCRIPTOR m_descriptor;
    void* m_list = nullptr;
};

}  // namespace

TEST(RestrictedDescriptor, IsValidAndOfTheFirstRevision) {
    Restricted restricted(GENERIC_ALL);
    EXPECT_NE(0, IsValidSecurityDescriptor(restricted.Descriptor()));
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    DWORD revision = 0;
    ASSERT_NE(0, GetSecurityDescriptorControl(restricted.Descriptor(), &control, &revision));
    EXPECT_EQ(1u, revision);
    EXPECT_EQ(SE_DACL_PRESENT, control);
}

TEST(RestrictedDescriptor, HasTheListThatIsHandedOut) {
    Restricted restricted(GENERIC_ALL);
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    ACL* list = nullptr;
    ASSERT_NE(0, GetSecurityDescriptorDacl(restricted.Descriptor(), &present, &list, &defaulted));
    EXPECT_EQ(TRUE, present);
    EXPECT_EQ(FALSE, defaulted);
    EXPECT_EQ(restricted.List(), list);
}

TEST(RestrictedDescriptor, GrantsTheMaskToAuthenticatedUsersAlone) {
    EXPECT_EQ("allow 1F0003 S-1-5-11;", EntriesOf(Restricted(0x1F0003).List()));
    EXPECT_EQ("allow 1 S-1-5-11;", EntriesOf(Restricted(1).List()));
    EXPECT_EQ("allow 0 S-1-5-11;", EntriesOf(Restricted(0).List()));
    EXPECT_EQ("allow 10000000 S-1-5-11;", EntriesOf(Restricted(GENERIC_ALL).List()));
}

// An identity with one part has 12 bytes, and the list 16 for all else.
TEST(RestrictedDescriptor, HasAListOfTheRevisionAndTheSizeThatItTakes) {
    Restricted restricted(GENERIC_ALL);
    EXPECT_EQ(2, restricted.List()->AclRevision);
    EXPECT_EQ(12 + 16, restricted.List()->AclSize);
    EXPECT_EQ(12u + 16u, _msize(restricted.List()));
}

TEST(RestrictedDescriptor, NoListIsFreedAsWell) {
    KXWinFreeRestrictedSD(nullptr);
}

TEST(RestrictedDescriptor, LeavesNothingInMemory) {
    constexpr int kRounds = 100;
    const std::size_t before = BlockCount();
    for (int round = 0; round < kRounds; ++round) const Restricted restricted(GENERIC_ALL);
    EXPECT_GT(before + kRounds, BlockCount());
}
