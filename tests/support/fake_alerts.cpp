#include "support/fake_alerts.h"

namespace kx::test {

FakeAlerts g_alerts;

}  // namespace kx::test

namespace kx::platform {

using test::g_alerts;

std::uint32_t CurrentSession() {
    ++g_alerts.probes;
    return g_alerts.currentSession;
}

std::optional<std::uint32_t> ConsoleSession() {
    return g_alerts.consoleSession;
}

bool SessionZeroIsHidden() {
    return g_alerts.sessionZeroIsHidden;
}

std::uint32_t AskPerson(std::uint32_t session, const char16_t* title, const char16_t* text) {
    g_alerts.order.emplace_back("ask");
    g_alerts.questions.push_back({session, title, text});
    if (g_alerts.whileAsking) g_alerts.whileAsking();
    return g_alerts.answer;
}

void WriteEventLog(const char16_t* source, const char16_t* title, const char16_t* message) {
    g_alerts.order.emplace_back("log");
    g_alerts.log.push_back(
        {source, title != nullptr ? std::optional<std::u16string>(title) : std::nullopt, message});
}

void WriteDebugOutput(const char16_t* text) {
    g_alerts.order.emplace_back("trace");
    g_alerts.traces.emplace_back(text);
}

void Breakpoint() {
    g_alerts.order.emplace_back("break");
    ++g_alerts.breaks;
}

}  // namespace kx::platform
