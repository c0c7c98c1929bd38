#include "host/variants.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>

#include "fmt/format.h"
#include "host/declaration.h"
#include "host/state.h"
#include "host/strings.h"

namespace vornik::host {

namespace {

/// Truncates; what does not fit becomes the nearest value that does, NaN becomes 0.
template <typename Integer>
Integer truncated(double number) {
  using Limits = std::numeric_limits<Integer>;
  if (std::isnan(number)) return 0;
  if (number <= static_cast<double>(Limits::min())) return Limits::min();
  // The greatest 64-bit integers have no double of their own, so the bound is the first double past them.
  if (number >= std::ldexp(1.0, Limits::digits)) return Limits::max();
  return static_cast<Integer>(number);
}

std::int64_t asInteger(const Value& value) {
  if (const auto* integer = std::get_if<std::int64_t>(&value.held())) return *integer;
  if (const auto* boolean = std::get_if<bool>(&value.held())) return *boolean ? 1 : 0;
  if (const auto* number = std::get_if<double>(&value.held())) return truncated<std::int64_t>(*number);
  if (const auto* string = std::get_if<StringRef>(&value.held())) {
    return std::strtoll(utf8Text(string->get()).c_str(), nullptr, 10);
  }
  return 0;
}

std::uint64_t asUnsigned(const Value& value) {
  if (const auto* number = std::get_if<double>(&value.held())) {
    return *number < 0 ? static_cast<std::uint64_t>(truncated<std::int64_t>(*number))
                       : truncated<std::uint64_t>(*number);
  }
  if (const auto* string = std::get_if<StringRef>(&value.held())) {
    return std::strtoull(utf8Text(string->get()).c_str(), nullptr, 10);
  }
  return static_cast<std::uint64_t>(asInteger(value));
}

double asNumber(const Value& value, bool isUnsigned) {
  if (const auto* number = std::get_if<double>(&value.held())) return *number;
  if (const auto* string = std::get_if<StringRef>(&value.held())) {
    return std::strtod(utf8Text(string->get()).c_str(), nullptr);
  }
  const std::int64_t integer = asInteger(value);
  return isUnsigned ? static_cast<double>(static_cast<std::uint64_t>(integer)) : static_cast<double>(integer);
}

std::string asText(const Value& value, bool isUnsigned) {
  if (const auto* boolean = std::get_if<bool>(&value.held())) return *boolean ? "True" : "False";
  if (const auto* number = std::get_if<double>(&value.held())) return fmt::format("{}", *number);
  if (const auto* integer = std::get_if<std::int64_t>(&value.held())) {
    return isUnsigned ? fmt::format("{}", static_cast<std::uint64_t>(*integer)) : fmt::format("{}", *integer);
  }
  return value.isNil() ? std::string() : value.text();
}

Value converted(VariantType type, const Value& value, bool isUnsigned) {
  switch (type) {
    case kVariantNil:
      return {};
    case kVariantInt32:
      return isUnsigned ? std::int64_t{static_cast<std::uint32_t>(asInteger(value))}
                        : std::int64_t{static_cast<std::int32_t>(asInteger(value))};
    case kVariantInt64:
      return isUnsigned ? static_cast<std::int64_t>(asUnsigned(value)) : asInteger(value);
    case kVariantColor:
      return std::int64_t{static_cast<std::uint32_t>(asInteger(value))};
    case kVariantSingle:
      return double{static_cast<float>(asNumber(value, isUnsigned))};
    case kVariantDouble:
    case kVariantCurrency:
      return asNumber(value, isUnsigned);
    case kVariantBoolean:
      return asInteger(value) != 0;
    case kVariantString:
    case kVariantText:
      return std::holds_alternative<StringRef>(value.held()) ? value : Value(asText(value, isUnsigned));
    case kVariantObject:
      break;
  }
  return value;  // the host's other types hold whatever they are given
}

const char* typeName(VariantType type) {
  switch (type) {
    case kVariantNil:
      return "Nil";
    case kVariantInt32:
      return "32-bit Integer";
    case kVariantInt64:
      return "Integer";
    case kVariantSingle:
      return "Single";
    case kVariantDouble:
      return "Double";
    case kVariantCurrency:
      return "Currency";
    case kVariantString:
      return "String";
    case kVariantObject:
      return "Object";
    case kVariantBoolean:
      return "Boolean";
    case kVariantColor:
      return "Color";
    case kVariantText:
      return "Text";
  }
  return "of another type";
}

std::string typeAndText(const Thing& thing) {
  const auto& variant = static_cast<const Variant&>(thing);
  return fmt::format("{} \"{}\"", typeName(variant.type), asText(variant.value, variant.isUnsigned));
}

void releaseValue(Thing& thing) {
  auto& variant = static_cast<Variant&>(thing);
  const Value last = std::move(variant.value);
  std::destroy_at(&variant.value);
}

std::optional<Value> variantProperty(Thing& thing, std::string_view name) {
  const auto is = [name](const char* other) { return sameName(name, other); };
  REALobjectStruct* handle = objectHandle(&thing);
  if (is("Type")) return variantType(handle);
  if (is("Int32Value")) return std::int64_t{variantToInt32(handle)};
  if (is("LongValue") || is("Int64Value") || is("IntegerValue")) return variantToInt64(handle);
  if (is("UInt32Value")) return std::int64_t{variantToUInt32(handle)};
  if (is("UInt64Value")) return static_cast<std::int64_t>(variantToUInt64(handle));
  if (is("SingleValue")) return double{variantToSingle(handle)};
  if (is("DoubleValue")) return variantToDouble(handle);
  if (is("BooleanValue")) return variantToInt64(handle) != 0;
  if (is("StringValue")) return StringRef::adopt(variantToString(handle));
  if (is("ObjectValue")) return ObjectRef::adopt(variantToObject(handle));
  return std::nullopt;
}

/// The bits by which values of one type are told apart; both zeros are one value.
std::uint64_t identityBits(const Variant& variant) {
  const auto* number = std::get_if<double>(&variant.value.held());
  return number != nullptr ? std::bit_cast<std::uint64_t>(*number + 0.0) : asUnsigned(variant.value);
}

std::uint32_t mixed(std::uint64_t bits) {
  bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9;
  bits = (bits ^ (bits >> 27)) * 0x94d049bb133111eb;
  return static_cast<std::uint32_t>(bits ^ (bits >> 31));
}

}  // namespace

const Kind kVariantKind{.noun = "variant",
                        .make = nullptr,
                        .finalize = nullptr,
                        .release = releaseValue,
                        .describe = typeAndText,
                        .property = variantProperty};

ObjectRef makeVariant(VariantType type, const Value& value, bool isUnsigned) {
  const Value plain = unboxed(value);
  if (const auto* object = std::get_if<ObjectRef>(&plain.held())) return *object;
  Value content = converted(type, plain, isUnsigned);
  auto* variant = makeThing<Variant>(state().classes.variantClass(type, isUnsigned));
  variant->type = type;
  variant->isUnsigned = isUnsigned;
  variant->value = std::move(content);
  return ObjectRef::adopt(objectHandle(variant));
}

ObjectRef box(const Value& value) {
  struct Boxer {
    const Value& value;
    ObjectRef operator()(std::monostate) const { return {}; }
    ObjectRef operator()(bool) const { return makeVariant(kVariantBoolean, value); }
    ObjectRef operator()(std::int64_t) const { return makeVariant(kVariantInt64, value); }
    ObjectRef operator()(double) const { return makeVariant(kVariantDouble, value); }
    ObjectRef operator()(const StringRef&) const { return makeVariant(kVariantString, value); }
    ObjectRef operator()(const ObjectRef& object) const { return object; }
  };
  return std::visit(Boxer{value}, value.held());
}

Value unboxed(const Value& value) {
  const auto* object = std::get_if<ObjectRef>(&value.held());
  const Variant* variant = object != nullptr ? variantBehind(object->get()) : nullptr;
  return variant != nullptr ? variant->value : value;
}

Variant* variantBehind(REALobjectStruct* handle) {
  if (handle == nullptr) return nullptr;
  Thing& thing = requireObject(handle);
  return thing.is(kVariantKind) ? &static_cast<Variant&>(thing) : nullptr;
}

bool sameVariant(REALobjectStruct* handleA, REALobjectStruct* handleB) {
  if (handleA == handleB) return true;
  const Variant* a = variantBehind(handleA);
  const Variant* b = variantBehind(handleB);
  if (a == nullptr || b == nullptr || a->dispatch != b->dispatch || a->type != b->type) return false;
  if (std::holds_alternative<StringRef>(a->value.held())) {
    return utf8Text(a->value.string().get()) == utf8Text(b->value.string().get());
  }
  return identityBits(*a) == identityBits(*b);
}

std::int64_t variantType(REALobjectStruct* handle) {
  if (handle == nullptr) return static_cast<std::int64_t>(kVariantNil);
  const Variant* variant = variantBehind(handle);
  return static_cast<std::int64_t>(variant != nullptr ? variant->type : kVariantObject);
}

std::uint32_t variantHash(REALobjectStruct* handle) {
  if (handle == nullptr) return 0;
  const Variant* variant = variantBehind(handle);
  if (variant == nullptr) return mixed(require(handle).serial);
  const auto salt = static_cast<std::uint64_t>(variant->type) << 56;
  if (const auto* string = std::get_if<StringRef>(&variant->value.held())) {
    return mixed(salt ^ std::hash<std::string>()(utf8Text(string->get())));
  }
  return mixed(salt ^ identityBits(*variant));
}

std::int64_t variantToInt64(REALobjectStruct* handle) {
  const Variant* variant = variantBehind(handle);
  return variant != nullptr ? asInteger(variant->value) : 0;
}

std::int32_t variantToInt32(REALobjectStruct* handle) {
  return static_cast<std::int32_t>(variantToInt64(handle));
}

std::uint64_t variantToUInt64(REALobjectStruct* handle) {
  const Variant* variant = variantBehind(handle);
  return variant != nullptr ? asUnsigned(variant->value) : 0;
}

std::uint32_t variantToUInt32(REALobjectStruct* handle) {
  return static_cast<std::uint32_t>(variantToUInt64(handle));
}

double variantToDouble(REALobjectStruct* handle) {
  const Variant* variant = variantBehind(handle);
  return variant != nullptr ? asNumber(variant->value, variant->isUnsigned) : 0.0;
}

float variantToSingle(REALobjectStruct* handle) {
  return static_cast<float>(variantToDouble(handle));
}

REALstringStruct* variantToString(REALobjectStruct* handle) {
  const Variant* variant = variantBehind(handle);
  if (variant == nullptr) return nullptr;
  if (const auto* string = std::get_if<StringRef>(&variant->value.held()))
    return StringRef(*string).release();
  if (variant->value.isNil()) return nullptr;
  return makeString(asText(variant->value, variant->isUnsigned)).release();
}

REALobjectStruct* variantToObject(REALobjectStruct* handle) {
  return ObjectRef::share(handle).release();
}

REALobjectStruct* integerToVariant(std::int64_t value) {
  return makeVariant(kVariantInt64, value).release();
}

REALobjectStruct* stringToVariant(REALstringStruct* value) {
  return makeVariant(kVariantString, StringRef::share(value)).release();
}

}  // namespace vornik::host
