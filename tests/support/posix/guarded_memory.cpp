#include "support/guarded_memory.h"

#include <sys/mman.h>

#include <new>

namespace kx::test {
namespace {

constexpr std::size_t kGuard = 4096;

}  // namespace

GuardedMemory::GuardedMemory() {
    void* const memory =
        mmap(nullptr, kSize + kGuard, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    m_begin = static_cast<char*>(memory);
    if (mprotect(End(), kGuard, PROT_NONE) != 0) throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() {
    munmap(m_begin, kSize + kGuard);
}

}  // namespace kx::test
