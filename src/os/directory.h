// A listing of a directory.
#ifndef KXCORE7_SRC_OS_DIRECTORY_H
#define KXCORE7_SRC_OS_DIRECTORY_H

#include <kxcore7/directory.h>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/directories.h"

namespace kx::os {

// What to search for to find all that is in a directory.
std::u16string SearchPattern(std::u16string_view path);

// KXTimeToPosix of the local time of a file's time; 0 where that can't be had. It is remembered for
// the moments around: entries of one directory have few times that are far from each other, and the
// way through the calendar takes longer than all else that there is to an entry.
class FileTimes final {
  public:
    std::int32_t Seconds(std::uint64_t fileTime);

  private:
    // No zone has ever changed its clocks in the middle of such a span.
    struct Span {
        std::uint64_t number = ~std::uint64_t{0};
        std::int32_t seconds = 0;  // at its start
    };
    static constexpr std::size_t kSpans = 64;

    std::array<Span, kSpans> m_spans;
};

}  // namespace kx::os

// The object behind a KXDirHandle.
struct CKXDirImpl {
    const std::u16string m_pattern;
    // None until the first read.
    kx::platform::FindHandle m_find = kx::platform::kNoFind;
    kx::os::FileTimes m_times;
};

#endif
