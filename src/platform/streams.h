// What the runtime's text streams do in each system's own way.
#ifndef KXCORE7_SRC_PLATFORM_STREAMS_H
#define KXCORE7_SRC_PLATFORM_STREAMS_H

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

}  // namespace kx::platform

#endif
