// A line on the terminal that tells how far long work has come. Work that is done at once shows
// none, and neither does work that nobody watches.
#ifndef RECODE_PROGRESS_H
#define RECODE_PROGRESS_H

#include <cstdint>

class Progress final {
  public:
    // Of how many bytes there will be.
    explicit Progress(std::uintmax_t total);
    // Takes the line away again.
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    void Show(std::uintmax_t done);

  private:
    const std::uintmax_t m_total;
    const std::int64_t m_start;
    std::int64_t m_next;
    bool m_shown = false;
    const bool m_watched;
};

#endif
