#include "host/value.h"

#include "host/arguments.h"
#include "host/host.h"
#include "host/strings.h"

namespace vornik::host {

namespace {

template <typename T>
const T& heldAs(const Value& value, const char* wanted) {
  if (const T* held = std::get_if<T>(&value.held())) return *held;
  throw ScriptError(std::string(wanted) + " expected, not " + typeName(value));
}

}  // namespace

Value::Value(std::string_view utf8) : held_(makeString(utf8)) {}

bool Value::isNil() const {
  if (const auto* string = std::get_if<StringRef>(&held_)) return !*string;
  if (const auto* object = std::get_if<ObjectRef>(&held_)) return !*object;
  return std::holds_alternative<std::monostate>(held_);
}

bool Value::boolean() const {
  return heldAs<bool>(*this, "Boolean");
}
std::int64_t Value::integer() const {
  return heldAs<std::int64_t>(*this, "Integer");
}
double Value::number() const {
  return heldAs<double>(*this, "Double");
}
std::string Value::text() const {
  return utf8Text(string().get());
}

// Nil is both the nil string and the nil object, however it is held.

const StringRef& Value::string() const {
  static const StringRef none;
  if (!std::holds_alternative<StringRef>(held_) && isNil()) return none;
  return heldAs<StringRef>(*this, "String");
}

const ObjectRef& Value::object() const {
  static const ObjectRef none;
  if (!std::holds_alternative<ObjectRef>(held_) && isNil()) return none;
  return heldAs<ObjectRef>(*this, "object");
}

}  // namespace vornik::host
