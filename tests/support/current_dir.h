// The process's current directory for the time of a scope.
#ifndef KXCORE7_TESTS_SUPPORT_CURRENT_DIR_H
#define KXCORE7_TESTS_SUPPORT_CURRENT_DIR_H

#include <filesystem>

#include "support/scratch_dir.h"

namespace kx::test {

class InDirectory final {
  public:
    explicit InDirectory(const std::filesystem::path& path)
        : m_before(std::filesystem::current_path()) {
        std::filesystem::current_path(path);
    }
    ~InDirectory() { std::filesystem::current_path(m_before); }
    InDirectory(const InDirectory&) = delete;
    InDirectory& operator=(const InDirectory&) = delete;

  private:
    const std::filesystem::path m_before;
};

// One that is empty at first and gone when the test is.
class InScratchDirectory final {
  public:
    std::filesystem::path operator/(const char* name) const { return m_directory / name; }

  private:
    const ScratchDir m_directory;
    const InDirectory m_inside{m_directory.Path()};
};

}  // namespace kx::test

#endif
