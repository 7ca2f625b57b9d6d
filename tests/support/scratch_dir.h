// A directory of the test's own that is gone when the test is.
#ifndef KXCORE7_TESTS_SUPPORT_SCRATCH_DIR_H
#define KXCORE7_TESTS_SUPPORT_SCRATCH_DIR_H

#include <filesystem>
#include <random>
#include <string>

namespace kx::test {

class ScratchDir final {
  public:
    ScratchDir() {
        std::random_device random;
        do {
            m_path = std::filesystem::temp_directory_path() /
                     ("kxcore7-test-" + std::to_string(random()) + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~ScratchDir() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

  private:
    std::filesystem::path m_path;
};

}  // namespace kx::test

#endif
