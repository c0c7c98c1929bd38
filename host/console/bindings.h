// How C++ code becomes Lua functions, and host values Lua values.
//
// Lua reports errors by longjmp, which must not leave a frame that owns anything. Every binding is therefore
// two functions: a body, which owns what it likes, throws C++ exceptions and calls no Lua function that can
// raise; and an outer one, which owns nothing and raises what the body threw. Running out of memory raises
// nothing, see Session.
#ifndef VORNIK_HOST_CONSOLE_BINDINGS_H
#define VORNIK_HOST_CONSOLE_BINDINGS_H

#include <lua.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "host/host.h"
#include "host/value.h"

namespace vornik::host::console {

using Body = int (*)(lua_State*);

/// Runs a body and returns its number of results; -1 with an error value pushed if it threw: a host
/// exception becomes a table {class, message, errorNumber, where}, anything else a text that begins with the
/// script's position.
int runBody(lua_State* L, Body body) noexcept;

template <Body body>
int binding(lua_State* L) {
  const int results = runBody(L, body);
  return results >= 0 ? results : lua_error(L);
}

/// Pushes a host value: nil, Booleans, numbers and strings as Lua's own, strings as UTF-8; everything else as
/// userdata that holds a reference. Variants as what is in them where Lua's type tells theirs: Int64, Double,
/// Boolean and String; so a value that goes back to the host has the type it came with.
void pushValue(lua_State* L, const Value& value);
void pushVariant(lua_State* L, const Value& variant);
/// The same for a key that a loop hands out: Variant.Nil for nil, which would end the loop.
void pushKey(lua_State* L, const Value& key);
/// Pushes userdata of a type that holds a reference to an object, and has room for that many user values.
/// ScriptError when the session is ending.
void pushReference(lua_State* L, const Value& object, const char* type, int userValues = 0);
/// The host value for the Lua value at an index; ScriptError when there is none.
Value readValue(lua_State* L, int index);
/// Values from an index up to the top of the stack.
std::vector<Value> readValues(lua_State* L, int first);
/// The object at an index: a reference of its own, as anything that the host runs may close the userdata.
/// ScriptError when there is none, or when it was closed; unless `type` is null, also when it is of
/// another type.
Value requireObject(lua_State* L, int index, const char* type = nullptr);
/// Nil instead of an error.
Value objectAt(lua_State* L, int index);
/// How many elements the text of a collection or a container shows.
inline constexpr std::size_t kDescribed = 20;
/// A value as a script would write it, if it can: text in quotes, variants by type, objects by their class.
std::string describe(Host& host, const Value& value);
/// The text at an index, without conversion of numbers; ScriptError naming `what` when there is none.
std::string_view requireText(lua_State* L, int index, const char* what);

/// The __call of everything that reading a member can give, so that `it:Key()` may be written for `it.Key`:
/// the member was read already, and is handed through. Any other call is the error it would be without this.
int callRead(lua_State* L);

/// What the names of the classes of variants begin with, ahead of the type's name.
inline constexpr std::string_view kVariantClasses = "_Variant";
/// Names that className() gives to what is no object of a script's or the library's class.
bool isBuiltInName(std::string_view className);

// Names of metatables.
inline constexpr char kObjectType[] = "host object";
inline constexpr char kArrayType[] = "host array";
inline constexpr char kDictionaryType[] = "host dictionary";
inline constexpr char kVariantType[] = "host variant";
inline constexpr char kStringType[] = "host string";
inline constexpr char kNilType[] = "host nil";
inline constexpr char kMemberType[] = "host member";
inline constexpr char kExceptionType[] = "host exception";

// Each makes a part of the bindings known to a new state. They may raise.
void openBindings(lua_State* L);
void openObjects(lua_State* L);
void openCollections(lua_State* L);
void openValues(lua_State* L);
void openGlobals(lua_State* L);

/// Sets a field of the table on top of the stack.
void setField(lua_State* L, const char* field, std::string_view text);
/// Creates the metatable of a type that pushReference() takes, with these functions besides those that
/// all share.
void defineType(lua_State* L, const char* name, const luaL_Reg* functions);

}  // namespace vornik::host::console

#endif  // VORNIK_HOST_CONSOLE_BINDINGS_H
