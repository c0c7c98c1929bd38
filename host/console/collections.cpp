// Host arrays and dictionaries: `Array{...}`, `array[i]`, `array[i] = v`, `array:append(v)`,
// `array:totable()`; `Dictionary{...}`, `Dictionary(map)`, `dictionary[key]`, `dictionary[key] = v`; `#` and
// `pairs()` for both. Arrays are indexed from 0, as in the host's language.
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <utility>

#include "host/console/bindings.h"
#include "host/console/session.h"

namespace vornik::host::console {
namespace {

Value arrayAt(lua_State* L, int index) {
  return requireObject(L, index, kArrayType);
}
Value dictionaryAt(lua_State* L, int index) {
  return requireObject(L, index, kDictionaryType);
}

/// The element type that holds all values: their own if they share one, else variant.
ArrayElementType commonType(const std::vector<Value>& values) {
  const auto all = [&](auto holds) {
    for (const Value& value : values) {
      if (!holds(value.held())) return false;
    }
    return true;
  };
  if (all([](const Value::Held& held) { return std::holds_alternative<std::int64_t>(held); }))
    return kArrayOfIntegers;
  if (all([](const Value::Held& held) { return std::holds_alternative<StringRef>(held); }))
    return kArrayOfStrings;
  return kArrayOfVariants;
}

ArrayElementType typeNamed(std::string_view name) {
  static constexpr std::array<std::pair<std::string_view, ArrayElementType>, 3> kTypes{
      {{"Integer", kArrayOfIntegers}, {"String", kArrayOfStrings}, {"Variant", kArrayOfVariants}}};
  for (const auto& [typeName, type] : kTypes) {
    if (sameName(name, typeName)) return type;
  }
  throw ScriptError("there are no arrays of '" + std::string(name) + "'; choose Integer, String or Variant");
}

/// Array{1, 2, 3}, or Array({}, "String") where the elements do not tell the type.
int createArray(lua_State* L) {
  if (lua_type(L, 1) != LUA_TTABLE) throw ScriptError("Array is made from a table, as in Array{1, 2, 3}");
  std::vector<Value> values;
  const auto length = static_cast<lua_Integer>(lua_rawlen(L, 1));
  for (lua_Integer i = 1; i <= length; ++i) {
    lua_rawgeti(L, 1, i);
    values.push_back(readValue(L, -1));
    lua_pop(L, 1);
  }
  const bool typed = !lua_isnoneornil(L, 2);
  const ArrayElementType type = typed ? typeNamed(requireText(L, 2, "an element type")) : commonType(values);
  if (type == kArrayOfIntegers) {
    for (Value& value : values) fitInteger(value, "an element of an Integer array");
  }
  pushValue(L, Session::of(L).host().array(type, values));
  return 1;
}

/// The value at an index of the stack as an element: Lua's floats without a fraction are integers to an array
/// of Integers.
Value readElementFor(lua_State* L, int index, ArrayElementType type) {
  Value element = readValue(L, index);
  if (type == kArrayOfIntegers) fitInteger(element, "an element of an Integer array");
  return element;
}

int appendElement(lua_State* L) {
  Host& host = Session::of(L).host();
  const Value array = arrayAt(L, 1);
  host.append(array, readElementFor(L, 2, host.elementType(array)));
  return 0;
}

int arrayToTable(lua_State* L) {
  const std::vector<Value> elements = Session::of(L).host().elements(arrayAt(L, 1));
  lua_createtable(L, static_cast<int>(elements.size()), 0);
  lua_Integer position = 0;  // Lua counts from 1
  for (const Value& element : elements) {
    pushValue(L, element);
    lua_rawseti(L, -2, ++position);
  }
  return 1;
}

lua_Integer elementIndex(lua_State* L) {
  int isInteger = 0;
  const lua_Integer index = lua_type(L, 2) == LUA_TNUMBER ? lua_tointegerx(L, 2, &isInteger) : 0;
  if (isInteger == 0) throw ScriptError("arrays are indexed by integers");
  return index;
}

int readElement(lua_State* L) {
  const Value array = arrayAt(L, 1);
  if (lua_type(L, 2) == LUA_TSTRING) {
    const std::string_view name = requireText(L, 2, "a name");
    if (!sameName(name, "totable") && !sameName(name, "append")) {
      throw ScriptError("arrays have no member '" + std::string(name) +
                        "'; #array is the length, array:append(value) adds");
    }
    lua_pushcfunction(L, sameName(name, "totable") ? binding<arrayToTable> : binding<appendElement>);
    return 1;
  }
  Host& host = Session::of(L).host();
  const lua_Integer index = elementIndex(L);
  if (index > 0 && index == host.elementCount(array)) {
    throw ScriptError(fmt::format(
        "there is no element {}: arrays begin at 0, and pairs goes through them, not ipairs", index));
  }
  pushValue(L, host.element(array, index));
  return 1;
}

int writeElement(lua_State* L) {
  Host& host = Session::of(L).host();
  const Value array = arrayAt(L, 1);
  const lua_Integer index = elementIndex(L);
  host.setElement(array, index, readElementFor(L, 3, host.elementType(array)));
  return 0;
}

int arrayLength(lua_State* L) {
  lua_pushinteger(L, Session::of(L).host().elementCount(arrayAt(L, 1)));
  return 1;
}

/// Steps through a table of keys (upvalue 1) and one of values (upvalue 2); upvalue 3 counts. Works on
/// copies, so what happens meanwhile to the collection does not matter.
int nextPair(lua_State* L) {
  const lua_Integer position = lua_tointeger(L, lua_upvalueindex(3)) + 1;
  lua_pushinteger(L, position);
  lua_replace(L, lua_upvalueindex(3));
  lua_rawgeti(L, lua_upvalueindex(1), position);
  lua_rawgeti(L, lua_upvalueindex(2), position);
  return 2;
}

void pushPairs(lua_State* L, const std::vector<std::pair<Value, Value>>& pairs) {
  lua_createtable(L, static_cast<int>(pairs.size()), 0);
  lua_createtable(L, static_cast<int>(pairs.size()), 0);
  lua_Integer position = 0;
  for (const auto& [key, value] : pairs) {
    ++position;
    pushKey(L, key);
    lua_rawseti(L, -3, position);
    pushValue(L, value);
    lua_rawseti(L, -2, position);
  }
  lua_pushinteger(L, 0);
  lua_pushcclosure(L, nextPair, 3);
}

int eachElement(lua_State* L) {
  std::vector<std::pair<Value, Value>> pairs;
  for (Value& element : Session::of(L).host().elements(arrayAt(L, 1))) {
    pairs.emplace_back(static_cast<std::int64_t>(pairs.size()), std::move(element));
  }
  pushPairs(L, pairs);
  return 1;
}

/// Dictionary(), Dictionary{one = 1}, or Dictionary(map) with what the map turns itself into.
int createDictionary(lua_State* L) {
  Session& session = Session::of(L);
  Host& host = session.host();
  if (lua_type(L, 1) == LUA_TUSERDATA) {
    constexpr std::string_view kConversion = "Operator_Convert";
    const Value object = requireObject(L, 1, kObjectType);
    pushValue(L, host.call(object, session.members().find(object, kConversion).name));
    return 1;
  }
  const Value dictionary = host.dictionary();
  if (lua_type(L, 1) == LUA_TTABLE) {
    lua_pushnil(L);
    while (lua_next(L, 1) != 0) {
      host.setEntry(dictionary, readValue(L, -2), readValue(L, -1));
      lua_pop(L, 1);
    }
  } else if (!lua_isnoneornil(L, 1)) {
    throw ScriptError("Dictionary is made from a table, as in Dictionary{one = 1}, or from a map");
  }
  pushValue(L, dictionary);
  return 1;
}

int readEntry(lua_State* L) {
  const std::optional<Value> value = Session::of(L).host().entry(dictionaryAt(L, 1), readValue(L, 2));
  pushValue(L, value.value_or(Value()));
  return 1;
}

int writeEntry(lua_State* L) {
  Session::of(L).host().setEntry(dictionaryAt(L, 1), readValue(L, 2), readValue(L, 3));
  return 0;
}

int entryCount(lua_State* L) {
  lua_pushinteger(L, Session::of(L).host().entryCount(dictionaryAt(L, 1)));
  return 1;
}

int eachDictionaryEntry(lua_State* L) {
  pushPairs(L, Session::of(L).host().entries(dictionaryAt(L, 1)));
  return 1;
}

int arrayToText(lua_State* L) {
  std::string text = "Array{";
  Host& host = Session::of(L).host();
  const std::vector<Value> elements = host.elements(arrayAt(L, 1));
  for (std::size_t i = 0; i < std::min(elements.size(), kDescribed); ++i) {
    text += (i > 0 ? ", " : "") + describe(host, elements[i]);
  }
  text += elements.size() > kDescribed ? ", ...}" : "}";
  lua_pushlstring(L, text.data(), text.size());
  return 1;
}

int dictionaryToText(lua_State* L) {
  std::string text = "Dictionary{";
  Host& host = Session::of(L).host();
  const auto entries = host.entries(dictionaryAt(L, 1));
  for (std::size_t i = 0; i < std::min(entries.size(), kDescribed); ++i) {
    const auto& [key, value] = entries[i];
    text += (i > 0 ? ", [" : "[") + describe(host, key) + "] = " + describe(host, value);
  }
  text += entries.size() > kDescribed ? ", ...}" : "}";
  lua_pushlstring(L, text.data(), text.size());
  return 1;
}

}  // namespace

void openCollections(lua_State* L) {
  static constexpr luaL_Reg kArray[] = {
      {"__index", binding<readElement>},    {"__newindex", binding<writeElement>},
      {"__len", binding<arrayLength>},      {"__pairs", binding<eachElement>},
      {"__tostring", binding<arrayToText>}, {nullptr, nullptr}};
  defineType(L, kArrayType, kArray);
  lua_register(L, "Array", binding<createArray>);

  static constexpr luaL_Reg kDictionary[] = {{"__index", binding<readEntry>},
                                             {"__newindex", binding<writeEntry>},
                                             {"__len", binding<entryCount>},
                                             {"__pairs", binding<eachDictionaryEntry>},
                                             {"__tostring", binding<dictionaryToText>},
                                             {nullptr, nullptr}};
  defineType(L, kDictionaryType, kDictionary);
  lua_register(L, "Dictionary", binding<createDictionary>);
}

}  // namespace vornik::host::console
