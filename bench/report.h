// The table of ratios that a run ends with.
#ifndef KXCORE7_BENCH_REPORT_H
#define KXCORE7_BENCH_REPORT_H

#include <benchmark/benchmark.h>

#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace bench {

// The counter by which a contended benchmark tells how often the lock changed hands, as a share of
// the acquires. It goes into the table: without it a time under contention means little.
inline constexpr const char* kHandovers = "handovers";

// The counter by which a contended benchmark tells for what share of the time its threads had to
// stand back for other work of the machine. A contest with one of the two away is none: from
// kMaxDisturbance on a repetition is left out, as long as others remain.
inline constexpr const char* kDisturbance = "disturbance";
inline constexpr double kMaxDisturbance = 0.1;

// A benchmark, by the name it was registered under, and what the table calls it.
struct Peer {
    std::string label;
    std::string benchmark;
};

// One comparison. The ratio is taken to the fastest of the peers; asides are shown beside it, but
// do something so different that they are never the measure.
struct Row {
    std::string what;
    std::string benchmark;
    std::vector<Peer> peers;
    std::vector<Peer> asides = {};
    std::optional<double> wanted = {};
};

// Collects real times as the benchmarks run. A benchmark's time is the median of its repetitions:
// the machine may be busy with other things, and a mean would count every interruption.
class Report final : public benchmark::BenchmarkReporter {
  public:
    void Add(Row row);

    bool ReportContext(const Context& context) override;
    void ReportRuns(const std::vector<Run>& runs) override;

    // Whether something was measured and nothing failed.
    bool IsComplete() const;
    // Rows of which nothing was measured, because a filter left them out, are passed over.
    void Print(std::ostream& out) const;

  private:
    struct Repetition {
        double time;  // nanoseconds
        double handovers;
        double disturbance;
    };

    static bool IsDisturbed(const std::vector<Repetition>& repetitions);
    std::optional<double> TimeOf(const std::string& name) const;
    std::string NoteOf(const std::string& name) const;
    void PrintRow(std::ostream& out, const Row& row) const;
    void PrintPeer(std::ostream& out, double own, const Peer& peer) const;
    const Peer* Fastest(const std::vector<Peer>& peers) const;
    std::vector<Repetition> Counted(const std::string& name) const;

    std::vector<Row> m_rows;
    std::map<std::string, std::vector<Repetition>> m_repetitions;
    bool m_failed = false;
};

// Ends a benchmark that does not do what it measures, and with it the run as a failed one.
void Fail(benchmark::State& state, const char* why);

}  // namespace bench

#endif
