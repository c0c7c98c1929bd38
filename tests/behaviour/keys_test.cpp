// What counts as one key: the choice of comparison, and variants of different types.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

using host::VariantType;

struct TextKeys : ContainerTest {
  Value text(const Value& string) {
    return facts().key == kText ? string : host().variant(VariantType::kString, string);
  }
  bool has(const Value& container, const Value& k) { return call(container, "CountKey", {k}).integer() == 1; }
};
VORNIK_FOR_CLASSES(TextKeys, hasCaseChoice);
struct VariantKeys : TextKeys {};
VORNIK_FOR_CLASSES(VariantKeys, [](const ClassFacts& f) { return f.key == kAny; });

TEST_P(TextKeys, CompareAsChosen) {
  const Value container = make();
  for (const auto& [first, second] : {std::pair("abc", "ABC"), std::pair("\u00e4\u03b4", "\u00c4\u0394")}) {
    call(container, "Clear");
    add(container, text(first), value(1));
    add(container, text(second), value(2));
    EXPECT_EQ(count(container), caseSensitive() ? 2 : 1);
    // The first spelling stays.
    EXPECT_EQ(keyAt(call(container, "find", {text(second)})), show(Value(caseSensitive() ? second : first)));
    if (!facts().isMap()) continue;
    EXPECT_EQ(show(call(container, "value", {text(first)})), show(value(caseSensitive() ? 1 : 2)));
    const Value copy = unmade();
    copyInto(copy, container);
    for (const Value& other : {call(container, "Clone"), copy}) {
      EXPECT_EQ(host().get(other, "CaseSensitive").boolean(), caseSensitive());
      EXPECT_TRUE(has(other, text(second)));
      EXPECT_EQ(keys(other).size(), keys(container).size());
    }
  }
  EXPECT_TRUE(host().get(create(facts().name), "CaseSensitive").boolean());
  EXPECT_EQ(host().get(container, "CaseSensitive").boolean(), caseSensitive());
}

TEST_P(VariantKeys, ComeByValueWithNilTheSmallest) {
  const Value container = make();
  for (const int number : {-1, 2, 1})
    add(container, host().variant(VariantType::kInt64, number, true), value(1));
  add(container, nullptr, value(1));
  Texts ascending{"nil", "1", "2", "-1"};  // read as unsigned
  if (facts().descending()) std::reverse(ascending.begin(), ascending.end());
  EXPECT_TRUE(!facts().ordered || keys(container) == ascending) << testing::PrintToString(keys(container));
}

TEST_P(VariantKeys, OfDifferentTypesAreDifferentAndTheFirstOneStays) {
  using V = VariantType;
  const auto variants = [&] {
    Values all{nullptr, host().variant(V::kInt32, 1, true), host().variant(V::kInt64, 1, true)};
    for (const V type :
         {V::kInt32, V::kInt64, V::kSingle, V::kDouble, V::kBoolean, V::kColor, V::kString, V::kText})
      all.push_back(host().variant(type, 1));
    return all;
  };
  const Value container = make(), object = host().scriptObject("Thing");
  add(container, object, value(1));
  EXPECT_TRUE(has(container, object));
  EXPECT_FALSE(has(container, host().scriptObject("Thing"))) << "objects are told apart by identity";
  const Values first = variants(), second = variants();
  for (const Value& variant : first) add(container, variant, value(1));
  EXPECT_EQ(count(container), 12);
  if (facts().ordered) return;  // unlike types are ordered by where they lie in memory
  for (const Value& equal : second) add(container, equal, value(2));
  EXPECT_EQ(count(container), 12);
  EXPECT_EQ(host().references(first[1]), 2);
  EXPECT_EQ(host().references(second[1]), 1);
}

}  // namespace
}  // namespace vornik::behaviour
