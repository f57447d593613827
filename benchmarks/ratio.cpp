#include "ratio.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <sstream>
#include <string_view>
#include <utility>

namespace ratio {
namespace {

constexpr double kSecondsPerRow = 1.5;
constexpr int kFewestPairs = 11;
constexpr int kPairsOnce = 2;              // each side begins one
constexpr double kShortestSample = 20e-6;  // seconds; below it the clocks themselves would count
constexpr int kMostCallsInASample = 10'000;

struct Moment {
  double wall;
  double cpu;
};

double obtainTime(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

// The slow clock is read outside of the fast one's interval.
template <class Work>
Moment timeOf(const Work& work) {
  const double cpuBegin = obtainTime(CLOCK_PROCESS_CPUTIME_ID);
  const double wallBegin = obtainTime(CLOCK_MONOTONIC);
  work();
  const double wallEnd = obtainTime(CLOCK_MONOTONIC);
  return {wallEnd - wallBegin, obtainTime(CLOCK_PROCESS_CPUTIME_ID) - cpuBegin};
}

/// One side of a comparison with its samples.
class Side {
 public:
  Side(const std::function<void()>& call, const std::function<void()>& beforeEach)
      : call_(call), beforeEach_(beforeEach) {}

  /// Finds out how many calls make a sample. Run once before the first sample.
  void calibrate() {
    prepare();
    call_();  // the first call pays for much that later ones find done
    if (beforeEach_) return;
    const double once = timeOf(call_).wall;
    calls_ = std::clamp(static_cast<int>(kShortestSample / std::max(once, 1e-9)), 1, kMostCallsInASample);
  }

  void sample() {
    prepare();
    const Moment time = timeOf([this] {
      for (int i = 0; i < calls_; ++i) call_();
    });
    wall_.push_back(time.wall / calls_);
    cpu_.push_back(time.cpu / calls_);
  }

  double wall() const { return median(wall_); }
  double cpu() const { return median(cpu_); }

 private:
  void prepare() const {
    if (beforeEach_) beforeEach_();
  }

  const std::function<void()>& call_;
  const std::function<void()>& beforeEach_;
  int calls_ = 1;
  std::vector<double> wall_;
  std::vector<double> cpu_;
};

// Names of the counters in which a row's figures travel to the reporter: "wall:ours", "wall:limit" …
void store(benchmark::State& state, const std::string& prefix, const Measure& measure, const Figures& figures) {
  state.counters[prefix + ":ours"] = figures.ours;
  if (figures.baseline) state.counters[prefix + ":baseline"] = *figures.baseline;
  state.counters[prefix + ":unit"] = static_cast<double>(measure.unit);
  state.counters[prefix + ":bound"] = static_cast<double>(measure.bound);
  state.counters[prefix + ":limit"] = measure.limit;
}

std::string format(const char* pattern, double value) {
  std::array<char, 64> text{};
  static_cast<void>(std::snprintf(text.data(), text.size(), pattern, value));
  return text.data();
}

std::string toText(double value, Unit unit) {
  switch (unit) {
    case Unit::Seconds:
      if (value < 1e-6) return format("%.1f ns", value * 1e9);
      return value < 1e-3 ? format("%.2f us", value * 1e6) : format("%.2f ms", value * 1e3);
    case Unit::Bytes:
      return value < 10240 ? format("%.0f B", value) : format("%.1f KiB", value / 1024);
    case Unit::PerSecond:
      return format("%.0f /s", value);
    case Unit::Count:
      break;
  }
  return format("%.6g", value);
}

std::string toText(Bound bound, double limit, Unit unit) {
  switch (bound) {
    case Bound::AtMostTimes:
      return "<= " + format("%.2f", limit) + " x";
    case Bound::AtLeastTimes:
      return ">= " + format("%.2f", limit) + " x";
    case Bound::AtMost:
      return "<= " + toText(limit, unit);
    case Bound::None:
      break;
  }
  return "";
}

bool holds(Bound bound, double limit, double ours, double times) {
  if (bound == Bound::AtMostTimes) return times <= limit;
  if (bound == Bound::AtLeastTimes) return times >= limit;
  return bound == Bound::None || ours <= limit;
}

class Reporter final : public benchmark::BenchmarkReporter {
 public:
  explicit Reporter(bool judges) : judges_(judges) {}

  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    if (!std::exchange(headed_, true)) printLine("row", "ours", "baseline", "ratio", "limit", "");
    for (const Run& run : runs) {
      // Google Benchmark appends "/iterations:1/manual_time" and the like.
      std::string name = run.run_name.function_name;
      if (run.error_occurred) {
        missed_ = true;
        printLine(name.c_str(), "-", "-", "-", "-", ("FAILED: " + run.error_message).c_str());
        continue;
      }
      for (const char* prefix : {"wall", "cpu", "figure"}) {
        if (run.counters.count(std::string(prefix) + ":ours") != 0) report(name, prefix, run.counters);
      }
    }
    static_cast<void>(std::fflush(stdout));
  }

  bool missed() const { return missed_; }

 private:
  void report(const std::string& name, const std::string& prefix, const benchmark::UserCounters& counters) {
    const auto value = [&](const char* part) { return counters.at(prefix + ":" + part).value; };
    const auto unit = static_cast<Unit>(static_cast<int>(value("unit")));
    const auto bound = static_cast<Bound>(static_cast<int>(value("bound")));
    const bool paired = counters.count(prefix + ":baseline") != 0;
    const double times = paired ? value("ours") / value("baseline") : 0.0;
    const bool kept = holds(bound, value("limit"), value("ours"), times);
    if (judges_ && !kept) missed_ = true;
    printLine((prefix == "cpu" ? name + " cpu" : name).c_str(), toText(value("ours"), unit).c_str(),
              paired ? toText(value("baseline"), unit).c_str() : "-", paired ? format("%.3f", times).c_str() : "-",
              toText(bound, value("limit"), unit).c_str(), verdict(bound, kept));
  }

  const char* verdict(Bound bound, bool kept) const {
    if (!judges_) return "not judged";
    return bound == Bound::None ? "" : (kept ? "ok" : "MISSED");
  }

  static void printLine(const char* name, const char* ours, const char* baseline, const char* times, const char* limit,
                        const char* verdict) {
    std::printf("%-44s %12s %12s %8s %12s  %s\n", name, ours, baseline, times, limit, verdict);
  }

  const bool judges_;
  bool headed_ = false;
  bool missed_ = false;
};

/// Runs a row's work; what it throws is told in the row's place.
template <class Work>
void guarded(benchmark::State& state, const Work& work) {
  try {
    work();
  } catch (const std::exception& error) {
    state.SkipWithError(error.what());
    while (state.KeepRunning()) continue;
  }
}

}  // namespace

double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

struct Table::Comparison {
  Limits limits;
  std::function<Pair()> make;
  bool once;

  /// Whether a row with so many pairs, begun at that time, has had its share.
  bool isDone(int pairs, double begin) const {
    if (once) return pairs >= kPairsOnce;
    return pairs >= kFewestPairs && obtainTime(CLOCK_MONOTONIC) - begin >= kSecondsPerRow;
  }

  void run(benchmark::State& state) const {
    const Pair pair = make();
    Side ours(pair.ours, pair.beforeEachOurs);
    Side baseline(pair.baseline, pair.beforeEachBaseline);
    ours.calibrate();
    baseline.calibrate();
    const double begin = obtainTime(CLOCK_MONOTONIC);
    while (state.KeepRunning()) {  // once: how often the pair is run is decided here
      for (int pairs = 0; !isDone(pairs, begin); ++pairs) {
        const bool oursFirst = pairs % 2 == 0;
        (oursFirst ? ours : baseline).sample();
        (oursFirst ? baseline : ours).sample();
      }
    }
    if (pair.afterAll) pair.afterAll();
    const auto tell = [&](const char* prefix, std::optional<double> limit, double mine, double other) {
      if (limit) store(state, prefix, {Unit::Seconds, Bound::AtMostTimes, *limit}, {mine, other});
    };
    tell("wall", limits.wall, ours.wall(), baseline.wall());
    tell("cpu", limits.cpu, ours.cpu(), baseline.cpu());
  }
};

Table::Table(int& argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (int i = 1; i < argc; ++i) {
    if (argv[i] != std::string_view("--once")) {
      std::fprintf(stderr, "%s: %s is no option here\n", argv[0], argv[i]);
      std::exit(2);
    }
    once_ = true;
  }
}

Table::~Table() = default;

void Table::compare(const std::string& name, Limits limits, std::function<Pair()> make) {
  const Comparison& row =
      *comparisons_.emplace_back(std::make_unique<Comparison>(Comparison{limits, std::move(make), once_}));
  benchmark::RegisterBenchmark(name.c_str(), [&row](benchmark::State& state) {
    guarded(state, [&] { row.run(state); });
  })->Iterations(1);
}

void Table::measure(const std::string& name, Measure measure, std::function<Figures()> take) {
  benchmark::RegisterBenchmark(name.c_str(), [measure, take = std::move(take)](benchmark::State& state) {
    guarded(state, [&] {
      Figures figures{0.0, std::nullopt};
      while (state.KeepRunning()) figures = take();
      store(state, "figure", measure, figures);
    });
  })->Iterations(1);
}

int Table::run() {
  Reporter reporter(!once_);
  std::ostringstream ignored;  // "failed to match any benchmarks": the rows of a filter may stand in another program
  reporter.SetErrorStream(&ignored);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return reporter.missed() ? 1 : 0;
}

}  // namespace ratio
