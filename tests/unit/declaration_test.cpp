#include "host/declaration.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace vornik::host {
namespace {

std::string describe(const DeclaredType& type) {
  static const char* const kLetters = "-ibdsvo";
  return kLetters[static_cast<int>(type.kind)] + std::string(type.isArray ? "[]:" : ":") + type.name;
}

/// Everything a declaration was read as, in one line that a table can state.
std::string describe(const Declaration& declaration) {
  std::string line = declaration.name + '(';
  for (const DeclaredParameter& p : declaration.parameters) {
    line += (p.assigns ? "<-" : "") + p.name + ' ' + describe(p.type);
    if (p.defaultText) line += '=' + *p.defaultText;
    line += ';';
  }
  return line + ')' + describe(declaration.result) + " needs " +
         std::to_string(declaration.requiredParameters());
}

TEST(Declaration, ReadsEveryForm) {
  const std::pair<const char*, const char*> cases[] = {
      {"Constructor", "Constructor()-: needs 0"},
      {"MoveNext ( )", "MoveNext()-: needs 0"},
      {"Constructor(dic as dictionary, CaseSensitive as Boolean = true)",
       "Constructor(dic o:dictionary;CaseSensitive b:Boolean=true;)-: needs 1"},
      {"Keys as integer()", "Keys()i[]:integer needs 0"},
      {"AddKeys(targetArray() as integer)", "AddKeys(targetArray i[]:integer;)-: needs 1"},
      {"Remove(first as XIteratorQZR, last as XIteratorQZR)",
       "Remove(first o:XIteratorQZR;last o:XIteratorQZR;)-: needs 2"},
      {"value(key as integer) as integer", "value(key i:integer;)i:integer needs 1"},
      {"Value(key As Variant, Assigns _value As Variant)",
       "Value(key v:Variant;<-_value v:Variant;)-: needs 2"},
      {"LenB( s as string ) as integer", "LenB(s s:string;)i:integer needs 1"},
      {"\tf(a\tAS Double=-1.5,b aS STRING = \"x, y\")As\tvariant ( ) ",
       "f(a d:Double=-1.5;b s:STRING=\"x, y\";)v[]:variant needs 0"},
      {"asString(assigns as Lib.Assigns) as ASinteger",
       "asString(assigns o:Lib.Assigns;)o:ASinteger needs 1"},
  };
  for (const auto& [text, reading] : cases) {
    EXPECT_EQ(describe(parseDeclaration(text)), reading);
    EXPECT_EQ(parseDeclaration(text).text, text);
  }
  EXPECT_EQ(describe(parseType(" Integer ")), "i:Integer");
  EXPECT_EQ(describe(parseType("string()")), "s[]:string");
}

TEST(Declaration, NamesTheColumnOfAFault) {
  const struct {
    const char* text;
    int column;
    const char* reason;
  } cases[] = {
      {"", 1, "expected a name"},
      {"f(", 3, "expected a parameter name"},
      {"f(a)", 4, "expected \"as\""},
      {"f(a as)", 7, "expected a type name"},
      {"f(a as integer", 15, "expected \")\""},
      {"f(a as integer,)", 16, "expected a parameter name"},
      {"f(a( as integer)", 6, "expected \")\""},
      {"f(a as integer = )", 18, "expected a literal"},
      {"f(a as string = \"x)", 17, "text literal without end"},
      {"f as integer x", 14, "unexpected text"},
      {"f(a as  Int32)", 9, "type Int32 is not supported"},
  };
  for (const auto& c : cases) {
    try {
      parseDeclaration(c.text);
      ADD_FAILURE() << "accepted: " << c.text;
    } catch (const std::invalid_argument& e) {
      EXPECT_EQ(e.what(), "declaration \"" + std::string(c.text) + "\", column " + std::to_string(c.column) +
                              ": " + c.reason);
    }
  }
}

}  // namespace
}  // namespace vornik::host
