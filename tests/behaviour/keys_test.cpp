// What counts as one key: the choice of comparison, texts in any encoding, variants of different types.
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
struct OrderedVariantKeys : TextKeys {};
VORNIK_FOR_CLASSES(OrderedVariantKeys, [](const ClassFacts& f) { return f.ordered && f.key == kAny; });

TEST_P(TextKeys, CompareAsChosen) {
  const Value container = make();
  for (const auto& [first, second] : {std::pair("abc", "ABC"), std::pair("\u00e4\u03b4", "\u00c4\u0394")}) {
    call(container, "Clear");
    add(container, text(first), value(1));
    add(container, text(second), value(2));
    EXPECT_EQ(count(container), caseSensitive() ? 2 : 1);
    EXPECT_EQ(keyAt(call(container, "find", {text(first)})), show(Value(first)))
        << "the first spelling stays";
    if (!facts().isMap()) continue;
    EXPECT_EQ(show(call(container, "value", {text(first)})), show(value(caseSensitive() ? 1 : 2)));
    const Value clone = call(container, "Clone"), copy = unmade();
    copyInto(copy, container);
    for (const Value& other : {clone, copy}) {
      EXPECT_EQ(host().get(other, "CaseSensitive").boolean(), caseSensitive());
      EXPECT_TRUE(has(other, text(second)));
      EXPECT_EQ(keys(other).size(), keys(container).size());
    }
  }
  EXPECT_TRUE(host().get(create(facts().name), "CaseSensitive").boolean());
  call(container, "Constructor", {!caseSensitive()});
  EXPECT_EQ(host().get(container, "CaseSensitive").boolean(), !caseSensitive());
  add(container, text("abc"), value(1));
  EXPECT_EQ(has(container, text("aBc")), caseSensitive());
}

TEST_P(TextKeys, AreTheSameInEveryEncoding) {
  const Value container = make();
  add(container, text("\u00e4b"), value(1));
  EXPECT_TRUE(has(container, text(host().string("\xe4\x62", kEncodingISOLatin1))));
  EXPECT_TRUE(has(container, text(host().string(std::string("\xe4\0b\0", 4), kEncodingUTF16))));
  EXPECT_FALSE(has(container, text("ab")));
  add(container, text(""), value(2));
  EXPECT_TRUE(has(container, text(host::StringRef())));
}

TEST_P(VariantKeys, OfDifferentTypesAreDifferent) {
  const Value container = make();
  const auto variants = [&] {
    Values all{nullptr, host().variant(VariantType::kInt32, 1, true),
               host().variant(VariantType::kInt64, 1, true)};
    for (const auto type :
         {VariantType::kInt32, VariantType::kInt64, VariantType::kSingle, VariantType::kDouble,
          VariantType::kBoolean, VariantType::kColor, VariantType::kString, VariantType::kText}) {
      all.push_back(host().variant(type, 1));
    }
    return all;
  };
  for (const Value& variant : variants()) add(container, variant, value(1));
  EXPECT_EQ(count(container), 11);
  if (facts().ordered) return;  // unlike types are ordered by where they lie in memory
  for (const Value& equal : variants()) EXPECT_TRUE(has(container, equal)) << show(equal);
}

TEST_P(OrderedVariantKeys, ComeByValueWithNilTheSmallest) {
  const auto expectOrder = [&](VariantType type, const Values& ascending, bool isUnsigned = false) {
    const Value container = make();
    Texts expected{"nil"};
    for (const Value& number : ascending) {
      const Value k = host().variant(type, number, isUnsigned);
      add(container, k, value(1));
      expected.push_back(show(k));
    }
    add(container, nullptr, value(1));
    if (facts().descending()) std::reverse(expected.begin(), expected.end());
    EXPECT_EQ(keys(container), expected);
  };
  expectOrder(VariantType::kInt32, {-5, 0, 7});
  expectOrder(VariantType::kInt64, {-1, 1, std::int64_t{1} << 40});
  expectOrder(VariantType::kInt64, {1, 2, -1}, true);
  expectOrder(VariantType::kInt32, {1, 2, -1}, true);
  expectOrder(VariantType::kDouble, {-1e300, 1.25, 1.5});
  expectOrder(VariantType::kBoolean, {false, true});
  expectOrder(VariantType::kText, {"a", "b", "ba"});
}

TEST_P(VariantKeys, KeepTheObjectInsertedFirst) {
  const Value container = make();
  const Value object = host().scriptObject("Thing"), other = host().scriptObject("Thing");
  add(container, object, value(1));
  EXPECT_TRUE(has(container, object));
  EXPECT_FALSE(has(container, other)) << "objects are told apart by identity";
  const Value first = host().variant(VariantType::kInt64, 5), second = host().variant(VariantType::kInt64, 5);
  add(container, first, value(1));
  add(container, second, value(2));
  EXPECT_EQ(host().references(first), 2);
  EXPECT_EQ(host().references(second), 1);
}

}  // namespace
}  // namespace vornik::behaviour
