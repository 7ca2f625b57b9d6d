// What the runtime's text streams do in each system's own way.
#ifndef KXCORE7_SRC_PLATFORM_STREAMS_H
#define KXCORE7_SRC_PLATFORM_STREAMS_H

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace kx::platform {

// Opens a file, made if it is missing, so that everything is written at its end, whoever else reads
// or writes it at the same time. Failure is the stream's own: its state, and what it throws by
// that.
void OpenToAppend(std::ofstream& stream, const char16_t* path);

// Writes a text to the stream that was opened so, at this path, and closes it. The text stays in
// one piece among those that other processes append in the same way.
void AppendWhole(std::ofstream& stream, const char16_t* path, const std::string& text);

// An address as the system's streams write one.
std::string AddressText(const void* address);

// fopen in the runtime's text mode, by a narrow path; programs that this process starts do not get
// the file.
std::FILE* OpenTextToRead(const char* path) noexcept;
std::FILE* OpenTextToWrite(const char* path) noexcept;

// When a file was last written, in seconds since 1970-01-01 00:00:00 UTC; false if that can't be
// told. What an open stream keeps back is not written yet.
bool QueryWriteTime(const char* path, std::int64_t* seconds) noexcept;
bool QueryWriteTime(std::FILE* file, std::int64_t* seconds) noexcept;

}  // namespace kx::platform

#endif
