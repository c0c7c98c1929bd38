// Host arrays: one-dimensional, of 8-byte elements, in the memory layout that the host's version documents.
#ifndef VORNIK_HOST_ARRAYS_H
#define VORNIK_HOST_ARRAYS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/host.h"
#include "host/services.h"
#include "host/thing.h"

namespace vornik::host {

struct Array : Thing {
  // Where outsiders may look for storage, dimension count and upper bound. Kept in step by publish().
  std::array<std::byte, 40> published;
  ArrayElementType type;
  std::vector<std::uint64_t> elements;  ///< Integers, or handles with one reference each

  /// Writes the published words after the number of elements or their place changed.
  void publish();
};

/// Null when there is no such element type, or no memory for that many elements.
ObjectRef makeArray(std::int32_t elementType, std::int64_t upperBound);

/// The raw element for a value, with a reference of its own. ScriptError when it has another type.
std::uint64_t toElement(ArrayElementType type, const Value& value);
Value fromElement(ArrayElementType type, std::uint64_t element);
/// Gives back the reference that a raw element carries.
void dropElement(ArrayElementType type, std::uint64_t element);

// Services. An index outside the array raises OutOfBoundsException and has no other effect.
REALobjectStruct* createArray(std::int32_t elementType, std::int64_t upperBound);
std::int64_t arrayUpperBound(REALobjectStruct* array);

/// The address of an element procedure; null for an array of another type, and where it is withheld.
void* arrayProcedure(REALobjectStruct* array, ArrayElementType type, const Service& service);

std::int64_t getInteger(REALobjectStruct* array, std::int64_t index);
REALstringStruct* getString(REALobjectStruct* array, std::int64_t index);
REALobjectStruct* getObject(REALobjectStruct* array, std::int64_t index);
void setInteger(REALobjectStruct* array, std::int64_t value, std::int64_t index);
void setString(REALobjectStruct* array, REALstringStruct* value, std::int64_t index);
void setObject(REALobjectStruct* array, REALobjectStruct* value, std::int64_t index);
void insertInteger(REALobjectStruct* array, std::int64_t index, std::int64_t value);
void insertString(REALobjectStruct* array, std::int64_t index, REALstringStruct* value);
void insertObject(REALobjectStruct* array, std::int64_t index, REALobjectStruct* value);

}  // namespace vornik::host

#endif  // VORNIK_HOST_ARRAYS_H
