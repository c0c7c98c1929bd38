// What objects without a container and iterators without an entry raise, and the bucket counts of hash
// tables. What the operations answer is the differential suite's to check.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

using testing::ElementsAre;

struct Containers : ContainerTest {};
VORNIK_FOR_CLASSES(Containers, anyClass);
TEST_P(Containers, WithoutAContainerRaise) {
  const Value object = unmade(), other = make({1});
  const bool map = facts().isMap();
  for (const char* name : {"Count", "Empty", "MaxSize", "Clear", "first", "last", "Clone", "BinCount"}) {
    if (!host().hasMember(object, name)) continue;
    EXPECT_EQ(raised([&] { host().get(object, name); }), missing()) << name;
  }
  for (const char* name : {"Remove", "CountKey", "find", "LowerBound", "UpperBound", "value", "hasKey"}) {
    if (!host().hasMember(object, name)) continue;
    EXPECT_EQ(answer(object, name, {key(1)}), missing()) << name;
  }
  EXPECT_EQ(answer(object, "lookup", map ? Values{key(1), value(1)} : Values{key(1)}), missing());
  EXPECT_EQ(raised([&] { put(object, 1); }), missing());
  // Sets pass over positions in silence.
  const Value first = call(other, "first");
  EXPECT_EQ(answer(object, "Remove", {first}), map ? missing() : "nil");
  EXPECT_EQ(answer(object, "Remove", {first, call(other, "last")}), map ? missing() : "nil");
  EXPECT_EQ(content(other), entries({1}));
  EXPECT_EQ(host().get(other, "MaxSize").integer(), facts().maxSize());
  call(object, "Constructor", constructorArguments());
  put(object, 1);
  EXPECT_EQ(content(object), entries({1}));
}

TEST_P(Containers, IteratorsWithoutAPositionRaise) {
  const Value container = make({1}), first = call(container, "first"),
              none = host().instantiate(facts().iterator());
  EXPECT_EQ(answer(none, "Key"), kNoPosition);
  for (const char* move : {"MoveNext", facts().ordered ? "MovePrev" : "MoveNext"})
    EXPECT_EQ(answer(none, move), facts().isMap() ? kNoPosition : "nil") << move;
  if (facts().isMap()) {
    EXPECT_EQ(answer(none, "Value"), kNoPosition);
    EXPECT_EQ(raised([&] { host().assign(none, "Value", {}, value(1)); }), kNoPosition);
  }
  const std::string isNil = "NilObjectException: other iterator is nil";
  for (const auto& [one, other] : {std::pair(first, Value()), std::pair(none, first)}) {
    EXPECT_EQ(answer(one, "isEqual", {other}), isNil);
    EXPECT_EQ(answer(one, "isNotEqual", {other}),
              facts().isMap() ? isNil : "NilObjectException: Iterator is nil");
  }
  EXPECT_FALSE(equal(first, none));
}

TEST_P(Containers, RemoveLetsNilAndUnplacedIteratorsPass) {
  const Value container = make({1, 2}), first = call(container, "first");
  Values nothing{Value(), host().instantiate(facts().iterator())};
  // To a container of the other comparison an iterator has no position at all.
  if (facts().hasCaseChoice()) nothing.push_back(call(create(facts().name, {!caseSensitive()}), "last"));
  for (const Value& none : nothing) {
    callDeclared(container, "Remove(pos as " + facts().iterator() + ")", none);
    for (const auto& [from, to] : {std::pair(none, first), std::pair(first, none), std::pair(none, none)}) {
      call(container, "Remove", {from, to});
    }
    EXPECT_TRUE(none.isNil() || !equal(call(container, "last"), none));
  }
  EXPECT_EQ(content(container), entries({1, 2}));
}

TEST_P(Containers, MisusedPositionsRaiseAndChangeNothing) {
  const Value orphan = call(make({1}), "first"),
              orphanEnd = call(make({1}), "last");  // of containers that are gone
  const Value container = make({1, 2, 3}), other = make({1, 2}), empty = make();
  const Value first = call(container, "first"), last = call(container, "last"), gone = nth(container, 1);
  const Value foreign = call(other, "first"), otherEnd = call(other, "last");
  call(container, "Remove", {gone});
  const Texts left = content(container);
  for (const auto& [bad, exception] :
       {std::pair(gone, kStale), std::pair(orphan, kStale), std::pair(orphanEnd, kStale),
        std::pair(foreign, kForeign), std::pair(otherEnd, kForeign)}) {
    for (const Values& positions : {Values{bad}, Values{first, bad}, Values{bad, last}})
      EXPECT_EQ(answer(container, "Remove", positions), exception);
  }
  EXPECT_EQ(answer(container, "Remove", {last}), kAtEnd);
  for (const Value& from : {nth(container, 1), last})
    EXPECT_EQ(answer(container, "Remove", {from, first}), kReversed);
  for (const char* method : {"Key", "MoveNext", facts().isMap() ? "Value" : "Key"}) {
    for (const Value& stale : {gone, orphan, orphanEnd}) EXPECT_EQ(answer(stale, method), kStale) << method;
    EXPECT_EQ(answer(last, method), kAtEnd) << method;
  }
  if (facts().ordered) {
    EXPECT_EQ(answer(gone, "MovePrev"), kStale);
    EXPECT_EQ(answer(first, "MovePrev"), kAtFirst);
    EXPECT_EQ(answer(call(empty, "last"), "MovePrev"), kAtFirst);
  }
  EXPECT_TRUE(equal(first, call(container, "first")) && atEnd(container, last)) << "failed steps go nowhere";
  EXPECT_EQ(content(container), left);
  EXPECT_EQ(content(other), entries({1, 2}));
}

TEST_P(Containers, HashTablesGrowByPrimesAndNeverShrink) {
  if (facts().ordered) return;
  const Value container = make();
  std::vector<std::int64_t> bins;
  for (int i = 0; i < 7; ++i) {
    bins.push_back(host().get(container, "BinCount").integer());
    put(container, i);
  }
  EXPECT_THAT(bins, ElementsAre(0, 2, 2, 5, 5, 5, 11));
  call(container, "Clear");
  EXPECT_EQ(host().get(container, "BinCount").integer(), 11);
}

}  // namespace
}  // namespace vornik::behaviour
