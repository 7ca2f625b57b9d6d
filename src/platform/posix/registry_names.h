// Names of keys and values, as the store compares them.
#ifndef KXCORE7_SRC_PLATFORM_POSIX_REGISTRY_NAMES_H
#define KXCORE7_SRC_PLATFORM_POSIX_REGISTRY_NAMES_H

#include <string>
#include <string_view>

#include "platform/error.h"

namespace kx::platform {

// Takes the next component off the front of a path, passing over repeated backslashes; empty when
// there is none left.
std::u16string_view TakeComponent(std::u16string_view& path);

// Appends the folded components of path to folded, each behind a backslash.
// kBadPathName for a leading backslash; kInvalidParameter for a component of more than 255 units or
// more than 512 levels in all, the bounds that a native registry has.
NativeError AppendFoldedPath(std::string& folded, std::u16string_view path);

// The folded name of a value. kInvalidParameter for more than 16383 units.
NativeError FoldValueName(std::string& folded, std::u16string_view name);

}  // namespace kx::platform

#endif
