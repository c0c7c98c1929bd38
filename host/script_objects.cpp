#include "host/script_objects.h"

#include <cstdio>
#include <exception>
#include <memory>

#include "fmt/format.h"
#include "host/state.h"

namespace vornik::host {

namespace {

void runDestructor(Thing& thing) {
  const std::function<void()> destructor = std::move(static_cast<ScriptObject&>(thing).destructor);
  if (!destructor) return;
  const Boundary outside(false);
  // The last reference can go in the middle of anything, so there is nobody to throw to.
  try {
    destructor();
  } catch (const std::exception& error) {
    std::fputs(
        fmt::format("vornik host: the destructor of {} failed: {}\n", describe(thing), error.what()).c_str(),
        stderr);
  }
}

void releaseFunction(Thing& thing) {
  std::destroy_at(&static_cast<ScriptObject&>(thing).destructor);
}

std::string nameOfClass(const Thing& thing) {
  return thing.dispatch->name;
}

}  // namespace

const Kind kScriptKind{.noun = "script object",
                       .make = nullptr,
                       .finalize = runDestructor,
                       .release = releaseFunction,
                       .describe = nameOfClass,
                       .property = nullptr};

ObjectRef makeScriptObject(const std::string& className, std::function<void()> destructor) {
  auto* object = makeThing<ScriptObject>(state().classes.scriptClass(className));
  object->destructor = std::move(destructor);
  return ObjectRef::adopt(objectHandle(object));
}

}  // namespace vornik::host
