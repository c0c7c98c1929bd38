// Giving back the last reference to a script's object runs the script's destructor in the middle of our call,
// and that may do anything with the very container. Containers in containers in containers: what the last
// reference to the outermost gives back, in which order, and on how little stack.
#include <sys/resource.h>

#include <functional>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct Operation {
  const char* name;
  std::function<void(Value& container)> run;
  bool removesAll = true;
};

struct Releases : ContainerTest {
  std::vector<Operation> operations() {
    const auto construct = [this](Value& c, const Value& from) { call(c, "Constructor", {from}); };
    std::vector<Operation> all{
        {"Clear", [this](Value& c) { call(c, "Clear"); }},
        {"Constructor", [this](Value& c) { call(c, "Constructor", constructorArguments()); }},
        {"destruction", [](Value& c) { c = nullptr; }},
        {"Remove(range)",
         [this](Value& c) {
           call(c, "Remove", {call(c, "first"), call(c, "last")});
         }},
        {"Remove(pos)", [this](Value& c) { call(c, "Remove", {call(c, "first")}); }, false}};
    const std::vector<Operation> ofMaps{
        {"copy", [=, this](Value& c) { construct(c, make({8})); }},
        {"dictionary", [=, this](Value& c) { construct(c, host().dictionary()); }},
        {"Remove(key)", [this](Value& c) { call(c, "Remove", {key(2)}); }, false},
        {"value", [this](Value& c) { put(c, 2); }, false},
        {"Value", [this](Value& c) { host().assign(call(c, "first"), "Value", {}, value(1)); }, false}};
    if (facts().isMap()) all.insert(all.end(), ofMaps.begin(), ofMaps.end());
    const auto fromArray = [=, this](Value& c) { construct(c, host().array(kArrayOfVariants, {key(8)})); };
    if (!facts().isMap()) all.push_back({"array", fromArray});
    return all;
  }
};

struct Reentrancy : Releases {
  /// What destructors do to the container in the middle of its operation.
  std::vector<Operation> mischiefs() {
    std::vector<Operation> all = operations();
    all.push_back({"look", [this](Value& c) { expectSound(c); }});
    all.push_back({"export", [this](Value& c) { call(c, "Keys"); }});
    all.push_back({"insert", [this](Value& c) {
                     for (int i = 60; i < 90; ++i) put(c, i);
                   }});
    all.push_back({"rebuild", [this](Value& c) {
                     call(c, "Clear");
                     put(c, 50);
                   }});
    if (facts().isMap())
      all.push_back({"convert", [this](Value& c) { call(call(c, "Clone"), "CloneDictionary"); }});
    return all;
  }
  void expectSound(const Value& container) {
    EXPECT_EQ(visit(container).size(), static_cast<std::size_t>(count(container)));
  }
  /// Adds an object whose destructor is `code`: as the value of key k, or as a key of a set.
  void plant(const Value& container, int k, std::function<void()> code) {
    const Value object = host().scriptObject("Planted", std::move(code));
    add(container, facts().isMap() ? key(k) : object, object);
  }
};
VORNIK_FOR_CLASSES(Reentrancy, [](const ClassFacts& f) { return (f.isMap() ? f.value : f.key) == kAny; });

TEST_P(Reentrancy, DestructorsFindTheirEntriesGoneAndMayRebuildTheContainer) {
  for (const Operation& mischief : mischiefs()) {
    for (const Operation& operation : operations()) {
      SCOPED_TRACE(testing::Message() << operation.name << " and " << mischief.name);
      Value container = make();
      Values iterators;
      int runs = 0;
      for (const int k : {1, 2, 3}) {
        plant(container, k, [&] {
          ++runs;
          EXPECT_FALSE(Host::insidePlugin());
          for (const Value& iterator : iterators) EXPECT_EQ(answer(iterator, "Key"), kStale);
          if (!container.isNil()) mischief.run(container);
        });
      }
      if (!operation.removesAll) call(container, "Keys");  // constructors leave the cache alone
      for (int n = 0; operation.removesAll && n < 3; ++n) iterators.push_back(nth(container, n));
      operation.run(container);
      EXPECT_TRUE(runs > 0 || !operation.removesAll);
      if (!container.isNil()) {
        expectSound(container);
        call(container, "Clear");
      }
      container = nullptr;
      EXPECT_EQ(runs, 3);
    }
  }
}

TEST_P(Reentrancy, ConstructorsHaveChosenAndForgottenBeforeTheOldEntriesDie) {
  const bool choice = facts().hasCaseChoice();
  for (const bool rebuilt : {true, false}) {
    Value container = make();
    const Value last = call(container, "last");
    int runs = 0;
    plant(container, 1, [&] {
      ++runs;
      EXPECT_EQ(answer(last, "MoveNext"), kStale);
      if (!rebuilt) return;
      EXPECT_FALSE(equal(last, call(container, "last")));
      EXPECT_TRUE(!choice || host().get(container, "CaseSensitive").boolean() != caseSensitive());
    });
    if (rebuilt) call(container, "Constructor", choice ? Values{!caseSensitive()} : Values{});
    container = nullptr;
    EXPECT_EQ(runs, 1);
  }
}

TEST_P(Reentrancy, CachedValuesGoBeforeCachedKeys) {
  if (facts().key != kAny || !facts().isMap()) return;
  Texts gone;
  const auto witness = [&](const char* name) {
    return host().scriptObject(name, [&gone, name] { gone.push_back(name); });
  };
  for (const bool atOnce : {false, true}) {
    gone.clear();
    Value map = make();
    add(map, witness("key"), witness("value"));
    call(map, "Keys");
    call(map, atOnce ? "Constructor" : "Clear", atOnce ? constructorArguments() : Values{});
    EXPECT_EQ(gone.empty(), atOnce);
    map = nullptr;
    EXPECT_EQ(gone, (Texts{"value", "key"}));
  }
}

struct Nesting : Releases {
  /// A container that holds `inner` and nothing else.
  Value around(const Value& inner) {
    Value outer = make();
    add(outer, facts().isMap() ? key(1) : inner, inner);
    return outer;
  }
};
VORNIK_FOR_CLASSES(Nesting, [](const ClassFacts& f) {
  return (f.isMap() ? f.value : f.key) == kAny && f.key != kText;
});

/// Each the only holder of the one before; in maps, some held by the cache alone any more, where a failed
/// copy has left no container.
TEST_P(Nesting, ThousandsDeepGoesOnASmallStack) {
  const auto before = host().ledger();
  rlimit stack{};
  getrlimit(RLIMIT_STACK, &stack);
  const rlimit small{1 << 20, stack.rlim_max};
  setrlimit(RLIMIT_STACK, &small);
  for (const Operation& release : operations()) {
    SCOPED_TRACE(release.name);
    const bool inCaches = facts().isMap() && release.name == std::string_view("destruction");
    Value outer = make();
    for (int i = 0; i < 8'000; ++i) {
      outer = around(outer);
      if (!inCaches || i % 3 == 0) continue;
      call(outer, "Values");
      EXPECT_EQ(raised([&] {
                  i % 3 == 1 ? copyInto(outer, outer)
                             : host().assign(call(outer, "first"), "Value", {}, nullptr);
                }).empty(),
                i % 3 == 2);
    }
    release.run(outer);
    outer = nullptr;
    EXPECT_EQ(host().ledger(), before);
  }
  setrlimit(RLIMIT_STACK, &stack);
}

/// Two branches at every level, each ending in an object that says when it goes.
TEST_P(Nesting, ContentsGoDepthFirstAndBeforeTheReleaseReturns) {
  for (const int depth : {3, 80}) {
    std::vector<int> gone;
    Value outer = make();
    for (int i = 0; i < depth; ++i) {
      outer = around(outer);
      const Value object = host().scriptObject("Witness", [&gone, i] { gone.push_back(i); });
      add(outer, facts().isMap() ? key(2) : object, object);
    }
    const bool innerFirst = facts().isMap() && keys(outer).front() == show(key(1));
    outer = nullptr;
    ASSERT_EQ(gone.size(), static_cast<std::size_t>(depth));
    if (!facts().isMap()) continue;
    EXPECT_TRUE(innerFirst ? std::is_sorted(gone.begin(), gone.end())
                           : std::is_sorted(gone.rbegin(), gone.rend()))
        << depth;
  }
}

/// However deep a container lies, its positions are stale when the first code runs that could come with one.
TEST_P(Nesting, WhatWaitsToGoIsGoneForIterators) {
  if (facts().key != kAny || !facts().isMap()) return;
  int asked = 0;
  Value outer = make({1});
  for (int i = 0; i < 40; ++i) {
    const Value inner = std::exchange(outer, make()), iterator = call(inner, "first");
    const Value keyObject = host().scriptObject("Witness", [iterator, &asked] {
      ++asked;
      EXPECT_EQ(answer(iterator, "Key"), kStale);
    });
    add(outer, keyObject, inner);
  }
  outer = nullptr;
  EXPECT_EQ(asked, 40);
}

}  // namespace
}  // namespace vornik::behaviour
