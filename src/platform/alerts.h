// The ways to reach a person or a log, and the breakpoint.
//
// None of these reports a failure: an alert that can't be delivered is passed over.
#ifndef KXCORE7_SRC_PLATFORM_ALERTS_H
#define KXCORE7_SRC_PLATFORM_ALERTS_H

#include <cstdint>
#include <optional>

namespace kx::platform {

inline constexpr std::uint32_t kAnswerNone = 0;
inline constexpr std::uint32_t kAnswerAbort = 3;
inline constexpr std::uint32_t kAnswerRetry = 4;
inline constexpr std::uint32_t kAnswerIgnore = 5;

// A session is where a person can be asked; session 0 is the one of services. A system without
// sessions puts every process into session 1.
std::uint32_t CurrentSession();
// The session of the console, all bits one where there is none; nothing where the system has no
// such notion.
std::optional<std::uint32_t> ConsoleSession();
// Whether session 0 can't show anything to anybody.
bool SessionZeroIsHidden();

// Asks abort, retry or ignore and waits for the answer, kAnswer*. kAnswerNone or kAnswerIgnore
// where nobody can be reached; never waits for a person who isn't there.
std::uint32_t AskPerson(std::uint32_t session, const char16_t* title, const char16_t* text);

// An informational entry in the system's log. title may be null.
void WriteEventLog(const char16_t* source, const char16_t* title, const char16_t* message);

// One output for a debugger or whoever reads along.
void WriteDebugOutput(const char16_t* text);

// Executes the processor's breakpoint instruction; returns if a debugger continues.
void Breakpoint();

}  // namespace kx::platform

#endif
