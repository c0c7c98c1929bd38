// A library for the tests of the stand-in host: one class that does what libraries do, rightly and wrongly.
#include <cstring>
#include <string>

#include "plugin/frame/host_interface.h"

namespace {

using Object = REALobjectStruct*;
using String = REALstringStruct*;

REALresolver resolver = nullptr;

template <typename Result, typename... Arguments>
Result service(const char* name, Arguments... arguments) {
  return reinterpret_cast<Result (*)(Arguments...)>(resolver(name))(arguments...);
}

extern REALclassDefinition sampleClass;

/// All instance data that a Sample has.
Object& held(Object object) {
  return *reinterpret_cast<Object*>(reinterpret_cast<char*>(object) + sampleClass.forSystemUse);
}

String text(const char* utf8) {
  return service<String, const void*>("REALBuildStringWithEncoding", utf8,
                                      static_cast<std::int32_t>(std::strlen(utf8)),
                                      std::uint32_t{kEncodingUTF8});
}
void unlock(Object object) {
  service<void>("REALUnlockObject", object);
}
void unlock(String string) {
  service<void>("REALUnlockString", string);
}

void raise(const char* className, const char* message) {
  const auto exception = service<Object>("PluginNewInstance", className);
  const String shown = text(message);
  service<bool>("REALSetPropValueString", exception, "Message", shown);
  service<void>("RuntimeRaiseException", exception);
  unlock(exception);
  unlock(shown);
}

void destroy(Object self) {
  unlock(held(self));
}

// Each overload of Which answers its place in the table.
template <std::int64_t place, typename Argument>
std::int64_t which(Object, Argument) {
  return place;
}
std::int64_t whichDefaults(Object, std::int64_t, bool flag, double factor) {
  return flag ? static_cast<std::int64_t>(factor * 2) : 0;
}

void hold(Object self, Object value) {
  const Object old = held(self);
  if (value != nullptr) service<void>("REALLockObject", value);
  held(self) = value;
  unlock(old);
}

String fail(Object) {
  raise("KeyNotFoundException", "first");
  raise("RuntimeException", "second");
  return text("a result all the same");
}
void failAfterRelease(Object self) {
  raise("RuntimeException", "outer");
  hold(self, nullptr);
}

void misbehave(Object, std::int64_t way) {
  const String string = text("once");
  unlock(string);
  if (way == 0) unlock(string);
  if (way == 1) service<const char*>("StringGetCString", string);
  alignas(16) static char nothing[64] = {};
  if (way == 2) unlock(reinterpret_cast<Object>(nothing));
  if (way == 3) unlock(reinterpret_cast<Object>(text("a string")));
}
void leak(Object) {
  text("forgotten");
}

template <typename Function>
REALmethodDefinition method(const char* declaration, Function* function) {
  return {reinterpret_cast<REALproc>(function), nullptr, declaration, 4, 0, nullptr};
}

REALmethodDefinition methods[] = {
    method("Which(value as integer) as integer", which<0, std::int64_t>),
    method("Which(value as variant) as integer", which<1, Object>),
    method("Which(value as string) as integer", which<2, String>),
    method("Which(value as Sample) as integer", which<3, Object>),
    method("Which(values() as integer) as integer", which<4, Object>),
    method("Which(value as integer, flag as boolean, factor as double = 2.5) as integer", whichDefaults),
    method("Hold(value as variant)", hold),
    method("Fail as string", fail),
    method("FailAfterRelease", failAfterRelease),
    method("Misbehave(way as integer)", misbehave),
    method("Leak", leak),
};

REALmethodDefinition unreadable[] = {method("Broken(as", leak)};

template <std::size_t count>
REALclassDefinition define(const char* name, REALmethodDefinition (&table)[count]) {
  REALclassDefinition definition{};
  definition.version = kCurrentREALControlVersion;
  definition.name = name;
  definition.dataSize = 8;  // one reference
  definition.methods = table;
  definition.methodCount = count;
  return definition;
}
REALclassDefinition sampleClass = define("Sample", methods);
REALclassDefinition subclass = define("SubSample", methods);
REALclassDefinition brokenClass = define("Broken", unreadable);

}  // namespace

void REALPluginMain(REALresolver given) {
  resolver = given;
  sampleClass.destructor = reinterpret_cast<REALproc>(destroy);
  subclass.superclassName = "Sample";
  subclass.methodCount = 0;
  for (auto* definition : {&sampleClass, &subclass}) service<void>("PluginRegisterClass", definition);
  if (service<bool>("REALinRuntime")) service<void>("PluginRegisterClass", &brokenClass);
}
