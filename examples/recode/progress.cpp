#include "progress.h"

#include <cstdio>

namespace {

double Mebibytes(std::uintmax_t bytes) {
    return static_cast<double>(bytes) / (1024 * 1024);
}

}  // namespace

void Progress::Show(std::uintmax_t done) {
    m_line.Show([&](double seconds) {
        const double percent = m_total != 0 ? 100 * Mebibytes(done) / Mebibytes(m_total) : 100;
        char text[100];
        std::snprintf(text, sizeof text, "%5.1f %%  %.1f of %.1f MiB, %.0f MiB/s", percent,
                      Mebibytes(done), Mebibytes(m_total), Mebibytes(done) / seconds);
        return std::string(text);
    });
}
