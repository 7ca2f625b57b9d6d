#include "support/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kUnlimited = -1;
thread_local int t_allowed = kUnlimited;
thread_local int t_failures = 0;

// Whether this allocation is one that has to fail.
bool Fails() {
    if (t_allowed == kUnlimited) return false;
    if (t_allowed > 0) {
        --t_allowed;
        return false;
    }
    if (t_failures > 0) --t_failures;
    if (t_failures == 0) t_allowed = kUnlimited;
    return true;
}

}  // namespace

namespace kx::test {

FailingNew::FailingNew(int allowed, int failures) {
    t_allowed = allowed;
    t_failures = failures;
}
FailingNew::~FailingNew() {
    t_allowed = kUnlimited;
}

}  // namespace kx::test

void* operator new(std::size_t size) {
    if (Fails()) throw std::bad_alloc();
    if (void* const block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}
// The others come here by themselves, but for those of a sanitizer.
void* operator new[](std::size_t size) {
    return operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Fails() ? nullptr : std::malloc(size != 0 ? size : 1);
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}

void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    operator delete(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    operator delete(block);
}
