#include "support/failing_new.h"

#include <cstdlib>
#include <new>

namespace {

constexpr int kUnlimited = -1;
thread_local int t_allowed = kUnlimited;

}  // namespace

namespace kx::test {

FailingNew::FailingNew(int allowed) {
    t_allowed = allowed;
}
FailingNew::~FailingNew() {
    t_allowed = kUnlimited;
}

}  // namespace kx::test

void* operator new(std::size_t size) {
    if (t_allowed == 0) throw std::bad_alloc();
    if (t_allowed > 0) --t_allowed;
    if (void* const block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
