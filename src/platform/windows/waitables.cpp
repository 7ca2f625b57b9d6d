#include "platform/waitables.h"

#include <new>

#include "platform/security.h"
#include "platform/windows/native.h"

namespace kx::platform {
namespace {

HANDLE& HandleIn(std::byte* storage) {
    return *std::launder(reinterpret_cast<HANDLE*>(storage));
}

void PutHandle(std::byte* storage, HANDLE handle) {
    new (storage) HANDLE(handle);
}

void Close(HANDLE handle) {
    if (handle != nullptr) CloseHandle(handle);
}

NativeError WaitFor(HANDLE handle, std::uint32_t milliseconds) {
    const DWORD outcome = WaitForSingleObject(handle, milliseconds);
    if (outcome == WAIT_FAILED) return GetLastError();
    return outcome == WAIT_OBJECT_0 ? kSuccess : kWaitTimedOut;
}

CONDITION_VARIABLE* ConditionIn(std::byte* storage) {
    return std::launder(reinterpret_cast<CONDITION_VARIABLE*>(storage));
}

}  // namespace

Event::Event() noexcept {
    PutHandle(storage_, nullptr);
}

Event::~Event() {
    Close(HandleIn(storage_));
}

NativeError Event::Create(bool manualReset) noexcept {
    HandleIn(storage_) = CreateEventA(nullptr, manualReset ? TRUE : FALSE, FALSE, nullptr);
    return ErrorUnless(HandleIn(storage_) != nullptr);
}

NativeError Event::Set() noexcept {
    return ErrorUnless(SetEvent(HandleIn(storage_)));
}

NativeError Event::Reset() noexcept {
    return ErrorUnless(ResetEvent(HandleIn(storage_)));
}

NativeError Event::Wait(std::uint32_t milliseconds) noexcept {
    return WaitFor(HandleIn(storage_), milliseconds);
}

Semaphore::Semaphore() noexcept {
    PutHandle(storage_, nullptr);
}

Semaphore::~Semaphore() {
    Close(HandleIn(storage_));
}

// A count that is negative as the system takes it is above every ceiling for it, too.
NativeError Semaphore::Create(std::uint32_t count, std::uint32_t ceiling) noexcept {
    HandleIn(storage_) =
        CreateSemaphoreA(nullptr, static_cast<LONG>(count), static_cast<LONG>(ceiling), nullptr);
    return ErrorUnless(HandleIn(storage_) != nullptr);
}

NativeError Semaphore::CreateShared(const char* name, std::uint32_t count, std::uint32_t ceiling) {
    SECURITY_DESCRIPTOR descriptor{};
    void* list = nullptr;
    const NativeError unsecured =
        BuildRestrictedDescriptor(&descriptor, SEMAPHORE_ALL_ACCESS, &list);
    if (unsecured != kSuccess) return unsecured;
    SECURITY_ATTRIBUTES attributes{sizeof attributes, &descriptor, TRUE};
    HandleIn(storage_) =
        CreateSemaphoreA(&attributes, static_cast<LONG>(count), static_cast<LONG>(ceiling), name);
    const NativeError error = ErrorUnless(HandleIn(storage_) != nullptr);
    FreeAccessList(list);
    return error;
}

NativeError Semaphore::Post() noexcept {
    return ErrorUnless(ReleaseSemaphore(HandleIn(storage_), 1, nullptr));
}

NativeError Semaphore::Wait(std::uint32_t milliseconds) noexcept {
    return WaitFor(HandleIn(storage_), milliseconds);
}

Condition::Condition() noexcept {
    static_assert(sizeof(CONDITION_VARIABLE) <= sizeof storage_);
    InitializeConditionVariable(new (storage_) CONDITION_VARIABLE);
}

// The system keeps nothing behind it.
Condition::~Condition() = default;

NativeError Condition::Wait(CriticalSection& lock, std::uint32_t milliseconds) noexcept {
    auto* const section = static_cast<CRITICAL_SECTION*>(lock.Native());
    return ErrorUnless(SleepConditionVariableCS(ConditionIn(storage_), section, milliseconds));
}

void Condition::WakeOne() noexcept {
    WakeConditionVariable(ConditionIn(storage_));
}

void Condition::WakeAll() noexcept {
    WakeAllConditionVariable(ConditionIn(storage_));
}

}  // namespace kx::platform
