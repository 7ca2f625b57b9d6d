#include "platform/security.h"

#include <cstdlib>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

constexpr DWORD kDescriptorRevision = 1;
constexpr DWORD kListRevision = 2;
// For the list's own header and its entry's, with the mask.
constexpr DWORD kListHeaders = 16;

// Authenticated users, S-1-5-11, up to the end of the scope.
class AuthenticatedUsers final {
  public:
    NativeError Make() noexcept {
        SID_IDENTIFIER_AUTHORITY authority = SECURITY_NT_AUTHORITY;
        return ErrorUnless(AllocateAndInitializeSid(&authority, 1, SECURITY_AUTHENTICATED_USER_RID,
                                                    0, 0, 0, 0, 0, 0, 0, &m_sid));
    }
    AuthenticatedUsers() = default;
    ~AuthenticatedUsers() {
        if (m_sid != nullptr) FreeSid(m_sid);
    }
    AuthenticatedUsers(const AuthenticatedUsers&) = delete;
    AuthenticatedUsers& operator=(const AuthenticatedUsers&) = delete;

    PSID Get() const noexcept { return m_sid; }

  private:
    PSID m_sid = nullptr;
};

// Grants the mask to one identity in a list that is empty so far, and puts it into the descriptor.
NativeError Grant(SECURITY_DESCRIPTOR* descriptor, std::uint32_t mask, PSID sid, ACL* list,
                  DWORD size) noexcept {
    return ErrorUnless(InitializeAcl(list, size, kListRevision) != 0 &&
                       AddAccessAllowedAce(list, kListRevision, mask, sid) != 0 &&
                       SetSecurityDescriptorDacl(descriptor, TRUE, list, FALSE) != 0);
}

}  // namespace

NativeError BuildRestrictedDescriptor(void* descriptor, std::uint32_t mask, void** list) noexcept {
    *list = nullptr;
    if (InitializeSecurityDescriptor(descriptor, kDescriptorRevision) == 0) return GetLastError();
    AuthenticatedUsers users;
    if (const NativeError error = users.Make(); error != kSuccess) return error;
    const DWORD size = GetLengthSid(users.Get()) + kListHeaders;
    auto* const made = static_cast<ACL*>(std::calloc(1, size));
    if (made == nullptr) return kOutOfMemory;
    const NativeError error =
        Grant(static_cast<SECURITY_DESCRIPTOR*>(descriptor), mask, users.Get(), made, size);
    if (error == kSuccess) {
        *list = made;
    } else {
        std::free(made);
    }
    return error;
}

void FreeAccessList(void* list) noexcept {
    std::free(list);
}

}  // namespace kx::platform
