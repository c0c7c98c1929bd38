// Objects of registered classes: `object.member`, `object:method(...)`, `object.member[key]`,
// `#object`, `pairs(object)`.
#include <string>
#include <utility>

#include "host/console/bindings.h"
#include "host/console/session.h"

namespace vornik::host::console {
namespace {

/// What reading a member that takes arguments gives: it can be called, and indexed if it takes one argument.
struct BoundMember {
  Value object;
  const Member& member;
};

void pushBoundMember(lua_State* L, const BoundMember& bound) {
  pushReference(L, bound.object, kMemberType, 1);
  lua_pushlightuserdata(L, const_cast<Member*>(&bound.member));
  lua_setiuservalue(L, -2, 1);
}

BoundMember boundMemberAt(lua_State* L, int index) {
  Value object = requireObject(L, index, kMemberType);
  lua_getiuservalue(L, index, 1);
  const auto* const member = static_cast<const Member*>(lua_touserdata(L, -1));
  lua_pop(L, 1);
  return {std::move(object), *member};
}

/// The member whose name is at index 2.
const Member& memberNamed(lua_State* L, const Value& object) {
  Session& session = Session::of(L);
  const std::string className = session.host().className(object);
  if (lua_type(L, 2) != LUA_TSTRING) {
    throw ScriptError("class " + className + " is indexed by member names, not by a " + luaL_typename(L, 2) +
                      session.members().whereEntriesAre(className));
  }
  return session.members().find(className, requireText(L, 2, "a member name"));
}

int readMember(lua_State* L) {
  Session& session = Session::of(L);
  const Value object = requireObject(L, 1);
  const Member& member = memberNamed(L, object);
  if (!member.readsAsValue()) {
    pushBoundMember(L, {object, member});
    return 1;
  }
  Host& host = session.host();
  pushValue(L, member.property != nullptr ? host.get(object, member.name) : host.call(object, member.name));
  session.readFrom = lua_topointer(L, 1);
  session.readMember = &member;
  return 1;
}

void assign(Session& session, const Value& object, const Member& member, std::vector<Value> arguments,
            Value value) {
  if (member.property != nullptr) throw ScriptError(member.fullName() + " is read-only");
  bool assignable = false;
  for (const RegisteredMethod* method : member.methods) {
    assignable = assignable ||
                 (method->setter != nullptr && method->declaration.parameters.size() == arguments.size());
  }
  if (!assignable) {
    throw ScriptError(member.fullName() + " cannot be assigned" + (arguments.empty() ? "" : " by index"));
  }
  member.fitNumbers(arguments);
  member.fitAssigned(value);
  session.host().assign(object, member.name, arguments, value);
}

int writeMember(lua_State* L) {
  Session& session = Session::of(L);
  const Value object = requireObject(L, 1);
  const Member& member = memberNamed(L, object);
  assign(session, object, member, {}, readValue(L, 3));
  return 0;
}

int callMember(lua_State* L) {
  Session& session = Session::of(L);
  const BoundMember bound = boundMemberAt(L, 1);
  if (objectAt(L, 2).held() != bound.object.held()) {
    throw ScriptError(
        "call " + bound.member.fullName() + " with a colon, as in object:" + bound.member.name + "(...)" +
        (bound.member.takesOneKey() ? Session::of(L).members().whereEntriesAre(bound.member.className) : ""));
  }
  std::vector<Value> arguments = readValues(L, 3);
  bound.member.fitNumbers(arguments);
  const Value result = session.host().call(bound.object, bound.member.name, arguments);
  if (std::holds_alternative<std::monostate>(result.held())) return 0;  // declared without a result
  pushValue(L, result);
  return 1;
}

int readIndexed(lua_State* L) {
  const BoundMember bound = boundMemberAt(L, 1);
  std::vector<Value> arguments{readValue(L, 2)};
  bound.member.fitNumbers(arguments);
  pushValue(L, Session::of(L).host().call(bound.object, bound.member.name, arguments));
  return 1;
}

int writeIndexed(lua_State* L) {
  const BoundMember bound = boundMemberAt(L, 1);
  assign(Session::of(L), bound.object, bound.member, {readValue(L, 2)}, readValue(L, 3));
  return 0;
}

int memberToText(lua_State* L) {
  const BoundMember bound = boundMemberAt(L, 1);
  lua_pushfstring(L, "%s, a method: object:%s(...)", bound.member.fullName().c_str(),
                  bound.member.name.c_str());
  return 1;
}

/// The entries of a container as text, by iterators, so that its snapshot stays as it is.
std::string describeEntries(Session& session, const Value& container) {
  Host& host = session.host();
  const bool isMap = session.members().search(host.className(container), "value") != nullptr;
  const Value iterator = host.call(container, "first"), last = host.call(container, "last");
  std::string text;
  for (std::size_t i = 0; host.call(iterator, "isNotEqual", {last}).boolean(); ++i) {
    if (i == kDescribed) return text + ", ...";
    const std::string key = describe(host, host.call(iterator, "Key"));
    if (i > 0) text += ", ";
    text += isMap ? '[' + key + "] = " + describe(host, host.call(iterator, "Value")) : key;
    host.call(iterator, "MoveNext");
  }
  return text;
}

int describeObject(lua_State* L) {
  Session& session = Session::of(L);
  const Value object = requireObject(L, 1);
  const std::string className = session.host().className(object);
  if (session.members().search(className, "first") != nullptr) {
    std::string text;
    try {
      text = className + '{' + describeEntries(session, object) + '}';
    } catch (const ScriptException&) {  // it holds no container
      text = className + ", not initialized";
    }
    lua_pushlstring(L, text.data(), text.size());
    return 1;
  }
  lua_pushfstring(L, "%s: %p", className.c_str(), static_cast<const void*>(object.object().get()));
  return 1;
}

/// `#object`: what its Count is.
int countEntries(lua_State* L) {
  Session& session = Session::of(L);
  const Value object = requireObject(L, 1);
  pushValue(L, session.host().get(object, session.members().find(object, "Count").name));
  return 1;
}

/// For the handler of an exception. What a loop gets when the entry that it would come to is gone: the
/// exception of the iterator, of which the script knows nothing, would be no help.
[[noreturn]] void throwNextIsGone(const ScriptException& exception) {
  if (exception.message() != "Iterator is no longer valid") throw;
  throw ScriptError(
      "the entry that comes next was removed; a loop over pairs(...) may remove the entry it is at, and no other");
}

/// One step through a container: leaves the entry before handing it out, so that the loop may remove it.
int nextEntry(lua_State* L) {
  Session& session = Session::of(L);
  Host& host = session.host();
  const Value iterator = requireObject(L, lua_upvalueindex(1));
  const Value last = requireObject(L, lua_upvalueindex(2));
  if (!host.call(iterator, "isNotEqual", {last}).boolean()) {
    lua_pushnil(L);
    return 1;
  }
  Value key;
  try {
    key = host.call(iterator, "Key");
  } catch (const ScriptException& exception) {
    throwNextIsGone(exception);
  }
  pushKey(L, key);
  if (session.members().search(host.className(iterator), "Value") != nullptr) {
    pushValue(L, host.call(iterator, "Value"));
  } else {
    lua_pushboolean(L, 1);
  }
  host.call(iterator, "MoveNext");
  return 2;
}

int eachEntry(lua_State* L) {
  Session& session = Session::of(L);
  const Value container = requireObject(L, 1);
  for (const char* end : {"first", "last"}) {
    const Member& member = session.members().find(container, end);
    pushValue(L, session.host().call(container, member.name));
  }
  lua_pushcclosure(L, binding<nextEntry>, 2);
  return 1;
}

}  // namespace

void openObjects(lua_State* L) {
  static constexpr luaL_Reg kObject[] = {
      {"__index", binding<readMember>},        {"__newindex", binding<writeMember>},
      {"__pairs", binding<eachEntry>},         {"__len", binding<countEntries>},
      {"__tostring", binding<describeObject>}, {nullptr, nullptr}};
  defineType(L, kObjectType, kObject);
  static constexpr luaL_Reg kMember[] = {{"__index", binding<readIndexed>},
                                         {"__newindex", binding<writeIndexed>},
                                         {"__call", binding<callMember>},
                                         {"__tostring", binding<memberToText>},
                                         {nullptr, nullptr}};
  defineType(L, kMemberType, kMember);
}

}  // namespace vornik::host::console
