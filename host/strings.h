// Host strings: bytes with an encoding, always followed by zero bytes enough for any encoding.
#ifndef VORNIK_HOST_STRINGS_H
#define VORNIK_HOST_STRINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "host/thing.h"

namespace vornik::host {

struct String : Thing {
  std::uint32_t encoding;
  bool isASCII;  ///< 8-bit text without a byte above 0x7F
  std::size_t length;

  const char* bytes() const { return reinterpret_cast<const char*>(this + 1); }
  std::string_view view() const { return {bytes(), length}; }
};

StringRef makeString(std::string_view bytes, std::uint32_t encoding = kEncodingUTF8);

/// Null is the empty string, for which this answers null.
inline String* stringBehind(REALstringStruct* handle) {
  return handle != nullptr ? &requireKind<String>(handle, kStringKind) : nullptr;
}

/// The text in UTF-8; what cannot be converted is replaced as the Unicode standard recommends.
std::string utf8Text(REALstringStruct* string);

// Services.
void lockString(REALstringStruct* string);
void unlockString(REALstringStruct* string);
REALstringStruct* buildString(const void* bytes, std::int32_t length);
REALstringStruct* buildStringWithEncoding(const void* bytes, std::int32_t length, std::uint32_t encoding);
std::uint32_t stringEncoding(REALstringStruct* string);
void setStringEncoding(REALstringStruct* string, std::uint32_t encoding);
REALstringStruct* convertString(REALstringStruct* string, std::uint32_t encoding);
bool stringData(REALstringStruct* string, std::uint32_t encoding, REALstringData* record);
void disposeStringData(REALstringData* record);
const char* stringBytes(REALstringStruct* string);
std::int64_t stringByteLength(REALstringStruct* string);
std::int32_t compareStrings(REALstringStruct* a, REALstringStruct* b);

}  // namespace vornik::host

#endif  // VORNIK_HOST_STRINGS_H
