// Giving back the last reference to a script's object runs the script's destructor in the middle of our call,
// and that may do anything with the very container.
#include <functional>
#include <map>

#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Reentrancy : ContainerTest {
  using Operation = std::function<void(const Value&)>;

  /// Adds an object whose destructor is `code`: as the value of key k, or as a key of a set.
  void plant(const Value& container, int k, std::function<void()> code) {
    const Value object = host().scriptObject("Planted", std::move(code));
    add(container, facts().isMap() ? key(k) : object, object);
  }
  std::map<std::string, Operation> operationsThatRemoveAll() {
    std::map<std::string, Operation> operations{
        {"Clear", [&](const Value& c) { call(c, "Clear"); }},
        {"Constructor", [&](const Value& c) { call(c, "Constructor", constructorArguments()); }},
        {"Remove", [&](const Value& c) {
           call(c, "Remove", {call(c, "first"), call(c, "last")});
         }}};
    if (facts().isMap()) {
      operations["copy"] = [&](const Value& c) { copyInto(c, make({8})); };
      operations["dictionary"] = [&](const Value& c) { call(c, "Constructor", {host().dictionary()}); };
    } else {
      operations["array"] = [&](const Value& c) {
        call(c, "Constructor", {host().array(kArrayOfVariants, {key(8)})});
      };
    }
    return operations;
  }
};
VORNIK_FOR_CLASSES(Reentrancy, [](const ClassFacts& f) { return (f.isMap() ? f.value : f.key) == kAny; });

TEST_P(Reentrancy, DestructorsMayRebuildTheContainer) {
  auto operations = operationsThatRemoveAll();
  operations["Remove(pos)"] = [&](const Value& c) { call(c, "Remove", {call(c, "first")}); };
  if (facts().isMap()) {
    operations["Remove(key)"] = [&](const Value& c) { call(c, "Remove", {key(2)}); };
    operations["value"] = [&](const Value& c) { put(c, 2); };
    operations["Value"] = [&](const Value& c) { host().assign(call(c, "first"), "Value", {}, value(1)); };
  }
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    const Value container = make();
    int runs = 0;
    for (const int k : {1, 2, 3}) {
      plant(container, k, [&] {
        ++runs;
        EXPECT_FALSE(Host::insidePlugin());
        call(container, "Clear");
        put(container, 50);
        put(container, 51);
        EXPECT_EQ(content(container), entries({50, 51}));
      });
    }
    operation(container);
    EXPECT_EQ(runs, 3);
    EXPECT_EQ(content(container), entries({50, 51}));
  }
}

TEST_P(Reentrancy, DestructorsFindTheirEntriesGone) {
  auto operations = operationsThatRemoveAll();
  operations["destruction"] = nullptr;
  for (const auto& [name, operation] : operations) {
    SCOPED_TRACE(name);
    Value container = make();
    Values iterators;
    int runs = 0;
    for (const int k : {1, 2, 3}) {
      plant(container, k, [&] {
        ++runs;
        for (const Value& iterator : iterators) {
          EXPECT_EQ(raised([&] { call(iterator, "Key"); }), kStale);
          EXPECT_EQ(raised([&] { call(iterator, "MoveNext"); }), kStale);
        }
      });
    }
    for (int n = 0; n < 3; ++n) iterators.push_back(nth(container, n));
    if (operation) operation(container);
    container = nullptr;
    EXPECT_EQ(runs, 3);
  }
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
