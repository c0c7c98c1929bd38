// Host values that Lua has no type of its own for: strings in other encodings, as in String(bytes,
// "UTF-16LE"), and variants of exact type, as in Variant.Int32(5).
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "fmt/format.h"
#include "host/console/bindings.h"
#include "host/console/session.h"

namespace vornik::host::console {
namespace {

struct NamedEncoding {
  std::string_view name;
  std::uint32_t encoding;
};
constexpr std::array kEncodings{
    NamedEncoding{"ASCII", kEncodingASCII},
    NamedEncoding{"UTF-8", kEncodingUTF8},
    NamedEncoding{"UTF-16", kEncodingUTF16},
    NamedEncoding{"UTF-16BE", kEncodingUTF16BE},
    NamedEncoding{"UTF-16LE", kEncodingUTF16LE},
    NamedEncoding{"UTF-32", kEncodingUTF32},
    NamedEncoding{"UTF-32BE", kEncodingUTF32BE},
    NamedEncoding{"UTF-32LE", kEncodingUTF32LE},
    NamedEncoding{"MacRoman", kEncodingMacRoman},
    NamedEncoding{"ISO-8859-1", kEncodingISOLatin1},
    NamedEncoding{"Windows-1252", kEncodingWindowsLatin1},
    NamedEncoding{"unknown", kEncodingUnknown},
};

enum class Content { kInteger, kNumber, kBoolean, kText };

struct VariantKind {
  const char* name;
  VariantType type;
  bool isUnsigned;
  Content content;
  std::int64_t least = INT64_MIN;  ///< of an integer
  std::int64_t greatest = INT64_MAX;
};
constexpr std::array kVariantKinds{
    VariantKind{"Int32", kVariantInt32, false, Content::kInteger, INT32_MIN, INT32_MAX},
    VariantKind{"UInt32", kVariantInt32, true, Content::kInteger, 0, UINT32_MAX},
    VariantKind{"Int64", kVariantInt64, false, Content::kInteger},
    VariantKind{"UInt64", kVariantInt64, true, Content::kInteger},  // by its bits: -1 is the greatest
    VariantKind{"Single", kVariantSingle, false, Content::kNumber},
    VariantKind{"Double", kVariantDouble, false, Content::kNumber},
    VariantKind{"Currency", kVariantCurrency, false, Content::kNumber},
    VariantKind{"Boolean", kVariantBoolean, false, Content::kBoolean},
    VariantKind{"Color", kVariantColor, false, Content::kInteger, 0, UINT32_MAX},
    VariantKind{"String", kVariantString, false, Content::kText},
    VariantKind{"Text", kVariantText, false, Content::kText},
};

void require(bool fits, const VariantKind& kind, const char* wanted) {
  if (!fits) throw ScriptError(std::string("Variant.") + kind.name + " takes " + wanted);
}

/// A Currency counts ten-thousandths in 64 bits.
Value asCurrency(const Value& content) {
  const auto* const integer = std::get_if<std::int64_t>(&content.held());
  const double number = integer != nullptr ? static_cast<double>(*integer) : std::get<double>(content.held());
  const double parts = std::round(number * 10'000);
  if (!(std::fabs(parts) < 0x1p63)) {
    throw ScriptError(fmt::format("{:.14g} does not fit in Variant.Currency", number));
  }
  return parts / 10'000;
}

void checkContent(const VariantKind& kind, Value& content) {
  const bool isInteger = std::holds_alternative<std::int64_t>(content.held());
  const bool isNumber = isInteger || std::holds_alternative<double>(content.held());
  switch (kind.content) {
    case Content::kInteger:
      require(isNumber, kind, "an integer");
      fitInteger(content, std::string("the value of Variant.") + kind.name);
      if (content.integer() < kind.least || content.integer() > kind.greatest) {
        throw ScriptError(std::to_string(content.integer()) + " does not fit in Variant." + kind.name);
      }
      break;
    case Content::kNumber:
      require(isNumber, kind, "a number");
      if (kind.type == kVariantCurrency) content = asCurrency(content);
      break;
    case Content::kBoolean:
      return require(std::holds_alternative<bool>(content.held()), kind, "a Boolean");
    case Content::kText:
      return require(std::holds_alternative<StringRef>(content.held()), kind, "a text");
  }
}

int createVariant(lua_State* L) {
  const VariantKind& kind = *static_cast<const VariantKind*>(lua_touserdata(L, lua_upvalueindex(1)));
  Value content = readValue(L, 1);
  checkContent(kind, content);
  pushValue(L, Session::of(L).host().variant(kind.type, content, kind.isUnsigned));
  return 1;
}

const char* typeOf(const Host& host, const Value& variant, std::string& name) {
  name = host.className(variant).substr(kVariantClasses.size());
  return name.empty() ? "Variant" : name.c_str();
}

std::string quoted(const std::string& text) {
  return '"' + text + '"';
}

/// "Variant.Int32(5)".
std::string describeVariant(Host& host, const Value& variant) {
  std::string type;
  const std::string text = host.get(variant, "StringValue").text();
  const bool isText = std::holds_alternative<StringRef>(host.unbox(variant).held());
  return fmt::format("Variant.{}({})", typeOf(host, variant, type), isText ? quoted(text) : text);
}

int readVariant(lua_State* L) {
  Host& host = Session::of(L).host();
  const Value variant = requireObject(L, 1, kVariantType);
  const std::string_view name = requireText(L, 2, "a member name");
  std::string type;
  if (sameName(name, "type")) {
    lua_pushstring(L, typeOf(host, variant, type));
  } else if (sameName(name, "value")) {
    pushValue(L, host.unbox(variant));
  } else {
    throw ScriptError("variants have no member '" + std::string(name) + "'; there are type and value");
  }
  return 1;
}

int variantToText(lua_State* L) {
  const Value variant = requireObject(L, 1, kVariantType);
  const std::string text = describeVariant(Session::of(L).host(), variant);
  lua_pushlstring(L, text.data(), text.size());
  return 1;
}

/// Variants are values: equal when their types and what they hold are.
int equalVariants(lua_State* L) {
  Host& host = Session::of(L).host();
  const Value a = objectAt(L, 1);
  const Value b = objectAt(L, 2);
  bool equal = false;
  if (!a.isNil() && !b.isNil() && luaL_testudata(L, 1, kVariantType) != nullptr &&
      luaL_testudata(L, 2, kVariantType) != nullptr && host.className(a) == host.className(b)) {
    const Value x = host.unbox(a);
    const Value y = host.unbox(b);
    equal = std::holds_alternative<StringRef>(x.held()) ? x.text() == y.text() : x.held() == y.held();
  }
  lua_pushboolean(L, equal);
  return 1;
}

int createString(lua_State* L) {
  const std::string_view bytes = requireText(L, 1, "a text");
  const std::string_view name = lua_isnoneornil(L, 2) ? "UTF-8" : requireText(L, 2, "an encoding");
  std::string known;
  for (const NamedEncoding& candidate : kEncodings) {
    if (sameName(name, candidate.name)) {
      pushReference(L, Session::of(L).host().string(bytes, candidate.encoding), kStringType);
      return 1;
    }
    known += (known.empty() ? "" : ", ") + std::string(candidate.name);
  }
  throw ScriptError("there is no encoding '" + std::string(name) + "'; there are " + known);
}

int stringToText(lua_State* L) {
  const std::string text = requireObject(L, 1, kStringType).text();
  lua_pushlstring(L, text.data(), text.size());
  return 1;
}

int equalStrings(lua_State* L) {
  const bool strings = luaL_testudata(L, 1, kStringType) != nullptr && luaL_testudata(L, 2, kStringType);
  const Value a = objectAt(L, 1);
  const Value b = objectAt(L, 2);
  lua_pushboolean(L, strings && !a.isNil() && !b.isNil() && a.text() == b.text());
  return 1;
}

/// Variant.Foo, and Variant(3).
int refuseVariant(lua_State*) {
  std::string known;
  for (const VariantKind& kind : kVariantKinds) known += std::string(", ") + kind.name;
  throw ScriptError("variants are made by type, as in Variant.Int32(3); there are Nil" + known);
}

int readNil(lua_State* L) {
  const std::string_view name = requireText(L, 2, "a member name");
  if (sameName(name, "type")) {
    lua_pushliteral(L, "Nil");
  } else if (sameName(name, "value")) {
    lua_pushnil(L);
  } else {
    throw ScriptError("variants have no member '" + std::string(name) + "'; there are type and value");
  }
  return 1;
}

int nilToText(lua_State* L) {
  lua_pushliteral(L, "Variant.Nil");
  return 1;
}

/// Whether Lua has a type of its own for what is in variants of this class.
bool isPlainVariant(std::string_view className) {
  const std::string_view type = className.substr(kVariantClasses.size());
  return type == "Int64" || type == "Double" || type == "Boolean" || type == "String";
}

}  // namespace

std::string describe(Host& host, const Value& value) {
  if (value.isNil()) return "nil";
  if (const auto* boolean = std::get_if<bool>(&value.held())) return *boolean ? "true" : "false";
  if (const auto* integer = std::get_if<std::int64_t>(&value.held())) return std::to_string(*integer);
  if (const auto* number = std::get_if<double>(&value.held())) {
    std::string text = fmt::format("{:.14g}", *number);
    if (text.find_first_not_of("-0123456789") == std::string::npos) text += ".0";  // as Lua writes it
    return text;
  }
  if (std::holds_alternative<StringRef>(value.held())) return quoted(value.text());
  std::string name = host.className(value);
  if (!name.starts_with(kVariantClasses)) return name;
  return isPlainVariant(name) ? describe(host, host.unbox(value)) : describeVariant(host, value);
}

void pushVariant(lua_State* L, const Value& variant) {
  const Host& host = Session::of(L).host();
  if (isPlainVariant(host.className(variant))) return pushValue(L, host.unbox(variant));
  pushReference(L, variant, kVariantType);
}

void pushKey(lua_State* L, const Value& key) {
  pushValue(L, key);
  if (!lua_isnil(L, -1)) return;
  lua_pop(L, 1);
  lua_rawgetp(L, LUA_REGISTRYINDEX, kNilType);
}

void openValues(lua_State* L) {
  static constexpr luaL_Reg kVariant[] = {{"__index", binding<readVariant>},
                                          {"__tostring", binding<variantToText>},
                                          {"__eq", binding<equalVariants>},
                                          {nullptr, nullptr}};
  defineType(L, kVariantType, kVariant);
  static constexpr luaL_Reg kString[] = {
      {"__tostring", binding<stringToText>}, {"__eq", binding<equalStrings>}, {nullptr, nullptr}};
  defineType(L, kStringType, kString);
  lua_register(L, "String", binding<createString>);

  lua_newtable(L);
  for (const VariantKind& kind : kVariantKinds) {
    lua_pushlightuserdata(L, const_cast<VariantKind*>(&kind));
    lua_pushcclosure(L, binding<createVariant>, 1);
    lua_setfield(L, -2, kind.name);
  }
  // Nil where Lua's own nil cannot stand: as a key that a loop hands out.
  lua_newuserdatauv(L, 0, 0);
  luaL_newmetatable(L, kNilType);
  lua_pushcfunction(L, nilToText);
  lua_setfield(L, -2, "__tostring");
  lua_pushcfunction(L, binding<readNil>);
  lua_setfield(L, -2, "__index");
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  lua_setmetatable(L, -2);
  lua_pushvalue(L, -1);
  lua_rawsetp(L, LUA_REGISTRYINDEX, kNilType);
  lua_setfield(L, -2, "Nil");
  lua_createtable(L, 0, 2);
  for (const char* use : {"__index", "__call"}) {
    lua_pushcfunction(L, binding<refuseVariant>);
    lua_setfield(L, -2, use);
  }
  lua_setmetatable(L, -2);
  lua_setglobal(L, "Variant");
}

}  // namespace vornik::host::console
