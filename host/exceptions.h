// Exceptions of the host's language.
#ifndef VORNIK_HOST_EXCEPTIONS_H
#define VORNIK_HOST_EXCEPTIONS_H

#include <cstdint>
#include <string_view>

#include "host/host.h"
#include "host/thing.h"

namespace vornik::host {

struct Exception : Thing {
  StringRef message;
  std::int64_t errorNumber;
};

/// Raises a new exception of the built-in class in the running call.
void raise(std::string_view className, std::string_view message);

/// The C++ form of an exception object.
ScriptException toScriptException(const ObjectRef& exception);

/// "Message" and "ErrorNumber"; false when there is no such property or the value has another type.
bool setExceptionProperty(Thing& exception, std::string_view name, const Value& value);

// Services.
/// Keeps the exception until the running call has returned. While one is pending, further ones are dropped:
/// the script is told of the first fault, not of what that led to.
void raiseException(REALobjectStruct* exception);

}  // namespace vornik::host

#endif  // VORNIK_HOST_EXCEPTIONS_H
