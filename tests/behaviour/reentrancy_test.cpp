// Giving back the last reference to a script's object runs the script's destructor in the middle of our call,
// and that may do anything with the very container. Containers in containers in containers: what the last
// reference to the outermost gives back, in which order, and on how little stack.
#include <functional>
#include <map>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct Reentrancy : ContainerTest {
  using Operations = std::map<std::string, std::function<void(Value& container)>>;

  /// Adds an object whose destructor is `code`: as the value of key k, or as a key of a set.
  void plant(const Value& container, int k, std::function<void()> code) {
    const Value object = host().scriptObject("Planted", std::move(code));
    add(container, facts().isMap() ? key(k) : object, object);
  }
  Operations operationsThatRemoveAll() {
    Operations operations{
        {"Clear", [this](Value& c) { call(c, "Clear"); }},
        {"Constructor", [this](Value& c) { call(c, "Constructor", constructorArguments()); }},
        {"destruction", [](Value& c) { c = nullptr; }},
        {"Remove", [this](Value& c) {
           call(c, "Remove", Values{call(c, "first"), call(c, "last")});
         }}};
    if (facts().isMap()) {
      operations["copy"] = [this](Value& c) { copyInto(c, make({8})); };
      operations["dictionary"] = [this](Value& c) { call(c, "Constructor", {host().dictionary()}); };
    } else {
      operations["array"] = [this](Value& c) {
        call(c, "Constructor", {host().array(kArrayOfVariants, {key(8)})});
      };
    }
    return operations;
  }
  Operations operationsThatRemoveOne() {
    Operations operations{{"Remove(pos)", [this](Value& c) { call(c, "Remove", {call(c, "first")}); }}};
    if (!facts().isMap()) return operations;
    operations["Remove(key)"] = [this](Value& c) { call(c, "Remove", {key(2)}); };
    operations["value"] = [this](Value& c) { put(c, 2); };
    operations["Value"] = [this](Value& c) { host().assign(call(c, "first"), "Value", {}, value(1)); };
    return operations;
  }
  /// What destructors do to the container in the middle of its operation.
  Operations mischiefs() {
    Operations all = operationsThatRemoveAll();
    all["look"] = [this](Value& c) { EXPECT_EQ(visit(c).size(), static_cast<std::size_t>(count(c))); };
    all["export"] = [this](Value& c) { call(c, "Keys"); };
    all["insert"] = [this](Value& c) {
      for (int i = 60; i < 90; ++i) put(c, i);
    };
    all["rebuild"] = [this](Value& c) {
      call(c, "Clear");
      put(c, 50);
    };
    if (facts().isMap()) all["convert"] = [this](Value& c) { call(call(c, "Clone"), "CloneDictionary"); };
    return all;
  }
  void expectSafe(const Operations& operations, bool removeAll) {
    for (const auto& [code, mischief] : mischiefs()) {
      for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(testing::Message() << name << " and " << code);
        Value container = make();
        Values iterators;
        int runs = 0;
        const auto destructor = [&, &mischief = mischief] {
          ++runs;
          EXPECT_FALSE(Host::insidePlugin());
          for (const Value& iterator : iterators) EXPECT_EQ(answer(iterator, "Key"), kStale);
          if (!container.isNil()) mischief(container);
        };
        for (const int k : {1, 2, 3}) plant(container, k, destructor);
        if (!removeAll) call(container, "Keys");  // constructors leave the cache alone
        for (int n = 0; removeAll && n < 3; ++n) iterators.push_back(nth(container, n));
        operation(container);
        EXPECT_TRUE(runs > 0 || !removeAll);
        if (!container.isNil()) {
          EXPECT_EQ(visit(container).size(), static_cast<std::size_t>(count(container)));
          call(container, "Clear");
        }
        container = nullptr;
        EXPECT_EQ(runs, 3);
      }
    }
  }
};
VORNIK_FOR_CLASSES(Reentrancy, [](const ClassFacts& f) { return (f.isMap() ? f.value : f.key) == kAny; });

TEST_P(Reentrancy, DestructorsFindTheirEntriesGoneAndMayRebuildTheContainer) {
  expectSafe(operationsThatRemoveAll(), true);
  expectSafe(operationsThatRemoveOne(), false);
}

TEST_P(Reentrancy, ConstructorsHaveChosenAndForgottenBeforeTheOldEntriesDie) {
  for (const bool rebuilt : {true, false}) {
    Value container = make();
    const Value last = call(container, "last");
    int runs = 0;
    plant(container, 1, [&] {
      ++runs;
      EXPECT_EQ(answer(last, "MoveNext"), kStale);
      EXPECT_FALSE(equal(last, container.isNil() ? last : call(container, "last")) && rebuilt);
      if (!rebuilt || !facts().hasCaseChoice()) return;
      EXPECT_EQ(host().get(container, "CaseSensitive").boolean(), !caseSensitive());
    });
    if (rebuilt) {
      call(container, "Constructor", facts().hasCaseChoice() ? Values{!caseSensitive()} : Values{});
    } else {
      container = nullptr;
    }
    EXPECT_EQ(runs, 1);
  }
}

TEST_P(Reentrancy, CachedValuesGoBeforeCachedKeys) {
  if (facts().key != kAny || !facts().isMap()) return;
  Texts gone;
  const Value map = make();
  const auto witness = [&](const char* name) {
    return host().scriptObject(name, [&gone, name] { gone.push_back(name); });
  };
  for (const bool atOnce : {false, true}) {
    gone.clear();
    Value holder = atOnce ? make() : map;
    add(holder, witness("key"), witness("value"));
    call(holder, "Keys");
    if (!atOnce) {
      call(holder, "Clear");
    } else {
      call(holder, "Constructor", constructorArguments());
      EXPECT_EQ(gone, Texts());
      holder = nullptr;
    }
    EXPECT_EQ(gone, (Texts{"value", "key"}));
  }
}

struct Nesting : ContainerTest {
  /// A container that holds `inner` and nothing else.
  Value around(const Value& inner) {
    Value outer = make();
    add(outer, facts().isMap() ? key(1) : inner, inner);
    return outer;
  }
  /// `depth` containers, each of which is the only holder of the one before.
  Value chain(int depth) {
    Value last = make();
    for (int i = 1; i < depth; ++i) last = around(last);
    return last;
  }
};
VORNIK_FOR_CLASSES(Nesting, [](const ClassFacts& f) {
  return (f.isMap() ? f.value : f.key) == kAny && f.key != kText;
});

TEST_P(Nesting, AMillionDeepGoesOnASmallStack) {
  const auto things = host().ledger().things;
  const auto goes = [&](int depth, auto release) {
    Value outer = around(chain(depth));
    release(outer);
    outer = nullptr;
    EXPECT_EQ(host().ledger().things, things);
  };
  goes(facts().key == kInt ? 1'000'000 : 30'000, [](Value& outer) { outer = nullptr; });
  if (!caseSensitive()) return;
  goes(30'000, [&](Value& outer) { call(outer, "Clear"); });
  goes(30'000, [&](Value& outer) { call(outer, "Remove", {call(outer, "first")}); });
  goes(30'000, [&](Value& outer) { call(outer, "Remove", {call(outer, "first"), call(outer, "last")}); });
  goes(30'000, [&](Value& outer) { call(outer, "Constructor", constructorArguments()); });
  if (!facts().isMap()) return;
  goes(30'000, [&](Value& outer) { put(outer, 1); });
  goes(30'000, [&](Value& outer) { host().assign(call(outer, "first"), "Value", {}, nullptr); });
}

/// Values that only the cache holds any more, in maps that a failed copy has left without a container.
TEST_P(Nesting, TheCacheMayBeWhatHoldsTheNextOne) {
  if (!facts().isMap()) return;
  const auto before = host().ledger();
  Value last = make();
  for (int i = 0; i < 30'000; ++i) {
    const Value outer = around(last);
    call(outer, "Values");
    if (i % 2 == 0) {
      EXPECT_THROW(copyInto(outer, outer), host::ScriptException);
    } else {
      host().assign(call(outer, "first"), "Value", {}, nullptr);
    }
    last = outer;
  }
  last = nullptr;
  EXPECT_EQ(host().ledger(), before);
}

TEST_P(Nesting, ContentsGoDepthFirstAndBeforeTheReleaseReturns) {
  // Two branches at every level, each ending in an object that says when it goes.
  std::vector<int> gone;
  const auto witness = [&](int number) {
    return host().scriptObject("Witness", [&gone, number] { gone.push_back(number); });
  };
  for (const int depth : {3, 80}) {
    gone.clear();
    Value outer = make();
    const Value beyond = make();
    for (int i = 0; i < depth; ++i) {
      const Value inner = std::exchange(outer, make());
      add(outer, facts().isMap() ? key(1) : inner, inner);
      const Value object = witness(i);
      add(outer, facts().isMap() ? key(2) : object, object);
    }
    const Value last = call(outer, "last");
    const bool innerFirst = facts().isMap() && keys(outer).front() == show(key(1));
    outer = nullptr;
    ASSERT_EQ(gone.size(), static_cast<std::size_t>(depth));
    EXPECT_EQ(answer(last, "MoveNext"), kStale);
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
    const Value keyObject = host().scriptObject("Witness", [this, iterator, &asked] {
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
