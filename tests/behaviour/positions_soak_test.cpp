// Iterators by the million: what they cost in memory, and whether stale ones are told for ever. A plain run
// is short; VORNIK_SOAK=1 runs the full size.
#include <sys/resource.h>

#include <cstdlib>
#include <iostream>

#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

const bool kFullSize = std::getenv("VORNIK_SOAK") != nullptr;

/// Largest resident size of this process so far, in KiB.
long peakMemory() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
#ifdef __APPLE__
  return usage.ru_maxrss / 1024;
#else
  return usage.ru_maxrss;
#endif
}

struct PositionsSoak : ContainerTest {
  void fill(const Value& map, int count) {
    for (int i = 0; i < count; ++i) put(map, i);
  }
};
VORNIK_FOR_CLASSES(PositionsSoak, [](const ClassFacts& f) { return f.key == kInt && f.value == kInt; });

TEST_P(PositionsSoak, MakingIteratorsTakesNoMemory) {
  const int iterators = kFullSize ? 10'000'000 : 400'000;
  const Value map = make();
  fill(map, 100);
  const auto use = [&](int count) {
    for (int i = 0; i < count; i += 2) {
      const Value first = call(map, "first"), last = call(map, "last");
      ASSERT_FALSE(call(first, "isEqual", {last}).boolean());
      // From entry to entry, so that every one has had iterators.
      for (int step = 0; step < i % 100; step += 10) call(first, "MoveNext");
    }
  };
  use(100'000);  // the host keeps the objects that ended last back for a while
  const long before = peakMemory();
  use(iterators);
  const long grown = peakMemory() - before;
  std::cout << iterators << " iterators, peak resident memory " << grown << " KiB larger\n";
#ifndef VORNIK_SANITIZED  // sanitizers keep freed memory back
  EXPECT_LT(grown, 1024);
#endif
}

TEST_P(PositionsSoak, StaleIteratorsAreToldForEver) {
  constexpr int kEntries = 2000;
  const int rounds = kFullSize ? 500 : 10;
  const Value map = make();
  Values veterans;  // of every round, used again in all later ones
  const auto use = [&](const Value& iterator, int how) {
    const std::string outcome = raised([&] {
      if (how % 4 == 0) call(iterator, "Key");
      if (how % 4 == 1) host().assign(iterator, "Value", {}, -1);
      if (how % 4 == 2) call(iterator, "MoveNext");
      if (how % 4 == 3) call(map, "Remove", {iterator});
    });
    ASSERT_EQ(outcome, kStale);
  };
  for (int round = 0; round < rounds; ++round) {
    fill(map, kEntries);
    Values iterators;
    for (int i = 0; i < kEntries; ++i) iterators.push_back(call(map, "find", {key(i)}));
    veterans.push_back(iterators[static_cast<std::size_t>(round)]);
    if (round % 2 == 0) call(map, "Clear");
    for (int i = 0; round % 2 != 0 && i < kEntries; ++i) call(map, "Remove", {key(i)});
    // New entries under the same keys, in the memory and with the position slots of the old ones.
    fill(map, kEntries);
    for (int i = 0; i < kEntries; ++i) {
      ASSERT_EQ(call(call(map, "find", {key(i)}), "Value").integer(), value(i).integer());
      use(iterators[static_cast<std::size_t>(i)], i + round);
    }
    for (const Value& veteran : veterans) use(veteran, round);
  }
}

}  // namespace
}  // namespace vornik::behaviour
