// The registry's INI file, which the library does not export.
#ifndef KXCORE7_BENCH_INI_INSIDE_H
#define KXCORE7_BENCH_INI_INSIDE_H

#include <cstddef>

extern "C" {

// Null if it can't be made.
[[gnu::visibility("default")]] void* BenchIniOpen(const char16_t* path) noexcept;
[[gnu::visibility("default")]] void BenchIniClose(void* file) noexcept;
[[gnu::visibility("default")]] void BenchIniLoad(void* file) noexcept;
[[gnu::visibility("default")]] bool BenchIniSave(void* file, const char16_t* path) noexcept;
[[gnu::visibility("default")]] bool BenchIniGet(void* file, const char16_t* section,
                                                const char16_t* name, char16_t* text) noexcept;
[[gnu::visibility("default")]] std::size_t BenchIniSections(void* file) noexcept;
}

#endif
