#include <syslog.h>

#include "plugin/frame/system_log.h"

namespace vornik {

void writeSystemLog(const char* text) noexcept {
  // LOG_PERROR copies each line to standard error, where a developer sees it without reading the
  // system's log.
  static const bool opened = (openlog("Vornik", LOG_PERROR, LOG_USER), true);
  static_cast<void>(opened);
  syslog(LOG_NOTICE, "%s\n", text);
}

}  // namespace vornik
