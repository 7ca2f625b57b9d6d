// What files do under conditions that only the library's inside can have.
#include <kxcore7/file.h>

#include "frame/global_data.h"
#include "support/files.h"

using kx::test::File;
using kx::test::kReadWrite;

namespace {

// A system that is not of the NT family, for the time of a scope.
class PlainSystem final {
  public:
    PlainSystem() { kx::core::g_data.isNt = 0; }
    ~PlainSystem() { kx::core::g_data.isNt = 1; }
    PlainSystem(const PlainSystem&) = delete;
    PlainSystem& operator=(const PlainSystem&) = delete;
};

}  // namespace

TEST(PlainSystemFile, TellsNoSize) {
    const kx::test::ScratchDir directory;
    const File file(directory / "file", kReadWrite | KX_FILE_CREATE);
    const PlainSystem plain;
    std::uint64_t size = 77;
    EXPECT_RESULT(KX_E_NOTIMPL, KXFileGetSize(file, &size));
    EXPECT_RESULT(KX_E_NOTIMPL, KXFileGetSize(KX_INVALID_HANDLE, &size));
    EXPECT_EQ(77u, size);
}

TEST(PlainSystemFile, LocksAreExclusiveAndNeverWaitWhateverIsAskedFor) {
    const kx::test::ScratchDir directory;
    const File first(directory / "file", kReadWrite | KX_FILE_CREATE);
    const File second(directory / "file", kReadWrite);
    const PlainSystem plain;
    constexpr std::uint32_t kHow = KX_FILE_LOCK_SHARED | KX_FILE_LOCK_WAIT;
    EXPECT_RESULT(KX_S_OK, KXFileLock(first, 0, 8, kHow));
    EXPECT_RESULT(KX_E_FAIL, KXFileLock(second, 0, 8, kHow));
    EXPECT_RESULT(KX_S_OK, KXFileUnlock(first, 0, 8));
    EXPECT_RESULT(KX_S_OK, KXFileLock(second, 0, 8, kHow));
}
