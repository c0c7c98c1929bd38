#include "plugin/frame/host_string.h"

#include <algorithm>
#include <limits>

#include "plugin/frame/errors.h"
#include "plugin/frame/host_services.h"
#include "plugin/frame/log.h"

namespace vornik {
namespace {

bool buildsWithEncoding() {
  return rbversion_rbversion >= kFirstHostBuildingWithEncoding;
}

REALstringStruct* buildDeclared(const void* data, std::int32_t count, std::uint32_t encoding) {
  if (buildsWithEncoding()) return REALBuildStringWithEncoding(data, count, encoding);
  REALstringStruct* string = originalREALBuildString(data, count);
  if (string != nullptr) REALSetStringEncoding(string, encoding);
  return string;
}

REALstringStruct* buildFromUTF16(const void* data, std::int32_t count) {
  REALstringStruct* wide = buildDeclared(data, count, kEncodingUTF16);
  if (wide == nullptr && !buildsWithEncoding()) {
    if (DebuggingEnabled) LogMessageX("%s%s", kDebugPrefix, "Out of memory in REALBuildUnicodeStringUTF16.");
    return nullptr;
  }
  REALstringStruct* converted = REALConvertString(wide, kEncodingUTF8);
  if (wide != nullptr) REALUnlockString(wide);
  return converted;
}

bool isASCII(const void* data, std::int32_t count) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  return std::none_of(bytes, bytes + count, [](unsigned char byte) { return byte >= 0x80; });
}

REALstringStruct* build(const void* data, std::int32_t count, std::uint32_t encoding) {
  switch (encoding) {
    case kEncodingUTF16:
      return buildFromUTF16(data, count);
    case kEncodingMacRoman:
    case kEncodingISOLatin1:
    case kEncodingWindowsLatin1:
    case kEncodingUnknown:
      return buildDeclared(data, count, isASCII(data, count) ? std::uint32_t{kEncodingASCII} : encoding);
    case kEncodingASCII:
    case kEncodingUTF8:
      return buildDeclared(data, count, encoding);
    default:
      if (DebuggingEnabled) {
        LogMessageX("%s%s %u", kDebugPrefix, "Unknown encoding in REALBuildUnicodeString", encoding);
      }
      return buildDeclared(data, count, encoding);
  }
}

}  // namespace

REALstringStruct* REALBuildUnicodeString(const void* data, std::int64_t count,
                                         std::uint32_t encoding) noexcept {
  return guarded([&]() -> REALstringStruct* {
    if (data == nullptr || count <= 0) return nullptr;
    if (count > std::numeric_limits<std::int32_t>::max()) {
      if (DebuggingEnabled) LogMessageX("%s%s", kDebugPrefix, "Count too big for REALBuildUnicodeString.");
      return nullptr;
    }
    return build(data, static_cast<std::int32_t>(count), encoding);
  });
}

}  // namespace vornik
