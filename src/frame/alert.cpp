#include "frame/alert.h"

#include <kxcore7/alert.h>
#include <kxcore7/mutex.h>
#include <kxcore7/result.h>

#include <csignal>
#include <cstdarg>
#include <cstdlib>

#include "frame/exception.h"
#include "frame/format.h"
#include "frame/global_data.h"
#include "platform/alerts.h"
#include "platform/processes.h"
#include "platform/threads.h"

namespace kx::core {

std::atomic<std::int32_t> g_alertRelease{0};
std::atomic<std::uint32_t> g_alertSession{kSessionUnknown};

namespace {

constexpr std::size_t kMessageSize = 512;
constexpr std::size_t kTitleSize = 64;
constexpr char16_t kSource[] = u"Corvanite Services";

std::atomic<std::uint32_t> g_defaultMethod{0};

// The debug lock where it exists: there is none before start-up and after shutdown.
KXResult AcquireDebugLock() {
    return g_data.m_debugMutex != nullptr ? KXMutexAcquire(g_data.m_debugMutex->handle) : KX_S_OK;
}

KXResult ReleaseDebugLock() {
    return g_data.m_debugMutex != nullptr ? KXMutexRelease(g_data.m_debugMutex->handle) : KX_S_OK;
}

// A program of a user asks its own user. A service, in session 0, asks whoever is at the console.
std::uint32_t ProbeSession() {
    const std::uint32_t own = platform::CurrentSession();
    const std::optional<std::uint32_t> console =
        own == 0 ? platform::ConsoleSession() : std::nullopt;
    if (!console) return own;
    if (*console != kSessionUnknown) return *console;
    return platform::SessionZeroIsHidden() ? 1 : 0;
}

std::uint32_t AlertSession() {
    if (const std::uint32_t known = g_alertSession; known != kSessionUnknown) return known;
    ThrowIfFailed(AcquireDebugLock());
    if (g_alertSession == kSessionUnknown) g_alertSession = ProbeSession();
    ThrowIfFailed(ReleaseDebugLock());
    return g_alertSession;
}

std::uint32_t Ask(const char16_t* title, const char16_t* message) {
    const std::uint32_t session = AlertSession();
    char16_t fullTitle[kTitleSize];
    Format(fullTitle, kTitleSize, u"%ls [Process ID %d]", title, platform::CurrentProcessId());
    char16_t text[kMessageSize];
    Format(text, kMessageSize, u"%ls\n\nPress retry to debug the application.", message);
    return platform::AskPerson(session, fullTitle, text);
}

void AlertByDialog(const char16_t* title, const char16_t* message) {
    ThrowIfFailed(AcquireDebugLock());
    const std::uint32_t answer = Ask(title != nullptr ? title : u"KXErrorAlert", message);
    if (answer == platform::kAnswerAbort) {
        std::raise(SIGABRT);
        std::exit(3);
    }
    if (answer == platform::kAnswerRetry) platform::Breakpoint();
    ThrowIfFailed(ReleaseDebugLock());
}

// One waiter consumes the flag.
void WaitForRelease() {
    while (g_alertRelease.exchange(0) == 0) platform::Sleep(0);
}

void AlertBy(std::uint32_t method, const char16_t* title, const char16_t* format,
             std::va_list arguments) {
    if (method == 0) method = g_defaultMethod;
    if (method == 0) return;
    if ((method & KX_ALERT_BREAK) != 0) platform::Breakpoint();
    char16_t message[kMessageSize] = u"";
    if ((method & (KX_ALERT_DIALOG | KX_ALERT_EVENTLOG)) != 0) {
        FormatV(message, kMessageSize, format, arguments);
    }
    if ((method & KX_ALERT_EVENTLOG) != 0) platform::WriteEventLog(kSource, title, message);
    if ((method & KX_ALERT_DIALOG) != 0) AlertByDialog(title, message);
    if ((method & KX_ALERT_WAIT) != 0) WaitForRelease();
}

// Narrow text that a wide trace format can take.
class Widened final {
  public:
    explicit Widened(const char* text) { Format(m_text, kMessageSize, u"%hs", text); }
    const char16_t* Text() const { return m_text; }

  private:
    char16_t m_text[kMessageSize];
};

}  // namespace
}  // namespace kx::core

using namespace kx;

void KXErrorAlert(uint32_t method, const char16_t* title, const char16_t* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    core::AlertBy(method, title, format, arguments);
    va_end(arguments);
}

KXResult KXErrorAlertSetMethod(uint32_t method) {
    core::g_defaultMethod = method;
    return KX_S_OK;
}

void KXAssert(const char* expression, const char* file, int32_t line) {
    KXTrace(u"\nKX_ASSERT(%s)\n %s:%d\n", core::Widened(expression).Text(),
            core::Widened(file).Text(), line);
    KXErrorAlert(core::g_defaultMethod != 0 ? 0 : KX_ALERT_BREAK, core::kSource,
                 u"Corvanite Services Debug Assertion Failed!\n\nFile: %hs\nLine: %d\n\n"
                 u"Expression: %hs",
                 file, line, expression);
}

// The lock keeps the prefix and the text together among traces of other threads.
void KXTrace(const char16_t* format, ...) {
    core::ThrowIfFailed(core::AcquireDebugLock());
    char16_t text[core::kMessageSize];
    core::Format(text, core::kMessageSize, u"[%#x]", platform::CurrentThreadId());
    platform::WriteDebugOutput(text);
    std::va_list arguments;
    va_start(arguments, format);
    core::FormatV(text, core::kMessageSize, format, arguments);
    va_end(arguments);
    platform::WriteDebugOutput(text);
    core::ThrowIfFailed(core::ReleaseDebugLock());
}
