// The platform's system log. One source file per platform implements it.
#ifndef VORNIK_FRAME_SYSTEM_LOG_H
#define VORNIK_FRAME_SYSTEM_LOG_H

namespace vornik {

/// Writes `text` and a newline.
void writeSystemLog(const char* text) noexcept;

}  // namespace vornik

#endif  // VORNIK_FRAME_SYSTEM_LOG_H
