// What each class offers to script code, word by word and in order: the declarations follow from the facts.
#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

struct Declarations : ContainerTest {
  /// Fills in templates: C and I preceded by $ stand for the class and its iterator, K and V for their types.
  static Texts filledIn(Texts templates) {
    const auto type = [](Kind kind) {
      return std::string(kind == kInt ? "integer" : kind == kText ? "string" : "variant");
    };
    const std::pair<char, std::string> words[] = {
        {'C', facts().name}, {'I', facts().iterator()}, {'K', type(facts().key)}, {'V', type(facts().value)}};
    for (std::string& text : templates) {
      for (const auto& [letter, word] : words) {
        const std::string mark{'$', letter};
        for (std::size_t at = 0; (at = text.find(mark)) != std::string::npos;) text.replace(at, 2, word);
      }
    }
    return templates;
  }

  static Texts expectedMethods() {
    Texts methods;
    const auto add = [&](bool applies, const Texts& templates) {
      if (applies) methods.insert(methods.end(), templates.begin(), templates.end());
    };
    const bool map = facts().isMap(), choice = facts().hasCaseChoice();
    const std::string caseParameter = choice ? "CaseSensitive as Boolean = true" : "";
    add(true, {choice ? "Constructor(" + caseParameter + ")" : "Constructor"});
    add(map, {"Constructor(dic as dictionary" + (choice ? ", " + caseParameter : "") + ")",
              "Constructor(other as $C)", "CloneDictionary as Dictionary", "Operator_Convert as Dictionary",
              "Clone as $C"});
    add(!map && facts().key == kAny, {"Constructor(Keys() as string)"});
    add(!map, {"Constructor(Keys() as $K)"});
    add(true, {"Clear"});
    add(map, {"ValueAtIndex(index as integer) as $V"});
    add(true, {"Key(index as integer) as $K", "Keys as $K()"});
    add(map, {"Values as $V()", "AddKeys(targetArray() as $K)", "AddValues(targetArray() as $V)"});
    add(true, {"first as $I", "last as $I", "Remove(pos as $I)", "Remove(first as $I, last as $I)",
               "Remove(key as $K) as integer", "CountKey(key as $K) as integer", "find(key as $K) as $I"});
    add(map, {"value(key as $K) as $V", "hasKey(key as $K) as boolean",
              "lookup(key as $K, defaultvalue as $V) as $V"});
    add(!map, {"lookup(key as $K) as boolean", "insert(key as $K)"});
    add(facts().ordered, {"LowerBound(key as $K) as $I", "UpperBound(key as $K) as $I"});
    return filledIn(methods);
  }

  static Texts expectedIteratorMethods() {
    Texts methods{"MoveNext", "Key as $K"};
    if (facts().isMap()) methods.push_back("Value as $V");
    methods.insert(methods.end(), {"isEqual(other as $I) as boolean", "isNotEqual(other as $I) as boolean"});
    if (facts().ordered) methods.push_back("MovePrev");
    return filledIn(methods);
  }

  Texts methodsOf(const std::string& className) {
    Texts texts;
    for (const host::RegisteredMethod& method : host().findClass(className)->methods) {
      const std::string& text = method.declaration.text;
      EXPECT_EQ(method.setter != nullptr, host::sameName(method.declaration.name, "value")) << text;
      texts.push_back(text);
    }
    return texts;
  }
};
VORNIK_FOR_CLASSES(Declarations, anyClass);

TEST_P(Declarations, AreTheSame) {
  EXPECT_EQ(methodsOf(facts().name), expectedMethods());
  EXPECT_EQ(methodsOf(facts().iterator()), expectedIteratorMethods());

  Texts properties, expected{"MaxSize as Integer", "Count as Integer", "Empty as Boolean"};
  if (!facts().ordered) expected.insert(expected.end() - 1, "BinCount as Integer");
  if (facts().hasCaseChoice()) expected.insert(expected.begin(), "CaseSensitive as Boolean");
  for (const host::RegisteredProperty& property : host().findClass(facts().name)->properties) {
    EXPECT_EQ(property.record->setter, nullptr) << "read-only";
    properties.push_back(property.name + " as " + property.type.name);
  }
  EXPECT_EQ(properties, expected);
  EXPECT_TRUE(host().findClass(facts().iterator())->properties.empty());
}

}  // namespace
}  // namespace vornik::behaviour
