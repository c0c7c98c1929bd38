#include "plugin/frame/log.h"

#include <cstdarg>
#include <cstdio>

#include "plugin/frame/system_log.h"

namespace vornik {

void LogMessageX(const char* format, ...) noexcept {
  char text[kSystemLogTextSize] = {};
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  writeSystemLog(text);
}

}  // namespace vornik
