// Definition records, filled with what all classes of this library have in common.
#ifndef VORNIK_CLASSES_CLASS_TABLES_H
#define VORNIK_CLASSES_CLASS_TABLES_H

#include <bit>
#include <cstddef>
#include <cstdint>

#include "plugin/frame/host_interface.h"

namespace vornik {

inline constexpr std::uint32_t kClassFlags = 4;
inline constexpr std::uint32_t kMethodFlags = 4;
inline constexpr std::uint32_t kPropertyFlags = 6;

inline REALmethodDefinition method(const char* declaration, REALproc function, REALproc setter = nullptr) {
  REALmethodDefinition record{};
  record.function = function;
  record.setter = setter;
  record.declaration = declaration;
  record.flags = kMethodFlags;
  return record;
}

/// A read-only property.
inline REALproperty property(const char* name, const char* type, REALproc getter) {
  REALproperty record{};
  record.name = name;
  record.type = type;
  record.flags = kPropertyFlags;
  record.getter = getter;
  return record;
}

/// The read-only property that lets the host itself read a byte of the instance data.
inline REALproperty flagProperty(const char* name, std::size_t offset) {
  REALproperty record = property(name, "Boolean", std::bit_cast<REALproc>(~std::uint64_t{0}));
  record.parameter = static_cast<std::int32_t>(offset);
  return record;
}

template <std::size_t MethodCount>
REALclassDefinition iteratorClass(const char* name, std::size_t dataSize,
                                  REALmethodDefinition (&methods)[MethodCount]) {
  REALclassDefinition record{};
  record.version = kCurrentREALControlVersion;
  record.name = name;
  record.dataSize = dataSize;
  record.methods = methods;
  record.methodCount = MethodCount;
  record.flags = kClassFlags;
  return record;
}

template <std::size_t PropertyCount, std::size_t MethodCount>
REALclassDefinition containerClass(const char* name, std::size_t dataSize, REALproc destructor,
                                   REALproperty (&properties)[PropertyCount],
                                   REALmethodDefinition (&methods)[MethodCount]) {
  REALclassDefinition record = iteratorClass(name, dataSize, methods);
  record.destructor = destructor;
  record.properties = properties;
  record.propertyCount = PropertyCount;
  return record;
}

}  // namespace vornik

#endif  // VORNIK_CLASSES_CLASS_TABLES_H
