#include "host/calls.h"

#include <cstring>
#include <tuple>

#include "fmt/format.h"
#include "host/arguments.h"
#include "host/state.h"

namespace vornik::host {

namespace {

struct Fit {
  int cost;
  std::size_t defaults;
  friend bool operator<(const Fit& a, const Fit& b) {
    return std::tie(a.cost, a.defaults) < std::tie(b.cost, b.defaults);
  }
};

bool declaresAssigns(const Declaration& declaration) {
  return !declaration.parameters.empty() && declaration.parameters.back().assigns;
}

/// An assignment reaches a method with a setter, or one whose own last parameter is the assigned value.
bool allows(const RegisteredMethod& method, Access access) {
  if (access == Access::kCall) return method.function != nullptr && !declaresAssigns(method.declaration);
  return method.setter != nullptr || declaresAssigns(method.declaration);
}

/// The type of the parameter at the index; an assignment's value follows the declared parameters.
const DeclaredType& parameterType(const RegisteredMethod& method, std::size_t index) {
  const auto& parameters = method.declaration.parameters;
  return index < parameters.size() ? parameters[index].type : method.declaration.result;
}

std::optional<Fit> fit(const RegisteredMethod& method, const std::vector<Value>& arguments, Access access) {
  if (!allows(method, access)) return std::nullopt;
  const bool throughSetter = access == Access::kAssign && !declaresAssigns(method.declaration);
  // Values are assigned to entries named in full, so that setters get no defaults.
  const std::size_t most = method.declaration.parameters.size() + (throughSetter ? 1 : 0);
  const std::size_t least = throughSetter ? most : method.declaration.requiredParameters();
  if (arguments.size() < least || arguments.size() > most) return std::nullopt;
  Fit result{0, most - arguments.size()};
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const auto cost = conversionCost(arguments[i], parameterType(method, i));
    if (!cost) return std::nullopt;
    result.cost += *cost;
  }
  return result;
}

std::string listOfTypes(const std::vector<Value>& arguments) {
  std::string list;
  for (const Value& argument : arguments) list += (list.empty() ? "" : ", ") + typeName(argument);
  return list;
}

std::string parametersOf(const Declaration& declaration) {
  std::string list;
  for (const DeclaredParameter& parameter : declaration.parameters) {
    list += fmt::format("{}{}{} as {}", list.empty() ? "" : ", ", parameter.name,
                        parameter.type.isArray ? "()" : "", parameter.type.name);
    if (parameter.defaultText) list += " = " + *parameter.defaultText;
  }
  return '(' + list + ')';
}

/// What the overloads of a name take, for a script whose arguments fit none of them.
std::string listOfOverloads(const ThingClass& start, std::string_view name, Access access) {
  std::string list;
  for (const ThingClass* type = &start; type != nullptr; type = type->superclass) {
    if (type->registered == nullptr) continue;
    for (const RegisteredMethod& method : type->registered->methods) {
      if (!sameName(method.declaration.name, name) || !allows(method, access)) continue;
      list += (list.empty() ? "" : ", ") + parametersOf(method.declaration);
      if (access == Access::kAssign) list += " = " + method.declaration.result.name;
    }
  }
  return list;
}

Arguments convert(const RegisteredMethod& method, const std::vector<Value>& values) {
  Arguments arguments;
  for (std::size_t i = 0; i < values.size(); ++i) arguments.add(values[i], parameterType(method, i));
  const auto& parameters = method.declaration.parameters;
  for (std::size_t i = values.size(); i < parameters.size(); ++i) arguments.addDefault(parameters[i]);
  return arguments;
}

Value callGetter(Thing& object, const RegisteredProperty& property) {
  const REALproperty& record = *property.record;
  const std::vector<RawArgument> arguments{
      {DeclaredType::Kind::kInteger, false, static_cast<std::uint64_t>(std::int64_t{record.parameter})}};
  Host::PluginCall call;
  const std::uint64_t bits =
      callFunction(record.getter, &object, arguments, property.type.kind, property.type.isArray);
  Value result = takeResult(bits, property.type);
  call.finish();
  return result;
}

bool isStandardAccessor(REALproc accessor) {
  return reinterpret_cast<std::uintptr_t>(accessor) == ~std::uintptr_t{0};
}

/// The standard accessor writes plain values only: nothing says who would own a reference in the
/// instance data.
bool isPlain(const DeclaredType& type) {
  return !type.isArray &&
         (type.kind == DeclaredType::Kind::kInteger || type.kind == DeclaredType::Kind::kBoolean ||
          type.kind == DeclaredType::Kind::kDouble);
}

std::size_t widthOf(const DeclaredType& type) {
  return type.kind == DeclaredType::Kind::kBoolean ? 1 : 8;
}

std::byte* standardPlace(Thing& object, const FoundProperty& found) {
  return instanceData(object, *found.owner->definition) + found.property->record->parameter;
}

}  // namespace

const RegisteredMethod* chooseOverload(const ThingClass& start, std::string_view name,
                                       const std::vector<Value>& arguments, Access access) {
  const RegisteredMethod* best = nullptr;
  Fit bestFit{};
  for (const ThingClass* type = &start; type != nullptr && best == nullptr; type = type->superclass) {
    if (type->registered == nullptr) continue;
    for (const RegisteredMethod& method : type->registered->methods) {
      if (!sameName(method.declaration.name, name)) continue;
      const auto found = fit(method, arguments, access);
      if (found && (best == nullptr || *found < bestFit)) {
        best = &method;
        bestFit = *found;
      }
    }
  }
  return best;
}

bool hasMethod(const ThingClass& start, std::string_view name) {
  for (const ThingClass* type = &start; type != nullptr; type = type->superclass) {
    if (type->registered == nullptr) continue;
    for (const RegisteredMethod& method : type->registered->methods) {
      if (sameName(method.declaration.name, name)) return true;
    }
  }
  return false;
}

FoundProperty findProperty(const ThingClass& start, std::string_view name) {
  for (const ThingClass* type = &start; type != nullptr; type = type->superclass) {
    if (type->registered == nullptr) continue;
    for (const RegisteredProperty& property : type->registered->properties) {
      if (sameName(property.name, name)) return {&property, type};
    }
  }
  return {};
}

Value callMethod(const ObjectRef& object, std::string_view name, const std::vector<Value>& arguments,
                 Access access) {
  const ThingClass& type = *requireObject(object.get()).dispatch;
  const RegisteredMethod* method = chooseOverload(type, name, arguments, access);
  if (method == nullptr) {
    if (!hasMethod(type, name)) throw ScriptError(fmt::format("{} has no method {}", type.name, name));
    throw ScriptError(fmt::format("{}.{} cannot be {} ({}); it takes {}", type.name, name,
                                  access == Access::kCall ? "called with" : "assigned",
                                  listOfTypes(arguments), listOfOverloads(type, name, access)));
  }
  const Arguments converted = convert(*method, arguments);
  (access == Access::kAssign ? method->assigned : method->called) = true;
  const bool throughSetter = access == Access::kAssign && !declaresAssigns(method->declaration);
  const DeclaredType result = access == Access::kAssign ? DeclaredType{} : method->declaration.result;
  // The object must outlive the call even if the call makes the script drop it.
  const ObjectRef kept = object;  // NOLINT(performance-unnecessary-copy-initialization)
  Host::PluginCall call;
  const std::uint64_t bits = callFunction(throughSetter ? method->setter : method->function, kept.get(),
                                          converted.raw(), result.kind, result.isArray);
  Value value = takeResult(bits, result);
  call.finish();
  return value;
}

void runDefaultConstructor(const ThingClass& type, const ObjectRef& object) {
  const RegisteredMethod* method = chooseOverload(type, "Constructor", {}, Access::kCall);
  if (method == nullptr) return;
  const Arguments arguments = convert(*method, {});
  const Boundary inside(true);
  callFunction(method->function, object.get(), arguments.raw(), DeclaredType::Kind::kNone, false);
}

std::optional<Value> readRegisteredProperty(Thing& object, std::string_view name) {
  const FoundProperty found = findProperty(*object.dispatch, name);
  if (!found) return std::nullopt;
  const REALproc getter = found.property->record->getter;
  if (getter == nullptr) throw ScriptError(fmt::format("{}.{} cannot be read", object.dispatch->name, name));
  found.property->read = true;
  if (!isStandardAccessor(getter)) return callGetter(object, *found.property);
  const DeclaredType& type = found.property->type;
  std::uint64_t bits = 0;
  std::memcpy(&bits, standardPlace(object, found), widthOf(type));
  // What the instance data holds stays there: the value needs a reference of its own.
  Value value = takeResult(bits, type);
  if (const auto* string = std::get_if<StringRef>(&value.held()); string != nullptr && *string) {
    addReference(string->get());
  } else if (const auto* held = std::get_if<ObjectRef>(&value.held()); held != nullptr && *held) {
    addReference(held->get());
  }
  return value;
}

bool writeRegisteredProperty(Thing& object, std::string_view name, const Value& value) {
  const FoundProperty found = findProperty(*object.dispatch, name);
  if (!found) return false;
  const REALproperty& record = *found.property->record;
  const DeclaredType& type = found.property->type;
  if (record.setter == nullptr) {
    throw ScriptError(fmt::format("{}.{} is read-only", object.dispatch->name, name));
  }
  if (!conversionCost(value, type)) {
    throw ScriptError(
        fmt::format("{}.{} cannot be assigned {}", object.dispatch->name, name, typeName(value)));
  }
  Arguments arguments;
  arguments.add(std::int64_t{record.parameter}, {DeclaredType::Kind::kInteger, false, "Integer"});
  arguments.add(value, type);
  if (isStandardAccessor(record.setter)) {
    if (!isPlain(type)) throw ScriptError(fmt::format("{}.{} is read-only", object.dispatch->name, name));
    std::memcpy(standardPlace(object, found), &arguments.raw().back().bits, widthOf(type));
    return true;
  }
  Host::PluginCall call;
  callFunction(record.setter, &object, arguments.raw(), DeclaredType::Kind::kNone, false);
  call.finish();
  return true;
}

}  // namespace vornik::host
