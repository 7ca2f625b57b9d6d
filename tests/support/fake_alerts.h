// A floor that records what alerts ask, log and trace. Linked in place of the system's alerts.cpp.
#ifndef KXCORE7_TESTS_SUPPORT_FAKE_ALERTS_H
#define KXCORE7_TESTS_SUPPORT_FAKE_ALERTS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/alerts.h"

namespace kx::test {

struct Question {
    std::uint32_t session;
    std::u16string title;
    std::u16string text;
};

struct LogEntry {
    std::u16string source;
    std::optional<std::u16string> title;
    std::u16string message;
};

struct FakeAlerts {
    std::uint32_t currentSession = 1;
    std::optional<std::uint32_t> consoleSession;
    bool sessionZeroIsHidden = false;
    std::uint32_t answer = platform::kAnswerIgnore;

    std::vector<Question> questions;
    std::vector<LogEntry> log;
    std::vector<std::u16string> traces;
    int breaks = 0;
    int probes = 0;
    // Everything above in the order it came: "break", "log", "ask", "trace".
    std::vector<std::string> order;
    // Called while a question is shown.
    std::function<void()> whileAsking;
};

extern FakeAlerts g_alerts;

}  // namespace kx::test

#endif
