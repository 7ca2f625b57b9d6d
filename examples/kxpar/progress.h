// How far a run has come, on the terminal's line of that kind, which moves although whoever runs
// the children does nothing but wait for them.
#ifndef KXPAR_PROGRESS_H
#define KXPAR_PROGRESS_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>

#include "status_line.h"

class Progress final {
  public:
    explicit Progress(std::size_t total);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Update(std::size_t done, std::size_t running);

    // Prints something else in the place of the line.
    template <typename Print>
    void Interrupt(Print print) {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_status.Hide();
        print();
    }

  private:
    void Show();

    const std::size_t m_total;
    std::size_t m_done = 0;
    std::size_t m_running = 0;
    std::mutex m_lock;
    StatusLine m_status;
    std::atomic<bool> m_ends{false};
    std::thread m_ticker;  // the last: it uses the others
};

#endif
