// How much of a file is done, for who watches.
#ifndef RECODE_PROGRESS_H
#define RECODE_PROGRESS_H

#include <cstdint>

#include "status_line.h"

class Progress final {
  public:
    // Of how many bytes there will be.
    explicit Progress(std::uintmax_t total) : m_total(total) {}

    void Show(std::uintmax_t done);

  private:
    const std::uintmax_t m_total;
    StatusLine m_line;
};

#endif
