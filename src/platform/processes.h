// Processes.
#ifndef KXCORE7_SRC_PLATFORM_PROCESSES_H
#define KXCORE7_SRC_PLATFORM_PROCESSES_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/error.h"
#include "platform/files.h"

namespace kx::platform {

// --- This process --------------------------------------------------------------------------------

// The system's id of this process.
std::uint32_t CurrentProcessId() noexcept;

// A value that the floor takes as "the process that uses it".
std::uintptr_t CurrentProcessPseudoHandle() noexcept;

// --- Starting children ---------------------------------------------------------------------------

// A child's handle; what is none gives kInvalidHandle. No child inherits it.
using ProcessHandle = std::uintptr_t;
inline constexpr ProcessHandle kNoProcess = ~ProcessHandle{0};

inline constexpr NativeError kNoChildren = 128;
inline constexpr NativeError kBadDirectory = 267;

// Held from the making of a child's pipes to the closing of its ends. Where children inherit what
// is inheritable at that moment, other threads' children would inherit those, too, and keep them
// open: there one child is started at a time.
class StartScope final {
  public:
    StartScope() noexcept;
    ~StartScope();  // NOLINT(performance-trivially-destructible): on one system of several
    StartScope(const StartScope&) = delete;
    StartScope& operator=(const StartScope&) = delete;
};

// Makes a pipe whose one end is for a child, and whose other end no child gets.
enum class ChildEnd { reads, writes };
NativeError CreateChildPipe(ChildEnd end, FileHandle* childs, FileHandle* own) noexcept;

struct ProcessRequest {
    const char16_t* program;      // its path; nothing is searched
    const char16_t* commandLine;  // the program once more, unquoted, and what follows it
    const char16_t* directory;    // to begin in; null for the parent's
    // Texts NAME=value with their terminators, in order, and one terminator more; null for the
    // parent's.
    const char16_t* environment;
    // Standard input, output and error; null for the parent's.
    const FileHandle* standardHandles;
};

// Starts a child, which inherits what is inheritable. A system whose programs have no suffix starts
// the program without ".exe" if there is none with it. kFileNotFound or kPathNotFound for a missing
// program, kAccessDenied for a refused one and for a directory, kBadExecutableFormat for what is no
// program, kBadDirectory for a directory to begin in that is none.
NativeError StartProcess(const ProcessRequest& request, ProcessHandle* process);

// --- Waiting for them ----------------------------------------------------------------------------

inline constexpr std::size_t kMaxProcessesWaitedFor = 64;

NativeError WaitForProcess(ProcessHandle process) noexcept;
// Waits for one of them, and tells the first in order that has ended. kInvalidParameter for none
// and for more than the most.
NativeError WaitForAnyProcess(std::span<const ProcessHandle> processes,
                              std::size_t* which) noexcept;

// What a process that has not ended has for an exit code.
inline constexpr std::uint32_t kStillActive = 0x103;

// Leaves the exit code to be asked for again. kNoChildren if somebody else has taken it and the
// system no longer knows it.
NativeError QueryProcessExitCode(ProcessHandle process, std::uint32_t* exitCode) noexcept;

// The process itself runs on.
NativeError CloseProcess(ProcessHandle process) noexcept;

// --- Any process ---------------------------------------------------------------------------------

inline constexpr std::size_t kMaxImageName = 260;  // bytes with terminator

// Writes the name, without its folder, of the program file that a process runs. False if there is
// no such process, or none of this process's business, or none with a file.
bool QueryImageName(std::uint32_t id, char (&name)[kMaxImageName]) noexcept;

}  // namespace kx::platform

#endif
