// The suites over the table of classes: one subject, spoken to by key and value numbers.
#ifndef VORNIK_TESTS_BEHAVIOUR_CONTAINER_TEST_H
#define VORNIK_TESTS_BEHAVIOUR_CONTAINER_TEST_H

#include <algorithm>
#include <string>
#include <vector>

#include "tests/behaviour/class_facts.h"
#include "tests/behaviour/fixture.h"

namespace vornik::behaviour {

using Texts = std::vector<std::string>;

inline constexpr const char* kNoPosition = "NilObjectException: Iterator not initialized";
inline constexpr const char* kStale = "RuntimeException: Iterator is no longer valid";
inline constexpr const char* kForeign = "RuntimeException: Iterator belongs to another container";
inline constexpr const char* kAtEnd = "OutOfBoundsException: Iterator is at the end position";
inline constexpr const char* kAtFirst = "OutOfBoundsException: Iterator is at the first position";
inline constexpr const char* kReversed = "OutOfBoundsException: last does not follow first";

class ContainerSuite : public LoadedLibrary {
 protected:
  /// Runs `body` on every subject in the present host: where starting one for each would take too long.
  template <typename Predicate, typename Body>
  static void forSubjectsWhere(Predicate predicate, Body body) {
    for (const Subject& subject : subjectsWhere(predicate)) {
      SCOPED_TRACE(testing::PrintToString(subject));
      subject_ = subject;
      body();
    }
  }

  static const ClassFacts& facts() { return *subject_.facts; }
  static bool caseSensitive() { return subject_.caseSensitive; }
  static std::string missing() {
    return std::string("NilObjectException: ") + (facts().isMap() ? "Map" : "Set") + " not initialized";
  }
  static Value key(int i) { return keyOf(facts().key, i); }
  static Value value(int i) { return valueOf(facts().value, i); }
  static std::string neutral(Kind kind) { return kind == Kind::kInteger ? "0" : "nil"; }

  static Values constructorArguments() {
    return facts().hasCaseChoice() ? Values{caseSensitive()} : Values{};
  }
  /// A container with these keys, each with the value of the same number, added in this order.
  Value make(const std::vector<int>& keys = {}) {
    Value container = create(facts().name, constructorArguments());
    for (const int i : keys) put(container, i, i);
    return container;
  }
  /// An object on which no constructor was run.
  Value unmade() { return host().instantiate(facts().name); }

  void put(const Value& container, int k) { put(container, k, k); }
  void put(const Value& container, int k, int v) { add(container, key(k), value(v)); }
  void add(const Value& container, const Value& k, const Value& v) {
    if (!facts().isMap()) return static_cast<void>(call(container, "insert", {k}));
    host().assign(container, "value", {k}, v);
  }

  std::int64_t count(const Value& container) { return host().get(container, "Count").integer(); }
  bool equal(const Value& a, const Value& b) {
    const bool equal = call(a, "isEqual", {b}).boolean();
    EXPECT_NE(equal, call(a, "isNotEqual", {b}).boolean());
    return equal;
  }
  bool atEnd(const Value& container, const Value& iterator) {
    return equal(iterator, call(container, "last"));
  }
  std::string keyAt(const Value& iterator) { return show(call(iterator, "Key")); }
  /// A new iterator at the nth entry.
  Value nth(const Value& container, int n) {
    Value iterator = call(container, "first");
    while (n-- > 0) call(iterator, "MoveNext");
    return iterator;
  }

  /// What `read` answers at every entry, in the order of iteration.
  template <typename Read>
  Texts each(const Value& container, Read read) {
    Texts texts;
    for (Value i = call(container, "first"); !atEnd(container, i); call(i, "MoveNext"))
      texts.push_back(read(i));
    return texts;
  }
  Texts keys(const Value& container) {
    return each(container, [&](const Value& i) { return keyAt(i); });
  }
  Texts values(const Value& map) {
    return each(map, [&](const Value& i) { return show(call(i, "Value")); });
  }
  /// "key" or "key=value" of every entry in ascending order of its text: what the container holds.
  Texts content(const Value& container) {
    const bool map = facts().isMap();
    return sorted(each(container,
                       [&](const Value& i) { return keyAt(i) + (map ? "=" + show(call(i, "Value")) : ""); }));
  }
  /// The same for keys that each have the value of their own number.
  static Texts entries(const std::vector<int>& keys) {
    Texts texts = shown(keys);
    for (std::size_t i = 0; i < keys.size() && facts().isMap(); ++i) texts[i] += "=" + show(value(keys[i]));
    return sorted(texts);
  }
  static Texts shown(const std::vector<int>& keys) {
    Texts texts;
    for (const int i : keys) texts.push_back(show(key(i)));
    return texts;
  }
  static Texts sorted(Texts texts) {
    std::sort(texts.begin(), texts.end());
    return texts;
  }

  /// Calls the function behind a declaration with one object, past the choice of an overload: nil fits
  /// several.
  void callDeclared(const Value& object, const std::string& declaration, const Value& argument) {
    using Function = void (*)(REALobjectStruct*, REALobjectStruct*);
    const auto function = reinterpret_cast<Function>(host().function(facts().name, declaration));
    Host::PluginCall bracket;
    function(object.object().get(), argument.object().get());
    bracket.finish();
  }
  void copyInto(const Value& target, const Value& other) {
    callDeclared(target, std::string("Constructor(other as ") + facts().name + ")", other);
  }
  static ArrayElementType arrayOf(Kind kind) {
    return kind == Kind::kInteger  ? kArrayOfIntegers
           : kind == Kind::kString ? kArrayOfStrings
                                   : kArrayOfVariants;
  }

  static inline Subject subject_{};
};

/// A suite run for each of the classes that VORNIK_FOR_CLASSES names.
template <typename Suite>
class PerSubject : public Suite, public testing::WithParamInterface<Subject> {
 protected:
  void SetUp() override {
    Suite::SetUp();
    Suite::subject_ = GetParam();
  }
};
using ContainerTest = PerSubject<ContainerSuite>;

inline constexpr auto anyClass = [](const ClassFacts&) { return true; };
inline constexpr auto isMap = [](const ClassFacts& facts) { return facts.isMap(); };
inline constexpr auto isOrdered = [](const ClassFacts& facts) { return facts.ordered; };
inline constexpr auto hasCaseChoice = [](const ClassFacts& facts) { return facts.hasCaseChoice(); };

#define VORNIK_FOR_CLASSES(Suite, ...)                                             \
  INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(subjectsWhere(__VA_ARGS__)), \
                           testing::PrintToStringParamName())

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_BEHAVIOUR_CONTAINER_TEST_H
