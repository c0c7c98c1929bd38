// Access by index and export to arrays: the cache behind it, and what drops it.
#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct ArrayHosts : ContainerSuite {
  Texts byIndex(const Value& container, const char* method) {
    Texts texts;
    for (int i = 0; i < count(container); ++i) texts.push_back(show(call(container, method, {i})));
    return texts;
  }
  /// Everything that index access shows, against what iterators show.
  void expectAgreement(const Value& container) {
    EXPECT_EQ(byIndex(container, "Key"), keys(container));
    EXPECT_EQ(elements(call(container, "Keys")), keys(container));
    if (!facts().isMap()) return;
    EXPECT_EQ(byIndex(container, "ValueAtIndex"), values(container));
    EXPECT_EQ(elements(call(container, "Values")), values(container));
  }
};
struct Indexed : PerSubject<ArrayHosts> {};
VORNIK_FOR_CLASSES(Indexed, anyClass);

TEST_P(Indexed, FollowsTheOrderOfIteration) {
  const Value container = make({3, 1, 4, 0, 5}), empty = make(), object = unmade();
  expectAgreement(container);
  EXPECT_TRUE(facts().key != kInt || facts().ordered || keys(make({7, 3, 2})) == shown({2, 3, 7}))
      << "-1 goes where the greatest unsigned number does";
  EXPECT_TRUE(host().elements(call(empty, "Keys")).empty());
  const std::string outside = "OutOfBoundsException: The parameter index  is too ";
  for (const char* method : {"Key", facts().isMap() ? "ValueAtIndex" : "Key"}) {
    EXPECT_EQ(answer(container, method, {-1}), outside + "small. Range is 0 to 4, but value is -1.");
    EXPECT_EQ(answer(container, method, {5}), outside + "big. Range is 0 to 4, but value is 5.");
    EXPECT_EQ(answer(empty, method, {0}), outside + "big. Range is 0 to -1, but value is 0.");
  }
  EXPECT_EQ(answer(object, "Key", {0}), neutral(facts().key)) << "no exception without a container";
  EXPECT_EQ(answer(object, "Keys"), "nil");
}

TEST_P(Indexed, EveryChangeDropsTheCacheAndNothingElseDoes) {
  const Value container = make({0, 1, 2, 3, 4, 5, 6});
  const Value place = call(container, "find", {key(0)});
  const auto drops = [&](auto change) {
    const auto before = call(container, "Keys").object();
    change();
    expectAgreement(container);
    return call(container, "Keys").object() != before;
  };
  const auto dropsRemoving = [&](const Values& what) {
    return drops([&] { call(container, "Remove", what); });
  };
  EXPECT_FALSE(drops([&] { call(call(container, "find", {key(1)}), "MoveNext"); }));
  EXPECT_FALSE(dropsRemoving({place, nullptr}));
  EXPECT_FALSE(drops([&] { EXPECT_EQ(answer(container, "Remove", {call(container, "last")}), kAtEnd); }));
  // A key that is absent, and one that is present.
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(drops([&] { put(container, 7); })) << time;
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(dropsRemoving({key(7)})) << time;
  EXPECT_TRUE(dropsRemoving({call(container, "find", {key(6)})}));
  EXPECT_TRUE(dropsRemoving({place, place}));
  EXPECT_TRUE(dropsRemoving({place, call(container, "last")}));
  put(container, 1);
  EXPECT_TRUE(drops([&] { call(container, "Clear"); }));
}

TEST_P(Indexed, ArraysHandedOutAreTheCacheAndOutliveIt) {
  Value container = make({1, 2});
  const Value array = call(container, "Keys");
  host().append(array, key(9));
  EXPECT_EQ(show(call(container, "Key", {2})), show(key(9)));
  call(container, "Constructor", constructorArguments());
  EXPECT_EQ(call(container, "Keys").object(), array.object()) << "constructors leave the cache alone";
  if (facts().isMap()) {
    put(container, 1);
    call(container, "Values");
    host().assign(call(container, "first"), "Value", {}, value(9));
    EXPECT_EQ(answer(container, "ValueAtIndex", {0}), show(value(1))) << "iterators assign past the cache";
  }
  container = nullptr;
  EXPECT_EQ(elements(array).size(), 3u);
}

TEST_P(Indexed, AddKeysAndValuesAheadOfWhatAnArrayHolds) {
  if (!facts().isMap()) return;
  const Value map = make({1, 2, 3}), object = unmade();
  for (const bool ofKeys : {true, false}) {
    const char* method = ofKeys ? "AddKeys" : "AddValues";
    const Value held = ofKeys ? key(7) : value(7);
    const Value target = host().array(arrayOf(ofKeys ? facts().key : facts().value), {held});
    EXPECT_EQ(answer(object, method, {target}), missing());
    EXPECT_EQ(answer(object, method, {nullptr}), "NilObjectException: array is nil");
    call(map, method, {target});
    Texts expected = ofKeys ? keys(map) : values(map);
    expected.push_back(show(held));
    EXPECT_EQ(elements(target), expected);
  }
}

TEST_F(ArrayHosts, MayBeUnableToMakeArrays) {
  start({.withheld = {"RuntimeArrayCreateSingleDimBoundedArray"}});
  forSubjectsWhere(anyClass, [&] {
    const Value container = make({3, 1, 2});
    EXPECT_TRUE(call(container, "Keys").isNil());
    EXPECT_EQ(byIndex(container, "Key"), facts().isMap() ? keys(container) : Texts(3, neutral(facts().key)));
    for (const int index : {-1, 3}) EXPECT_EQ(show(call(container, "Key", {index})), neutral(facts().key));
    if (!facts().isMap()) return;
    EXPECT_TRUE(call(container, "Values").isNil());
    EXPECT_EQ(byIndex(container, "ValueAtIndex"), values(container));
  });
  start({});
  forSubjectsWhere(isMap, [&] {
    const Value map = make({1});
    host().failFrom("RuntimeArrayCreateSingleDimBoundedArray", 2);
    EXPECT_TRUE(call(map, "Keys").isNil()) << "without the one there is no other";
    host().failFrom("RuntimeArrayCreateSingleDimBoundedArray", 0);
    expectAgreement(map);
  });
}

}  // namespace
}  // namespace vornik::behaviour
