#include <kxcore7/counter.h>

#include "platform/clock.h"

using namespace kx;

int64_t KXPerfGetCount() {
    int64_t ticks = 0;
    return platform::PerformanceCounter(&ticks) ? ticks : int64_t{platform::TickCount()};
}

int64_t KXPerfGetFreq() {
    int64_t ticksPerSecond = 0;
    return platform::PerformanceFrequency(&ticksPerSecond) ? ticksPerSecond : 1000;
}

uint32_t KXPerfGetCountMS() {
    return platform::TickCount();
}
