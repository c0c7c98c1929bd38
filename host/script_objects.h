// Objects of classes that the script itself defines, as far as others notice them: they have a name and
// a destructor.
#ifndef VORNIK_HOST_SCRIPT_OBJECTS_H
#define VORNIK_HOST_SCRIPT_OBJECTS_H

#include <functional>
#include <string>

#include "host/thing.h"

namespace vornik::host {

struct ScriptObject : Thing {
  std::function<void()> destructor;
};

ObjectRef makeScriptObject(const std::string& className, std::function<void()> destructor);

}  // namespace vornik::host

#endif  // VORNIK_HOST_SCRIPT_OBJECTS_H
