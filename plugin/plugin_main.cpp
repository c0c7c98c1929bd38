// The library's entry point: learns what host it runs in, then registers the classes. It stands above the
// rooms, so that the frame need not know what is built on it.
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "plugin/classes/class_list.h"
#include "plugin/frame/definition_checks.h"
#include "plugin/frame/host_services.h"
#include "plugin/frame/log.h"

namespace vornik {
namespace {

std::int32_t recordVersionFor(double hostVersion) {
  if (hostVersion >= 2013.04) return 13;
  if (hostVersion >= 2013.03) return 12;
  if (hostVersion >= 2013.0) return 11;
  if (hostVersion >= 2012.0) return 10;
  return 9;
}

bool debuggingRequested() {
  const char* setting = std::getenv("QZRDEBUG");
  if (setting == nullptr) return false;
  for (const char* on : {"1", "true", "yes"}) {
    if (strcasecmp(setting, on) == 0) return true;
  }
  return false;
}

}  // namespace
}  // namespace vornik

extern "C" [[gnu::visibility("default")]] void REALPluginMain(REALresolver resolver) {
  using namespace vornik;
  gResolver = resolver;
  rbversion_rbversion = REALGetRBVersion();
  CurrentREALControlVersion = recordVersionFor(rbversion_rbversion);
  if (gResolver == nullptr) return;

  REALRegisterPluginVersion(CurrentREALControlVersion);
  gpartname = "Vornik";
  if (debuggingRequested()) DebuggingEnabled = true;
  if (DebuggingEnabled && !REALinRuntime()) {
    LogMessageX("Loading %s in Xojo %.2f and plugin SDK version %d...", gpartname, rbversion_rbversion,
                CurrentREALControlVersion);
  }
  // The name above has no spaces. The warning is for whoever gives a copy of the library another one.
  const std::string_view partName = gpartname;
  for (auto spaces = std::count(partName.begin(), partName.end(), ' '); spaces > 0; --spaces) {
    LogMessageX("%s%s %s", kDebugPrefix, "Warning: plugin name containts space character", gpartname);
  }
  for (REALclassDefinition* definition : kClassDefinitions) MyREALRegisterClass(*definition);
}
