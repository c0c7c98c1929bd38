// Containers in containers in containers: what the last reference to the outermost gives back, in which
// order, and on how little stack.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

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
  /// A tree of containers that hold `width` others each.
  Value tree(int depth, int width) {
    Value root = make();
    for (int i = 0; depth > 0 && i < width; ++i) {
      const Value branch = tree(depth - 1, width);
      add(root, facts().isMap() ? key(i) : branch, branch);
    }
    return root;
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

TEST_P(Nesting, AWideTreeGoesToo) {
  for (const auto& [depth, width] : {std::pair(2, 100), std::pair(10, 2)}) {
    const auto before = host().ledger();
    tree(depth, width);
    EXPECT_EQ(host().ledger(), before);
  }
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
