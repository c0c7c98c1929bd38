// Services that read and write properties of objects by name.
#ifndef VORNIK_HOST_PROPERTIES_H
#define VORNIK_HOST_PROPERTIES_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <variant>

#include "host/thing.h"

namespace vornik::host {

/// The property's value; nothing when the object's class has no such property.
std::optional<Value> readProperty(REALobjectStruct* object, std::string_view name);

/// The same, for those who cannot be told why a property is not readable.
std::optional<Value> tryReadProperty(REALobjectStruct* object, std::string_view name);

// All of these answer whether there is such a property of a suitable type, and leave the result alone if not.

template <typename Number>
bool getNumberProperty(REALobjectStruct* object, const char* name, Number* result) {
  const std::optional<Value> value = tryReadProperty(object, name);
  if (!value) return false;
  if (const auto* integer = std::get_if<std::int64_t>(&value->held())) {
    *result = static_cast<Number>(*integer);
  } else if (const auto* number = std::get_if<double>(&value->held())) {
    *result = static_cast<Number>(*number);
  } else {
    return false;
  }
  return true;
}

/// The caller receives one reference.
bool getStringProperty(REALobjectStruct* object, const char* name, REALstringStruct** result);
bool getObjectProperty(REALobjectStruct* object, const char* name, REALobjectStruct** result);

bool setStringProperty(REALobjectStruct* object, const char* name, REALstringStruct* value);
bool setIntegerProperty(REALobjectStruct* object, const char* name, std::int64_t value);

}  // namespace vornik::host

#endif  // VORNIK_HOST_PROPERTIES_H
