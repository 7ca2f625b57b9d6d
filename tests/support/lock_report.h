// Reports on locks with statistics, read back.
#ifndef KXCORE7_TESTS_SUPPORT_LOCK_REPORT_H
#define KXCORE7_TESTS_SUPPORT_LOCK_REPORT_H

#include <kxcore7/lockstats.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/results.h"

namespace kx::test {

// A lock's address as the system's streams write one.
std::string StreamedAddress(KXMutexHandle lock);

inline const std::string kReportFrequency = "CPU Frequency,1000000";
inline const std::string kReportColumns =
    "Name/Handle,Held Count,Total Held Time,Max Held Time,Acquire Count,Total Acquire Time,"
    "Max Acquire Time,Contention Count";

inline std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::vector<std::string> ReadLines(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
}

// The start of a lock's row, up to its name.
inline std::string RowStart(const std::string& label, KXMutexHandle lock, const std::string& name) {
    return label + ":0x" + StreamedAddress(lock) + "(" + name + ")";
}

inline KXMutexHandle CreateMeasured(const char* name, std::uint32_t more = 0) {
    KXMutexHandle lock = KX_INVALID_HANDLE;
    EXPECT_RESULT(KX_S_OK, KXMutexCreate(name, KX_MUTEX_STATS | more, &lock));
    return lock;
}

inline void TakeAndRelease(KXMutexHandle lock) {
    EXPECT_RESULT(KX_S_OK, KXMutexAcquire(lock));
    EXPECT_RESULT(KX_S_OK, KXMutexRelease(lock));
}

}  // namespace kx::test

#endif
