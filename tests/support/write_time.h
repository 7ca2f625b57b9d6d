// When a file was last written, as a test sets it: in seconds since 1970.
#ifndef KXCORE7_TESTS_SUPPORT_WRITE_TIME_H
#define KXCORE7_TESTS_SUPPORT_WRITE_TIME_H

#include <chrono>
#include <cstdint>
#include <filesystem>

namespace kx::test {

inline void SetWriteTime(const std::filesystem::path& path, std::int64_t seconds,
                         std::chrono::milliseconds more = {}) {
    using Clock = std::chrono::file_clock;
    const std::chrono::sys_time<std::chrono::milliseconds> time{std::chrono::seconds(seconds) +
                                                                more};
    std::filesystem::last_write_time(
        path, std::chrono::time_point_cast<Clock::duration>(Clock::from_sys(time)));
}

inline std::int64_t WriteTime(const std::filesystem::path& path) {
    using Clock = std::chrono::file_clock;
    const auto time = Clock::to_sys(std::filesystem::last_write_time(path));
    return std::chrono::floor<std::chrono::seconds>(time).time_since_epoch().count();
}

}  // namespace kx::test

#endif
