// Map classes of the library, side by side with the raw containers of this build's standard library.
//
// Usage: vornik-bench [rounds [largest size]]
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <map>
#include <random>
#include <stdexcept>
#include <unordered_map>

#include "bench/subjects.h"
#include "fmt/format.h"

namespace vornik::bench {
namespace {

constexpr const char* kOperations[] = {"set", "get", "miss", "remove", "iterate", "index"};
constexpr std::size_t kOperationCount = std::size(kOperations);

/// What the operations run over, each in an order of its own.
struct Workload {
  Keys inserted, read, absent, removed;
};

Workload makeWorkload(std::size_t size, bool dense) {
  std::mt19937_64 random(size);
  Keys all(2 * size);
  for (std::size_t i = 0; i < all.size(); ++i) {
    all[i] = dense ? static_cast<std::int64_t>(i) : static_cast<std::int64_t>(random());
  }
  const auto middle = all.begin() + static_cast<std::ptrdiff_t>(size);
  Workload load{{all.begin(), middle}, {all.begin(), middle}, {middle, all.end()}, {all.begin(), middle}};
  for (Keys* keys : {&load.inserted, &load.read, &load.absent, &load.removed}) {
    std::shuffle(keys->begin(), keys->end(), random);
  }
  return load;
}

/// Nanoseconds per key, one sample a pass.
using Samples = std::array<std::vector<double>, kOperationCount>;
/// What the operations answered: tells whether both sides did the same.
using Sums = std::array<std::int64_t, kOperationCount>;

/// Operations that fill and empty a container, and those that walk over a filled one. They are measured
/// apart: positions and arrays leave a heap behind in which the next container is filled more slowly.
enum class Part { kKeyed, kWalks };

/// Passes over the operations of a part, on fresh containers, until there is enough to measure.
template <typename Subject>
void measure(Subject& subject, Part part, const Workload& load, Samples& samples, Sums& sums) {
  using Clock = std::chrono::steady_clock;
  const std::size_t size = load.inserted.size();
  for (std::size_t pass = 0; pass < std::max<std::size_t>(400'000 / size, 1); ++pass) {
    const auto run = [&](std::size_t operation, auto method, const Keys& keys) {
      const auto start = Clock::now();
      sums[operation] = (subject.*method)(keys);
      const std::chrono::duration<double, std::nano> elapsed = Clock::now() - start;
      samples[operation].push_back(elapsed.count() / static_cast<double>(size));
    };
    subject.create();
    if (part == Part::kKeyed) {
      run(0, &Subject::set, load.inserted);
      run(1, &Subject::get, load.read);
      run(2, &Subject::miss, load.absent);
      run(3, &Subject::remove, load.removed);
    } else {
      subject.set(load.inserted);
      run(4, &Subject::iterate, load.read);
      run(5, &Subject::index, load.read);
    }
    subject.destroy();
  }
}

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

template <typename Map>
void compare(host::Host& host, const char* name, const char* standardName, std::size_t largest, int rounds) {
  fmt::print("\n{} and {}, ns per key, medians of {} rounds\n", name, standardName, rounds);
  fmt::print("{:8} {:>8}  {:8} {:>10} {:>10} {:>7}\n", "keys", "size", "", "registered", "raw", "ratio");
  StandardSubject<Map> standard;
  RegisteredSubject registered(host, name);
  for (const bool dense : {true, false}) {
    for (const std::size_t size : {std::size_t{1'000}, std::size_t{100'000}, std::size_t{1'000'000}}) {
      if (size > largest) continue;
      const Workload load = makeWorkload(size, dense);
      Samples ours, theirs;
      Sums sums{}, standardSums{};
      for (const Part part : {Part::kKeyed, Part::kWalks}) {
        for (int round = 0; round < rounds; ++round) {
          measure(standard, part, load, theirs, standardSums);
          measure(registered, part, load, ours, sums);
        }
      }
      if (sums != standardSums) throw std::logic_error("the two sides did not do the same");
      for (std::size_t i = 0; i < kOperationCount; ++i) {
        const double our = median(ours[i]);
        const double their = median(theirs[i]);
        fmt::print("{:8} {:>8}  {:8} {:>10.1f} {:>10.1f} {:>7.2f}\n", dense ? "dense" : "random", size,
                   kOperations[i], our, their, our / their);
      }
    }
  }
}

int run(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
  const std::size_t largest = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1'000'000;
  if (rounds < 1 || largest < 1000 || argc > 3) {
    fmt::print(stderr, "usage: vornik-bench [rounds [largest size, from 1000]]\n");
    return 2;
  }
  host::Host host;
  host.load(VORNIK_PLUGIN_PATH);
  compare<std::unordered_map<std::int64_t, std::int64_t>>(host, "IntegerToIntegerHashMapQZR",
                                                          "std::unordered_map", largest, rounds);
  compare<std::map<std::int64_t, std::int64_t>>(host, "IntegerToIntegerOrderedMapQZR", "std::map", largest,
                                                rounds);
  return 0;
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  try {
    return vornik::bench::run(argc, argv);
  } catch (const std::exception& failure) {
    fmt::print(stderr, "vornik-bench: {}\n", failure.what());
    return 1;
  }
}
