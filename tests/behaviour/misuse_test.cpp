// Uses of positions outside the rules: each gets its exception, and the container is intact afterwards. Also
// what keeps a position valid.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Misuse : ContainerTest {
  /// What reading, assigning and removing at a position raise.
  void expectNoEntry(const Value& container, const Value& iterator, const char* exception) {
    EXPECT_EQ(raised([&] { call(iterator, "Key"); }), exception);
    EXPECT_EQ(raised([&] { call(iterator, "MoveNext"); }), exception);
    EXPECT_EQ(raised([&] { call(container, "Remove", {iterator}); }), exception);
    if (!facts().isMap()) return;
    EXPECT_EQ(raised([&] { call(iterator, "Value"); }), exception);
    EXPECT_EQ(raised([&] { host().assign(iterator, "Value", {}, value(1)); }), exception);
  }
  void expectStale(const Value& container, const Value& iterator) {
    const Value last = call(container, "last");
    expectNoEntry(container, iterator, kStale);
    EXPECT_EQ(raised([&] { call(container, "Remove", {iterator, last}); }), kStale);
    EXPECT_EQ(raised([&] { call(container, "Remove", {last, iterator}); }), kStale);
    EXPECT_FALSE(equal(iterator, last));
    if (!facts().ordered) return;
    EXPECT_EQ(raised([&] { call(iterator, "MovePrev"); }), kStale);
  }
};
VORNIK_FOR_CLASSES(Misuse, anyClass);

TEST_P(Misuse, TheEndHasNoEntryAndNothingLiesBeforeTheFirst) {
  for (const auto& present : {std::vector<int>{}, std::vector<int>{1, 2}}) {
    const Value container = make(present), end = call(container, "last"), first = call(container, "first");
    expectNoEntry(container, end, kAtEnd);
    EXPECT_TRUE(atEnd(container, end)) << "a failed step leaves the iterator where it was";
    if (facts().ordered) {
      EXPECT_EQ(raised([&] { call(first, "MovePrev"); }), kAtFirst);
      EXPECT_TRUE(equal(first, call(container, "first")));
    }
    EXPECT_EQ(content(container), entries(present));
  }
}

TEST_P(Misuse, RemovedEntriesLeaveTheirIteratorsStale) {
  const Value container = make({0, 1, 2, 3, 4, 5});
  const auto find = [&](int i) { return call(container, "find", {key(i)}); };
  const Value byKey = find(1), byPosition = find(2), sameEntry = find(2);
  call(container, "Remove", {key(1)});
  call(container, "Remove", {byPosition});
  put(container, 1);
  put(container, 2);
  for (const Value& stale : {byKey, byPosition, sameEntry}) expectStale(container, stale);
  EXPECT_FALSE(equal(byKey, find(1))) << "a new entry of the same key is another entry";
  const Value inRange = nth(container, 1), kept = nth(container, 5), end = call(container, "last");
  call(container, "Remove", {inRange, kept});
  expectStale(container, inRange);
  EXPECT_TRUE(equal(kept, nth(container, 1)));

  call(container, "Clear");
  expectStale(container, kept);
  EXPECT_TRUE(atEnd(container, end));
  put(container, 7);
  EXPECT_TRUE(atEnd(container, end)) << "the end stays the end";
  EXPECT_EQ(content(container), entries({7}));
  const Value seven = call(container, "first");
  call(container, "Constructor", constructorArguments());
  put(container, 7);
  expectStale(container, seven);
  expectStale(container, end);
  EXPECT_EQ(content(container), entries({7}));
}

TEST_P(Misuse, IteratorsOutliveTheirContainer) {
  Value container = make({1, 2});
  const Value entry = call(container, "first"), end = call(container, "last");
  container = nullptr;
  container = make({1, 2});
  expectStale(container, entry);
  expectStale(container, end);
}

TEST_P(Misuse, PositionsOfAnotherContainerAreRefused) {
  const Value container = make({1, 2}), other = make({1, 2});
  const Value first = call(container, "first"), last = call(container, "last");
  for (const char* place : {"first", "last"}) {
    const Value foreign = call(other, place);
    for (const Values& position : {Values{foreign}, Values{first, foreign}, Values{foreign, last}}) {
      EXPECT_EQ(raised([&] { call(container, "Remove", position); }), kForeign) << place;
    }
    EXPECT_FALSE(equal(foreign, call(container, place))) << place;
  }
  EXPECT_EQ(content(container), entries({1, 2}));
  EXPECT_EQ(content(other), entries({1, 2}));
  if (!facts().hasCaseChoice()) return;
  // To a container of the other comparison such an iterator has no position at all.
  const Value unplaced = call(create(facts().name, {!caseSensitive()}), "last");
  call(container, "Remove", {unplaced});
  call(container, "Remove", {first, unplaced});
  EXPECT_FALSE(equal(unplaced, last));
  EXPECT_EQ(content(container), entries({1, 2}));
}

TEST_P(Misuse, ReversedRangesRemoveNothing) {
  const Value container = make({1, 2, 3}), first = call(container, "first");
  for (const Value& from : {nth(container, 1), call(container, "last")}) {
    EXPECT_EQ(raised([&] { call(container, "Remove", {from, first}); }), kReversed);
  }
  EXPECT_EQ(content(container), entries({1, 2, 3}));
  EXPECT_TRUE(equal(first, call(container, "first")));
}

TEST_P(Misuse, OtherChangesLeaveIteratorsValid) {
  const Value container = make({0, 1, 2});
  const Value one = call(container, "find", {key(1)}), end = call(container, "last");
  for (int i = 3; i < 300; ++i) put(container, i);
  for (int i = 2; i < 300; i += 3) call(container, "Remove", {key(i)});
  EXPECT_EQ(keyAt(one), show(key(1)));
  EXPECT_TRUE(equal(one, call(container, "find", {key(1)})));
  EXPECT_TRUE(atEnd(container, end));
  while (!equal(one, end)) call(one, "MoveNext");
}

}  // namespace
}  // namespace vornik::behaviour
