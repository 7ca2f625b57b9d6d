// Objects of the whole process that are never destroyed.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_IMMORTAL_H
#define KXCORE7_SRC_PLATFORM_POSIX_IMMORTAL_H

#include <cstddef>
#include <new>

namespace kx::platform {

// Threads and static objects of others may use it until the process ends. As a static object of a
// function it is made at its first use, and takes no memory that might not be there.
template <typename T>
class Immortal final {
  public:
    Immortal() { new (m_room) T; }
    T& Get() { return *std::launder(reinterpret_cast<T*>(m_room)); }

  private:
    alignas(T) std::byte m_room[sizeof(T)];
};

}  // namespace kx::platform

#endif
