// Objects that processes share under a name, and that live as long as somebody holds them.
//
// An object is a file of the shared-memory file system: a page with its header, and its data. Who
// holds it has a shared lock on the file's first byte, of the kind that belongs to the open
// description: so it lives with the descriptor, with what is mapped through it and with children
// that inherited either, and goes with the last of them, however the process ends. A file without
// such a lock is what a killed process left; it is taken for nothing, and cleared away.
//
//   lock        means
//   shared      this description holds the object
//   exclusive   the object is being made, or taken along
//   none        nobody holds it
#ifndef KXCORE7_SRC_PLATFORM_POSIX_SHARED_OBJECT_H
#define KXCORE7_SRC_PLATFORM_POSIX_SHARED_OBJECT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/error.h"
#include "platform/posix/descriptor.h"

namespace kx::platform {

inline constexpr NativeError kNameTooLong = 206;

inline constexpr std::size_t kSharedHeaderSize = 4096;
inline constexpr std::size_t kMaxSharedName = 4000;

enum class SharedKind : std::uint32_t { semaphore = 1, memory = 2 };

// Where a name's file is: a hash of the name, since that may hold any bytes.
class SharedFile final {
  public:
    SharedFile() = default;
    explicit SharedFile(std::string_view name) noexcept;

    using Path = std::array<char, 64>;
    Path GetPath() const noexcept;

  private:
    std::uint64_t m_high = 0;
    std::uint64_t m_low = 0;
};

// How long to wait for whoever makes an object or takes it along, in milliseconds. They are quick;
// but one that was stopped, or means harm, is not to stop others.
inline constexpr std::uint32_t kSharedPatience = 5000;

struct SharedRequest {
    SharedKind kind;
    std::string_view name;
    bool create;              // if nobody holds it; kFileNotFound otherwise
    std::uint32_t size;       // of the data of a new one
    std::uint32_t firstWord;  // what they begin with; the rest is zero
    std::uint32_t patience = kSharedPatience;
};

struct SharedObject {
    Descriptor descriptor;  // which holds it, with what is mapped through it
    SharedFile file;
    std::uint32_t size = 0;  // of the data
    bool existed = false;
};

// kInvalidHandle for a name that is taken by something else, or whose object is corrupt; kBusy when
// patience runs out; kDiskFull for data that do not fit.
NativeError OpenSharedObject(const SharedRequest& request, SharedObject* out) noexcept;

// Maps all of an object's data; null with *error.
void* MapSharedData(const SharedObject& object, bool writable, NativeError* error) noexcept;

// Called by a holder that has let go of its descriptor and of what it had mapped. The lock is never
// given up by itself: a child that inherited the description may hold the object yet.
void LeaveSharedObject(const SharedFile& file) noexcept;

// Clears away what killed processes left, under whatever name.
void SweepSharedObjects() noexcept;

}  // namespace kx::platform

#endif
