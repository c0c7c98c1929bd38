// Access by index and export to arrays: the cache behind it, and what drops it.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct ArrayHosts : ContainerSuite {
  Texts elements(const Value& array) {
    Texts texts;
    for (const Value& element : host().elements(array)) texts.push_back(show(element));
    return texts;
  }
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
  static Texts indexMethods() { return facts().isMap() ? Texts{"Key", "ValueAtIndex"} : Texts{"Key"}; }
  static std::string outside(const std::string& tooWhat, const std::string& rangeAndValue) {
    return "OutOfBoundsException: The parameter index  is too " + tooWhat + ". Range is 0 to " +
           rangeAndValue + ".";
  }
};
struct Indexed : PerSubject<ArrayHosts> {};
VORNIK_FOR_CLASSES(Indexed, anyClass);
struct IndexedMaps : Indexed {};
VORNIK_FOR_CLASSES(IndexedMaps, isMap);

TEST_P(Indexed, FollowsTheOrderOfIteration) {
  const Value container = make({3, 1, 4, 0, 5}), empty = make(), object = unmade();
  expectAgreement(container);
  EXPECT_TRUE(host().elements(call(empty, "Keys")).empty());
  for (const std::string& method : indexMethods()) {
    const auto at = [&](const Value& where, int index) {
      return raised([&] { host().call(where, method, {index}); });
    };
    EXPECT_EQ(at(container, -1), outside("small", "4, but value is -1"));
    EXPECT_EQ(at(container, 5), outside("big", "4, but value is 5"));
    EXPECT_EQ(at(empty, 0), outside("big", "-1, but value is 0"));
    EXPECT_EQ(at(object, 0), "") << "without a container there is no exception";
  }
  EXPECT_EQ(show(call(object, "Key", {0})), neutral(facts().key));
  EXPECT_TRUE(call(object, "Keys").isNil());
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
  const auto removing = [&](const Values& arguments) {
    return [&, arguments] { call(container, "Remove", arguments); };
  };
  EXPECT_FALSE(drops([&] {
    call(container, "CountKey", {key(1)});
    call(call(container, "find", {key(1)}), "MoveNext");
  }));
  EXPECT_FALSE(drops(removing({place, nullptr})));
  EXPECT_TRUE(drops([&] { put(container, 7); }));
  EXPECT_TRUE(drops([&] { put(container, 7); })) << "though it was there";
  EXPECT_TRUE(drops(removing({key(7)})));
  EXPECT_TRUE(drops(removing({key(7)}))) << "though it was gone";
  EXPECT_TRUE(drops(removing({call(container, "find", {key(6)})})));
  EXPECT_TRUE(drops(removing({place, place})));
  EXPECT_TRUE(drops(removing({place, call(container, "last")})));
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
  container = nullptr;
  EXPECT_EQ(elements(array).size(), 3u);
}

TEST_P(IndexedMaps, IteratorsAssignPastTheCache) {
  const Value map = make({1});
  call(map, "Values");
  host().assign(call(map, "first"), "Value", {}, value(9));
  EXPECT_EQ(show(call(map, "ValueAtIndex", {0})), show(value(1)));
  put(map, 1, 7);
  EXPECT_EQ(show(call(map, "ValueAtIndex", {0})), show(value(7)));
}

TEST_P(IndexedMaps, AddKeysAndValuesAheadOfWhatAnArrayHolds) {
  const Value map = make({1, 2, 3}), object = unmade();
  const auto expectAdded = [&](const char* method, const Value& target, Texts expected) {
    for (const std::string& element : elements(target)) expected.push_back(element);
    EXPECT_EQ(raised([&] { call(object, method, {target}); }), missing());
    EXPECT_EQ(raised([&] { call(object, method, {nullptr}); }), "NilObjectException: array is nil");
    call(map, method, {target});
    EXPECT_EQ(elements(target), expected);
  };
  expectAdded("AddKeys", host().array(arrayOf(facts().key), {key(7), key(8)}), keys(map));
  expectAdded("AddValues", host().array(arrayOf(facts().value), {value(7)}), values(map));
}

TEST_F(ArrayHosts, MayLayArraysOutInAnyWay) {
  using Layout = HostOptions::ArrayLayout;
  for (const double version : {2020.02, 2021.0}) {
    for (const Layout layout : {Layout::kDocumented, Layout::kOther}) {
      start({.version = version, .arrayLayout = layout});
      forSubjectsWhere(anyClass, [&] { expectAgreement(make({3, 1, 2})); });
      // By now the library has looked at the layout.
      host().resetCalls();
      forSubjectsWhere(anyClass, [&] { expectAgreement(make({5, 4})); });
      std::uint64_t procedures = 0;
      for (const auto& [service, calls] : host().calls())
        procedures += service.ends_with("Proc()") ? calls : 0;
      EXPECT_EQ(procedures == 0, layout == Layout::kDocumented) << version << ": " << procedures;
    }
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
}

TEST_F(ArrayHosts, MayBeUnableToInsert) {
  start({.withheld = {"PluginIntegerArrayInsertProc", "PluginStringArrayInsertProc",
                      "PluginObjectArrayInsertProc"}});
  forSubjectsWhere(isMap, [&] {
    const Value target = host().array(arrayOf(facts().key), {key(7)});
    call(make({1, 2}), "AddKeys", {target});
    EXPECT_EQ(elements(target), shown({7}));
  });
}

}  // namespace
}  // namespace vornik::behaviour
