#include "plugin/frame/errors.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>

#include "plugin/frame/host_services.h"
#include "plugin/frame/host_string.h"

namespace vornik {
namespace {

struct HostError {
  const char* className;
  const char* prefix;
};

HostError classify(const std::exception& caught) {
  const auto is = [&]<typename T>(const T*) { return dynamic_cast<const T*>(&caught) != nullptr; };
  if (is(static_cast<std::bad_alloc*>(nullptr))) return {"OutOfMemoryException", "Failed to allocate memory"};
  if (is(static_cast<std::range_error*>(nullptr)) || is(static_cast<std::out_of_range*>(nullptr))) {
    return {"OutOfBoundsException", "C++ reports range error"};
  }
  if (is(static_cast<std::overflow_error*>(nullptr)))
    return {"OutOfBoundsException", "C++ reports overflow error"};
  if (is(static_cast<std::underflow_error*>(nullptr)))
    return {"OutOfBoundsException", "C++ reports underflow error"};
  return {"RuntimeException", "C++ Exception"};
}

}  // namespace

void RaiseException(const char* exceptionClassName, const char* message) noexcept {
  REALstringStruct* text = nullptr;
  if (message != nullptr) {
    text = REALBuildUnicodeString(message, static_cast<std::int64_t>(std::strlen(message)), kEncodingUTF8);
  }
  REALobjectStruct* exception = REALnewInstance(exceptionClassName);
  if (exception == nullptr) exception = REALnewInstance("RuntimeException");
  if (exception != nullptr) {
    REALSetPropValueString(exception, "Message", text);
    REALSetPropValueInteger(exception, "ErrorNumber", 0);
    REALRaiseException(exception);
    REALUnlockObject(exception);
  }
  if (text != nullptr) REALUnlockString(text);
}

void RaiseOutOfBoundsException(std::int64_t index, std::int64_t count) noexcept {
  constexpr std::size_t kSize = 205;
  const std::unique_ptr<char[]> text(new (std::nothrow) char[kSize]());
  if (text == nullptr) {
    RaiseException("OutOfBoundsException", "Out of Bounds");
    return;
  }
  std::snprintf(text.get(), kSize,
                "The parameter %s %s%s is too %s. Range is %lld to %lld, but value is %lld.", "index", "", "",
                index < 0 ? "small" : "big", 0LL, static_cast<long long>(count) - 1,
                static_cast<long long>(index));
  RaiseException("OutOfBoundsException", text.get());
}

void RaiseRuntimeException(const std::exception& caught) noexcept {
  const HostError error = classify(caught);
  const char* description = caught.what();
  if (description == nullptr) description = "";
  // On the stack: what is being reported may be that there is no memory.
  char message[4096];
  if (*description != '\0') {
    std::snprintf(message, sizeof message, "%s: %s", error.prefix, description);
  } else {
    std::snprintf(message, sizeof message, "%s.", error.prefix);
  }
  RaiseException(error.className, message);
}

}  // namespace vornik
