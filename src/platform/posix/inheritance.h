// Descriptors that the children which the library starts have as well: those of named objects,
// which so live as long as such a child. No other child has them; all descriptors are
// close-on-exec.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_INHERITANCE_H
#define KXCORE7_SRC_PLATFORM_POSIX_INHERITANCE_H

#include <shared_mutex>
#include <span>

namespace kx::platform {

// To be kept from them again before it is closed.
void ShareWithChildren(int descriptor);
void KeepFromChildren(int descriptor) noexcept;

// What children are to have; none of it is closed as long as this lives.
class SharedWithChildren final {
  public:
    SharedWithChildren();
    std::span<const int> Get() const;

  private:
    std::shared_lock<std::shared_mutex> m_lock;
};

}  // namespace kx::platform

#endif
