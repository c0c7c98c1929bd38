#include "host/exceptions.h"

#include <memory>

#include "host/declaration.h"
#include "host/state.h"
#include "host/strings.h"

namespace vornik::host {

namespace {

Thing* makeException(const ThingClass& type) {
  return makeThing<Exception>(type);
}

void releaseMessage(Thing& thing) {
  auto& exception = static_cast<Exception&>(thing);
  const StringRef last = std::move(exception.message);
  std::destroy_at(&exception.message);
}

std::string classAndMessage(const Thing& thing) {
  const auto& exception = static_cast<const Exception&>(thing);
  return exception.dispatch->name + " \"" + utf8Text(exception.message.get()) + "\"";
}

std::optional<Value> exceptionProperty(Thing& thing, std::string_view name) {
  const auto& exception = static_cast<Exception&>(thing);
  if (sameName(name, "Message")) return exception.message;
  if (sameName(name, "ErrorNumber")) return exception.errorNumber;
  return std::nullopt;
}

}  // namespace

const Kind kExceptionKind{.noun = "exception",
                          .make = makeException,
                          .finalize = nullptr,
                          .release = releaseMessage,
                          .describe = classAndMessage,
                          .property = exceptionProperty};

void raise(std::string_view className, std::string_view message) {
  const ObjectRef object = makeInstance(*state().classes.find(className));
  static_cast<Exception&>(require(object.get())).message = makeString(message);
  raiseException(object.get());
}

ScriptException toScriptException(const ObjectRef& object) {
  const Thing& thing = requireObject(object.get());
  if (!thing.is(kExceptionKind))
    return {thing.dispatch->name, "an object that is no exception was raised", 0};
  const auto& exception = static_cast<const Exception&>(thing);
  return {thing.dispatch->name, utf8Text(exception.message.get()), exception.errorNumber};
}

bool setExceptionProperty(Thing& thing, std::string_view name, const Value& value) {
  auto& exception = static_cast<Exception&>(thing);
  if (const auto* text = std::get_if<StringRef>(&value.held());
      text != nullptr && sameName(name, "Message")) {
    exception.message = *text;
    return true;
  }
  if (const auto* number = std::get_if<std::int64_t>(&value.held());
      number != nullptr && sameName(name, "ErrorNumber")) {
    exception.errorNumber = *number;
    return true;
  }
  return false;
}

void raiseException(REALobjectStruct* exception) {
  if (exception == nullptr) return;
  requireObject(exception);
  if (!*state().pending) *state().pending = ObjectRef::share(exception);
}

}  // namespace vornik::host
