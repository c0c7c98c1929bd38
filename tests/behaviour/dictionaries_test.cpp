// Maps made from dictionaries and turned back into them.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Dictionaries : ContainerTest {
  Value dictionary(const std::vector<std::pair<Value, Value>>& entries) {
    Value dictionary = host().dictionary();
    for (const auto& [k, v] : entries) host().setEntry(dictionary, k, v);
    return dictionary;
  }
  static Values with(const Value& dictionary) {
    Values arguments = constructorArguments();
    arguments.insert(arguments.begin(), dictionary);
    return arguments;
  }
  Value from(const Value& dictionary) { return create(facts().name, with(dictionary)); }
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

TEST_P(Dictionaries, OfASubclassMayRaiseAndChangeTheMapInTheMiddle) {
  const Value map = make({1, 2}), plain = dictionary({{key(8), value(8)}});
  int step = 0;
  const Value subclass = host().dictionary("OwnDictionary", [&] {
    switch (++step) {
      case 1:
        return put(map, 5);
      case 2:
        return static_cast<void>(call(map, "Clear"));
      case 3:  // another class of dictionary, whose methods are others
        return static_cast<void>(call(map, "Constructor", with(plain)));
      case 4:
        EXPECT_EQ(content(map), entries({8}));
        throw host::ScriptException("RuntimeException", "own code", 0);
    }
  });
  for (int i = 1; i <= 4; ++i) host().setEntry(subclass, key(i), value(i));
  EXPECT_EQ(raised([&] { call(map, "Constructor", with(subclass)); }), "RuntimeException: own code");
  EXPECT_EQ(step, 8);
  // The value that was not to be had is nil; all else is as the dictionary says.
  Texts expected = entries({1, 3, 4});
  expected.push_back(show(key(2)) + "=" + neutral(facts().value));
  EXPECT_EQ(content(map), sorted(expected));
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
