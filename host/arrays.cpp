#include "host/arrays.h"

#include <cstring>
#include <memory>

#include "fmt/format.h"
#include "host/exceptions.h"
#include "host/services.h"
#include "host/state.h"
#include "host/variants.h"

namespace vornik::host {

namespace {

constexpr double kWideLayoutVersion = 2021.0;

struct Layout {
  std::size_t storage, dimensions, upperBound;
  bool wideDimensions;
};
constexpr Layout kNarrow{56, 64, 76, false};
constexpr Layout kWide{56, 64, 84, true};
// Puts something that is no address where the documented layouts have the storage.
constexpr Layout kOther{72, 56, 80, true};

const Layout& layout() {
  const HostOptions& options = state().options;
  if (options.arrayLayout == HostOptions::ArrayLayout::kOther) return kOther;
  return options.version.value_or(0.0) >= kWideLayoutVersion ? kWide : kNarrow;
}

template <typename T>
void store(Array& array, std::size_t offset, T value) {
  std::memcpy(reinterpret_cast<std::byte*>(&array) + offset, &value, sizeof(value));
}

bool isElementType(std::int32_t type) {
  return type == kArrayOfStrings || type == kArrayOfVariants || type == kArrayOfIntegers;
}

Array& arrayBehind(REALobjectStruct* handle) {
  return requireKind<Array>(handle, kArrayKind);
}

StringRef adoptString(std::uint64_t element) {
  return StringRef::adopt(handleFrom<REALstringStruct>(element));
}
ObjectRef adoptObject(std::uint64_t element) {
  return ObjectRef::adopt(handleFrom<REALobjectStruct>(element));
}
template <typename Handle>
std::uint64_t shared(Handle* handle) {
  return wordOf(Reference<Handle>::share(handle).release());
}

void releaseElements(Thing& thing) {
  auto& array = static_cast<Array&>(thing);
  const std::vector<std::uint64_t> last = std::move(array.elements);
  std::destroy_at(&array.elements);
  for (const std::uint64_t element : last) dropElement(array.type, element);
}

std::string countAndType(const Thing& thing) {
  const auto& array = static_cast<const Array&>(thing);
  const char* type = array.type == kArrayOfStrings    ? "strings"
                     : array.type == kArrayOfVariants ? "variants"
                                                      : "integers";
  return fmt::format("of {} {}", array.elements.size(), type);
}

bool inBounds(const Array& array, std::int64_t index, std::size_t size) {
  if (index >= 0 && static_cast<std::size_t>(index) < size) return true;
  raise("OutOfBoundsException",
        fmt::format("Index {} is outside an array of {} elements", index, array.elements.size()));
  return false;
}

std::uint64_t* elementAt(REALobjectStruct* handle, std::int64_t index) {
  Array& array = arrayBehind(handle);
  return inBounds(array, index, array.elements.size()) ? &array.elements[static_cast<std::size_t>(index)]
                                                       : nullptr;
}

/// Takes over the reference that the new element carries.
void replace(REALobjectStruct* handle, std::int64_t index, std::uint64_t element) {
  const ArrayElementType type = arrayBehind(handle).type;
  std::uint64_t* place = elementAt(handle, index);
  dropElement(type, place != nullptr ? std::exchange(*place, element) : element);
}

void insert(REALobjectStruct* handle, std::int64_t index, std::uint64_t element) {
  Array& array = arrayBehind(handle);
  if (!inBounds(array, index, array.elements.size() + 1)) {
    dropElement(array.type, element);
    return;
  }
  array.elements.insert(array.elements.begin() + index, element);
  array.publish();
}

}  // namespace

const Kind kArrayKind{.noun = "array",
                      .make = nullptr,
                      .finalize = nullptr,
                      .release = releaseElements,
                      .describe = countAndType,
                      .property = nullptr};

void Array::publish() {
  const Layout& place = layout();
  store(*this, place.storage, elements.empty() ? nullptr : elements.data());
  if (place.wideDimensions) {
    store(*this, place.dimensions, std::int64_t{1});
  } else {
    store(*this, place.dimensions, std::int32_t{1});
  }
  store(*this, place.upperBound, static_cast<std::int32_t>(elements.size()) - 1);
}

ObjectRef makeArray(std::int32_t elementType, std::int64_t upperBound) {
  if (!isElementType(elementType) || upperBound < -1) return {};
  std::vector<std::uint64_t> elements;
  try {
    elements.resize(static_cast<std::size_t>(upperBound + 1));
  } catch (const std::exception&) {
    return {};
  }
  auto* array = makeThing<Array>(state().classes.arrayClass());
  array->type = static_cast<ArrayElementType>(elementType);
  array->elements = std::move(elements);
  array->publish();
  return ObjectRef::adopt(objectHandle(array));
}

std::uint64_t toElement(ArrayElementType type, const Value& value) {
  switch (type) {
    case kArrayOfIntegers:
      return static_cast<std::uint64_t>(value.integer());
    case kArrayOfStrings:
      return shared(value.string().get());
    case kArrayOfVariants:
      break;
  }
  return wordOf(box(value).release());
}

Value fromElement(ArrayElementType type, std::uint64_t element) {
  switch (type) {
    case kArrayOfIntegers:
      return static_cast<std::int64_t>(element);
    case kArrayOfStrings:
      return StringRef::share(handleFrom<REALstringStruct>(element));
    case kArrayOfVariants:
      break;
  }
  return ObjectRef::share(handleFrom<REALobjectStruct>(element));
}

void dropElement(ArrayElementType type, std::uint64_t element) {
  if (type == kArrayOfStrings) adoptString(element).reset();
  if (type == kArrayOfVariants) adoptObject(element).reset();
}

REALobjectStruct* createArray(std::int32_t elementType, std::int64_t upperBound) {
  return makeArray(elementType, upperBound).release();
}

std::int64_t arrayUpperBound(REALobjectStruct* array) {
  return array != nullptr ? static_cast<std::int64_t>(arrayBehind(array).elements.size()) - 1 : -1;
}

void* arrayProcedure(REALobjectStruct* array, ArrayElementType type, const Service& service) {
  const bool fits = array != nullptr && !service.withheld && arrayBehind(array).type == type;
  return fits ? service.address : nullptr;
}

std::int64_t getInteger(REALobjectStruct* array, std::int64_t index) {
  const std::uint64_t* element = elementAt(array, index);
  return element != nullptr ? static_cast<std::int64_t>(*element) : 0;
}

REALstringStruct* getString(REALobjectStruct* array, std::int64_t index) {
  const std::uint64_t* element = elementAt(array, index);
  auto* string = handleFrom<REALstringStruct>(element != nullptr ? *element : std::uint64_t{0});
  return StringRef::share(string).release();
}

REALobjectStruct* getObject(REALobjectStruct* array, std::int64_t index) {
  const std::uint64_t* element = elementAt(array, index);
  auto* object = handleFrom<REALobjectStruct>(element != nullptr ? *element : std::uint64_t{0});
  return ObjectRef::share(object).release();
}

void setInteger(REALobjectStruct* array, std::int64_t value, std::int64_t index) {
  replace(array, index, static_cast<std::uint64_t>(value));
}
void setString(REALobjectStruct* array, REALstringStruct* value, std::int64_t index) {
  replace(array, index, shared(value));
}
void setObject(REALobjectStruct* array, REALobjectStruct* value, std::int64_t index) {
  replace(array, index, shared(value));
}
void insertInteger(REALobjectStruct* array, std::int64_t index, std::int64_t value) {
  insert(array, index, static_cast<std::uint64_t>(value));
}
void insertString(REALobjectStruct* array, std::int64_t index, REALstringStruct* value) {
  insert(array, index, shared(value));
}
void insertObject(REALobjectStruct* array, std::int64_t index, REALobjectStruct* value) {
  insert(array, index, shared(value));
}

}  // namespace vornik::host
