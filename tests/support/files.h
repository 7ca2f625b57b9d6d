// Files of a test: what is in them, and handles that are closed.
#ifndef KXCORE7_TESTS_SUPPORT_FILES_H
#define KXCORE7_TESTS_SUPPORT_FILES_H

#include <kxcore7/directory.h>
#include <kxcore7/file.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>

#include "support/results.h"
#include "support/scratch_dir.h"

namespace kx::test {

inline constexpr std::uint32_t kReadWrite = KX_FILE_READ | KX_FILE_WRITE;

inline void Store(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string Stored(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A handle, closed at the end of its scope.
class File final {
  public:
    File() = default;
    File(const std::filesystem::path& path, std::uint32_t flags, std::uint32_t permissions = 0666) {
        m_result = KXFileOpen(path.u16string().c_str(), flags, permissions, &m_handle);
    }
    ~File() { Close(); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    operator KXFileHandle() const { return m_handle; }
    KXResult Result() const { return m_result; }
    KXFileHandle* Out() { return &m_handle; }

    KXResult Close() {
        if (m_handle == KX_INVALID_HANDLE) return KX_S_OK;
        return KXFileClose(std::exchange(m_handle, KX_INVALID_HANDLE));
    }
    KXResult Write(const std::string& bytes) {
        std::uint32_t written = 0;
        const auto size = static_cast<std::uint32_t>(bytes.size());
        const KXResult result = KXFileWrite(m_handle, bytes.data(), size, &written);
        if (result >= 0) {
            EXPECT_EQ(size, written);
        }
        return result;
    }
    // What the next read of so many bytes gives; empty where it fails.
    std::string Read(std::uint32_t count) {
        std::string bytes(count, '?');
        std::uint32_t read = 0;
        m_result = KXFileRead(m_handle, bytes.data(), count, &read);
        bytes.resize(read);
        return bytes;
    }
    std::uint64_t Position() {
        std::uint64_t position = 0;
        EXPECT_RESULT(KX_S_OK, KXFileSeek64(m_handle, 0, 0, KX_FILE_CURRENT, &position));
        return position;
    }

  private:
    KXFileHandle m_handle = KX_INVALID_HANDLE;
    KXResult m_result = KX_S_OK;
};

}  // namespace kx::test

#endif
