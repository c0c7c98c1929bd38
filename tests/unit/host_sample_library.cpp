// A library for the tests of the stand-in host: one class that does what libraries do, rightly and wrongly.
#include <cstring>
#include <string>

#include "plugin/frame/host_interface.h"

namespace {

REALresolver resolver = nullptr;

template <typename Signature>
Signature* service(const char* name) {
  return reinterpret_cast<Signature*>(resolver(name));
}

struct SampleData {
  std::int64_t number;
  bool flag;
  REALobjectStruct* held;
};

extern REALclassDefinition sampleClass;

SampleData& data(REALobjectStruct* object) {
  return *reinterpret_cast<SampleData*>(reinterpret_cast<char*>(object) + sampleClass.forSystemUse);
}

REALstringStruct* text(const char* utf8) {
  return service<REALstringStruct*(const void*, std::int32_t, std::uint32_t)>("REALBuildStringWithEncoding")(
      utf8, static_cast<std::int32_t>(std::strlen(utf8)), kEncodingUTF8);
}

void lock(REALobjectStruct* object) {
  service<void(REALobjectStruct*)>("REALLockObject")(object);
}
void unlock(REALobjectStruct* object) {
  service<void(REALobjectStruct*)>("REALUnlockObject")(object);
}
void unlock(REALstringStruct* string) {
  service<void(REALstringStruct*)>("REALUnlockString")(string);
}

void raise(const char* className, const char* message) {
  REALobjectStruct* exception = service<REALobjectStruct*(const char*)>("PluginNewInstance")(className);
  REALstringStruct* shown = text(message);
  service<bool(REALobjectStruct*, const char*, REALstringStruct*)>("REALSetPropValueString")(
      exception, "Message", shown);
  service<void(REALobjectStruct*)>("RuntimeRaiseException")(exception);
  unlock(exception);
  unlock(shown);
}

void construct(REALobjectStruct* self, std::int64_t number, bool flag) {
  data(self).number = number;
  data(self).flag = flag;
}
void destroy(REALobjectStruct* self) {
  unlock(data(self).held);
}

// Each overload of Which answers its place in the table.
std::int64_t whichInteger(REALobjectStruct*, std::int64_t) {
  return 0;
}
std::int64_t whichVariant(REALobjectStruct*, REALobjectStruct*) {
  return 1;
}
std::int64_t whichString(REALobjectStruct*, REALstringStruct*) {
  return 2;
}
std::int64_t whichSample(REALobjectStruct*, REALobjectStruct*) {
  return 3;
}
std::int64_t whichArray(REALobjectStruct*, REALobjectStruct*) {
  return 4;
}
std::int64_t whichDefault(REALobjectStruct*, std::int64_t, bool flag, double factor) {
  return flag && factor == 1.5 ? 5 : -5;
}

double half(REALobjectStruct*, double number) {
  return number / 2;
}
REALobjectStruct* entriesOf(REALobjectStruct*, REALobjectStruct* dictionary) {
  lock(dictionary);
  return dictionary;
}
REALobjectStruct* toDictionary(REALobjectStruct*) {
  return service<REALobjectStruct*(const char*)>("PluginNewInstance")("Dictionary");
}

void hold(REALobjectStruct* self, REALobjectStruct* value) {
  REALobjectStruct* old = data(self).held;
  if (value != nullptr) lock(value);
  data(self).held = value;
  unlock(old);
}

std::int64_t getItem(REALobjectStruct* self, std::int64_t key) {
  return data(self).number + key;
}
void setItem(REALobjectStruct* self, std::int64_t key, std::int64_t value) {
  data(self).number = value - key;
}

std::int64_t getPlus(REALobjectStruct* self, std::int64_t parameter) {
  return data(self).number + parameter;
}

REALstringStruct* fail(REALobjectStruct*) {
  raise("KeyNotFoundException", "first");
  raise("RuntimeException", "second");
  return text("a result all the same");
}
void failAfterRelease(REALobjectStruct* self) {
  raise("RuntimeException", "outer");
  hold(self, nullptr);
}

void misbehave(REALobjectStruct*, std::int64_t way) {
  REALstringStruct* string = text("once");
  unlock(string);
  if (way == 0) unlock(string);
  if (way == 1) service<const char*(REALstringStruct*)>("StringGetCString")(string);
  alignas(16) static char nothing[64] = {};
  if (way == 2) unlock(reinterpret_cast<REALobjectStruct*>(nothing));
  if (way == 3) unlock(reinterpret_cast<REALobjectStruct*>(text("a string")));
}
void leak(REALobjectStruct*) {
  text("forgotten");
}

template <typename Function>
REALproc procedure(Function* function) {
  return reinterpret_cast<REALproc>(function);
}
const REALproc kStandard = reinterpret_cast<REALproc>(~std::uintptr_t{0});

REALmethodDefinition methods[] = {
    {procedure(construct), nullptr, "Constructor(number as integer = 5, flag as boolean = true)", 4, 0,
     nullptr},
    {procedure(whichInteger), nullptr, "Which(value as integer) as integer", 4, 0, nullptr},
    {procedure(whichVariant), nullptr, "Which(value as variant) as integer", 4, 0, nullptr},
    {procedure(whichString), nullptr, "Which(value as string) as integer", 4, 0, nullptr},
    {procedure(whichSample), nullptr, "Which(value as Sample) as integer", 4, 0, nullptr},
    {procedure(whichArray), nullptr, "Which(values() as integer) as integer", 4, 0, nullptr},
    {procedure(whichDefault), nullptr,
     "Which(value as integer, flag as boolean, factor as double = 1.5) as integer", 4, 0, nullptr},
    {procedure(half), nullptr, "Half(number as double) as double", 4, 0, nullptr},
    {procedure(entriesOf), nullptr, "EntriesOf(dic as Dictionary) as Dictionary", 4, 0, nullptr},
    {procedure(toDictionary), nullptr, "Operator_Convert as Dictionary", 4, 0, nullptr},
    {procedure(hold), nullptr, "Hold(value as variant)", 4, 0, nullptr},
    {procedure(getItem), procedure(setItem), "Item(key as integer) as integer", 4, 0, nullptr},
    {procedure(fail), nullptr, "Fail as string", 4, 0, nullptr},
    {procedure(failAfterRelease), nullptr, "FailAfterRelease", 4, 0, nullptr},
    {procedure(misbehave), nullptr, "Misbehave(way as integer)", 4, 0, nullptr},
    {procedure(leak), nullptr, "Leak", 4, 0, nullptr},
};

REALproperty properties[] = {
    {"", "Number", "Integer", 4, kStandard, kStandard, offsetof(SampleData, number), 0, nullptr, 0, nullptr,
     0, nullptr},
    {"", "Flag", "Boolean", 4, kStandard, nullptr, offsetof(SampleData, flag), 0, nullptr, 0, nullptr, 0,
     nullptr},
    {"", "Plus", "Integer", 4, procedure(getPlus), nullptr, 100, 0, nullptr, 0, nullptr, 0, nullptr},
};

REALclassDefinition sampleClass = [] {
  REALclassDefinition definition{};
  definition.version = kCurrentREALControlVersion;
  definition.name = "Sample";
  definition.dataSize = sizeof(SampleData);
  definition.destructor = procedure(destroy);
  definition.properties = properties;
  definition.propertyCount = std::size(properties);
  definition.methods = methods;
  definition.methodCount = std::size(methods);
  return definition;
}();

// Of the class data of a subclass, which lie behind those of its superclass.
REALclassDefinition subclass = [] {
  REALclassDefinition definition{};
  definition.version = kCurrentREALControlVersion;
  definition.name = "SubSample";
  definition.superclassName = "Sample";
  definition.dataSize = 8;
  return definition;
}();

REALmethodDefinition unreadable[] = {{procedure(leak), nullptr, "Broken(as", 4, 0, nullptr}};
REALclassDefinition brokenClass = [] {
  REALclassDefinition definition{};
  definition.name = "Broken";
  definition.methods = unreadable;
  definition.methodCount = 1;
  return definition;
}();

}  // namespace

void REALPluginMain(REALresolver given) {
  resolver = given;
  const auto registerClass = service<void(REALclassDefinition*)>("PluginRegisterClass");
  registerClass(&sampleClass);
  registerClass(&subclass);
  if (service<bool()>("REALinRuntime")()) registerClass(&brokenClass);
}
