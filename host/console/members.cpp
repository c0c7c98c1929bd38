#include "host/console/members.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "fmt/format.h"

namespace vornik::host::console {
namespace {

using Kind = DeclaredType::Kind;

/// The integer a number stands for, if it stands for one.
std::optional<std::int64_t> asInteger(double number) {
  // 2^63 is a double, the largest integer is not.
  if (std::trunc(number) != number || number < -0x1p63 || number >= 0x1p63) return std::nullopt;
  return static_cast<std::int64_t>(number);
}

}  // namespace

void fitInteger(Value& value, const std::string& what) {
  const double* const number = std::get_if<double>(&value.held());
  if (number == nullptr) return;
  const std::optional<std::int64_t> integer = asInteger(*number);
  if (!integer) throw ScriptError(what + " must be an Integer, not " + fmt::format("{:.14g}", *number));
  value = Value(*integer);
}

bool Member::readsAsValue() const {
  return property != nullptr || (methods.size() == 1 && methods.front()->declaration.parameters.empty() &&
                                 methods.front()->declaration.result.kind != Kind::kNone);
}

bool Member::takesOneKey() const {
  return std::any_of(methods.begin(), methods.end(), [](const RegisteredMethod* method) {
    return method->setter != nullptr && method->declaration.parameters.size() == 1;
  });
}

void Member::fitNumbers(std::vector<Value>& arguments) const {
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    bool integerWanted = false;
    bool numberWanted = false;
    for (const RegisteredMethod* method : methods) {
      const auto& parameters = method->declaration.parameters;
      if (i >= parameters.size() || parameters[i].type.isArray) continue;
      const Kind kind = parameters[i].type.kind;
      integerWanted = integerWanted || kind == Kind::kInteger;
      numberWanted = numberWanted || kind == Kind::kDouble || kind == Kind::kVariant;
    }
    if (integerWanted && !numberWanted)
      fitInteger(arguments[i], fullName() + ": argument " + std::to_string(i + 1));
  }
}

void Member::fitAssigned(Value& value) const {
  const bool integer = std::any_of(methods.begin(), methods.end(), [](const RegisteredMethod* m) {
    return m->setter != nullptr && m->declaration.result.kind == Kind::kInteger &&
           !m->declaration.result.isArray;
  });
  if (integer) fitInteger(value, fullName() + ": the assigned value");
}

const Member& Members::find(const std::string& className, std::string_view name) {
  if (const Member* member = search(className, name)) return *member;
  std::string message = "class " + className + " has no member '" + std::string(name) + "'";
  if (const RegisteredClass* const other = relatedClassWith(className, name)) {
    message += ", but " + other->name + " has";
  } else {
    message += whereEntriesAre(className);
  }
  throw ScriptError(message);
}

std::string Members::whereEntriesAre(const std::string& className) {
  if (search(className, "insert") != nullptr)
    return "; object:insert(key) adds to a set, and object:lookup(key) tells whether it has a key";
  const Member* const value = search(className, "value");
  const bool byKey = value != nullptr && value->takesOneKey();
  return byKey ? "; the entries of a map are in object.value, as in object.value[key]" : "";
}

const RegisteredClass* Members::relatedClassWith(const std::string& className, std::string_view name) {
  const RegisteredClass* related = nullptr;
  std::ptrdiff_t longest = 0;
  for (const auto& candidate : host_.classes()) {
    const std::string& other = candidate->name;
    const auto parting = std::mismatch(className.begin(), className.end(), other.begin(), other.end()).first;
    const std::ptrdiff_t common = parting - className.begin();
    if (common <= longest || search(other, name) == nullptr) continue;
    related = candidate.get();
    longest = common;
  }
  return related;
}

const Member* Members::search(const std::string& className, std::string_view name) {
  auto key = std::pair(className, std::string(name));
  if (const auto known = known_.find(key); known != known_.end()) return &known->second;

  const RegisteredClass* const registered = host_.findClass(className);
  if (registered == nullptr) return nullptr;
  Member member;
  member.className = registered->name;
  for (const RegisteredProperty& property : registered->properties) {
    if (sameName(property.name, name)) {
      member.property = &property;
      member.name = property.name;
    }
  }
  for (const RegisteredMethod& method : registered->methods) {
    if (sameName(method.declaration.name, name)) {
      member.methods.push_back(&method);
      member.name = method.declaration.name;
    }
  }
  if (member.name.empty()) return nullptr;
  return &known_.emplace(std::move(key), std::move(member)).first->second;
}

}  // namespace vornik::host::console
