// Access by index and export to arrays: the cache behind it, and what drops it.
#include <functional>

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

/// Script code in the middle of an access by index or of an export, at every call of the host that can run
/// any: the answer is of one moment, and what is cached is what the container holds.
struct InterruptedHosts : ArrayHosts {
  struct Mischief {
    const char* name;
    bool changes;  ///< entries, so that what was begun must be given up
    std::function<void(const Value& container)> run;
  };
  std::vector<Mischief> mischiefs() {
    std::vector<Mischief> all{
        {"Constructor", true, [this](const Value& c) { call(c, "Constructor", constructorArguments()); }},
        {"export", false, [this](const Value& c) { call(c, "Keys"); }},
        {"Clear", true, [this](const Value& c) { call(c, "Clear"); }},
        {"Remove", true, [this](const Value& c) { call(c, "Remove", {call(c, "first")}); }},
        {"insert", true, [this](const Value& c) { put(c, 9); }},
        {"rebuild", true, [this](const Value& c) {
           call(c, "Constructor", constructorArguments());
           for (const int k : {1, 2}) put(c, k);
         }}};
    if (!facts().isMap()) return all;
    all.push_back({"assign", true, [this](const Value& c) { put(c, 1, 7); }});
    all.push_back({"failed copy", true, [this](const Value& c) { raised([&] { copyInto(c, c); }); }});
    return all;
  }

  /// What a member shows of the keys or the values.
  Texts use(const Value& container, const std::string& member, Kind kind) {
    if (member.ends_with("Key") || member == "ValueAtIndex") return {answer(container, member, {0})};
    const bool adds = member.starts_with("Add");
    const Value target = host().array(arrayOf(kind), {});
    const Value array = call(container, member, adds ? Values{target} : Values{});
    if (adds) return elements(target);
    return array.isNil() ? Texts{"given up"} : elements(array);
  }

  void interrupt(const std::string& service, const std::string& member) {
    const bool ofKeys = member.find("Key") != std::string::npos;
    const auto column = [&](const Value& c) { return ofKeys ? keys(c) : values(c); };
    for (const Mischief& mischief : mischiefs()) {
      bool ran = true;
      for (std::uint64_t nth = 1; ran; ++nth) {
        SCOPED_TRACE(testing::Message()
                     << mischief.name << " in call " << nth << " of " << service << " by " << member);
        const Value container = make({1, 2});
        const Texts before = column(container);
        ran = false;
        host().interrupt(service, nth, [&] {
          ran = true;
          mischief.run(container);
        });
        const Texts shown = use(container, member, ofKeys ? facts().key : facts().value);
        host().interrupt(service, 0);
        const bool isLeft = raised([&] { count(container); }).empty();
        if (!ran || !mischief.changes) {
          EXPECT_EQ(shown, shown.size() == 1 ? Texts{before[0]} : before);
        } else if (member.ends_with("s") && !member.starts_with("Add")) {
          EXPECT_EQ(shown, Texts{"given up"});
        } else {  // what was there, what an index finds there now, or what was assigned
          Texts now = isLeft ? column(container) : Texts{};
          if (now.empty()) now = {neutral(ofKeys ? facts().key : facts().value)};
          if (!facts().isMap()) now[0] = neutral(facts().key);
          for (std::size_t i = 0; i < shown.size(); ++i)
            EXPECT_THAT(shown[i], testing::AnyOf(before[i], now[0], show(value(7)))) << i;
        }
        if (isLeft) expectAgreement(container);
      }
    }
  }
};

struct Indexed : PerSubject<ArrayHosts> {};
VORNIK_FOR_CLASSES(Indexed, anyClass);

TEST_P(Indexed, FollowsTheOrderOfIteration) {
  const Value container = make({3, 1, 4, 0, 5}), empty = make(), object = unmade();
  expectAgreement(container);
  EXPECT_TRUE(facts().key != kInt || facts().ordered || keys(make({7, 3, 2})) == shown({2, 3, 7}))
      << "-1 goes where the greatest unsigned number does";
  EXPECT_EQ(elements(call(empty, "Keys")), Texts());
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
  const Value place = call(container, "find", {key(0)}), last = call(container, "last");
  const auto drops = [&](const char* method, const Values& arguments) {
    const auto before = call(container, "Keys").object();
    method != nullptr ? static_cast<void>(answer(container, method, arguments)) : put(container, 7);
    expectAgreement(container);
    return call(container, "Keys").object() != before;
  };
  EXPECT_FALSE(drops("Remove", {place, nullptr}));
  EXPECT_FALSE(drops("Remove", {last}));
  // A key that is absent, and one that is present.
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(drops(nullptr, {})) << time;
  for (int time = 0; time < 2; ++time) EXPECT_TRUE(drops("Remove", {key(7)})) << time;
  EXPECT_TRUE(drops("Remove", {call(container, "find", {key(6)})}));
  EXPECT_TRUE(drops("Remove", {place, place}));
  EXPECT_TRUE(drops("Remove", {place, last}));
  put(container, 1);
  EXPECT_TRUE(drops("Clear", {}));
}

TEST_P(Indexed, ArraysHandedOutAreTheCacheAndOutliveIt) {
  Value container = make({1, 2});
  const Value array = call(container, "Keys");
  host().append(array, key(9));
  EXPECT_EQ(answer(container, "Key", {2}), show(key(9)));
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
  const char* service = "RuntimeArrayCreateSingleDimBoundedArray";
  start({});
  forSubjectsWhere(anyClass, [&] {
    const Value container = make({3, 1, 2});
    if (facts().isMap()) {
      host().failFrom(service, 2);
      EXPECT_TRUE(call(container, "Keys").isNil()) << "without the one there is no other";
    }
    host().failFrom(service, 1);
    EXPECT_TRUE(call(container, facts().isMap() ? "Values" : "Keys").isNil());
    EXPECT_EQ(byIndex(container, "Key"), facts().isMap() ? keys(container) : Texts(3, neutral(facts().key)));
    for (const int index : {-1, 3}) EXPECT_EQ(answer(container, "Key", {index}), neutral(facts().key));
    EXPECT_TRUE(!facts().isMap() || byIndex(container, "ValueAtIndex") == values(container));
    host().failFrom(service, 0);
    expectAgreement(container);
  });
}

TEST_F(InterruptedHosts, ScriptCodeMayDoAnythingWhileArraysAreMadeAndFilled) {
  // Elements are set directly, or through the procedures: here of ordered classes, there of hash classes.
  for (const auto layout : {HostOptions::ArrayLayout::kDocumented, HostOptions::ArrayLayout::kOther}) {
    start({.arrayLayout = layout});
    const auto calls = host().calls();
    // Each class with one of the layouts.
    const bool ordered = layout == HostOptions::ArrayLayout::kDocumented;
    forSubjectsWhere(
        [=](const ClassFacts& facts) { return facts.ordered == ordered; },
        [&] {
          if (!caseSensitive()) return;
          for (const auto& [service, count] : calls) {
            const auto names = [&service = service](const char* part) {
              return service.find(part) != std::string::npos;
            };
            if (!(names("Array") || names("UBound")) || names("Get")) continue;
            for (const std::string member : {"Keys", "Key", "Values", "ValueAtIndex", "AddKeys", "AddValues"})
              if (host().hasMember(unmade(), member) && (names("Array") || member.ends_with("s")))
                interrupt(service, member);
          }
        });
  }
}

/// The first element of all is preceded by a probe, which makes an array.
TEST_F(InterruptedHosts, ScriptCodeMayDoAnythingWhileTheLayoutOfArraysIsProbed) {
  forSubjectsWhere(anyClass, [&] {
    for (const Mischief& mischief : mischiefs()) {
      SCOPED_TRACE(mischief.name);
      start({});
      const Value container = make({1, 2, 3});
      host().interrupt("RuntimeArrayCreateSingleDimBoundedArray", facts().isMap() ? 3 : 2,
                       [&] { mischief.run(container); });
      EXPECT_EQ(call(container, "Keys").isNil(), mischief.changes);
    }
  });
}

}  // namespace
}  // namespace vornik::behaviour
