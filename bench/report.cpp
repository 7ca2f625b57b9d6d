#include "report.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <iterator>
#include <sstream>
#include <utility>

namespace bench {
namespace {

constexpr int kWhatWidth = 38;
constexpr int kTimeWidth = 12;
constexpr int kPeerWidth = 36;
constexpr int kRatioWidth = 8;

// Below this many undisturbed repetitions a median of them says less than one of all.
constexpr std::size_t kFewest = 5;

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 != 0 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::string Fixed(double value, int digits) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

double Counter(const benchmark::BenchmarkReporter::Run& run, const char* name) {
    const auto found = run.counters.find(name);
    return found != run.counters.end() ? found->second.value : 0;
}

std::string Ratio(double own, double other) {
    return own < other / 1000 ? "<0.001" : Fixed(own / other, 3);
}

std::string Time(std::optional<double> time) {
    return time ? Fixed(*time, *time < 1000 ? 1 : 0) : "-";
}

void PrintLine(std::ostream& out, const std::string& what, const std::string& time,
               const std::string& peer, const std::string& peerTime, const std::string& ratio,
               const std::string& wanted, const std::string& verdict) {
    out << std::left << std::setw(kWhatWidth) << what << std::right << std::setw(kTimeWidth) << time
        << "  " << std::left << std::setw(kPeerWidth) << peer << std::right << std::setw(kTimeWidth)
        << peerTime << std::setw(kRatioWidth) << ratio << std::setw(kRatioWidth) << wanted << "  "
        << verdict << '\n';
}

}  // namespace

void Report::Add(Row row) {
    m_rows.push_back(std::move(row));
}

bool Report::ReportContext(const Context&) {
    return true;
}

// Aggregates come behind the repetitions they are made of, and are left out. A run that was ended
// as failed has no time.
void Report::ReportRuns(const std::vector<Run>& runs) {
    for (const Run& run : runs) {
        if (run.run_type != Run::RT_Iteration) continue;
        const std::string& name = run.run_name.function_name;
        if (run.real_accumulated_time <= 0) {
            std::cerr << name << ": failed\n";
            m_failed = true;
            continue;
        }
        m_repetitions[name].push_back(
            {run.real_accumulated_time * 1e9 / static_cast<double>(run.iterations),
             Counter(run, kHandovers), Counter(run, kDisturbance)});
    }
}

bool Report::IsComplete() const {
    return !m_failed && !m_repetitions.empty();
}

bool Report::IsDisturbed(const std::vector<Repetition>& repetitions) {
    return std::any_of(repetitions.begin(), repetitions.end(),
                       [](const Repetition& one) { return one.disturbance >= kMaxDisturbance; });
}

// The repetitions that count: the undisturbed ones, or all where there are too few of those.
std::vector<Report::Repetition> Report::Counted(const std::string& name) const {
    const auto found = m_repetitions.find(name);
    if (found == m_repetitions.end()) return {};
    std::vector<Repetition> counted;
    std::copy_if(found->second.begin(), found->second.end(), std::back_inserter(counted),
                 [](const Repetition& one) { return one.disturbance < kMaxDisturbance; });
    return counted.size() < kFewest ? found->second : counted;
}

std::optional<double> Report::TimeOf(const std::string& name) const {
    std::vector<double> times;
    for (const Repetition& one : Counted(name)) times.push_back(one.time);
    return times.empty() ? std::nullopt : std::optional(Median(times));
}

// What is to be said of a contended benchmark: how often the lock changed hands, and from how many
// repetitions its time is.
std::string Report::NoteOf(const std::string& name) const {
    const std::vector<Repetition> counted = Counted(name);
    std::vector<double> shares;
    for (const Repetition& one : counted) shares.push_back(one.handovers);
    if (shares.empty() || Median(shares) <= 0) return "";
    const std::string of =
        std::to_string(counted.size()) + " of " + std::to_string(m_repetitions.at(name).size());
    return "changed hands 1 in " + Fixed(1 / Median(shares), 0) + ", " + of +
           (IsDisturbed(counted) ? ", disturbed" : "");
}

const Peer* Report::Fastest(const std::vector<Peer>& peers) const {
    const Peer* fastest = nullptr;
    for (const Peer& peer : peers) {
        const auto time = TimeOf(peer.benchmark);
        if (!time) continue;
        if (fastest == nullptr || *time < *TimeOf(fastest->benchmark)) fastest = &peer;
    }
    return fastest;
}

void Report::PrintPeer(std::ostream& out, double own, const Peer& peer) const {
    const auto time = TimeOf(peer.benchmark);
    if (!time) return;
    PrintLine(out, "", "", peer.label, Time(time), Ratio(own, *time), "", NoteOf(peer.benchmark));
}

void Report::PrintRow(std::ostream& out, const Row& row) const {
    const auto own = TimeOf(row.benchmark);
    if (!own) return;
    const Peer* const best = Fastest(row.peers);
    const auto bestTime = best != nullptr ? TimeOf(best->benchmark) : std::nullopt;
    std::string ratio = "-";
    std::string verdict;
    if (bestTime) {
        ratio = Ratio(*own, *bestTime);
        if (row.wanted) verdict = *own / *bestTime <= *row.wanted ? "ok" : "over";
    }
    PrintLine(out, row.what, Time(own), best != nullptr ? best->label : "-", Time(bestTime), ratio,
              row.wanted ? "<= " + Fixed(*row.wanted, 2) : "", verdict);
    if (const std::string note = NoteOf(row.benchmark); !note.empty()) {
        out << "    kxcore7 " << note << '\n';
        if (best != nullptr) out << "    " << best->label << ' ' << NoteOf(best->benchmark) << '\n';
    }
    for (const auto* const others : {&row.peers, &row.asides}) {
        for (const Peer& peer : *others) {
            if (&peer != best) PrintPeer(out, *own, peer);
        }
    }
}

void Report::Print(std::ostream& out) const {
    PrintLine(out, "what", "kxcore7 ns", "best peer", "ns", "ratio", "wanted", "");
    for (const Row& row : m_rows) PrintRow(out, row);
    out << "\nMedians of real time. A ratio is kxcore7's time by the peer's; below 1 kxcore7 is the"
           " faster one.\nUnder a best peer stand the others, with the ratio to each.\n"
           "Of the repetitions with two threads those count in which both had a processor; where"
           " they are too few,\nall count, marked as disturbed.\n";
}

void Fail(benchmark::State& state, const char* why) {
    std::cerr << "error: " << why << '\n';
    state.SkipWithError(why);
}

}  // namespace bench
