// Global names of scripts: registered classes and the list of them, ScriptObject, ClassName, and os.exit in
// the console's version.
#include <cstdlib>
#include <memory>
#include <string>

#include "host/console/bindings.h"
#include "host/console/session.h"

namespace vornik::host::console {
namespace {

int createObject(lua_State* L) {
  Session& session = Session::of(L);
  const auto* const type = static_cast<const RegisteredClass*>(lua_touserdata(L, lua_upvalueindex(1)));
  std::vector<Value> arguments = readValues(L, 1);
  if (const Member* constructor = session.members().search(type->name, "Constructor")) {
    constructor->fitNumbers(arguments);
  }
  pushValue(L, session.host().create(type->name, arguments));
  return 1;
}

/// For names that are not there as written: classes are found without regard to letter case.
int findClassByName(lua_State* L) {
  lua_settop(L, 2);
  if (lua_type(L, 2) != LUA_TSTRING) return 0;
  const RegisteredClass* const type = Session::of(L).host().findClass(requireText(L, 2, "a name"));
  if (type == nullptr) return 0;
  lua_pushstring(L, type->name.c_str());
  lua_rawget(L, 1);
  return 1;
}

/// ScriptObject(name, function): an object of a class of that name; the function is its destructor.
int createScriptObject(lua_State* L) {
  Session& session = Session::of(L);
  const std::string name(requireText(L, 1, "a class name"));
  if (isBuiltInName(name)) throw ScriptError("the class name " + name + " is taken");
  if (lua_isnoneornil(L, 2)) {
    pushValue(L, session.host().scriptObject(name));
    return 1;
  }
  if (lua_type(L, 2) != LUA_TFUNCTION) throw ScriptError("a destructor must be a function");
  lua_settop(L, 2);
  const int reference = luaL_ref(L, LUA_REGISTRYINDEX);
  pushValue(L,
            session.host().scriptObject(name, [&session, reference] { session.runDestructor(reference); }));
  return 1;
}

int classNameOf(lua_State* L) {
  lua_pushstring(L, Session::of(L).host().className(requireObject(L, 1)).c_str());
  return 1;
}

std::string typeText(const DeclaredType& type) {
  return type.isArray ? type.name + "()" : type.name;
}

void pushMethod(lua_State* L, const RegisteredMethod& method) {
  const Declaration& declaration = method.declaration;
  lua_newtable(L);
  setField(L, "declaration", declaration.text);
  setField(L, "name", declaration.name);
  lua_pushboolean(L, method.setter != nullptr);
  lua_setfield(L, -2, "assignable");
  lua_pushinteger(L, static_cast<lua_Integer>(declaration.requiredParameters()));
  lua_setfield(L, -2, "required");
  if (declaration.result.kind != DeclaredType::Kind::kNone)
    setField(L, "result", typeText(declaration.result));
  lua_newtable(L);
  lua_newtable(L);
  lua_Integer position = 0;
  for (const DeclaredParameter& parameter : declaration.parameters) {
    ++position;
    lua_pushlstring(L, parameter.name.data(), parameter.name.size());
    lua_rawseti(L, -3, position);
    const std::string type = typeText(parameter.type);
    lua_pushlstring(L, type.data(), type.size());
    lua_rawseti(L, -2, position);
  }
  lua_setfield(L, -3, "types");
  lua_setfield(L, -2, "parameters");
}

/// Classes(): what the library registered, in its order: a list of {name, properties = {{name, type}},
/// methods = {{declaration, name, parameters = {name...}, types = {type...}, required, result, assignable}}},
/// with types as "integer" or "integer()", no result for a method without one, and the number of parameters
/// that have no default in `required`.
int listClasses(lua_State* L) {
  lua_newtable(L);
  lua_Integer count = 0;
  for (const std::unique_ptr<RegisteredClass>& type : Session::of(L).host().classes()) {
    lua_newtable(L);
    setField(L, "name", type->name);
    lua_newtable(L);
    lua_Integer position = 0;
    for (const RegisteredProperty& property : type->properties) {
      lua_newtable(L);
      setField(L, "name", property.name);
      setField(L, "type", property.type.name);
      lua_rawseti(L, -2, ++position);
    }
    lua_setfield(L, -2, "properties");
    lua_newtable(L);
    position = 0;
    for (const RegisteredMethod& method : type->methods) {
      pushMethod(L, method);
      lua_rawseti(L, -2, ++position);
    }
    lua_setfield(L, -2, "methods");
    lua_rawseti(L, -2, ++count);
  }
  return 1;
}

/// Ends the run as reaching the end of the script does, including the check for leftover references.
int exitScript(lua_State* L) {
  Session& session = Session::of(L);
  if (session.inDestructor()) return luaL_error(L, "os.exit cannot be called in a destructor");
  int status = EXIT_SUCCESS;
  if (lua_isboolean(L, 1)) {
    status = lua_toboolean(L, 1) != 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  } else {
    status = static_cast<int>(luaL_optinteger(L, 1, EXIT_SUCCESS));
  }
  std::exit(session.finish(status));
}

}  // namespace

void openGlobals(lua_State* L) {
  lua_register(L, "ScriptObject", binding<createScriptObject>);
  lua_register(L, "ClassName", binding<classNameOf>);
  lua_register(L, "Classes", binding<listClasses>);
  for (const std::unique_ptr<RegisteredClass>& type : Session::of(L).host().classes()) {
    lua_pushlightuserdata(L, type.get());
    lua_pushcclosure(L, binding<createObject>, 1);
    lua_setglobal(L, type->name.c_str());
  }
  lua_pushglobaltable(L);
  lua_createtable(L, 0, 1);
  lua_pushcfunction(L, binding<findClassByName>);
  lua_setfield(L, -2, "__index");
  lua_setmetatable(L, -2);
  lua_pop(L, 1);

  lua_getglobal(L, "os");
  lua_pushcfunction(L, exitScript);
  lua_setfield(L, -2, "exit");
  lua_pop(L, 1);
}

}  // namespace vornik::host::console
