#include "host/properties.h"

#include "host/calls.h"
#include "host/exceptions.h"
#include "host/state.h"

namespace vornik::host {

namespace {

template <typename Handle>
bool getHandle(REALobjectStruct* object, const char* name, Handle** result) {
  const std::optional<Value> value = tryReadProperty(object, name);
  const auto* reference = value ? std::get_if<Reference<Handle>>(&value->held()) : nullptr;
  if (reference == nullptr) return false;
  *result = Reference<Handle>(*reference).release();
  return true;
}

bool setProperty(REALobjectStruct* object, const char* name, const Value& value) {
  if (object == nullptr) return false;
  Thing& thing = requireObject(object);
  if (thing.is(kExceptionKind)) return setExceptionProperty(thing, name, value);
  try {
    return thing.is(kInstanceKind) && writeRegisteredProperty(thing, name, value);
  } catch (const std::runtime_error&) {
    return false;
  }
}

}  // namespace

std::optional<Value> readProperty(REALobjectStruct* object, std::string_view name) {
  if (object == nullptr) return std::nullopt;
  Thing& thing = requireObject(object);
  const auto property = thing.dispatch->kind->property;
  return property != nullptr ? property(thing, name) : std::nullopt;
}

std::optional<Value> tryReadProperty(REALobjectStruct* object, std::string_view name) {
  try {
    return readProperty(object, name);
  } catch (const std::runtime_error&) {
    return std::nullopt;
  }
}

bool getStringProperty(REALobjectStruct* object, const char* name, REALstringStruct** result) {
  return getHandle(object, name, result);
}
bool getObjectProperty(REALobjectStruct* object, const char* name, REALobjectStruct** result) {
  return getHandle(object, name, result);
}
bool setStringProperty(REALobjectStruct* object, const char* name, REALstringStruct* value) {
  return setProperty(object, name, StringRef::share(value));
}
bool setIntegerProperty(REALobjectStruct* object, const char* name, std::int64_t value) {
  return setProperty(object, name, value);
}

}  // namespace vornik::host
