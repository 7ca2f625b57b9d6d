// A line on the terminal that tells how fast a side works, while it works. Nobody else is shown
// one.
#ifndef EXCHANGE_METER_H
#define EXCHANGE_METER_H

#include <kxcore7/event.h>

#include <thread>

#include "ring.h"

class Meter final {
  public:
    Meter(const Ring& ring, const char* role);
    // Takes the line away again.
    ~Meter();
    Meter(const Meter&) = delete;
    Meter& operator=(const Meter&) = delete;

  private:
    void Run();
    void Show(std::uint64_t items, double seconds) const;

    const Ring& m_ring;
    const char* const m_role;
    KXEventHandle m_end = KX_INVALID_HANDLE;
    std::thread m_thread;
};

double Mebibytes(std::uint64_t items);

#endif
