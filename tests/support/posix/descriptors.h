// What this process has open.
#ifndef KXCORE7_TESTS_SUPPORT_POSIX_DESCRIPTORS_H
#define KXCORE7_TESTS_SUPPORT_POSIX_DESCRIPTORS_H

#include <dirent.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

namespace kx::test {

inline std::set<int> OpenDescriptors() {
    std::set<int> open;
    DIR* const directory = opendir("/proc/self/fd");
    while (const dirent* const entry = readdir(directory)) {
        if (entry->d_name[0] != '.') open.insert(std::atoi(entry->d_name));
    }
    open.erase(dirfd(directory));
    closedir(directory);
    return open;
}

// Fails the test if something is open at the end of a scope that was not at its start.
class NothingStaysOpen final {
  public:
    NothingStaysOpen() : m_before(OpenDescriptors()) {}
    ~NothingStaysOpen() { EXPECT_EQ(m_before, OpenDescriptors()); }
    NothingStaysOpen(const NothingStaysOpen&) = delete;
    NothingStaysOpen& operator=(const NothingStaysOpen&) = delete;

  private:
    const std::set<int> m_before;
};

}  // namespace kx::test

#endif
