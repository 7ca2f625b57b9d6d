#include "platform/locks.h"

#include <new>

#include "platform/windows/native.h"

namespace kx::platform {
namespace {

// Forces the debug information, which holds the count of contentions.
constexpr DWORD kForceDebugInfo = 0x10000000;

CRITICAL_SECTION* From(std::byte* storage) {
    return std::launder(reinterpret_cast<CRITICAL_SECTION*>(storage));
}
const CRITICAL_SECTION* From(const std::byte* storage) {
    return std::launder(reinterpret_cast<const CRITICAL_SECTION*>(storage));
}

}  // namespace

CriticalSection::CriticalSection(std::uint32_t spinCount, bool countContention) {
    static_assert(sizeof(CRITICAL_SECTION) <= sizeof storage_ && alignof(CRITICAL_SECTION) <= 8);
    auto* const section = new (storage_) CRITICAL_SECTION;
    if (InitializeCriticalSectionEx(section, spinCount, countContention ? kForceDebugInfo : 0) ==
        0) {
        throw std::bad_alloc();
    }
}

CriticalSection::~CriticalSection() {
    DeleteCriticalSection(From(storage_));
}

bool CriticalSection::TryEnter() noexcept {
    return TryEnterCriticalSection(From(storage_)) != 0;
}
void CriticalSection::EnterContended() noexcept {
    EnterCriticalSection(From(storage_));
}

void CriticalSection::Leave() noexcept {
    LeaveCriticalSection(From(storage_));
}

std::uint32_t CriticalSection::ContentionCount() const noexcept {
    const volatile DWORD& count = From(storage_)->DebugInfo->ContentionCount;
    return count;
}
void CriticalSection::ResetContentionCount() noexcept {
    volatile DWORD& count = From(storage_)->DebugInfo->ContentionCount;
    count = 0;
}

}  // namespace kx::platform
