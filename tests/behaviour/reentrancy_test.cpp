// Giving back the last reference to a script's object runs the script's destructor in the middle of our call,
// and that may do anything with the very container.
#include <functional>
#include <map>

#include "tests/behaviour/container_test.h"

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
  void expectSafe(const Operations& operations, bool removeAll) {
    for (const auto& [name, operation] : operations) {
      SCOPED_TRACE(name);
      Value container = make();
      Values iterators;
      int runs = 0;
      const auto destructor = [&] {
        ++runs;
        EXPECT_FALSE(Host::insidePlugin());
        for (const Value& iterator : iterators) EXPECT_EQ(answer(iterator, "Key"), kStale);
        if (container.isNil()) return;
        call(container, "Clear");
        put(container, 50);
        put(container, 51);
      };
      for (const int k : {1, 2, 3}) plant(container, k, destructor);
      for (int n = 0; removeAll && n < 3; ++n) iterators.push_back(nth(container, n));
      operation(container);
      EXPECT_EQ(runs, 3);
      EXPECT_TRUE(container.isNil() || content(container) == entries({50, 51}));
    }
  }
};
VORNIK_FOR_CLASSES(Reentrancy, [](const ClassFacts& f) { return (f.isMap() ? f.value : f.key) == kAny; });

TEST_P(Reentrancy, DestructorsFindTheirEntriesGoneAndMayRebuildTheContainer) {
  expectSafe(operationsThatRemoveAll(), true);
  expectSafe(operationsThatRemoveOne(), false);
}

TEST_P(Reentrancy, TheCacheMayHoldTheLastReference) {
  const Value container = make();
  int runs = 0;
  plant(container, 1, [&] {
    ++runs;
    put(container, 60);
    call(container, "Keys");
  });
  call(container, "Keys");
  if (facts().isMap()) {
    host().assign(call(container, "first"), "Value", {}, value(1));
    EXPECT_EQ(runs, 0) << "the array of values still holds it";
    put(container, 2);
    EXPECT_EQ(content(container), entries({1, 2, 60}));
  } else {
    call(container, "Clear");
    EXPECT_EQ(content(container), entries({60}));
  }
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(host().elements(call(container, "Keys")).size(), static_cast<std::size_t>(count(container)));
}

}  // namespace
}  // namespace vornik::behaviour
