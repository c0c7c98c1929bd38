// Values on their way into and out of registered functions.
#ifndef VORNIK_HOST_ARGUMENTS_H
#define VORNIK_HOST_ARGUMENTS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/declaration.h"
#include "host/ffi_call.h"
#include "host/value.h"

namespace vornik::host {

/// Price of handing the value to a parameter of the type, 0 when it is taken as it is; nothing when it
/// cannot be.
std::optional<int> conversionCost(const Value& value, const DeclaredType& type);

/// The arguments of one call, together with what had to be made for it. Everything is borrowed by the callee.
class Arguments {
 public:
  /// Adds a value whose conversion to the type is known to be possible.
  void add(const Value& value, const DeclaredType& type);
  /// Adds a parameter's default. std::invalid_argument when its literal has no meaning for the type.
  void addDefault(const DeclaredParameter& parameter);

  const std::vector<RawArgument>& raw() const { return raw_; }

 private:
  std::vector<RawArgument> raw_;
  std::vector<Value> made_;
};

/// The value of a result, whose reference is taken over. A result that is no live thing of the declared
/// flavour is a misuse.
Value takeResult(std::uint64_t bits, const DeclaredType& type);

/// "Integer", "String", a class name and so on, for messages.
std::string typeName(const Value& value);

}  // namespace vornik::host

#endif  // VORNIK_HOST_ARGUMENTS_H
