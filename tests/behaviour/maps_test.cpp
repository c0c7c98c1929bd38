// What maps add: values by key and through iterators, copies and clones.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Maps : ContainerTest {
  std::string at(const Value& map, int k) { return show(call(map, "value", {key(k)})); }
};
VORNIK_FOR_CLASSES(Maps, isMap);
struct ReferenceMaps : Maps {};
VORNIK_FOR_CLASSES(ReferenceMaps, [](const ClassFacts& f) { return f.isMap() && f.value != kInt; });
struct IntegerHashMaps : Maps {};
VORNIK_FOR_CLASSES(IntegerHashMaps,
                   [](const ClassFacts& f) { return f.isMap() && !f.ordered && f.key == kInt; });

TEST_P(Maps, ReadReplaceAndLookUpValues) {
  const Value map = make({0, 1, 2, 3});
  const Texts order = keys(map);
  put(map, 2, 9);
  EXPECT_EQ(at(map, 2), show(value(9)));
  EXPECT_TRUE(call(map, "hasKey", {key(2)}).boolean());
  EXPECT_FALSE(call(map, "hasKey", {key(4)}).boolean());
  EXPECT_EQ(show(call(map, "lookup", {key(2), value(7)})), show(value(9)));
  EXPECT_EQ(show(call(map, "lookup", {key(4), value(7)})), show(value(7)));
  EXPECT_EQ(raised([&] { call(map, "value", {key(4)}); }), "KeyNotFoundException: Key not found");
  const Value i = call(map, "find", {key(2)});
  host().assign(i, "Value", {}, value(8));
  EXPECT_EQ(show(call(i, "Value")), show(value(8)));
  EXPECT_EQ(at(map, 2), show(value(8)));
  EXPECT_EQ(keys(map), order) << "replacing keeps the entry and its place";
}

TEST_P(ReferenceMaps, AnEmptyValueIsAValue) {
  const Value map = make();
  host().assign(map, "value", {key(1)}, nullptr);
  EXPECT_TRUE(call(map, "hasKey", {key(1)}).boolean());
  EXPECT_EQ(at(map, 1), "nil");
  EXPECT_EQ(show(call(map, "lookup", {key(1), value(7)})), "nil");
  EXPECT_EQ(show(call(map, "lookup", {key(2), nullptr})), "nil");
  EXPECT_EQ(show(call(call(map, "Clone"), "ValueAtIndex", {0})), "nil");
}

TEST_P(ReferenceMaps, HoldValuesOnceAndShareThemWithCopies) {
  const Value held = facts().value == kText ? Value("shared") : host().variant(host::VariantType::kInt64, 5);
  const std::int64_t before = host().references(held);
  const auto taken = [&] { return host().references(held) - before; };
  const Value map = make();
  for (const int k : {1, 1, 2}) host().assign(map, "value", {key(k)}, held);
  EXPECT_EQ(taken(), 2);
  Value clone = call(map, "Clone");
  EXPECT_EQ(taken(), 4);
  call(map, "Remove", {key(2)});
  host().assign(call(map, "first"), "Value", {}, value(3));
  EXPECT_EQ(taken(), 2);
  put(clone, 1, 8);
  clone = nullptr;
  EXPECT_EQ(taken(), 0);
}

TEST_P(Maps, CopiesAndClonesAreIndependent) {
  const Value map = make({1, 2, 3}), copy = unmade();
  copyInto(copy, map);
  for (const Value& other : {copy, call(map, "Clone")}) {
    EXPECT_EQ(host().className(other), facts().name);
    EXPECT_EQ(content(other), entries({1, 2, 3}));
    put(other, 1, 9);
    put(other, 4);
    call(other, "Remove", {key(2)});
    EXPECT_EQ(count(other), 3);
    EXPECT_EQ(content(map), entries({1, 2, 3}));
  }
  put(map, 5);
  EXPECT_EQ(count(copy), 3);
  copyInto(copy, map);
  EXPECT_EQ(content(copy), entries({1, 2, 3, 5})) << "what was in the target is gone";
}

TEST_P(IntegerHashMaps, CopiesAreFilledInVisitingOrder) {
  const Value map = make({1, 2, 3, 4, 5}), copy = unmade();
  copyInto(copy, map);
  for (const Value& other : {copy, call(map, "Clone")}) EXPECT_EQ(keys(other), shown({1, 2, 3, 4, 5}));
  call(map, "Clear");
  put(map, 1);
  EXPECT_EQ(host().get(call(map, "Clone"), "BinCount").integer(), 2) << "not the source's";
}

TEST_P(Maps, CopyFailures) {
  const Value map = make({1, 2});
  EXPECT_EQ(raised([&] { copyInto(map, nullptr); }), "NilObjectException: Other map is nil");
  EXPECT_EQ(content(map), entries({1, 2}));
  for (const Value& source : {unmade(), map}) {
    EXPECT_EQ(raised([&] { copyInto(map, source); }), "NilObjectException: Other map not initialized");
    EXPECT_EQ(raised([&] { count(map); }), missing());
    copyInto(map, make({3}));
    EXPECT_EQ(content(map), entries({3}));
  }
}

}  // namespace
}  // namespace vornik::behaviour
