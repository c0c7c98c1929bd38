// Diagnostic lines.
#ifndef VORNIK_FRAME_LOG_H
#define VORNIK_FRAME_LOG_H

namespace vornik {

/// Begins every optional diagnostic line.
inline constexpr const char* kDebugPrefix = "QZR Debug: ";

/// Formats as printf does and writes one line to the system log, whatever DebuggingEnabled says. The text is
/// cut off after 4095 characters.
[[gnu::format(printf, 1, 2)]] void LogMessageX(const char* format, ...) noexcept;

}  // namespace vornik

#endif  // VORNIK_FRAME_LOG_H
