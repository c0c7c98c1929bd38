// The system's functions are declared by hand: their headers are Objective-C, and nothing else here is.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "plugin/frame/system_log.h"
#include "plugin/frame/utf8.h"

extern "C" {

using CFStringRef = const void*;

CFStringRef CFStringCreateWithBytes(const void* allocator, const std::uint8_t* bytes, long count,
                                    std::uint32_t encoding, unsigned char isExternalRepresentation);
void CFRelease(const void* object);
void NSLog(CFStringRef format, ...);
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* pool);

}  // extern "C"

namespace vornik {
namespace {

/// `text` as UTF-8 whatever bytes are in it: one that belongs to no character becomes "\xE9".
struct Readable {
  explicit Readable(const char* source) noexcept {
    const auto* text = reinterpret_cast<const std::uint8_t*>(source);
    const std::uint8_t* const end = text + std::strlen(source);
    while (text != end && count + kEscapeLength <= sizeof bytes) {
      if (const std::int64_t length = utf8CharacterLength(text, end - text); length > 0) {
        std::copy_n(text, length, bytes + count);
        count += static_cast<std::size_t>(length);
        text += length;
      } else {
        const auto digit = [](int value) { return static_cast<std::uint8_t>("0123456789ABCDEF"[value]); };
        const std::uint8_t escape[kEscapeLength] = {'\\', 'x', digit(*text >> 4), digit(*text & 0xF)};
        std::copy_n(escape, kEscapeLength, bytes + count);
        count += kEscapeLength;
        ++text;
      }
    }
  }

  static constexpr std::size_t kEscapeLength = 4;
  std::uint8_t bytes[kEscapeLength * kSystemLogTextSize];
  std::size_t count = 0;
};

/// The caller releases it; null when memory is short.
CFStringRef makeString(const std::uint8_t* bytes, std::size_t count) noexcept {
  constexpr std::uint32_t kEncodingUTF8 = 0x08000100;
  return CFStringCreateWithBytes(nullptr, bytes, static_cast<long>(count), kEncodingUTF8, false);
}

}  // namespace

void writeSystemLog(const char* text) noexcept {
  const Readable readable(text);
  constexpr std::uint8_t kObject[] = {'%', '@'};

  // A string object, because a format's "%s" takes the bytes for another encoding than UTF-8. The log ends
  // the line.
  void* const pool = objc_autoreleasePoolPush();
  const CFStringRef format = makeString(kObject, sizeof kObject);
  const CFStringRef line = makeString(readable.bytes, readable.count);
  if (format != nullptr && line != nullptr) NSLog(format, line);
  if (line != nullptr) CFRelease(line);
  if (format != nullptr) CFRelease(format);
  objc_autoreleasePoolPop(pool);
}

}  // namespace vornik
