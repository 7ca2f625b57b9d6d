// What the system tells of its objects: who may use them, and how a handle may.
#ifndef KXCORE7_TESTS_SUPPORT_WINDOWS_SYSTEM_OBJECTS_H
#define KXCORE7_TESTS_SUPPORT_WINDOWS_SYSTEM_OBJECTS_H

#include <gtest/gtest.h>
#include <windows.h>
// Behind the header that they need.
#include <sddl.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace kx::test {

// A handle of the test's own. Null and INVALID_HANDLE_VALUE are none.
class SystemHandle final {
  public:
    explicit SystemHandle(HANDLE handle) : m_handle(handle) {}
    ~SystemHandle() {
        if (*this) CloseHandle(m_handle);
    }
    SystemHandle(const SystemHandle&) = delete;
    SystemHandle& operator=(const SystemHandle&) = delete;

    HANDLE Get() const { return m_handle; }
    explicit operator bool() const {
        return m_handle != nullptr && m_handle != INVALID_HANDLE_VALUE;
    }

  private:
    const HANDLE m_handle;
};

inline HANDLE Native(std::uintptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

inline bool IsInheritable(HANDLE handle) {
    DWORD flags = 0;
    EXPECT_NE(0, GetHandleInformation(handle, &flags));
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

// The handle that the system gives out next, which is the one that was closed last: another one
// than before if one was left open meanwhile.
inline HANDLE NextHandle() {
    const SystemHandle event(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    return event.Get();
}

// How many blocks of memory this process has of the system, the runtime's among them.
inline std::size_t BlockCount() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    EXPECT_LE(count, 64u);
    std::size_t blocks = 0;
    for (DWORD heap = 0; heap < count && heap < 64; ++heap) {
        PROCESS_HEAP_ENTRY entry{};
        HeapLock(heaps[heap]);
        while (HeapWalk(heaps[heap], &entry) != 0) {
            if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) ++blocks;
        }
        HeapUnlock(heaps[heap]);
    }
    return blocks;
}

// The rights that a handle has.
inline ACCESS_MASK RightsOf(HANDLE handle) {
    const auto query = reinterpret_cast<decltype(&NtQueryObject)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtQueryObject")));
    PUBLIC_OBJECT_BASIC_INFORMATION information{};
    EXPECT_EQ(0, query(handle, ObjectBasicInformation, &information, sizeof information, nullptr));
    return information.GrantedAccess;
}

// The entries of a descriptor's access list in the order that they have, as text: the kind, the
// mask in hexadecimal, the identity.
inline std::string EntriesOf(ACL* list) {
    std::string text;
    for (DWORD index = 0; index < list->AceCount; ++index) {
        void* entry = nullptr;
        EXPECT_NE(0, GetAce(list, index, &entry));
        auto* const allowed = static_cast<ACCESS_ALLOWED_ACE*>(entry);
        char* identity = nullptr;
        EXPECT_NE(0, ConvertSidToStringSidA(&allowed->SidStart, &identity));
        char number[16];
        std::snprintf(number, sizeof number, " %lX ", allowed->Mask);
        text += allowed->Header.AceType == ACCESS_ALLOWED_ACE_TYPE ? "allow" : "other";
        text += number + std::string(identity) + ';';
        LocalFree(identity);
    }
    return text;
}

// The same of an object, through a handle that may read it: "nothing" where there is no access
// list, "everything" where there is one that is null.
inline std::string AccessTo(HANDLE object) {
    DWORD size = 0;
    GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<std::byte> descriptor(size);
    if (GetKernelObjectSecurity(object, DACL_SECURITY_INFORMATION, descriptor.data(), size,
                                &size) == 0) {
        return "error " + std::to_string(GetLastError());
    }
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    EXPECT_NE(0, GetSecurityDescriptorDacl(descriptor.data(), &present, &list, &defaulted));
    if (present == FALSE) return "nothing";
    return list == nullptr ? "everything" : EntriesOf(list);
}

}  // namespace kx::test

#endif
