#include "meter.h"

#include <kxcore7/counter.h>
#include <kxcore7/result.h>

#include <cinttypes>
#include <cstdio>
#include <stdexcept>

#include "terminal.h"

namespace {

constexpr std::uint32_t kInterval = 200;  // milliseconds

}  // namespace

double Mebibytes(std::uint64_t items) {
    return static_cast<double>(items) * sizeof(Item) / (1024 * 1024);
}

// A thread of its own, since the other side may keep this one waiting: then it shows that, too.
Meter::Meter(const Ring& ring, const char* role) : m_ring(ring), m_role(role) {
    if (!IsTerminal(stderr)) return;
    if (KXEventCreate("Meter::m_end", 0, &m_end) < 0) throw std::runtime_error("no event");
    m_thread = std::thread([this] { Run(); });
}

Meter::~Meter() {
    if (!m_thread.joinable()) return;
    KXEventSignal(m_end);
    m_thread.join();
    KXEventDestroy(m_end);
    std::fprintf(stderr, "\r%79s\r", "");
}

void Meter::Run() {
    std::uint64_t before = m_ring.Done();
    std::uint32_t then = KXPerfGetCountMS();
    while (KXEventTimedWait(m_end, kInterval) == KX_ERROR_TIMEOUT) {
        const std::uint64_t done = m_ring.Done();
        const std::uint32_t now = KXPerfGetCountMS();
        Show(done - before, static_cast<double>(now - then) / 1000);
        before = done;
        then = now;
    }
}

// As wide as a terminal at least is, so that the line covers the one before.
void Meter::Show(std::uint64_t items, double seconds) const {
    const std::uint64_t done = m_ring.Done();
    const std::uint64_t other = m_ring.DoneByOther();
    char line[80];
    std::snprintf(line, sizeof line,
                  "%s: %" PRIu64 " items, %.0f items/s, %.1f MiB/s, %" PRIu64 " in the ring%s",
                  m_role, done, static_cast<double>(items) / seconds, Mebibytes(items) / seconds,
                  done > other ? done - other : other - done, items == 0 ? ", waiting" : "");
    std::fprintf(stderr, "\r%-79s", line);
    std::fflush(stderr);
}
