// How script code reaches registered classes: choice of overloads, conversion of arguments and results.
#ifndef VORNIK_HOST_CALLS_H
#define VORNIK_HOST_CALLS_H

#include <optional>
#include <string_view>
#include <vector>

#include "host/host.h"
#include "host/thing.h"

namespace vornik::host {

/// How an overload is reached: by a call, or by an assignment to it.
enum class Access { kCall, kAssign };

/// The overload of a class or its superclasses that fits the arguments best, or null when none does.
///
/// An overload fits when every argument can be handed to its parameter and all further parameters have
/// defaults. The one with the cheapest conversions wins: none, then an Integer as Double, then a value boxed
/// as Variant, then a Variant unboxed, then an object's own conversion to Dictionary. Nil goes to every
/// parameter that can be nil at no cost. Among equals fewer defaults win, then the overload declared first.
const RegisteredMethod* chooseOverload(const ThingClass& type, std::string_view name,
                                       const std::vector<Value>& arguments, Access access);

/// Whether the class has a method of that name.
bool hasMethod(const ThingClass& type, std::string_view name);

struct FoundProperty {
  const RegisteredProperty* property = nullptr;
  const ThingClass* owner = nullptr;  ///< the class that declares it
  explicit operator bool() const { return property != nullptr; }
};
FoundProperty findProperty(const ThingClass& type, std::string_view name);

/// Calls the overload that fits. ScriptError when there is none, ScriptException when the call raised. For an
/// assignment the value comes last in the arguments.
Value callMethod(const ObjectRef& object, std::string_view name, const std::vector<Value>& arguments,
                 Access access);

/// The no-argument "Constructor", if the class has one, run as part of the call that is going on.
void runDefaultConstructor(const ThingClass& type, const ObjectRef& object);

std::optional<Value> readRegisteredProperty(Thing& object, std::string_view name);
/// False when there is no such property; ScriptError when it cannot be written or the value has another type.
bool writeRegisteredProperty(Thing& object, std::string_view name, const Value& value);

}  // namespace vornik::host

#endif  // VORNIK_HOST_CALLS_H
