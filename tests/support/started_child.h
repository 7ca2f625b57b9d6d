// Children that the library starts.
#ifndef KXCORE7_TESTS_SUPPORT_STARTED_CHILD_H
#define KXCORE7_TESTS_SUPPORT_STARTED_CHILD_H

#include <kxcore7/process.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

#include "support/files.h"

namespace kx::test {

// Lets children of this process have a file. Its handle is the caller's.
KXFileHandle InheritableFile(const std::filesystem::path& path);

// Returns when a child has ended, and leaves all else to the library.
void AwaitEnd(KXProcessHandle process);

struct StartOptions {
    const char16_t* directory = nullptr;
    const char16_t* const* environment = nullptr;
};

// One with pipes on all of its standard handles. At the end of the scope, at the latest, it has its
// input closed and is joined.
class StartedChild final {
  public:
    StartedChild(const std::filesystem::path& program, const char16_t* arguments,
                 const StartOptions& options = {}) {
        m_result = KXProcessCreate(program.u16string().c_str(), arguments, options.directory,
                                   options.environment, 0, m_ends, &m_handle);
        if (m_result != KX_S_OK) {
            for (KXFileHandle& end : m_ends) end = KX_INVALID_HANDLE;
        }
    }
    ~StartedChild() {
        for (int slot = 0; slot < 3; ++slot) Close(slot);
        if (m_handle != KX_INVALID_HANDLE) KXProcessJoin(m_handle, nullptr);
    }
    StartedChild(const StartedChild&) = delete;
    StartedChild& operator=(const StartedChild&) = delete;

    KXResult Result() const { return m_result; }
    KXProcessHandle Handle() const { return m_handle; }
    KXFileHandle End(int slot) const { return m_ends[slot]; }
    // The handle is somebody else's, or gone.
    KXProcessHandle Release() { return std::exchange(m_handle, KX_INVALID_HANDLE); }

    void Write(const std::string& bytes) {
        std::uint32_t written = 0;
        EXPECT_RESULT(KX_S_OK, KXFileWrite(m_ends[0], bytes.data(),
                                           static_cast<std::uint32_t>(bytes.size()), &written));
        EXPECT_EQ(bytes.size(), written);
    }
    void CloseInput() { Close(0); }
    // Up to its end.
    std::string Output() const { return Rest(m_ends[1]); }
    std::string Error() const { return Rest(m_ends[2]); }
    // One line, without its end.
    std::string ReadLine() const {
        std::string line;
        char byte = 0;
        std::uint32_t count = 0;
        while (KXFileRead(m_ends[1], &byte, 1, &count) == KX_S_OK && byte != '\n') line += byte;
        return line;
    }
    // The exit code; the test fails if it can't be had.
    std::uint32_t Join() {
        CloseInput();
        std::uint32_t exitCode = 0;
        EXPECT_RESULT(KX_S_OK, KXProcessJoin(Release(), &exitCode));
        return exitCode;
    }

  private:
    void Close(int slot) {
        if (m_ends[slot] != KX_INVALID_HANDLE) KXFileClose(m_ends[slot]);
        m_ends[slot] = KX_INVALID_HANDLE;
    }
    static std::string Rest(KXFileHandle end) {
        std::string bytes;
        char buffer[4096];
        std::uint32_t count = 0;
        while (KXFileRead(end, buffer, sizeof buffer, &count) == KX_S_OK)
            bytes.append(buffer, count);
        return bytes;
    }

    KXProcessStdHandles m_ends{KX_INVALID_HANDLE, KX_INVALID_HANDLE, KX_INVALID_HANDLE};
    KXProcessHandle m_handle = 0;
    KXResult m_result = KX_E_FAIL;
};

}  // namespace kx::test

#endif
