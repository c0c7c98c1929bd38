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

TEST_P(ReferenceMaps, HoldValuesOnceShareThemWithCopiesAndGiveThemBackWhenACopyFails) {
  const Value held = shared();
  const std::int64_t before = host().references(held);
  const auto taken = [&] { return host().references(held) - before; };
  const Value map = make();
  for (const int k : {1, 1, 2}) host().assign(map, "value", {key(k)}, held);
  EXPECT_EQ(taken(), 2);
  const Value clone = call(map, "Clone");
  EXPECT_EQ(taken(), 4);
  call(map, "Remove", {key(2)});
  host().assign(call(map, "first"), "Value", {}, nullptr);
  EXPECT_EQ(taken(), 2);
  // An empty value is a value.
  EXPECT_EQ(answer(map, "value", {key(1)}), "nil");
  EXPECT_EQ(answer(map, "lookup", {key(1), value(7)}), "nil");
  EXPECT_EQ(answer(map, "lookup", {key(2), nullptr}), "nil");
  EXPECT_EQ(answer(call(map, "Clone"), "ValueAtIndex", {0}), "nil");

  for (const int k : {1, 2}) put(clone, k, 8);
  EXPECT_EQ(taken(), 0);
  call(clone, "Keys");  // what is assigned then is not in the cache
  const Value first = call(clone, "first"), last = call(clone, "last");
  host().assign(first, "Value", {}, held);
  for (int twice = 0; twice < 2; ++twice) EXPECT_THROW(copyInto(clone, clone), host::ScriptException);
  EXPECT_EQ(taken(), 0);
  EXPECT_EQ(answer(first, "Key"), kStale);
  EXPECT_EQ(answer(last, "MoveNext"), kStale);
}

TEST_P(Sets, FromAnArray) {
  const char* type = facts().key == kInt ? "integer" : facts().key == kText ? "string" : "variant";
  const Value set = make({2}), none = unmade();
  for (const Value& object : {set, none}) {
    EXPECT_EQ(
        raised([&] { callDeclared(object, std::string("Constructor(Keys() as ") + type + ")", nullptr); }),
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
}

struct Dictionaries : ContainerTest {
  Value dictionary(const std::vector<std::pair<Value, Value>>& entries) {
    Value dictionary = host().dictionary();
    for (const auto& [k, v] : entries) host().setEntry(dictionary, k, v);
    return dictionary;
  }
  /// What a map holds that a constructor makes from a dictionary.
  Texts from(const Value& map, const Value& dictionary) {
    Values arguments = constructorArguments();
    arguments.insert(arguments.begin(), dictionary);
    call(map, "Constructor", arguments);
    return content(map);
  }
  Texts from(const std::vector<std::pair<Value, Value>>& entries) {
    return from(unmade(), dictionary(entries));
  }
};
VORNIK_FOR_CLASSES(Dictionaries, isMap);

TEST_P(Dictionaries, RoundTrip) {
  const Value map = make({3, 1, 2});
  for (const char* conversion : {"CloneDictionary", "Operator_Convert"}) {
    const Value dictionary = call(map, conversion);
    ASSERT_EQ(host().className(dictionary), "Dictionary");
    Texts order;
    for (const auto& [k, v] : host().entries(dictionary)) order.push_back(show(k) + "=" + show(v));
    EXPECT_EQ(order, visit(map));
    EXPECT_EQ(from(unmade(), dictionary), entries({1, 2, 3}));
  }
  EXPECT_TRUE(host().entries(call(make(), "CloneDictionary")).empty());
  // Where a dictionary is declared, a map of another class converts itself.
  const char* other = facts().key == kAny ? "StringToVariantHashMapQZR" : "VariantToVariantHashMapQZR";
  EXPECT_EQ(count(create(other, {map})), 3);
}

TEST_P(Dictionaries, ReplaceWhatTheMapHeldByTheFirstOfEqualKeysAndTheLastValue) {
  const Value map = make({1, 2}), first = call(map, "first");
  EXPECT_EQ(from(map, dictionary({{key(7), value(7)}})), entries({7}));
  EXPECT_EQ(answer(first, "Key"), kStale);
  for (const Value& none : {Value(), host().dictionary()}) {
    EXPECT_EQ(from(map, none), Texts());
    put(map, 3);
  }
  EXPECT_EQ(from({{nullptr, nullptr}}), Texts{neutral(facts().key) + "=" + neutral(facts().value)});
  const bool integers = facts().key == kInt;
  const Value one = integers ? Value(1) : Value("Abc"), other = integers ? Value("1") : Value("ABC");
  const Texts made = from({{one, value(1)}, {other, value(2)}});
  if (integers || !caseSensitive()) {
    EXPECT_EQ(made, Texts{show(one) + "=" + show(value(2))});
  } else {
    EXPECT_EQ(made.size(), 2u);
  }
}

TEST_P(Dictionaries, OfASubclassMayRaiseAndChangeTheMapInTheMiddle) {
  const Value map = make({1, 2}), plain = dictionary({{key(8), value(8)}});
  int step = 0;
  const Value subclass = host().dictionary("OwnDictionary", [&] {
    if (++step == 1) put(map, 5);
    if (step == 2) call(map, "Clear");
    // Another class of dictionary, whose methods are others.
    if (step == 3) from(map, plain);
    EXPECT_TRUE(step != 4 || content(map) == entries({8}));
    if (step == 4) throw host::ScriptException("RuntimeException", "own code", 0);
  });
  for (int i = 1; i <= 4; ++i) host().setEntry(subclass, key(i), value(i));
  EXPECT_EQ(raised([&] { from(map, subclass); }), "RuntimeException: own code");
  EXPECT_EQ(step, 8);
  // The value that was not to be had is nil; all else is as the dictionary says.
  Texts expected = entries({1, 3, 4});
  expected.push_back(show(key(2)) + "=" + neutral(facts().value));
  EXPECT_EQ(content(map), sorted(expected));
}

}  // namespace
}  // namespace vornik::behaviour
