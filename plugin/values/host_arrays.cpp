#include "plugin/values/host_arrays.h"

#include <cstddef>
#include <cstring>

#include "plugin/frame/errors.h"
#include "plugin/frame/log.h"

namespace vornik {

bool ArrayAccessTested = false;
bool ArrayAccessSuccess = false;

namespace {

// Where a host array keeps what the direct path and the probe look at.
constexpr std::size_t kReferenceCountOffset = 24;
constexpr std::size_t kStorageOffset = 56;
constexpr std::size_t kDimensionCountOffset = 64;
/// Hosts from this version on count dimensions in 64 bits, which moves the upper bound.
constexpr double kFirstHostWithWideDimensionCount = 2021.0;
constexpr std::size_t kNarrowUpperBoundOffset = 76;
constexpr std::size_t kWideUpperBoundOffset = 84;

constexpr std::int64_t kProbeUpperBound = 1234;

template <typename T>
T fieldAt(const void* array, std::size_t offset) {
  T field;
  std::memcpy(&field, static_cast<const std::byte*>(array) + offset, sizeof field);
  return field;
}

/// What differs between the three kinds of array.
template <typename Array>
struct Elements;

template <>
struct Elements<_REALarrayInteger> {
  using Element = std::int64_t;
  static auto getProc(_REALarrayInteger* array) { return REALGetArrayValueInteger(array); }
  static auto setProc(_REALarrayInteger* array) { return REALSetArrayValueInteger(array); }
};

template <>
struct Elements<_REALarrayString> {
  using Element = REALstringStruct*;
  static auto getProc(_REALarrayString* array) { return REALGetArrayValueString(array); }
  static auto setProc(_REALarrayString* array) { return REALSetArrayValueString(array); }
};

template <>
struct Elements<_REALarrayObject> {
  using Element = REALobjectStruct*;
  static auto getProc(_REALarrayObject* array) { return REALGetArrayValueObject(array); }
  static auto setProc(_REALarrayObject* array) { return REALSetArrayValueObject(array); }
};

template <typename Array>
REALobjectStruct* asObject(Array* array) {
  return reinterpret_cast<REALobjectStruct*>(array);
}

void probe() {
  if (DebuggingEnabled) LogMessageX("%s%s %f", kDebugPrefix, "TestArray", rbversion_rbversion);
  // From here on accesses go through the host's procedures, those that the probe makes itself included.
  ArrayAccessTested = true;
  ArrayAccessSuccess = false;
  const auto array = ObjectReference::adopt(REALCreateArray(kArrayOfIntegers, kProbeUpperBound));
  TestArray(reinterpret_cast<_REALarrayInteger*>(array.get()));
}

bool isInBounds(REALobjectStruct* array, std::int64_t index) {
  const std::int64_t upperBound = REALGetArrayUBound(array);
  if (index >= 0 && index <= upperBound) [[likely]]
    return true;
  RaiseOutOfBoundsException(index, upperBound + 1);
  return false;
}

/// Whether there is an element at the index. The probe comes in between where it has not run yet, and with it
/// script code, which may change this very array or give it back: `held` keeps it then.
bool isAccessible(REALobjectStruct* array, std::int64_t index, ObjectReference& held) {
  if (!isInBounds(array, index)) return false;
  if (ArrayAccessTested) [[likely]]
    return true;
  held = ObjectReference(array);
  probe();
  return isInBounds(array, index);
}

/// The array's element storage, or null where only the host's procedures may be used.
template <typename Array>
typename Elements<Array>::Element* storageOf(const Array* array) {
  if (!ArrayAccessSuccess) return nullptr;
  return fieldAt<typename Elements<Array>::Element*>(array, kStorageOffset);
}

template <typename Array>
void getElement(Array* array, std::int64_t index, typename Elements<Array>::Element* result) {
  ObjectReference held;
  if (result == nullptr || !isAccessible(asObject(array), index, held)) return;
  if (const auto* storage = storageOf(array)) {
    *result = storage[index];
    lock(*result);
  } else if (const auto get = Elements<Array>::getProc(array)) {
    *result = get(array, index);
  }
}

template <typename Array>
ElementPlace<Array, typename Elements<Array>::Element> find(Array* array, std::int64_t index) {
  ObjectReference held;
  if (!isAccessible(asObject(array), index, held)) return {};
  if (auto* storage = storageOf(array)) return {.array = array, .index = index, .stored = storage + index};
  return {.array = array, .index = index, .procedure = Elements<Array>::setProc(array)};
}

/// Logs what a check of the probe found, when it failed.
bool holds(bool condition, const char* message, std::int64_t found) {
  if (!condition && DebuggingEnabled) {
    LogMessageX("%s%s %lld", kDebugPrefix, message, static_cast<long long>(found));
  }
  return condition;
}

bool holds(bool condition, const char* message) {
  if (!condition && DebuggingEnabled) LogMessageX("%s%s", kDebugPrefix, message);
  return condition;
}

bool proceduresAgree(_REALarrayInteger* array) {
  placeAt(array, 0).set(12345);
  placeAt(array, 9).set(123456);
  std::int64_t at0 = 0;
  std::int64_t at1 = 0;
  std::int64_t at9 = 0;
  REALGetArrayValue(array, 0, &at0);
  REALGetArrayValue(array, 1, &at1);
  REALGetArrayValue(array, 9, &at9);
  return holds(at0 == 12345, "Index 0 failed", at0) && holds(at1 == 0, "Index 1 failed", at1) &&
         holds(at9 == 123456, "Index 9 failed", at9);
}

bool layoutAgrees(const _REALarrayInteger* array) {
  const bool wide = rbversion_rbversion >= kFirstHostWithWideDimensionCount;
  const auto references = fieldAt<std::int64_t>(array, kReferenceCountOffset);
  if (!holds(references == 1, "refCount wrong", references)) return false;
  const std::int64_t dimensions = wide ? fieldAt<std::int64_t>(array, kDimensionCountOffset)
                                       : fieldAt<std::int32_t>(array, kDimensionCountOffset);
  if (!holds(dimensions == 1, "DimensionCount wrong", dimensions)) return false;
  const auto upperBound =
      fieldAt<std::int32_t>(array, wide ? kWideUpperBoundOffset : kNarrowUpperBoundOffset);
  if (!holds(upperBound == kProbeUpperBound, "ubound wrong", upperBound)) return false;
  const auto* storage = fieldAt<const std::int64_t*>(array, kStorageOffset);
  if (storage == nullptr) return holds(false, "data is nil");
  return holds(storage[0] == 12345, "Index 0 failed", storage[0]) &&
         holds(storage[9] == 123456, "Index 9 failed", storage[9]);
}

}  // namespace

void TestArray(_REALarrayInteger* array) {
  if (!holds(array != nullptr, "Failed to allocate array")) return;
  const std::int64_t upperBound = REALGetArrayUBound(asObject(array));
  if (!holds(upperBound == kProbeUpperBound, "ubound failed", upperBound)) return;
  if (proceduresAgree(array) && layoutAgrees(array)) ArrayAccessSuccess = true;
}

void REALGetArrayValue(_REALarrayInteger* array, std::int64_t index, std::int64_t* result) {
  getElement(array, index, result);
}
void REALGetArrayValue(_REALarrayString* array, std::int64_t index, REALstringStruct** result) {
  getElement(array, index, result);
}
void REALGetArrayValue(_REALarrayObject* array, std::int64_t index, REALobjectStruct** result) {
  getElement(array, index, result);
}

ElementPlace<_REALarrayInteger, std::int64_t> placeAt(_REALarrayInteger* array, std::int64_t index) {
  return find(array, index);
}
ElementPlace<_REALarrayString, REALstringStruct*> placeAt(_REALarrayString* array, std::int64_t index) {
  return find(array, index);
}
ElementPlace<_REALarrayObject, REALobjectStruct*> placeAt(_REALarrayObject* array, std::int64_t index) {
  return find(array, index);
}

}  // namespace vornik
