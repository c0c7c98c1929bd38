// Every operation of every class, failing wherever it can: at each of its allocations, and at each of its
// calls of the host. Nothing may crash, leak or stay half changed.
//
// An executable of its own, because it replaces the allocation functions.
#include <functional>
#include <set>

#include "tests/behaviour/container_test.h"
#include "tests/behaviour/failures_memory.h"

namespace vornik::behaviour {
namespace {

const char* const kOutOfMemory = "OutOfMemoryException: Failed to allocate memory: std::bad_alloc";

/// Locking and unlocking cannot fail visibly, so nobody could keep the count even.
bool keepsCount(const std::string& service) {
  return service.find("Lock") != std::string::npos || service.find("Unlock") != std::string::npos ||
         service == "PluginDisposeStringData";
}

/// Services whose results neither become keys and values nor decide which key is which. When one of the
/// others fails, other entries than those that were meant may be found or made; the container must still be
/// sound.
bool leavesContentAlone(const std::string& service) {
  for (const char* part : {"NewInstance", "ArrayCreate", "SetProc", "InsertProc", "Raise", "SetPropValue"}) {
    if (service.find(part) != std::string::npos) return true;
  }
  return false;
}

class Failures : public ContainerTest {
 protected:
  using Action = std::function<Value()>;

  struct Operation {
    const char* name;
    int entries;  ///< in the container that it runs on
    /// Makes what the operation needs, which is not part of it, and returns the operation itself.
    std::function<Action(const Value& container)> prepare;
    bool allocates = false;  ///< for certain, whatever the class
  };

  /// As keyOf, but with text that no view can borrow from the host.
  static Value key(int i) {
    if (facts().key == Kind::kInteger) return i;
    const Value text = Host::current().string("Cl\xE9 " + std::to_string(1000 + i), kEncodingISOLatin1);
    return facts().key == Kind::kString ? text : Host::current().variant(host::VariantType::kString, text);
  }
  void put(const Value& container, int k, int v) {
    if (facts().isMap()) {
      host().assign(container, "value", {key(k)}, value(v));
    } else {
      call(container, "insert", {key(k)});
    }
  }
  Value filled(int count) {
    Value container = make();
    for (int i = 0; i < count; ++i) put(container, i, i);
    return container;
  }
  Value dictionary(int count) {
    Value dictionary = host().dictionary();
    for (int i = 0; i < count; ++i) host().setEntry(dictionary, key(i), value(i));
    return dictionary;
  }
  Value array(Kind kind, const Values& elements) {
    const ArrayElementType type = kind == Kind::kInteger  ? kArrayOfIntegers
                                  : kind == Kind::kString ? kArrayOfStrings
                                                          : kArrayOfVariants;
    return host().array(type, elements);
  }

  /// One call as an operation; the arguments are made before it.
  Operation calling(const char* name, int entries, const char* method,
                    std::function<Values(const Value&)> arguments = {}, bool allocates = false) {
    return {name, entries,
            [=, this](const Value& container) -> Action {
              const Values values = arguments ? arguments(container) : Values{};
              return [=, this] { return call(container, method, values); };
            },
            allocates};
  }
  /// One call of an iterator of the container.
  Operation stepping(const char* name, const char* start, const char* method) {
    return {name, 5, [=, this](const Value& container) -> Action {
              const Value iterator = call(container, start);
              return [=, this] { return call(iterator, method); };
            }};
  }
  Operation putting(const char* name, int entries, int k, bool allocates) {
    return {name, entries,
            [=, this](const Value& container) -> Action {
              return [=, this] { return put(container, k, 500), Value(); };
            },
            allocates};
  }

  std::vector<Operation> operations() {
    const auto aKey = [](const Value&) { return Values{key(3)}; };
    std::vector<Operation> all = {
        {"walk", 100,  // first, and with positions enough to make their table and to outgrow it
         [this](const Value& container) -> Action { return [=, this] { return visit(container), Value(); }; },
         true},
        putting("first entry", 0, 0, true),
        // The entry before which node memory, the bucket array, and both again are used up.
        putting("entry after 8", 8, 8, facts().ordered),
        putting("entry after 11", 11, 11, facts().ordered),
        putting("entry after 47", 47, 47, facts().ordered),
        putting("present entry", 5, 3, false),
        {"Constructor", 5,
         [this](const Value& container) -> Action {
           return [=, this] { return call(container, "Constructor", constructorArguments()); };
         },
         true},
        calling("Clear", 5, "Clear"),
        calling("Remove(key)", 5, "Remove", aKey),
        calling("Remove(pos)", 5, "Remove",
                [this](const Value& container) { return Values{call(container, "find", {key(2)})}; }),
        calling("Remove(first, last)", 5, "Remove",
                [this](const Value& container) {
                  return Values{call(container, "first"), call(container, "last")};
                }),
        calling("find", 5, "find", aKey),
        calling("first", 5, "first"),
        calling("last", 5, "last"),
        stepping("MoveNext", "first", "MoveNext"),
        stepping("iterator Key", "first", "Key"),
        calling("CountKey", 5, "CountKey", aKey),
        calling("lookup", 5, "lookup",
                [](const Value&) {
                  return facts().isMap() ? Values{key(3), value(9)} : Values{key(3)};
                }),
        calling("Key(index)", 5, "Key", [](const Value&) { return Values{1}; }),
        calling("Keys", 5, "Keys"),
    };
    if (facts().ordered) {
      all.push_back(calling("LowerBound", 5, "LowerBound", aKey));
      all.push_back(calling("UpperBound", 5, "UpperBound", aKey));
      all.push_back(stepping("MovePrev", "last", "MovePrev"));
    }
    const std::vector<Operation> more = facts().isMap() ? mapOperations() : setOperations();
    all.insert(all.end(), more.begin(), more.end());
    return all;
  }

  std::vector<Operation> setOperations() {
    return {calling(
        "Constructor(Keys())", 5, "Constructor",
        [this](const Value&) {
          return Values{array(facts().key, {key(7), key(8), key(9), key(7)})};
        },
        true)};
  }

  std::vector<Operation> mapOperations() {
    const auto aKey = [](const Value&) { return Values{key(3)}; };
    return {
        calling(
            "Constructor(other)", 5, "Constructor", [this](const Value&) { return Values{filled(13)}; },
            true),
        calling(
            "Constructor(dic)", 5, "Constructor", [this](const Value&) { return Values{dictionary(13)}; },
            true),
        calling("Clone", 13, "Clone", {}, true),
        calling("CloneDictionary", 5, "CloneDictionary"),
        calling("value", 5, "value", aKey),
        calling("hasKey", 5, "hasKey", aKey),
        calling("ValueAtIndex", 5, "ValueAtIndex", [](const Value&) { return Values{1}; }),
        calling("Values", 5, "Values"),
        calling("AddKeys", 5, "AddKeys", [this](const Value&) { return Values{array(facts().key, {})}; }),
        calling("AddValues", 5, "AddValues",
                [this](const Value&) { return Values{array(facts().value, {})}; }),
        stepping("iterator Value", "first", "Value"),
        {"iterator Value = x", 5,
         [this](const Value& container) -> Action {
           const Value iterator = call(container, "first");
           return [=, this] { return host().assign(iterator, "Value", {}, value(77)), Value(); };
         }},
    };
  }

  /// Entries as an iterator visits them, and the bucket count.
  Texts visit(const Value& container) {
    Texts texts;
    const Value end = call(container, "last");
    for (Value i = call(container, "first"); !call(i, "isEqual", {end}).boolean(); call(i, "MoveNext")) {
      texts.push_back(show(call(i, "Key")) + (facts().isMap() ? "=" + show(call(i, "Value")) : ""));
    }
    EXPECT_EQ(count(container), static_cast<std::int64_t>(texts.size()));
    return withBuckets(container, std::move(texts));
  }
  /// The same from the exported arrays, which takes no positions.
  Texts exported(const Value& container) {
    Texts texts;
    for (const Value& element : host().elements(call(container, "Keys"))) texts.push_back(show(element));
    if (facts().isMap()) {
      for (const Value& element : host().elements(call(container, "Values"))) texts.push_back(show(element));
    }
    return withBuckets(container, std::move(texts));
  }
  Texts withBuckets(const Value& container, Texts texts) {
    if (!facts().ordered) texts.push_back(show(host().get(container, "BinCount")) + " buckets");
    return texts;
  }

  /// Runs an operation with the nth allocation failing; false when it needs fewer.
  bool failsAtAllocation(const Operation& operation, int nth, Shortage shortage, const Texts& before) {
    const Value container = filled(operation.entries);
    const Action act = operation.prepare(container);
    const Host::Ledger ledger = host().ledger();
    int failures = 0;
    std::string outcome;
    {
      const MemoryShortage limited(nth, shortage);
      outcome = raised(act);
      failures = limited.failures();
    }
    EXPECT_EQ(outcome, failures != 0 ? kOutOfMemory : "");
    if (failures == 0) return false;
    EXPECT_EQ(host().ledger(), ledger);
    EXPECT_EQ(exported(container), before);
    return true;
  }

  /// Runs an operation on a host one of whose services fails from the nth call on.
  void failAtCall(const Operation& operation, const std::string& service, std::uint64_t nth,
                  const Texts& before, const Texts& after) {
    SCOPED_TRACE(testing::Message() << service << " from call " << nth);
    const Host::Ledger ledger = host().ledger();
    {
      const Value container = filled(operation.entries);
      const Action act = operation.prepare(container);
      host().failFrom(service, nth);
      survive(act);
      host().failFrom(service, 0);
      const Texts now = visit(container);
      EXPECT_TRUE(!leavesContentAlone(service) || now == before || now == after)
          << testing::PrintToString(now);
    }
    EXPECT_EQ(host().ledger(), ledger);
  }

  /// Where a service is missing a nil result can come back, on which the script's next call is a mistake.
  static void survive(const Action& act) {
    try {
      act();
    } catch (const host::ScriptException&) {
    } catch (const host::ScriptError&) {
    }
  }

  /// The services that an operation calls, and how often.
  std::map<std::string, std::uint64_t> callsOf(const Operation& operation) {
    const Value container = filled(operation.entries);
    const Action act = operation.prepare(container);
    host().resetCalls();
    act();
    auto calls = host().calls();
    std::erase_if(calls, [](const auto& entry) { return entry.second == 0 || keepsCount(entry.first); });
    return calls;
  }
};

TEST_P(Failures, OfMemoryLeaveEverythingAsItWas) {
  for (const Shortage shortage : {Shortage::kOneAllocation, Shortage::kFromThenOn}) {
    start({});  // a fresh library, whose position table is still empty
    for (const Operation& operation : operations()) {
      const Texts before = exported(filled(operation.entries));
      int failures = 0;
      do {
        SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << failures + 1
                                        << (shortage == Shortage::kFromThenOn ? " and all later ones" : ""));
        ASSERT_LT(failures, 1000);
        if (!failsAtAllocation(operation, failures + 1, shortage, before)) break;
        ++failures;
      } while (!HasFailure());
      EXPECT_TRUE(failures > 0 || !operation.allocates) << operation.name;
    }
  }
}

TEST_P(Failures, OfServicesLeaveContainersSound) {
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    const Texts before = visit(filled(operation.entries));
    const Value changed = filled(operation.entries);
    operation.prepare(changed)();
    const Texts after = visit(changed);
    for (const auto& [service, calls] : callsOf(operation)) {
      const std::uint64_t step = std::max<std::uint64_t>(calls / 12, 1);
      for (std::uint64_t nth = 1; nth <= calls; nth += step)
        failAtCall(operation, service, nth, before, after);
    }
  }
}

TEST_P(Failures, OfServicesFromTheStartAreSurvived) {
  std::set<std::string> used;
  for (const Operation& operation : operations()) {
    for (const auto& [service, calls] : callsOf(operation)) used.insert(service);
  }
  EXPECT_TRUE(used.contains("PluginNewInstance"));
  for (const std::string& service : used) {
    SCOPED_TRACE(service);
    HostOptions options;
    options.withheld = {service};
    start(options);
    for (const Operation& operation : operations()) {
      survive([&] {
        const Value container = filled(operation.entries);
        return operation.prepare(container)();
      });
    }
    EXPECT_THAT(host().leftovers(), testing::IsEmpty());
  }
}

VORNIK_FOR_CLASSES(Failures, anyClass);

}  // namespace
}  // namespace vornik::behaviour
