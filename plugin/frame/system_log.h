// The platform's system log. One source file per platform implements it.
#ifndef VORNIK_FRAME_SYSTEM_LOG_H
#define VORNIK_FRAME_SYSTEM_LOG_H

#include <cstddef>

namespace vornik {

/// The bytes of the longest text that the log takes, its terminator included.
inline constexpr std::size_t kSystemLogTextSize = 4096;

/// Writes `text`, UTF-8, and a newline.
void writeSystemLog(const char* text) noexcept;

}  // namespace vornik

#endif  // VORNIK_FRAME_SYSTEM_LOG_H
