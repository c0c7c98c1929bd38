// What the benchmarks share: options, timing of subjects that stand side by side, and the report.
//
// Our own and small, because what is linked must be built with the standard library that this build uses.
#ifndef VORNIK_BENCH_HARNESS_H
#define VORNIK_BENCH_HARNESS_H

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "bench/memory_use.h"

namespace vornik::bench {

struct Options {
  bool quick = false;    ///< fewer rounds and no large sizes
  std::string only;      ///< measure the blocks whose title has this text in it
  std::string json;      ///< where to write the figures for machines; empty: nowhere
  std::string plugin;    ///< the library to load
  double seconds = 1.5;  ///< how long a block is repeated at least
};

using Clock = std::chrono::steady_clock;
double nanoseconds(Clock::duration elapsed);

/// The figures of one subject: the least of all its samples, by operation in the order of the first ones.
class Figures {
 public:
  struct Figure {
    std::string operation;
    double value;
    std::int64_t answer;
  };

  /// Runs `body` and keeps its time over `count`. What it answers tells whether all subjects did the same.
  template <typename Body>
  void time(std::string_view operation, std::size_t count, Body body) {
    const auto start = Clock::now();
    const std::int64_t answer = body();
    keep(operation, nanoseconds(Clock::now() - start) / static_cast<double>(count), answer);
  }
  void keep(std::string_view operation, double value, std::int64_t answer = 0);
  const std::vector<Figure>& all() const { return all_; }

 private:
  std::vector<Figure> all_;
};

/// One table: operations by subjects, for keys of one sort and one number of them.
struct Block {
  std::string group;
  std::string keys;
  std::size_t size = 0;
  std::string unit = "ns";

  std::string title() const;
};

/// Prints blocks as they are done, and keeps them for the file for machines.
class Report {
 public:
  struct Column {
    std::string subject;
    Figures figures;
  };

  Report(std::string suite, Options options);
  const Options& options() const { return options_; }
  bool wants(const Block& block) const;
  /// Sizes up to 100,000 in a quick run.
  bool wants(std::size_t size) const { return !options_.quick || size <= 100'000; }
  /// The first column is ours, and the ratios are its figures to the others'. std::logic_error where subjects
  /// answered differently.
  void add(const Block& block, const std::vector<Column>& columns);
  /// std::runtime_error when the file cannot be written.
  void write() const;

 private:
  struct Done {
    Block block;
    std::vector<Column> columns;
  };
  std::string suite_;
  Options options_;
  std::vector<Done> done_;
};

/// Measures subjects side by side. A turn is some passes of one subject over fresh containers; the subjects
/// take turns until there is enough of it, and each figure is the least of its samples.
template <typename... Subjects>
class Comparison {
 public:
  Comparison(Report& report, Block block, Subjects&... subjects)
      : report_(report), block_(std::move(block)), subjects_(subjects...) {}
  Comparison(const Comparison&) = delete;
  Comparison& operator=(const Comparison&) = delete;

  /// pass(subject, figures) for every subject in turn. What is measured in different calls is measured apart.
  template <typename Pass>
  void run(Pass pass) {
    const std::size_t size = std::max<std::size_t>(block_.size, 1);
    const std::size_t passes = std::max<std::size_t>(20'000 / size, 1);
    const int rounds = size > 1'000'000 || (report_.options().quick && size > 10'000) ? 1 : 2;
    const auto start = Clock::now();
    const double enough = report_.options().seconds * 1e9;
    for (int round = 0; round < rounds || (nanoseconds(Clock::now() - start) < enough && round < 200);
         ++round) {
      std::apply(
          [&](Subjects&... subjects) {
            std::size_t column = 0;
            (turn(pass, subjects, figures_[column++], passes), ...);
          },
          subjects_);
    }
  }

  void finish() {
    std::vector<Report::Column> columns;
    std::apply(
        [&](Subjects&... subjects) {
          (columns.push_back({subjects.name(), figures_[columns.size()]}), ...);
        },
        subjects_);
    report_.add(block_, columns);
  }

 private:
  template <typename Pass, typename Subject>
  static void turn(Pass& pass, Subject& subject, Figures& figures, std::size_t passes) {
    settleHeap();
    for (std::size_t i = 0; i < passes; ++i) pass(subject, figures);
  }

  Report& report_;
  Block block_;
  std::tuple<Subjects&...> subjects_;
  std::array<Figures, sizeof...(Subjects)> figures_;
};

/// The main function of a benchmark: reads the options, runs it and writes its file.
int benchMain(int argc, char** argv, const char* suite, const std::function<void(Report&)>& run);

}  // namespace vornik::bench

#endif  // VORNIK_BENCH_HARNESS_H
