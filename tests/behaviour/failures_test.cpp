// Every operation of every class, failing wherever it can: at each of its allocations, and at each of its
// calls of the host. Nothing may crash, leak or stay half changed.
//
// An executable of its own, because it replaces the allocation functions.
#include <functional>
#include <set>

#include "tests/support/container_test.h"
#include "tests/support/failures_memory.h"

namespace vornik::behaviour {
namespace {

const char* const kOutOfMemory = "OutOfMemoryException: Failed to allocate memory: std::bad_alloc";

/// Locking and unlocking cannot fail visibly, so nobody could keep the count even.
bool keepsCount(const std::string& service) {
  return service.find("Lock") != std::string::npos || service.find("Unlock") != std::string::npos ||
         service == "PluginDisposeStringData";
}

/// Services whose results neither become keys and values nor decide which key is which. When one of the
/// others fails, other entries than those that were meant may be found or made; the container must still
/// be sound.
bool leavesContentAlone(const std::string& service) {
  for (const char* part : {"NewInstance", "ArrayCreate", "SetProc", "InsertProc", "Raise", "SetPropValue"}) {
    if (service.find(part) != std::string::npos) return true;
  }
  return false;
}

class Operations : public ContainerSuite {
 protected:
  Operations() { someTextsAreBorrowed = false; }

  struct Operation {
    std::string name;
    int entries;  ///< in the container that it runs on: keys 0 and up
    std::function<void(const Value& container)> run;
    bool allocates = false;  ///< for certain, whatever the class
  };

  Value argument(const host::DeclaredType& type, const Value& container) {
    using enum host::DeclaredType::Kind;
    const Kind kind = type.kind == kInteger ? kInt : type.kind == kString ? kText : kAny;
    if (type.isArray)
      return host().array(arrayOf(kind), {keyOf(kind, 7), keyOf(kind, 8), keyOf(kind, 9), keyOf(kind, 7)});
    if (type.kind == kBoolean) return caseSensitive();
    if (type.kind != kObject) return keyOf(kind, 4);
    if (host::sameName(type.name, facts().name)) return filled(13);
    if (host::sameName(type.name, facts().iterator())) return nth(container, 2);
    Value dictionary = host().dictionary();
    for (int i = 0; i < 13; ++i) host().setEntry(dictionary, key(i), value(i));
    return dictionary;
  }

  /// All declared members, with arguments of the declared types; and what needs more entries.
  std::vector<Operation> operations() {
    std::vector<Operation> all;
    for (const bool ofIterator : {false, true}) {
      const auto& type = *host().findClass(ofIterator ? facts().iterator() : facts().name);
      const auto self = [=, this](const Value& c) { return ofIterator ? nth(c, 1) : c; };
      for (const auto& property : type.properties)
        all.push_back({property.name, 5, [=, this](const Value& c) { host().get(self(c), property.name); }});
      for (const auto& method : type.methods) {
        const host::Declaration& declaration = method.declaration;  // the host's
        const auto arguments = [&declaration, this](const Value& c) {
          Values values;
          for (const auto& parameter : declaration.parameters) values.push_back(argument(parameter.type, c));
          return values;
        };
        const std::string name = declaration.name;
        const bool allocates = name == "Constructor" || name == "Clone";
        all.push_back({name, 5, [=, this](const Value& c) { call(self(c), name, arguments(c)); }, allocates});
        if (method.setter == nullptr) continue;
        all.push_back({name + " =", 5, [=, this](const Value& c) {
                         host().assign(self(c), name, arguments(c), value(500));
                       }});
      }
    }
    // The walk has more positions than fit in one block of them, the range more entries than a leaf.
    all.push_back({"walk", 300, [this](const Value& c) { visit(c); }, true});
    all.push_back({"Remove over leaves", 200, [this](const Value& c) {
                     call(c, "Remove", {nth(c, 3), nth(c, 190)});
                   }});
    // The first entry, and those before which a tree's leaf is full, or a table's buckets or nodes.
    for (const int count : facts().ordered ? std::vector{0, 4, 16, 64} : std::vector{0, 11, 12, 47})
      all.push_back({"next entry", count, [=, this](const Value& c) { put(c, count); }, true});
    return all;
  }

  Value filled(int count) {
    Value container = make();
    for (int i = 0; i < count; ++i) put(container, i);
    return container;
  }
  /// What a container holds: seen by iterators, or in the exported arrays, which takes no positions.
  Texts state(const Value& container, bool byIterators) {
    Texts texts = byIterators ? visit(container) : elements(call(container, "Keys"));
    EXPECT_EQ(count(container), static_cast<std::int64_t>(texts.size()));
    if (!byIterators && facts().isMap())
      texts.push_back(testing::PrintToString(elements(call(container, "Values"))));
    if (!facts().ordered) texts.push_back(show(host().get(container, "BinCount")) + " buckets");
    return texts;
  }

  /// Runs an operation with the nth allocation failing; false when it needs fewer.
  bool failsAtAllocation(const Operation& operation, int nth, Shortage shortage, const Texts& before) {
    SCOPED_TRACE(testing::Message() << operation.name << ", allocation " << nth);
    const Value container = filled(operation.entries);
    const Host::Ledger ledger = host().ledger();
    limitMemory(nth, shortage);
    const std::string outcome = raised([&] { operation.run(container); });
    const int failures = unlimitMemory();
    EXPECT_EQ(outcome, failures != 0 ? kOutOfMemory : "");
    if (failures == 0) return false;
    EXPECT_EQ(host().ledger(), ledger);
    EXPECT_EQ(state(container, false), before);
    return true;
  }

  /// Runs an operation on a host one of whose services fails from the nth call on.
  void failAtCall(const Operation& operation, const std::string& service, std::uint64_t nth,
                  const Texts& before, const Texts& after) {
    SCOPED_TRACE(testing::Message() << service << " from call " << nth);
    const Host::Ledger ledger = host().ledger();
    {
      const Value container = filled(operation.entries);
      host().failFrom(service, nth);
      survive([&] { operation.run(container); });
      host().failFrom(service, 0);
      const Texts now = state(container, true);
      EXPECT_TRUE(!leavesContentAlone(service) || now == before || now == after)
          << testing::PrintToString(now);
    }
    EXPECT_EQ(host().ledger(), ledger);
  }

  /// Where a service is missing a nil result can come back, on which the script's next call is a mistake.
  template <typename Act>
  static void survive(Act act) {
    try {
      act();
    } catch (const std::runtime_error&) {  // a host exception, or a mistake
    }
  }

  /// The services that an operation calls, and how often.
  std::map<std::string, std::uint64_t> callsOf(const Operation& operation) {
    const Value container = filled(operation.entries);
    host().resetCalls();
    operation.run(container);
    auto calls = host().calls();
    std::erase_if(calls, [](const auto& entry) { return entry.second == 0 || keepsCount(entry.first); });
    return calls;
  }
};

struct Failures : PerSubject<Operations> {};
VORNIK_FOR_CLASSES(Failures, anyClass);

TEST_F(Operations, ReachEveryDeclaredMember) {
  start({});
  forSubjectsWhere(anyClass, [&] {
    for (const Operation& operation : operations()) operation.run(filled(operation.entries));
  });
  EXPECT_THAT(host().unreached(), testing::IsEmpty())
      << "a class needs a line in tests/support/class_facts.h, a member an operation";
}

TEST_P(Failures, OfMemoryLeaveEverythingAsItWas) {
  for (const Shortage shortage : {Shortage::kOneAllocation, Shortage::kFromThenOn}) {
    start({});  // a fresh library, whose position table is still empty
    for (const Operation& operation : operations()) {
      const Texts before = state(filled(operation.entries), false);
      int failures = 0;
      while (failsAtAllocation(operation, failures + 1, shortage, before) && !HasFailure()) ++failures;
      EXPECT_TRUE(failures > 0 || !operation.allocates) << operation.name;
    }
  }
}

TEST_P(Failures, OfServicesLeaveContainersSound) {
  for (const Operation& operation : operations()) {
    SCOPED_TRACE(operation.name);
    const Value container = filled(operation.entries);
    const Texts before = state(container, true);
    operation.run(container);
    const Texts after = state(container, true);
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
  for (const std::string& service : used) {
    SCOPED_TRACE(service);
    start({.withheld = {service}});
    for (const Operation& operation : operations()) {
      survive([&] {
        const Value container = filled(operation.entries);
        operation.run(container);
      });
    }
    EXPECT_THAT(host().leftovers(), testing::IsEmpty());
  }
}

}  // namespace
}  // namespace vornik::behaviour
