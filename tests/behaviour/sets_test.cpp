// What sets add: insertion, and construction from arrays.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Sets : ContainerTest {
  Value array(const std::vector<int>& keys) {
    Values elements;
    for (const int i : keys) elements.push_back(key(i));
    return host().array(arrayOf(facts().key), elements);
  }
  std::string raisedByNilArray(const Value& set) {
    const char* type = facts().key == kInt ? "integer" : facts().key == kText ? "string" : "variant";
    return raised([&] { callDeclared(set, std::string("Constructor(Keys() as ") + type + ")", nullptr); });
  }
};
VORNIK_FOR_CLASSES(Sets, [](const ClassFacts& f) { return !f.isMap(); });

TEST_P(Sets, FromAnArray) {
  const Value set = create(facts().name, {array({6, 4, 6, 1})}), first = call(set, "first");
  EXPECT_EQ(content(set), entries({1, 4, 6}));
  EXPECT_TRUE(call(set, "lookup", {key(6)}).boolean());
  EXPECT_FALSE(call(set, "lookup", {key(5)}).boolean());
  if (facts().hasCaseChoice()) {
    EXPECT_TRUE(host().get(set, "CaseSensitive").boolean());
  }
  EXPECT_EQ(raisedByNilArray(set), "NilObjectException: values array is nil");
  EXPECT_EQ(content(set), entries({1, 4, 6}));
  call(set, "Constructor", {array({})});
  EXPECT_EQ(count(set), 0);
  EXPECT_EQ(raised([&] { call(first, "Key"); }), kStale);
  put(set, 3);
  EXPECT_EQ(content(set), entries({3}));

  const Value none = unmade();
  EXPECT_EQ(raisedByNilArray(none), "NilObjectException: values array is nil");
  EXPECT_EQ(raised([&] { count(none); }), missing());
}

using VariantSets = LoadedLibrary;

TEST_F(VariantSets, FromAnArrayOfStrings) {
  for (const char* name : {"VariantHashSetQZR", "VariantOrderedSetQZR"}) {
    const Value set = create(name, {host().array(kArrayOfStrings, {"b", "a", "B", "b", ""})});
    EXPECT_EQ(host().get(set, "Count").integer(), 4);
    for (const char* text : {"B", ""}) {
      EXPECT_TRUE(call(set, "lookup", {host().variant(host::VariantType::kString, text)}).boolean());
    }
  }
}

}  // namespace
}  // namespace vornik::behaviour
