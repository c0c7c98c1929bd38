// What the suites through the loaded library share: a host with the library in it, a ledger that must be
// empty when the test is over, and one class at a time, spoken to by key and value numbers.
#ifndef VORNIK_TESTS_SUPPORT_CONTAINER_TEST_H
#define VORNIK_TESTS_SUPPORT_CONTAINER_TEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/class_facts.h"

namespace vornik::behaviour {

/// A host with the library loaded; tests of one suite share it, since loading takes longer than most of them.
/// A test that wants another host, or makes this one misbehave, starts its own. Values must not outlive the
/// test's body: what is still referenced when it ends is a leak and fails the test.
class ContainerSuite : public testing::Test {
 protected:
  static void TearDownTestSuite() { host_.reset(); }

  void SetUp() override {
    if (!host_) load({});
  }

  void TearDown() override {
    expectNothingLeft();
    if (ownHost_ || HasFailure()) host_.reset();
  }

  /// Replaces the host by one with these options, and loads the library into it.
  void start(HostOptions options) {
    expectNothingLeft();
    ownHost_ = true;
    load(std::move(options));
  }

  Host& host() { return *host_; }
  Value create(const std::string& className, const Values& arguments = {}) {
    return host_->create(className, arguments);
  }
  Value call(const Value& object, const std::string& method, const Values& arguments = {}) {
    return host_->call(object, method, arguments);
  }

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
  static Value keyOfText(const Value& text) {
    return facts().key == kText ? text : Host::current().variant(kVariantString, text);
  }
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
    behaviour::add(facts(), container, k, v);
  }

  std::int64_t count(const Value& container) { return host().get(container, "Count").integer(); }
  bool equal(const Value& a, const Value& b) {
    const bool equal = call(a, "isEqual", {b}).boolean();
    EXPECT_NE(equal, call(a, "isNotEqual", {b}).boolean());
    return equal;
  }
  bool atEnd(const Value& container, const Value& i) { return equal(i, call(container, "last")); }
  std::string keyAt(const Value& iterator) { return show(call(iterator, "Key")); }
  /// A new iterator at the nth entry.
  Value nth(const Value& container, int n) {
    Value iterator = call(container, "first");
    while (n-- > 0) call(iterator, "MoveNext");
    return iterator;
  }

  /// What a member of iterators answers at every entry, in the order of iteration.
  Texts each(const Value& container, const char* member) {
    Texts texts;
    const Value i = call(container, "first"), end = call(container, "last");
    for (; call(i, "isNotEqual", {end}).boolean(); call(i, "MoveNext"))
      texts.push_back(show(call(i, member)));
    return texts;
  }
  Texts keys(const Value& container) { return each(container, "Key"); }
  Texts values(const Value& map) { return each(map, "Value"); }
  /// "key" or "key=value" of every entry, in the order of iteration.
  Texts visit(const Value& container) {
    Texts texts = keys(container);
    const Texts shown = facts().isMap() ? values(container) : Texts();
    for (std::size_t i = 0; i < std::min(texts.size(), shown.size()); ++i) texts[i] += "=" + shown[i];
    return texts;
  }
  /// The same in ascending order of the texts: what the container holds.
  Texts content(const Value& container) { return sorted(visit(container)); }
  /// The content of a container with keys that each have the value of their own number.
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

  Texts elements(const Value& array) {
    Texts texts;
    for (const Value& element : host().elements(array)) texts.push_back(show(element));
    return texts;
  }

  /// Calls the function behind a declaration with one object, past the choice of an overload: nil
  /// fits several.
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
    return kind == kInt ? kArrayOfIntegers : kind == kText ? kArrayOfStrings : kArrayOfVariants;
  }

  static inline Subject subject_{};

 private:
  static void expectNothingLeft() {
    EXPECT_TRUE(host_ == nullptr || host_->leftovers().empty()) << testing::PrintToString(host_->leftovers());
  }
  static void load(HostOptions options) {
    host_.reset();
    host_ = std::make_unique<Host>(std::move(options));
    host_->load(VORNIK_PLUGIN_PATH);
  }

  static inline std::unique_ptr<Host> host_;
  bool ownHost_ = false;
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
inline constexpr auto hasCaseChoice = [](const ClassFacts& facts) { return facts.hasCaseChoice(); };

#define VORNIK_FOR_CLASSES(Suite, ...)                                             \
  INSTANTIATE_TEST_SUITE_P(, Suite, testing::ValuesIn(subjectsWhere(__VA_ARGS__)), \
                           testing::PrintToStringParamName())

}  // namespace vornik::behaviour

#endif  // VORNIK_TESTS_SUPPORT_CONTAINER_TEST_H
