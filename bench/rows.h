// A row of the table, made of benchmarks that each register themselves.
#ifndef KXCORE7_BENCH_ROWS_H
#define KXCORE7_BENCH_ROWS_H

#include <optional>
#include <string>

#include "report.h"

namespace bench {

// A row, and the benchmarks that it compares.
class Rows final {
  public:
    explicit Rows(const std::string& what)
        : m_row{.what = what, .benchmark = what + "/kxcore7", .peers = {}} {}

    template <typename Add>
    Rows& Own(Add add) {
        add(m_row.benchmark);
        return *this;
    }
    template <typename Add>
    Rows& Peer(const std::string& label, Add add) {
        m_row.peers.push_back(Added(label, add));
        return *this;
    }
    template <typename Add>
    Rows& Aside(const std::string& label, Add add) {
        m_row.asides.push_back(Added(label, add));
        return *this;
    }
    void AddTo(Report& report, std::optional<double> wanted = {}) {
        m_row.wanted = wanted;
        report.Add(m_row);
    }

  private:
    template <typename Add>
    bench::Peer Added(const std::string& label, Add add) const {
        add(m_row.what + "/" + label);
        return {label, m_row.what + "/" + label};
    }

    Row m_row;
};

}  // namespace bench

#endif
