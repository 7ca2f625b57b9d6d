// A file's descriptor and its end.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_DESCRIPTOR_H
#define KXCORE7_SRC_PLATFORM_POSIX_DESCRIPTOR_H

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <utility>

namespace kx::platform {

// A handle of a file or a process is the descriptor; what can't be one gets the system's own
// answer.
inline int DescriptorOf(std::uintptr_t handle) {
    return handle <= INT_MAX ? static_cast<int>(handle) : -1;
}

class Descriptor final {
  public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : m_descriptor(other.Take()) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }

    // Not for programs that are started, and not to become the terminal of this process; false with
    // errno.
    bool Open(const char* path, int flags, mode_t mode = 0) {
        Close();
        do {
            m_descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY, mode);
        } while (m_descriptor < 0 && errno == EINTR);
        return m_descriptor >= 0;
    }
    int Get() const { return m_descriptor; }
    int Take() { return std::exchange(m_descriptor, -1); }
    void Close() {
        if (m_descriptor >= 0) close(m_descriptor);
        m_descriptor = -1;
    }

  private:
    int m_descriptor = -1;
};

}  // namespace kx::platform

#endif
