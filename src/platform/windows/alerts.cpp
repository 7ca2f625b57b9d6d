#include "platform/alerts.h"

#include <string_view>

#include "platform/windows/native.h"
// Behind the header that it needs.
#include <wtsapi32.h>

namespace kx::platform {
namespace {

// Abort, retry and ignore buttons, error icon, task modal, brought to the foreground.
constexpr DWORD kQuestionStyle =
    MB_ABORTRETRYIGNORE | MB_ICONERROR | MB_TASKMODAL | MB_SETFOREGROUND;
static_assert(kQuestionStyle == 0x12012);
static_assert(kAnswerAbort == IDABORT && kAnswerRetry == IDRETRY && kAnswerIgnore == IDIGNORE);

// The calls take writable text and leave it alone.
wchar_t* Writable(const char16_t* text) {
    return const_cast<wchar_t*>(Native(text));
}

DWORD BytesWithTerminator(const char16_t* text) {
    const std::size_t bytes = (std::u16string_view(text).size() + 1) * sizeof(char16_t);
    return static_cast<DWORD>(bytes);
}

}  // namespace

std::uint32_t CurrentSession() {
    DWORD session = 0;
    ProcessIdToSessionId(GetCurrentProcessId(), &session);
    return session;
}

// Looked up by name: the first systems with sessions have no console session.
std::optional<std::uint32_t> ConsoleSession() {
    const HMODULE kernel = GetModuleHandleW(L"KERNEL32.DLL");
    void* const address = reinterpret_cast<void*>(
        kernel != nullptr ? GetProcAddress(kernel, "WTSGetActiveConsoleSessionId") : nullptr);
    if (address == nullptr) return std::nullopt;
    return reinterpret_cast<DWORD(WINAPI*)()>(address)();
}

bool SessionZeroIsHidden() {
    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    return GetVersionExA(&version) != 0 && version.dwPlatformId == VER_PLATFORM_WIN32_NT &&
           version.dwMajorVersion > 5;
}

std::uint32_t AskPerson(std::uint32_t session, const char16_t* title, const char16_t* text) {
    DWORD answer = kAnswerNone;
    WTSSendMessageW(WTS_CURRENT_SERVER_HANDLE, session, Writable(title), BytesWithTerminator(title),
                    Writable(text), BytesWithTerminator(text), kQuestionStyle, 0, &answer, TRUE);
    return answer;
}

void WriteEventLog(const char16_t* source, const char16_t* title, const char16_t* message) {
    const HANDLE log = RegisterEventSourceW(nullptr, Native(source));
    if (log == nullptr) return;
    const wchar_t* texts[] = {Native(title), Native(message)};
    ReportEventW(log, EVENTLOG_INFORMATION_TYPE, 0, 0, nullptr, 2, 0, texts, nullptr);
    DeregisterEventSource(log);
}

void WriteDebugOutput(const char16_t* text) {
    OutputDebugStringW(Native(text));
}

void Breakpoint() {
    __debugbreak();
}

}  // namespace kx::platform
