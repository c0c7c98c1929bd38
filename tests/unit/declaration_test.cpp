#include "host/declaration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <stdexcept>
#include <string>

#include "host/ffi_call.h"

namespace vornik::host {
namespace {

using Kind = DeclaredType::Kind;

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

TEST(Declaration, NamesCompareWithoutRegardToAsciiCaseOnly) {
  EXPECT_TRUE(sameName("MoveNext", "mOVEnEXT"));
  EXPECT_FALSE(sameName("MoveNext", "MoveNex"));
  EXPECT_FALSE(sameName("[", "{"));
  EXPECT_FALSE(sameName("\xC3\x84", "\xC3\xA4"));
}

template <typename Function>
REALproc asProc(Function* function) {
  return reinterpret_cast<REALproc>(function);
}

// Stand for registered functions.
std::uint8_t both(std::uint8_t* flags, std::uint8_t first, double number, std::uint8_t second) {
  flags[0] = first;
  flags[1] = second;
  return number == 0.125 ? 0x81 : 0;
}
double half(const void*, double number) {
  return number / 2;
}
const void* same(const void*, const void* handle) {
  return handle;
}

TEST(CallFunction, PassesEveryKindUnchanged) {
  const auto bits = [](auto v) { return std::bit_cast<std::uint64_t>(v); };
  std::uint8_t flags[] = {2, 2};
  // The bytes above a Boolean must not matter.
  const RawArgument mixed[] = {{Kind::kBoolean, false, 0xABCDEF01},
                               {Kind::kDouble, false, bits(0.125)},
                               {Kind::kBoolean, false, 0xFF00}};
  EXPECT_EQ(callFunction(asProc(both), flags, mixed, Kind::kBoolean, false), 0x81u);
  EXPECT_THAT(flags, testing::ElementsAre(1, 0));

  const RawArgument number[] = {{Kind::kDouble, false, bits(5.0)}};
  EXPECT_EQ(callFunction(asProc(half), flags, number, Kind::kDouble, false), bits(2.5));
  // An array of Booleans is an address, not a byte.
  const RawArgument array[] = {{Kind::kBoolean, true, bits(&flags)}};
  EXPECT_EQ(callFunction(asProc(same), flags, array, Kind::kBoolean, true), bits(&flags));
  const RawArgument nothing[] = {{}};
  EXPECT_THROW(callFunction(asProc(same), flags, nothing, Kind::kObject, false), std::invalid_argument);
}

}  // namespace
}  // namespace vornik::host
