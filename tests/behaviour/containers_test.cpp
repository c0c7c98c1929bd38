// What objects without a container and iterators without a position raise. What all other operations answer
// is the differential suite's to check.
#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct Containers : ContainerTest {};
VORNIK_FOR_CLASSES(Containers, anyClass);

TEST_P(Containers, WithoutAContainerRaise) {
  const Value object = unmade(), other = make({1}), first = call(other, "first"), last = call(other, "last");
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
  for (const Values& positions : {Values{first}, Values{first, last}})
    EXPECT_EQ(answer(object, "Remove", positions), map ? missing() : "nil");
  EXPECT_EQ(content(other), entries({1}));
  EXPECT_EQ(host().get(other, "MaxSize").integer(), facts().maxSize());
  call(object, "Constructor", constructorArguments());
  put(object, 1);
  EXPECT_EQ(content(object), entries({1}));
}

/// Nil, iterators that the host made by itself, and those of the other comparison, in every place where an
/// iterator can stand. What is not refused changes nothing, and keeps the snapshot.
TEST_P(Containers, IteratorsWithoutAPositionAreTakenByTheirRole) {
  const Value container = make({1, 2}), other = make({1}), nil, none = host().instantiate(facts().iterator());
  const Value first = call(container, "first"), last = call(container, "last"),
              gone = call(make({1}), "first"), foreign = call(other, "last");
  Values unplaced{nil, none};
  if (facts().hasCaseChoice()) unplaced.push_back(call(create(facts().name, {!caseSensitive()}), "last"));
  const std::string silent = "nil", equalNil = "NilObjectException: other iterator is nil",
                    notEqualNil = facts().isMap() ? equalNil : "NilObjectException: Iterator is nil",
                    step = facts().isMap() ? kNoPosition : silent;
  struct Row {
    Value receiver;
    const char* method;
    Values arguments;
    std::string answer;
  };
  std::vector<Row> rows{{none, "Key", {}, kNoPosition},
                        {none, "Value", {}, kNoPosition},
                        {none, "MoveNext", {}, step},
                        {none, "MovePrev", {}, step},
                        {first, "isEqual", {nil}, equalNil},
                        {first, "isEqual", {none}, "false"},
                        {first, "isNotEqual", {nil}, notEqualNil},
                        {first, "isNotEqual", {none}, "true"},
                        {unmade(), "Remove", {none}, facts().isMap() ? missing() : silent}};
  for (const Value& argument : {nil, none, first}) {
    rows.push_back({none, "isEqual", {argument}, equalNil});
    rows.push_back({none, "isNotEqual", {argument}, notEqualNil});
  }
  for (const Value& pos : unplaced) {
    if (!pos.isNil()) rows.push_back({container, "Remove", {pos}, silent});
    for (const Value& partner : {nil, none, first, last, gone, foreign}) {
      rows.push_back({container, "Remove", {pos, partner}, silent});
      rows.push_back({container, "Remove", {partner, pos}, silent});
    }
  }
  if (facts().hasCaseChoice()) {
    rows.push_back({last, "isEqual", {unplaced.back()}, "false"});
    rows.push_back({last, "isNotEqual", {unplaced.back()}, "true"});
  }
  const Value snapshot = call(container, "Keys");
  for (const Row& row : rows) {
    if (!host().hasMember(row.receiver, row.method)) continue;
    SCOPED_TRACE(testing::Message() << "row " << &row - rows.data());
    EXPECT_EQ(answer(row.receiver, row.method, row.arguments), row.answer) << row.method;
  }
  if (facts().isMap()) {
    EXPECT_EQ(raised([&] { host().assign(none, "Value", {}, value(1)); }), kNoPosition);
  }
  callDeclared(container, "Remove(pos as " + facts().iterator() + ")", nil);
  EXPECT_EQ(content(container), entries({1, 2}));
  EXPECT_EQ(call(container, "Keys").held(), snapshot.held());
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
