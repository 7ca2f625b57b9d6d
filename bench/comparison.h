// One row of the table, made of calls that do the same work.
#ifndef KXCORE7_BENCH_COMPARISON_H
#define KXCORE7_BENCH_COMPARISON_H

#include <benchmark/benchmark.h>
#include <glib.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "report.h"

namespace bench {

// The compiler knows nothing about the value from here on, and can fold nothing that depends on it.
template <typename T>
T Opaque(T value) {
    benchmark::DoNotOptimize(value);
    return value;
}

template <typename T>
auto Is(T expected) {
    return [expected](const auto& result) { return result == expected; };
}

struct GFree {
    void operator()(void* block) const { g_free(block); }
};

// What GLib made, given back at once.
template <typename Unit>
using GText = std::unique_ptr<Unit, GFree>;

class Comparison final {
  public:
    // What the calls work on is held by owner, and given to them as bare pointers.
    Comparison(const std::string& what, std::shared_ptr<const void> owner)
        : m_row{.what = what, .benchmark = what + "/kxcore7", .peers = {}},
          m_owner(std::move(owner)) {}

    // In each of them work is the call, and isRight tells of its result that it did its work.
    template <typename Work, typename IsRight>
    void Own(Work work, IsRight isRight) {
        Register(m_row.benchmark, work, isRight);
    }
    template <typename Work, typename IsRight>
    void Peer(const std::string& label, Work work, IsRight isRight) {
        m_row.peers.push_back(Registered(label, work, isRight));
    }
    template <typename Work, typename IsRight>
    void Aside(const std::string& label, Work work, IsRight isRight) {
        m_row.asides.push_back(Registered(label, work, isRight));
    }

    void AddTo(Report& report, std::optional<double> wanted = {}) {
        m_row.wanted = wanted;
        report.Add(m_row);
    }

  private:
    template <typename Work, typename IsRight>
    bench::Peer Registered(const std::string& label, Work work, IsRight isRight) const {
        const std::string name = m_row.what + "/" + label;
        Register(name, work, isRight);
        return {label, name};
    }

    template <typename Work, typename IsRight>
    void Register(const std::string& name, Work work, IsRight isRight) const {
        const auto measure = [owner = m_owner, work, isRight](benchmark::State& state) {
            Measure(state, work, isRight);
        };
        benchmark::RegisterBenchmark(name.c_str(), measure)->MinTime(kEnough);
    }

    // Work is a copy, so that what it captured stays in registers.
    template <typename Work, typename IsRight>
    static void Measure(benchmark::State& state, Work work, const IsRight& isRight) {
        if (!isRight(work())) return Fail(state, "another result");
        for (auto _ : state) benchmark::DoNotOptimize(work());
    }

    // Seconds. Nothing here waits or takes turns, so that more time would tell no more, and the
    // rows are many.
    static constexpr double kEnough = 0.01;

    Row m_row;
    std::shared_ptr<const void> m_owner;
};

}  // namespace bench

#endif
