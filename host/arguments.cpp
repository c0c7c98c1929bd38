#include "host/arguments.h"

#include <bit>
#include <charconv>
#include <stdexcept>

#include "fmt/format.h"
#include "host/arrays.h"
#include "host/calls.h"
#include "host/state.h"
#include "host/strings.h"
#include "host/variants.h"

namespace vornik::host {

namespace {

using TypeKind = DeclaredType::Kind;

constexpr int kWidened = 1, kBoxed = 2, kUnboxed = 3, kConverted = 4;
constexpr const char* kConversionOperator = "Operator_Convert";

bool isDictionary(const DeclaredType& type) {
  return sameName(type.name, "Dictionary");
}

ArrayElementType elementType(TypeKind kind) {
  return kind == TypeKind::kInteger  ? kArrayOfIntegers
         : kind == TypeKind::kString ? kArrayOfStrings
                                     : kArrayOfVariants;
}

bool isOfClass(const Thing& thing, const std::string& name) {
  if (sameName(name, "Object")) return true;
  for (const ThingClass* type = thing.dispatch; type != nullptr; type = type->superclass) {
    if (sameName(type->name, name)) return true;
  }
  return false;
}

/// The method by which an object turns into a Dictionary, or null.
const RegisteredMethod* dictionaryConversion(const Thing& thing) {
  const RegisteredMethod* method = chooseOverload(*thing.dispatch, kConversionOperator, {}, Access::kCall);
  return method != nullptr && isDictionary(method->declaration.result) ? method : nullptr;
}

std::optional<int> costOfPlain(TypeKind held, const DeclaredType& type) {
  if (type.isArray) return std::nullopt;
  if (type.kind == held) return 0;
  if (type.kind == TypeKind::kVariant) return kBoxed;
  if (held == TypeKind::kInteger && type.kind == TypeKind::kDouble) return kWidened;
  return std::nullopt;
}

std::optional<int> costOfNil(const DeclaredType& type) {
  const bool canBeNil = type.isArray || type.kind == TypeKind::kString || type.kind == TypeKind::kVariant ||
                        type.kind == TypeKind::kObject;
  return canBeNil ? std::optional(0) : std::nullopt;
}

std::optional<int> costOfObject(Thing& thing, const DeclaredType& type) {
  if (type.isArray) {
    const bool fits = thing.is(kArrayKind) && static_cast<Array&>(thing).type == elementType(type.kind);
    return fits ? std::optional(0) : std::nullopt;
  }
  switch (type.kind) {
    case TypeKind::kVariant:
      return thing.is(kVariantKind) ? 0 : kBoxed;
    case TypeKind::kObject:
      if (isOfClass(thing, type.name)) return 0;
      if (isDictionary(type) && dictionaryConversion(thing) != nullptr) return kConverted;
      return std::nullopt;
    default:
      return thing.is(kVariantKind) ? std::optional(kUnboxed) : std::nullopt;
  }
}

RawArgument asDeclared(const DeclaredType& type, std::uint64_t bits) {
  return {type.kind, type.isArray, bits};
}

/// The value as an object of the declared kind of object, made anew where it has to be.
ObjectRef asObject(const Value& value, const DeclaredType& type) {
  if (type.kind == TypeKind::kVariant && !type.isArray) return box(value);
  const ObjectRef& object = value.object();
  if (object && isDictionary(type) && !isOfClass(require(object.get()), type.name)) {
    return callMethod(object, kConversionOperator, {}, Access::kCall).object();
  }
  return object;
}

}  // namespace

std::optional<int> conversionCost(const Value& value, const DeclaredType& type) {
  if (std::holds_alternative<StringRef>(value.held())) return costOfPlain(TypeKind::kString, type);
  if (value.isNil()) return costOfNil(type);
  if (std::holds_alternative<bool>(value.held())) return costOfPlain(TypeKind::kBoolean, type);
  if (std::holds_alternative<std::int64_t>(value.held())) return costOfPlain(TypeKind::kInteger, type);
  if (std::holds_alternative<double>(value.held())) return costOfPlain(TypeKind::kDouble, type);
  return costOfObject(requireObject(value.object().get()), type);
}

void Arguments::add(const Value& value, const DeclaredType& type) {
  if (type.isArray || type.kind == TypeKind::kObject || type.kind == TypeKind::kVariant) {
    ObjectRef object = asObject(value, type);
    raw_.push_back(asDeclared(type, wordOf(object.get())));
    made_.emplace_back(std::move(object));
    return;
  }
  const auto* object = std::get_if<ObjectRef>(&value.held());
  REALobjectStruct* variant = object != nullptr ? object->get() : nullptr;
  std::uint64_t bits = 0;
  switch (type.kind) {
    case TypeKind::kInteger:
      bits = static_cast<std::uint64_t>(variant != nullptr ? variantToInt64(variant) : value.integer());
      break;
    case TypeKind::kBoolean:
      bits = (variant != nullptr ? variantToInt64(variant) != 0 : value.boolean()) ? 1 : 0;
      break;
    case TypeKind::kDouble: {
      const auto* integer = std::get_if<std::int64_t>(&value.held());
      bits = std::bit_cast<std::uint64_t>(variant != nullptr   ? variantToDouble(variant)
                                          : integer != nullptr ? static_cast<double>(*integer)
                                                               : value.number());
      break;
    }
    default: {
      StringRef string = variant != nullptr ? StringRef::adopt(variantToString(variant)) : value.string();
      bits = wordOf(string.get());
      made_.emplace_back(std::move(string));
      break;
    }
  }
  raw_.push_back(asDeclared(type, bits));
}

void Arguments::addDefault(const DeclaredParameter& parameter) {
  const std::string& text = parameter.defaultText.value();
  Value value;
  std::int64_t integer = 0;
  const char* end = text.data() + text.size();
  if (sameName(text, "true") || sameName(text, "false")) {
    value = sameName(text, "true");
  } else if (text.size() >= 2 && text.front() == '"' && text.back() == '"') {
    value = text.substr(1, text.size() - 2);
  } else if (const auto [stop, error] = std::from_chars(text.data(), end, integer);
             error == std::errc() && stop == end) {
    value = integer;
  } else if (!sameName(text, "nil")) {
    char* stopped = nullptr;
    value = std::strtod(text.c_str(), &stopped);
    if (stopped != end) throw std::invalid_argument("unreadable default: " + text);
  }
  if (!conversionCost(value, parameter.type)) {
    throw std::invalid_argument(fmt::format("the default {} is no {}", text, parameter.type.name));
  }
  add(value, parameter.type);
}

Value takeResult(std::uint64_t bits, const DeclaredType& type) {
  if (type.isArray || type.kind == TypeKind::kObject || type.kind == TypeKind::kVariant) {
    auto* object = handleFrom<REALobjectStruct>(bits);
    if (object != nullptr) requireObject(object);
    return ObjectRef::adopt(object);
  }
  switch (type.kind) {
    case TypeKind::kInteger:
      return static_cast<std::int64_t>(bits);
    case TypeKind::kBoolean:
      if (bits > 1) fault(fmt::format("a Boolean result holds {}", bits));
      return bits != 0;
    case TypeKind::kDouble:
      return std::bit_cast<double>(bits);
    case TypeKind::kString: {
      auto* string = handleFrom<REALstringStruct>(bits);
      stringBehind(string);
      return StringRef::adopt(string);
    }
    default:
      return {};
  }
}

std::string typeName(const Value& value) {
  if (std::holds_alternative<StringRef>(value.held())) return "String";
  if (value.isNil()) return "Nil";
  if (std::holds_alternative<bool>(value.held())) return "Boolean";
  if (std::holds_alternative<std::int64_t>(value.held())) return "Integer";
  if (std::holds_alternative<double>(value.held())) return "Double";
  const Thing& thing = requireObject(value.object().get());
  if (thing.is(kVariantKind)) return "Variant";
  if (!thing.is(kArrayKind)) return thing.dispatch->name;
  const ArrayElementType type = static_cast<const Array&>(thing).type;
  return type == kArrayOfIntegers ? "Integer()" : type == kArrayOfStrings ? "String()" : "Variant()";
}

}  // namespace vornik::host
