// Maps made from maps and dictionaries and turned back into them, sets made from arrays, and the references
// that values in them take.
#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct Maps : ContainerTest {};
VORNIK_FOR_CLASSES(Maps, isMap);
struct ReferenceMaps : ContainerTest {
  Value shared() { return facts().value == kText ? Value("shared") : host().variant(kVariantInt64, 5); }
};
VORNIK_FOR_CLASSES(ReferenceMaps, [](const ClassFacts& f) { return f.isMap() && f.value != kInt; });
struct Sets : ContainerTest {};
VORNIK_FOR_CLASSES(Sets, [](const ClassFacts& f) { return !f.isMap(); });

TEST_P(Maps, CopiesAndClonesAreIndependent) {
  const Value map = make({1, 2, 3, 4, 5}), copy = unmade();
  copyInto(copy, map);
  for (const Value& other : {copy, call(map, "Clone")}) {
    EXPECT_EQ(content(other), entries({1, 2, 3, 4, 5}));
    EXPECT_TRUE(facts().ordered || facts().key != kInt || keys(other) == shown({1, 2, 3, 4, 5}));
    put(other, 1, 9);
    put(other, 6);
    call(other, "Remove", {key(2)});
    EXPECT_EQ(count(other), 5);
    EXPECT_EQ(content(map), entries({1, 2, 3, 4, 5}));
  }
  call(map, "Clear");
  put(map, 7);
  copyInto(copy, map);
  EXPECT_EQ(content(copy), entries({7})) << "what was in the target is gone";
  if (facts().ordered) return;
  EXPECT_EQ(host().get(call(map, "Clone"), "BinCount").integer(), 2) << "not the source's";
}

TEST_P(Maps, CopiesOfManyHaveAll) {
  if (facts().key != kInt || facts().value != kInt) return;
  const Value map = make();
  for (int i = 0; i < 20'000; ++i) put(map, i * 7919 % 20'011);
  const Value clone = call(map, "Clone");
  if (facts().ordered) {
    EXPECT_EQ(visit(clone), visit(map));
  } else {
    EXPECT_EQ(content(clone), content(map));
  }
  for (int i = 0; i < 20'000; ++i) ASSERT_EQ(call(clone, "CountKey", {key(i * 7919 % 20'011)}).integer(), 1);
  const Value place = call(clone, "last");
  for (int i = 0; facts().ordered && i < 20'000; ++i) call(place, "MovePrev");
  EXPECT_TRUE(!facts().ordered || equal(place, call(clone, "first")));
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

TEST_P(ReferenceMaps, LeaveNoEntryBehindTheCacheWhenACopyFails) {
  const Value map = make({1});
  const Value held = shared();
  const std::int64_t before = host().references(held);
  call(map, "Keys");
  const Value first = call(map, "first"), last = call(map, "last");
  host().assign(first, "Value", {}, held);
  for (int twice = 0; twice < 2; ++twice) EXPECT_THROW(copyInto(map, map), host::ScriptException);
  EXPECT_EQ(host().references(held), before);
  EXPECT_EQ(answer(first, "Key"), kStale);
  EXPECT_EQ(answer(last, "MoveNext"), kStale);
}

TEST_P(ReferenceMaps, HoldValuesOnceAndShareThemWithCopies) {
  const Value held = shared();
  const std::int64_t before = host().references(held);
  const auto taken = [&] { return host().references(held) - before; };
  const Value map = make();
  for (const int k : {1, 1, 2}) host().assign(map, "value", {key(k)}, held);
  EXPECT_EQ(taken(), 2);
  Value clone = call(map, "Clone");
  EXPECT_EQ(taken(), 4);
  call(map, "Remove", {key(2)});
  host().assign(call(map, "first"), "Value", {}, nullptr);
  EXPECT_EQ(taken(), 2);
  put(clone, 1, 8);
  clone = nullptr;
  EXPECT_EQ(taken(), 0);
  // An empty value is a value.
  EXPECT_EQ(answer(map, "value", {key(1)}), "nil");
  EXPECT_EQ(answer(map, "lookup", {key(1), value(7)}), "nil");
  EXPECT_EQ(answer(map, "lookup", {key(2), nullptr}), "nil");
  EXPECT_EQ(answer(call(map, "Clone"), "ValueAtIndex", {0}), "nil");
}

TEST_P(Sets, FromAnArray) {
  const char* type = facts().key == kInt ? "integer" : facts().key == kText ? "string" : "variant";
  const std::string fromArray = std::string("Constructor(Keys() as ") + type + ")";
  const Value set = make({2}), none = unmade();
  for (const Value& object : {set, none}) {
    EXPECT_EQ(raised([&] { callDeclared(object, fromArray, nullptr); }),
              "NilObjectException: values array is nil");
  }
  EXPECT_EQ(raised([&] { count(none); }), missing());
  EXPECT_EQ(content(set), entries({2}));
  // Variant sets take strings too.
  for (const Kind kind : {facts().key, facts().key == kAny ? kText : facts().key}) {
    const Values keys{keyOf(kind, 6), keyOf(kind, 4), keyOf(kind, 6), keyOf(kind, 1)};
    call(set, "Constructor", {host().array(arrayOf(kind), keys)});
    EXPECT_EQ(content(set), entries({1, 4, 6}));
  }
  EXPECT_TRUE(!facts().hasCaseChoice() || host().get(set, "CaseSensitive").boolean());
  call(set, "Constructor", {host().array(arrayOf(facts().key), {})});
  EXPECT_EQ(count(set), 0);
}

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
