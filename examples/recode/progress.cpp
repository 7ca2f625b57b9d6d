#include "progress.h"

#include <kxcore7/counter.h>

#include <cstdio>

#include "terminal.h"

namespace {

// Milliseconds before the line is shown for the first time, and between two of them.
constexpr std::int64_t kPatience = 500;
constexpr std::int64_t kInterval = 100;

double Mebibytes(std::uintmax_t bytes) {
    return static_cast<double>(bytes) / (1024 * 1024);
}

}  // namespace

Progress::Progress(std::uintmax_t total)
    : m_total(total),
      m_start(KXPerfGetCountMS()),
      m_next(m_start + kPatience),
      m_watched(IsTerminal(stderr) != 0) {}

Progress::~Progress() {
    if (m_shown) std::fprintf(stderr, "\r%60s\r", "");
}

void Progress::Show(std::uintmax_t done) {
    if (!m_watched) return;
    const std::int64_t now = KXPerfGetCountMS();
    if (now < m_next) return;
    m_next = now + kInterval;
    m_shown = true;
    const double seconds = static_cast<double>(now - m_start) / 1000;
    const double percent = m_total != 0 ? 100 * Mebibytes(done) / Mebibytes(m_total) : 100;
    std::fprintf(stderr, "\r%5.1f %%  %.1f of %.1f MiB, %.0f MiB/s  ", percent, Mebibytes(done),
                 Mebibytes(m_total), Mebibytes(done) / seconds);
    std::fflush(stderr);
}
