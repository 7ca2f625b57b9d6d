#include "platform/processes.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/locks.h"
#include "platform/windows/native.h"
// Behind the header that it needs, and from the library where every system has its calls.
#define PSAPI_VERSION 1
#include <psapi.h>

namespace kx::platform {
namespace {

HANDLE HandleOf(std::uintptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

// Never destroyed: children may be started until the process ends.
CriticalSection& TheStartLock() {
    static CriticalSection& lock = *new CriticalSection(0, false);
    return lock;
}

// What the parent itself was started with, unless the child has handles of its own.
STARTUPINFOW StartUpOf(const ProcessRequest& request) {
    STARTUPINFOW startUp{};
    GetStartupInfoW(&startUp);
    if (request.standardHandles == nullptr) return startUp;
    startUp.dwFlags = STARTF_USESTDHANDLES;
    startUp.hStdInput = HandleOf(request.standardHandles[0]);
    startUp.hStdOutput = HandleOf(request.standardHandles[1]);
    startUp.hStdError = HandleOf(request.standardHandles[2]);
    return startUp;
}

}  // namespace

std::uint32_t CurrentProcessId() noexcept {
    return GetCurrentProcessId();
}

std::uintptr_t CurrentProcessPseudoHandle() noexcept {
    return reinterpret_cast<std::uintptr_t>(GetCurrentProcess());
}

StartScope::StartScope() noexcept {
    if (!TheStartLock().TryEnter()) TheStartLock().EnterContended();
}

StartScope::~StartScope() {
    TheStartLock().Leave();
}

NativeError CreateChildPipe(ChildEnd end, FileHandle* childs, FileHandle* own) noexcept {
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (CreatePipe(&reading, &writing, nullptr, 0) == 0) return GetLastError();
    const HANDLE given = end == ChildEnd::reads ? reading : writing;
    *childs = reinterpret_cast<FileHandle>(given);
    *own = reinterpret_cast<FileHandle>(end == ChildEnd::reads ? writing : reading);
    return ErrorUnless(SetHandleInformation(given, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT));
}

NativeError StartProcess(const ProcessRequest& request, ProcessHandle* process) {
    STARTUPINFOW startUp = StartUpOf(request);
    std::u16string commandLine = request.commandLine;  // which the system may write to
    PROCESS_INFORMATION started{};
    if (CreateProcessW(Native(request.program), Native(commandLine.data()), nullptr, nullptr, TRUE,
                       CREATE_UNICODE_ENVIRONMENT, const_cast<char16_t*>(request.environment),
                       Native(request.directory), &startUp, &started) == 0) {
        return GetLastError();
    }
    CloseHandle(started.hThread);
    *process = reinterpret_cast<ProcessHandle>(started.hProcess);
    return kSuccess;
}

NativeError WaitForProcess(ProcessHandle process) noexcept {
    return ErrorUnless(WaitForSingleObject(HandleOf(process), INFINITE) != WAIT_FAILED);
}

NativeError WaitForAnyProcess(std::span<const ProcessHandle> processes,
                              std::size_t* which) noexcept {
    static_assert(kMaxProcessesWaitedFor == MAXIMUM_WAIT_OBJECTS);
    // Which wait the system refuses is for it to say.
    HANDLE handles[kMaxProcessesWaitedFor];
    const auto held = processes.first(std::min(processes.size(), kMaxProcessesWaitedFor));
    std::transform(held.begin(), held.end(), handles, HandleOf);
    const DWORD ended =
        WaitForMultipleObjects(static_cast<DWORD>(processes.size()), handles, FALSE, INFINITE);
    if (ended == WAIT_FAILED) return GetLastError();
    *which = ended >= WAIT_ABANDONED_0 ? ended - WAIT_ABANDONED_0 : ended - WAIT_OBJECT_0;
    return kSuccess;
}

NativeError QueryProcessExitCode(ProcessHandle process, std::uint32_t* exitCode) noexcept {
    static_assert(kStillActive == STILL_ACTIVE);
    return ErrorUnless(GetExitCodeProcess(HandleOf(process), Native(exitCode)));
}

// To the system, no process is this one, which it takes for closed.
NativeError CloseProcess(ProcessHandle process) noexcept {
    if (process == kNoProcess) return kInvalidHandle;
    return ErrorUnless(CloseHandle(HandleOf(process)));
}

bool QueryImageName(std::uint32_t id, char (&name)[kMaxImageName]) noexcept {
    const HANDLE process = OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, id);
    if (process == nullptr) return false;
    char path[kMaxImageName] = {};
    const DWORD length = GetProcessImageFileNameA(process, path, sizeof path);
    CloseHandle(process);
    if (length == 0) return false;
    std::string_view image = path;
    image.remove_prefix(image.rfind('\\') + 1);
    *std::copy(image.begin(), image.end(), name) = '\0';
    return true;
}

}  // namespace kx::platform
