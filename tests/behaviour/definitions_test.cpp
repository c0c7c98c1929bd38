// The records of all classes against the file of facts beside this one, and a run that reaches every
// member they declare.
#include <fstream>

#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

struct Definitions : ContainerSuite {
  /// Everything the interface lets a record hold that these do not use.
  static bool isPlain(const REALclassDefinition& record) {
    return record.superclassName == nullptr && record.constructor == nullptr && record.eventCount == 0 &&
           record.eventInstanceCount == 0 && record.interfaces == nullptr && record.attributeCount == 0 &&
           record.constantCount == 0 && record.sharedPropertyCount == 0 && record.sharedMethodCount == 0 &&
           record.delegateCount == 0 && record.enumCount == 0;
  }

  static std::string flags(std::uint32_t flags) { return ", flags " + std::to_string(flags); }

  static std::string line(const REALproperty& record) {
    EXPECT_TRUE(record.setter == nullptr && record.editor == nullptr && record.enumCount == 0 &&
                record.attributeCount == 0)
        << record.name;
    const bool byHost = reinterpret_cast<std::uintptr_t>(record.getter) == ~std::uintptr_t{0};
    return std::string("  property ") + record.name + " as " + record.type + flags(record.flags) +
           (byHost ? ", read by the host at " + std::to_string(record.parameter) : "");
  }

  static std::string line(const REALmethodDefinition& record) {
    EXPECT_EQ(record.attributeCount, 0u) << record.declaration;
    return std::string("  method ") + record.declaration + flags(record.flags) +
           (record.setter != nullptr ? ", assignable" : "");
  }

  static Texts block(const REALclassDefinition& record) {
    EXPECT_TRUE(isPlain(record)) << record.name;
    Texts lines{std::string("class ") + record.name + ": " + std::to_string(record.dataSize) + " bytes" +
                flags(record.flags) + (record.destructor != nullptr ? ", destructor" : "")};
    for (std::uint64_t i = 0; i < record.propertyCount; ++i) lines.push_back(line(record.properties[i]));
    for (std::uint64_t i = 0; i < record.methodCount; ++i) lines.push_back(line(record.methods[i]));
    return lines;
  }
};

TEST_F(Definitions, AreAsTheFactsSay) {
  std::ifstream file(VORNIK_CLASS_FACTS);
  Texts facts, registered;
  for (std::string text; std::getline(file, text);) {
    if (!text.empty()) facts.push_back(text);
  }
  ASSERT_FALSE(facts.empty());
  for (const auto& type : host().classes()) {
    for (const std::string& text : block(*type->definition)) registered.push_back(text);
  }
  EXPECT_THAT(registered, ElementsAreArray(facts));
}

TEST_F(Definitions, EveryDeclaredMemberAnswers) {
  start({});
  forSubjectsWhere(anyClass, [&] {
    const Value container = make({1, 2, 3, 4, 5}), other = make({2, 3});
    for (const char* property : {"MaxSize", "Count", "Empty", "CaseSensitive", "BinCount"}) {
      if (host().hasMember(container, property)) host().get(container, property);
    }
    EXPECT_FALSE(equal(call(container, "first"), call(container, "last")));
    EXPECT_EQ(keyAt(nth(container, 1)), show(call(container, "Key", {1})));
    const Value i = call(container, "find", {key(2)});
    call(container, "Remove", {call(container, "find", {key(4)})});
    EXPECT_EQ(call(container, "Remove", {key(5)}).integer(), 1);
    EXPECT_EQ(call(container, "CountKey", {key(5)}).integer(), 0);
    EXPECT_EQ(host().elementCount(call(container, "Keys")), 3);
    if (facts().ordered) {
      call(i, "MovePrev");
      EXPECT_TRUE(equal(call(container, "LowerBound", {key(2)}), nth(container, 1)));
      EXPECT_TRUE(equal(call(container, "UpperBound", {key(2)}), nth(container, 2)));
    }
    if (facts().isMap()) {
      EXPECT_EQ(show(call(container, "value", {key(2)})), show(value(2)));
      EXPECT_EQ(show(call(container, "lookup", {key(9), value(7)})), show(value(7)));
      EXPECT_TRUE(call(container, "hasKey", {key(2)}).boolean());
      host().assign(i, "Value", {}, value(8));
      EXPECT_EQ(show(call(i, "Value")), show(value(8)));
      EXPECT_EQ(host().elementCount(call(container, "Values")), 3);
      EXPECT_FALSE(call(container, "ValueAtIndex", {2}).isNil());
      const Value keys = host().array(arrayOf(facts().key), {}),
                  values = host().array(arrayOf(facts().value), {});
      call(container, "AddKeys", {keys});
      call(container, "AddValues", {values});
      EXPECT_EQ(host().elementCount(keys) + host().elementCount(values), 6);
      EXPECT_EQ(content(call(other, "Clone")), content(create(facts().name, {other})));
      call(other, "CloneDictionary");
      call(container, "Constructor", {call(other, "Operator_Convert")});
    } else {
      EXPECT_TRUE(call(container, "lookup", {key(2)}).boolean());
      for (const Kind kind : {facts().key, facts().key == kAny ? kText : facts().key}) {
        call(container, "Constructor", {host().array(arrayOf(kind), {keyOf(kind, 2), keyOf(kind, 3)})});
      }
    }
    EXPECT_EQ(content(container), content(other));
    call(container, "Remove", {call(container, "first"), call(container, "last")});
    call(other, "Clear");
    EXPECT_EQ(count(container) + count(other), 0);
  });
  EXPECT_THAT(host().unreached(), IsEmpty());
}

}  // namespace
}  // namespace vornik::behaviour
