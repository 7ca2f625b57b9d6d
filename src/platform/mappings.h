// Named memory that processes share.
//
// It lives as long as a handle or a view of it in any process; then its name is free.
#ifndef KXCORE7_SRC_PLATFORM_MAPPINGS_H
#define KXCORE7_SRC_PLATFORM_MAPPINGS_H

#include <cstdint>

#include "platform/error.h"

namespace kx::platform {

// Closed by CloseFile.
using MappingHandle = std::uintptr_t;
inline constexpr MappingHandle kNoMapping = ~MappingHandle{0};

inline constexpr NativeError kInvalidAddress = 487;

// The name of a mapping as it was given and as wide text. A system goes by the one that its own
// names are made of.
struct MappingName {
    const char* bytes;
    const char16_t* text;
};

// By the numbers that Windows gives them; any other is refused with kInvalidParameter.
enum class MappingAccess : std::uint32_t { none = 0, write = 2, read = 4 };

// The handle, which child processes can inherit, or kNoMapping. *error is what the system leaves,
// also beside a handle: kAlreadyExists tells that creating was opening. kInvalidHandle for a name
// that belongs to an object of another kind, kInvalidParameter for a size of 0.
MappingHandle CreateMapping(MappingName name, std::uint32_t size, NativeError* error);
MappingHandle OpenMapping(MappingName name, MappingAccess access, NativeError* error);

// Maps the whole. *address is written on success only.
NativeError MapView(MappingHandle mapping, MappingAccess access, void** address);
// kInvalidAddress for what is no view.
NativeError UnmapView(void* address);

}  // namespace kx::platform

#endif
