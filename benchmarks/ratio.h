// The table that ./bench prints: a figure of ours, the same figure of a baseline, and the limit that holds.
//
// How a row is written: a program NAME_bench.cpp, added with qai_bench() in CMakeLists.txt, has
//
//   int main(int argc, char** argv) {
//     ratio::Table table(argc, argv);
//     table.compare("json/parse/1MiB", {.wall = 1.10}, [] {
//       const auto text = std::make_shared<const std::string>(makeText());
//       return ratio::Pair{.ours = [text] { benchmark::DoNotOptimize(COJson(*text).getIsValidJson()); },
//                          .baseline = [text] { /* the same by hand */ }};
//     });
//     table.measure("json/allocations", {ratio::Unit::Count, ratio::Bound::AtMost, 60}, [] {
//       return ratio::Figures{.ours = countAllocations(), .baseline = std::nullopt};
//     });
//     return table.run();
//   }
//
// `compare` times both sides in turn, in one loop, so that whatever else the machine does meets both alike; the figures
// are the medians. What is made inside of the function is made when the row is run, and freed after it. A row whose
// growth is of interest takes the small case as its baseline. `measure` is for figures that are no times of one call.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ratio {

/// Two ways to the same end. Both do whole, repeatable work; `beforeEach…`, untimed, puts back what a call changed.
/// Without them short calls are timed many at once.
struct Pair {
  std::function<void()> ours;
  std::function<void()> baseline;
  std::function<void()> beforeEachOurs = nullptr;
  std::function<void()> beforeEachBaseline = nullptr;
  std::function<void()> afterAll = nullptr;  // throws when the work was not what the row says
};

/// How many times the baseline's figure ours may be; a figure without a limit is not shown.
struct Limits {
  std::optional<double> wall;
  std::optional<double> cpu;  // of the whole process, the kernel's share included
};

enum class Unit { Seconds, Bytes, Count, PerSecond };

/// What `limit` bounds: ours / baseline, or ours alone; `None` only shows the figures.
enum class Bound { AtMostTimes, AtLeastTimes, AtMost, None };

struct Measure {
  Unit unit;
  Bound bound;
  double limit = 0.0;
};

struct Figures {
  double ours;
  std::optional<double> baseline;
};

double median(std::vector<double> values);

/// The rows of one program, run in the order in which they were added.
class Table {
 public:
  /// Takes --once and Google Benchmark's options (--benchmark_filter=…). With --once each row's work is done as few
  /// times as can be and no limit is judged: what a row checks of its work is what can fail. Ends the process with 2
  /// when an argument is none of these.
  Table(int& argc, char** argv);
  ~Table();
  Table(const Table&) = delete;
  Table& operator=(const Table&) = delete;

  bool isOnce() const { return once_; }

  void compare(const std::string& name, Limits limits, std::function<Pair()> make);
  void measure(const std::string& name, Measure measure, std::function<Figures()> take);

  /// Runs what the filter picks and prints it.
  /// @return the exit code: 1 when a figure misses its limit or a row fails (an exception is told in its place).
  int run();

 private:
  struct Comparison;
  bool once_ = false;
  std::vector<std::unique_ptr<Comparison>> comparisons_;
};

}  // namespace ratio
