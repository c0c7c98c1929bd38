// Iterators by the million: what they cost in memory, and whether stale ones are told for ever. A plain run
// is short; VORNIK_SOAK=1 runs the full size.
#include <sys/resource.h>

#include <cstdlib>
#include <iostream>

#include "tests/behaviour/fixture.h"

#if defined(__SANITIZE_ADDRESS__)
#define VORNIK_ADDRESS_SANITIZER
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VORNIK_ADDRESS_SANITIZER
#endif
#endif

namespace vornik::behaviour {
namespace {

bool isFullSize() {
  return std::getenv("VORNIK_SOAK") != nullptr;
}

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

class PositionsSoak : public LoadedLibrary, public testing::WithParamInterface<const char*> {
 protected:
  static constexpr int kFirstKey = 7;

  void fill(const Value& map, int count) {
    for (int i = 0; i < count; ++i) host().assign(map, "value", {kFirstKey + i}, i);
  }
};

TEST_P(PositionsSoak, MakingIteratorsTakesNoMemory) {
  const int iterators = isFullSize() ? 10'000'000 : 400'000;
  constexpr int kEntries = 100;
  const Value map = create(GetParam());
  fill(map, kEntries);
  const auto make = [&](int count) {
    for (int i = 0; i < count; i += 2) {
      const Value first = call(map, "first");
      const Value last = call(map, "last");
      ASSERT_FALSE(host().call(first, "isEqual", {last}).boolean());
      // From entry to entry, so that every one has had iterators.
      for (int step = 0; step < i % kEntries; step += 10) call(first, "MoveNext");
    }
  };
  make(100'000);  // the host keeps the objects that ended last back for a while
  const long before = peakMemory();
  make(iterators);
  const long after = peakMemory();
  std::cout << GetParam() << ": " << iterators << " iterators, peak resident memory " << before
            << " KiB before, " << after << " KiB after\n";
#ifndef VORNIK_ADDRESS_SANITIZER  // which keeps freed memory back
  EXPECT_LT(after - before, 1024);
#endif
}

TEST_P(PositionsSoak, StaleIteratorsAreToldForEver) {
  constexpr int kEntries = 2000;
  const int rounds = isFullSize() ? 500 : 10;
  const Value map = create(GetParam());
  const auto find = [&](int i) { return call(map, "find", {kFirstKey + i}); };
  Values veterans;  // of every round, used again in all later ones
  int refused = 0;
  const auto use = [&](const Value& iterator, int how) {
    const std::string outcome = raised([&] {
      if (how % 4 == 0) call(iterator, "Key");
      if (how % 4 == 1) host().assign(iterator, "Value", {}, -1);
      if (how % 4 == 2) call(iterator, "MoveNext");
      if (how % 4 == 3) call(map, "Remove", {iterator});
    });
    ASSERT_EQ(outcome, "RuntimeException: Iterator is no longer valid");
    ++refused;
  };
  for (int round = 0; round < rounds; ++round) {
    fill(map, kEntries);
    Values iterators;
    for (int i = 0; i < kEntries; ++i) iterators.push_back(find(i));
    veterans.push_back(iterators[static_cast<std::size_t>(round)]);
    if (round % 2 == 0) {
      call(map, "Clear");
    } else {
      for (int i = 0; i < kEntries; ++i) call(map, "Remove", {kFirstKey + i});
    }
    // New entries under the same keys, in the memory and with the position slots of the old ones.
    fill(map, kEntries);
    for (int i = 0; i < kEntries; ++i) ASSERT_EQ(call(find(i), "Value").integer(), i);
    for (int i = 0; i < kEntries; ++i) use(iterators[static_cast<std::size_t>(i)], i + round);
    for (const Value& veteran : veterans) use(veteran, round);
    ASSERT_EQ(host().get(map, "Count").integer(), kEntries);
  }
  std::cout << GetParam() << ": " << refused << " uses of stale iterators, all refused\n";
}

INSTANTIATE_TEST_SUITE_P(Classes, PositionsSoak,
                         testing::Values("IntegerToIntegerOrderedMapQZR", "IntegerToIntegerHashMapQZR"),
                         [](const auto& parameter) { return std::string(parameter.param); });

}  // namespace
}  // namespace vornik::behaviour
