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
        {"nothing", false, [](const Value&) {}},
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

  /// What an interrupted member shows of the keys or of the values, and whether it may do so after a change:
  /// `walked` is what a host without arrays would show of the first entry.
  struct Use {
    std::function<Texts(const Value& container, bool ofKeys)> run;
    std::function<bool(const Texts& shown, const Texts& before, const std::string& walked)> isGoodAfterChange;
  };
  const Use exports{
      [this](const Value& c, bool ofKeys) {
        const Value array = call(c, ofKeys ? "Keys" : "Values");
        return array.isNil() ? Texts{"given up"} : elements(array);
      },
      [](const Texts& shown, const Texts&, const std::string&) { return shown == Texts{"given up"}; }};
  const Use index{
      [this](const Value& c, bool ofKeys) { return Texts{answer(c, ofKeys ? "Key" : "ValueAtIndex", {0})}; },
      [](const Texts& shown, const Texts& before, const std::string& walked) {
        return shown[0] == before[0] || shown[0] == walked;
      }};
  const Use adds{[this](const Value& c, bool ofKeys) {
                   const Value target = host().array(arrayOf(ofKeys ? facts().key : facts().value), {});
                   call(c, ofKeys ? "AddKeys" : "AddValues", {target});
                   return elements(target);
                 },
                 [](const Texts& shown, const Texts& before, const std::string&) {
                   const std::string assigned = show(value(7));
                   return std::equal(shown.begin(), shown.end(), before.begin(),
                                     [&](const auto& a, const auto& b) { return a == b || a == assigned; });
                 }};

  Texts column(const Value& c, bool ofKeys) {
    if (!raised([&] { call(c, "first"); }).empty()) return {};
    return ofKeys ? keys(c) : values(c);
  }
  void interrupt(const std::string& service, const Use& use) {
    for (const Mischief& mischief : mischiefs()) {
      for (const bool ofKeys : {true, false}) {
        bool ran = ofKeys || facts().isMap();
        for (std::uint64_t nth = 1; ran; ++nth) {
          SCOPED_TRACE(testing::Message() << mischief.name << " in call " << nth << " of " << service);
          ran = false;
          const Value container = make({1, 2});
          const Texts before = column(container, ofKeys);
          host().interrupt(service, nth, [&] {
            ran = true;
            mischief.run(container);
          });
          const Texts shown = use.run(container, ofKeys), now = column(container, ofKeys);
          host().interrupt(service, 0);
          if (ran && mischief.changes) {
            const std::string walked =
                facts().isMap() && !now.empty() ? now[0] : neutral(ofKeys ? facts().key : facts().value);
            EXPECT_TRUE(use.isGoodAfterChange(shown, before, walked)) << testing::PrintToString(shown);
          } else {
            EXPECT_EQ(shown, &use == &index ? Texts{before[0]} : before);
          }
          if (call(container, "Keys").isNil()) {
            EXPECT_EQ(answer(container, "first"), missing());
          } else {
            expectAgreement(container);
          }
        }
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

TEST_F(InterruptedHosts, ScriptCodeMayDoAnythingWhileArraysAreMadeAndFilled) {
  // Elements are set directly, or through the procedures: here of ordered classes, there of hash classes.
  for (const auto layout : {HostOptions::ArrayLayout::kDocumented, HostOptions::ArrayLayout::kOther}) {
    start({.arrayLayout = layout});
    const auto calls = host().calls();
    const bool ordered = layout == HostOptions::ArrayLayout::kDocumented;
    forSubjectsWhere([=](const ClassFacts& f) { return f.ordered == ordered; },
                     [&] {
                       if (!caseSensitive()) return;
                       for (const auto& entry : calls) {
                         const std::string& service = entry.first;
                         const auto names = [&service](const char* part) {
                           return service.find(part) != std::string::npos;
                         };
                         if (names("ArrayCreate") || names("ArraySet") || names("UBound"))
                           interrupt(service, exports);
                         if (names("ArrayCreate") || names("ArraySetProc()")) interrupt(service, index);
                         if (names("ArrayInsert") && facts().isMap()) interrupt(service, adds);
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
