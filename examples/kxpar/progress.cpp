#include "progress.h"

#include <kxcore7/current.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace {

constexpr std::uint32_t kTick = 100;  // milliseconds

}  // namespace

Progress::Progress(std::size_t total)
    : m_total(total), m_ticker([this] {
          for (; !m_ends; KXSleep(kTick)) Show();
      }) {}

Progress::~Progress() {
    m_ends = true;
    m_ticker.join();
}

void Progress::Update(std::size_t done, std::size_t running) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_done = done;
    m_running = running;
}

void Progress::Show() {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_status.Show([this](double seconds) {
        char text[80];
        std::snprintf(text, sizeof text, "%zu of %zu done, %zu running, %.1f s", m_done, m_total,
                      m_running, seconds);
        return std::string(text);
    });
}
