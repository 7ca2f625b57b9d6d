#include "contest.h"

#include <chrono>
#include <fstream>
#include <stdexcept>

namespace bench {
namespace {

void Pin(int cpu) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(cpu, &one);
    sched_setaffinity(0, sizeof one, &one);
}

// Nanoseconds.
double WaitedForProcessor() {
    std::ifstream file("/proc/thread-self/schedstat");
    double ran = 0;
    double waited = 0;
    file >> ran >> waited;
    return waited;
}

double Now() {
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::nano>(now).count();
}

double Ran(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

}  // namespace

void Require(bool made, const char* what) {
    if (!made) throw std::runtime_error(std::string("cannot make: ") + what);
}

ScopedPin::ScopedPin(int number) {
    CPU_ZERO(&m_before);
    sched_getaffinity(0, sizeof m_before, &m_before);
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &m_before) && number-- == 0) Pin(cpu);
    }
}

ScopedPin::~ScopedPin() {
    sched_setaffinity(0, sizeof m_before, &m_before);
}

Disturbance::Disturbance() : m_start(Now()), m_waited(WaitedForProcessor()) {}

double Disturbance::Share() const {
    return (WaitedForProcessor() - m_waited) / (Now() - m_start);
}

Activity::Activity(clockid_t clock) : m_clock(clock), m_start(Now()), m_ran(Ran(clock)) {}

double Activity::Share() const {
    return (Ran(m_clock) - m_ran) / (Now() - m_start);
}

}  // namespace bench
