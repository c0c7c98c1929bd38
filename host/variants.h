// Variants: plain values in an object. An object where a variant is wanted is no variant but that
// object itself.
#ifndef VORNIK_HOST_VARIANTS_H
#define VORNIK_HOST_VARIANTS_H

#include <cstdint>

#include "host/host.h"
#include "host/thing.h"

namespace vornik::host {

struct Variant : Thing {
  VariantType type;
  bool isUnsigned;
  Value value;  ///< nil, Boolean, Integer (unsigned ones by their bits), Double or String
};

/// A variant of the given type; the value is converted to what the type holds. An object answers itself.
ObjectRef makeVariant(VariantType type, const Value& value, bool isUnsigned = false);

/// The value as a variant of its natural type: nil itself, objects themselves, everything else boxed.
ObjectRef box(const Value& value);

/// The plain value in a variant; every other value as it is.
Value unboxed(const Value& value);

/// Null for nil and for objects that are no variants.
Variant* variantBehind(REALobjectStruct* handle);

/// Same type and same value; objects are equal to themselves only. Strings compare exactly.
bool sameVariant(REALobjectStruct* a, REALobjectStruct* b);

// Services. Nil and objects convert to 0, false and the empty string.
std::int64_t variantType(REALobjectStruct* variant);
std::uint32_t variantHash(REALobjectStruct* variant);
std::int32_t variantToInt32(REALobjectStruct* variant);
std::int64_t variantToInt64(REALobjectStruct* variant);
std::uint32_t variantToUInt32(REALobjectStruct* variant);
std::uint64_t variantToUInt64(REALobjectStruct* variant);
float variantToSingle(REALobjectStruct* variant);
double variantToDouble(REALobjectStruct* variant);
REALstringStruct* variantToString(REALobjectStruct* variant);
REALobjectStruct* variantToObject(REALobjectStruct* variant);
REALobjectStruct* integerToVariant(std::int64_t value);
REALobjectStruct* stringToVariant(REALstringStruct* value);

}  // namespace vornik::host

#endif  // VORNIK_HOST_VARIANTS_H
