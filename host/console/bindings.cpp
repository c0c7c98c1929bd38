#include "host/console/bindings.h"

#include <new>
#include <utility>

#include "host/console/session.h"

namespace vornik::host::console {
namespace {

void pushException(lua_State* L, const ScriptException& exception) {
  lua_createtable(L, 0, 4);
  setField(L, "class", exception.className());
  setField(L, "message", exception.message());
  lua_pushinteger(L, exception.errorNumber());
  lua_setfield(L, -2, "errorNumber");
  luaL_where(L, 1);
  lua_setfield(L, -2, "where");
  luaL_setmetatable(L, kExceptionType);
}

int exceptionToText(lua_State* L) {
  luaL_checktype(L, 1, LUA_TTABLE);
  for (const char* field : {"where", "class", "message"}) {
    lua_getfield(L, 1, field);
    luaL_tolstring(L, -1, nullptr);  // a script may have changed the table
    lua_remove(L, -2);
  }
  lua_pushfstring(L, "%s%s: %s", lua_tostring(L, -3), lua_tostring(L, -2), lua_tostring(L, -1));
  return 1;
}

/// The reference that userdata of one of our types holds, null for any other value.
Value* heldAt(lua_State* L, int index) {
  for (const char* type :
       {kObjectType, kVariantType, kStringType, kMemberType, kArrayType, kDictionaryType}) {
    if (void* const memory = luaL_testudata(L, index, type)) return static_cast<Value*>(memory);
  }
  return nullptr;
}

/// For __gc and __close. The userdata stays behind with nil in it, so that running twice is harmless.
int release(lua_State* L) {
  if (Value* const held = heldAt(L, 1)) Session::of(L).release(*held);
  return 0;
}

int equal(lua_State* L) {
  const Value a = objectAt(L, 1);
  lua_pushboolean(L, !a.isNil() && a.held() == objectAt(L, 2).held());
  return 1;
}

constexpr std::string_view kArrayClass = "Array";
constexpr std::string_view kDictionaryClass = "Dictionary";

}  // namespace

int runBody(lua_State* L, Body body) noexcept {
  Session& session = Session::of(L);
  lua_State* const outer = std::exchange(session.running, L);
  session.readFrom = nullptr;
  int results = -1;
  try {
    results = body(L);
  } catch (const ScriptException& exception) {
    lua_settop(L, 0);
    pushException(L, exception);
  } catch (const std::exception& error) {
    lua_settop(L, 0);
    luaL_where(L, 1);
    lua_pushstring(L, error.what());
    lua_concat(L, 2);
  }
  session.running = outer;
  return results;
}

void pushValue(lua_State* L, const Value& value) {
  if (std::holds_alternative<StringRef>(value.held())) {  // a nil string is the empty text
    const std::string text = value.text();
    lua_pushlstring(L, text.data(), text.size());
  } else if (value.isNil()) {
    lua_pushnil(L);
  } else if (const bool* const b = std::get_if<bool>(&value.held())) {
    lua_pushboolean(L, *b);
  } else if (const std::int64_t* const i = std::get_if<std::int64_t>(&value.held())) {
    lua_pushinteger(L, *i);
  } else if (const double* const d = std::get_if<double>(&value.held())) {
    lua_pushnumber(L, *d);
  } else {
    Host& host = Session::of(L).host();
    const std::string name = host.className(value);
    if (name.starts_with(kVariantClasses)) return pushVariant(L, value);
    pushReference(L, value,
                  name == kArrayClass        ? kArrayType
                  : name == kDictionaryClass ? kDictionaryType
                                             : kObjectType);
  }
}

void pushReference(lua_State* L, const Value& object, const char* type, int userValues) {
  void* const memory = lua_newuserdatauv(L, sizeof(Value), userValues);
  Session::of(L).hold(*static_cast<Value*>(memory));  // throws, so comes first
  new (memory) Value(object);
  luaL_setmetatable(L, type);
}

bool isBuiltInName(std::string_view className) {
  return className == kArrayClass || className == kDictionaryClass || className.starts_with(kVariantClasses);
}

Value readValue(lua_State* L, int index) {
  switch (lua_type(L, index)) {
    case LUA_TNONE:
    case LUA_TNIL:
      return {};
    case LUA_TBOOLEAN:
      return lua_toboolean(L, index) != 0;
    case LUA_TNUMBER:
      if (lua_isinteger(L, index) != 0) return std::int64_t{lua_tointeger(L, index)};
      return double{lua_tonumber(L, index)};
    case LUA_TSTRING:
      return requireText(L, index, "a text");
    case LUA_TTABLE:
      throw ScriptError("a table is no host value; wrap it as Array{...} or Dictionary{...}");
    case LUA_TFUNCTION:
    case LUA_TTHREAD:
      throw ScriptError(std::string("a ") + luaL_typename(L, index) +
                        " is no host value; containers, arrays and dictionaries cannot keep it");
    case LUA_TUSERDATA:
      if (luaL_testudata(L, index, kNilType) != nullptr) return {};
      [[fallthrough]];
    default:
      return requireObject(L, index);
  }
}

std::vector<Value> readValues(lua_State* L, int first) {
  std::vector<Value> values;
  for (int index = first; index <= lua_gettop(L); ++index) values.push_back(readValue(L, index));
  return values;
}

Value requireObject(lua_State* L, int index, const char* type) {
  const Value* const held = heldAt(L, index);
  const char* const wanted = type != nullptr ? type : kObjectType;
  if (held == nullptr || (type == nullptr ? luaL_testudata(L, index, kMemberType) != nullptr
                                          : luaL_testudata(L, index, type) == nullptr)) {
    throw ScriptError(std::string("a ") + wanted + " is wanted, not a " + luaL_typename(L, index));
  }
  if (held->isNil()) throw ScriptError(std::string("the ") + wanted + " was closed");
  return *held;
}

Value objectAt(lua_State* L, int index) {
  const Value* const held = heldAt(L, index);
  return held != nullptr && luaL_testudata(L, index, kMemberType) == nullptr ? *held : Value();
}

std::string_view requireText(lua_State* L, int index, const char* what) {
  // Checked first, as lua_tolstring would turn a number on the stack into text.
  if (lua_type(L, index) != LUA_TSTRING) {
    throw ScriptError(std::string(what) + " is wanted, not a " + luaL_typename(L, index));
  }
  std::size_t length = 0;
  const char* const text = lua_tolstring(L, index, &length);
  return {text, length};
}

int callRead(lua_State* L) {
  const void* const readFrom = std::exchange(Session::of(L).readFrom, nullptr);
  lua_Debug call;
  lua_getstack(L, 0, &call);
  lua_getinfo(L, "n", &call);
  const char* const name = call.name != nullptr ? call.name : "the member";
  if (readFrom != nullptr && lua_topointer(L, 2) == readFrom) {
    if (lua_gettop(L) > 2) return luaL_error(L, "%s takes no arguments", name);
    lua_settop(L, 1);
    return 1;
  }
  if (std::string_view(call.namewhat) == "for iterator" && heldAt(L, 1) != nullptr) {
    return luaL_error(L, "a loop goes over pairs(...) of this, as in: for key, value in pairs(m) do");
  }
  if (readFrom != nullptr && std::string_view(call.namewhat) == "field" &&
      sameName(Session::of(L).readMember->name, name)) {
    return luaL_error(L, "call %s with a colon, as in object:%s(), or read it without parentheses", name,
                      name);
  }
  const char* const type = luaL_typename(L, 1);
  if (call.name == nullptr) return luaL_error(L, "attempt to call a %s value", type);
  if (lua_isnil(L, 1) && std::string_view(call.namewhat) == "global") {
    return luaL_error(L, "there is no class or function '%s'", name);
  }
  return luaL_error(L, "attempt to call a %s value (%s '%s')", type, call.namewhat, name);
}

void setField(lua_State* L, const char* field, std::string_view text) {
  lua_pushlstring(L, text.data(), text.size());
  lua_setfield(L, -2, field);
}

void defineType(lua_State* L, const char* name, const luaL_Reg* functions) {
  luaL_newmetatable(L, name);
  static constexpr luaL_Reg kShared[] = {{"__gc", binding<release>},
                                         {"__close", binding<release>},
                                         {"__eq", binding<equal>},
                                         {"__call", callRead},
                                         {nullptr, nullptr}};
  luaL_setfuncs(L, kShared, 0);
  luaL_setfuncs(L, functions, 0);
  // Scripts do not get at metatables, whose functions trust what they are called with.
  lua_pushboolean(L, 0);
  lua_setfield(L, -2, "__metatable");
  lua_pop(L, 1);
}

void openBindings(lua_State* L) {
  luaL_newmetatable(L, kExceptionType);
  lua_pushcfunction(L, exceptionToText);
  lua_setfield(L, -2, "__tostring");
  lua_pop(L, 1);

  openObjects(L);
  openCollections(L);
  openValues(L);
  openGlobals(L);

  // Everything that a member can be read as, besides userdata.
  lua_pushnil(L);
  lua_pushboolean(L, 0);
  lua_pushinteger(L, 0);
  for (int plain = 0; plain < 3; ++plain) {
    lua_createtable(L, 0, 1);
    lua_pushcfunction(L, callRead);
    lua_setfield(L, -2, "__call");
    lua_setmetatable(L, -2);
    lua_pop(L, 1);
  }
  lua_pushliteral(L, "");
  lua_getmetatable(L, -1);
  lua_pushcfunction(L, callRead);
  lua_setfield(L, -2, "__call");
  lua_pop(L, 2);
}

}  // namespace vornik::host::console
