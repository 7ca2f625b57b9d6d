#include "status_line.h"

#include <kxcore7/counter.h>

#include <algorithm>
#include <cstdio>

#include "terminal.h"

namespace {

// Milliseconds before the line is shown for the first time, and between two of them.
constexpr std::int64_t kPatience = 500;
constexpr std::int64_t kInterval = 100;

}  // namespace

StatusLine::StatusLine(bool leave)
    : m_watched(leave && IsTerminal(stderr) != 0),
      m_start(KXPerfGetCountMS()),
      m_next(m_start + kPatience) {}

StatusLine::~StatusLine() {
    Hide();
}

void StatusLine::Hide() {
    if (m_width == 0) return;
    std::fprintf(stderr, "\r%*s\r", m_width, "");
    std::fflush(stderr);
    m_width = 0;
}

bool StatusLine::IsDue() {
    if (!m_watched) return false;
    const std::int64_t now = KXPerfGetCountMS();
    if (now < m_next) return false;
    m_next = now + kInterval;
    return true;
}

double StatusLine::Seconds() const {
    return static_cast<double>(KXPerfGetCountMS() - m_start) / 1000;
}

// What a longer text has left behind goes.
void StatusLine::Draw(const std::string& text) {
    m_width = std::max(m_width, static_cast<int>(text.size()));
    std::fprintf(stderr, "\r%-*s", m_width, text.c_str());
    std::fflush(stderr);
}
