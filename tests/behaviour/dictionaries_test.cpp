// Maps made from dictionaries and turned back into them.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Dictionaries : ContainerTest {
  Value dictionary(const std::vector<std::pair<Value, Value>>& entries) {
    const Value dictionary = host().dictionary();
    for (const auto& [k, v] : entries) host().setEntry(dictionary, k, v);
    return dictionary;
  }
  Value from(const Value& dictionary) {
    Values arguments = constructorArguments();
    arguments.insert(arguments.begin(), dictionary);
    return create(facts().name, arguments);
  }
};
VORNIK_FOR_CLASSES(Dictionaries, isMap);

TEST_P(Dictionaries, RoundTrip) {
  const Value map = make({3, 1, 2});
  for (const char* conversion : {"CloneDictionary", "Operator_Convert"}) {
    const Value dictionary = call(map, conversion);
    ASSERT_EQ(host().className(dictionary), "Dictionary");
    Texts order;
    for (const auto& [k, v] : host().entries(dictionary)) {
      order.push_back(show(k));
      EXPECT_EQ(show(v), show(call(map, "value", {host().unbox(k)})));
    }
    EXPECT_EQ(order, keys(map));
    const Value copy = from(dictionary);
    EXPECT_EQ(content(copy), entries({1, 2, 3}));
  }
  EXPECT_TRUE(host().entries(call(make(), "CloneDictionary")).empty());
  // Where a dictionary is declared, a map of another class converts itself.
  const char* other = facts().key == kAny ? "StringToVariantHashMapQZR" : "VariantToVariantHashMapQZR";
  EXPECT_EQ(count(create(other, {map})), 3);
}

TEST_P(Dictionaries, ReplaceWhatTheMapHeld) {
  const Value map = make({1, 2});
  const Value first = call(map, "first");
  call(map, "Constructor", {dictionary({{key(7), value(7)}})});
  EXPECT_EQ(content(map), entries({7}));
  EXPECT_EQ(raised([&] { call(first, "Key"); }), kStale);
  for (const Value& none : {Value(), host().dictionary()}) {
    const Value empty = from(none);
    EXPECT_EQ(count(empty), 0);
    put(empty, 3);
    EXPECT_EQ(content(empty), entries({3}));
  }
}

TEST_P(Dictionaries, EqualKeysKeepTheFirstKeyAndTheLastValue) {
  const bool integers = facts().key == kInt;
  const Value first = integers ? Value(1) : Value("Abc"), second = integers ? Value("1") : Value("ABC");
  const Value map = from(dictionary({{first, value(1)}, {second, value(2)}}));
  if (!integers && caseSensitive()) {
    EXPECT_EQ(count(map), 2);
    return;
  }
  EXPECT_EQ(content(map), Texts{show(first) + "=" + show(value(2))});
}

TEST_P(Dictionaries, NilsBecomeNeutral) {
  const Value map = from(dictionary({{nullptr, nullptr}}));
  EXPECT_EQ(content(map), Texts{neutral(facts().key) + "=" + neutral(facts().value)});
}

using DictionaryHosts = ContainerSuite;

TEST_F(DictionaryHosts, MayHaveNoDictionaries) {
  start({.unknownClasses = {"Dictionary"}});
  forSubjectsWhere(isMap, [&] {
    EXPECT_TRUE(call(make({1}), "CloneDictionary").isNil());
    EXPECT_EQ(raised([&] { call(unmade(), "CloneDictionary"); }), missing());
  });
}

}  // namespace
}  // namespace vornik::behaviour
