#include "support/guarded_memory.h"

#include <windows.h>

#include <new>

namespace kx::test {

// What is reserved behind the pages in use stays out of reach.
GuardedMemory::GuardedMemory() {
    void* const memory = VirtualAlloc(nullptr, kSize + 4096, MEM_RESERVE, PAGE_NOACCESS);
    if (memory == nullptr) throw std::bad_alloc();
    m_begin = static_cast<char*>(memory);
    if (VirtualAlloc(m_begin, kSize, MEM_COMMIT, PAGE_READWRITE) == nullptr) throw std::bad_alloc();
}

GuardedMemory::~GuardedMemory() {
    VirtualFree(m_begin, 0, MEM_RELEASE);
}

}  // namespace kx::test
