// Iterators by the million: what they cost in memory. A plain run is short; VORNIK_SOAK=1 runs the full size.
#include <sys/resource.h>

#include <cstdlib>
#include <iostream>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

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

struct PositionsSoak : ContainerTest {};
VORNIK_FOR_CLASSES(PositionsSoak, [](const ClassFacts& f) { return f.key == kInt && f.value == kInt; });

TEST_P(PositionsSoak, MakingIteratorsTakesNoMemory) {
  const int iterators = std::getenv("VORNIK_SOAK") != nullptr ? 10'000'000 : 400'000;
  const Value map = make();
  for (int i = 0; i < 100; ++i) put(map, i);
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

}  // namespace
}  // namespace vornik::behaviour
