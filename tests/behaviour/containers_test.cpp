// What objects without a container and iterators without a position raise. What all other operations answer
// is the differential suite's to check.
#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

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

/// What short random runs do not come to: containers that are gone, and reversed ranges of hash classes.
TEST_P(Containers, MisusedPositionsRaiseAndChangeNothing) {
  const Value orphan = call(make({1}), "first"), orphanEnd = call(make({1}), "last");
  const Value container = make({1, 2}), first = call(container, "first"), last = call(container, "last");
  for (const Value& gone : {orphan, orphanEnd}) {
    for (const char* method : {"Key", "MoveNext", facts().ordered ? "MovePrev" : "Key"})
      EXPECT_EQ(answer(gone, method), kStale) << method;
    for (const Values& positions : {Values{gone}, Values{first, gone}, Values{gone, last}})
      EXPECT_EQ(answer(container, "Remove", positions), kStale);
  }
  for (const Value& from : {nth(container, 1), last})
    EXPECT_EQ(answer(container, "Remove", {from, first}), kReversed);
  EXPECT_EQ(content(container), entries({1, 2}));
}

}  // namespace
}  // namespace vornik::behaviour
