#include "host/encodings.h"

#define U_SHOW_CPLUSPLUS_API 0
#include <unicode/stringoptions.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <array>
#include <stdexcept>

#include "fmt/format.h"
#include "plugin/frame/host_interface.h"

namespace vornik::host {

namespace {

struct Encoding {
  std::uint32_t code;
  const char* converterName;
  bool isByte;
  UConverter* converter = nullptr;  // opened at first use, kept until the process ends
};

std::array encodings{
    Encoding{kEncodingMacRoman, "macintosh", true},   Encoding{kEncodingUTF16, "UTF16_PlatformEndian", false},
    Encoding{kEncodingISOLatin1, "ISO-8859-1", true}, Encoding{kEncodingWindowsLatin1, "windows-1252", true},
    Encoding{kEncodingASCII, "US-ASCII", true},       Encoding{kEncodingUnknown, "macintosh", true},
    Encoding{kEncodingUTF8, "UTF-8", true},           Encoding{kEncodingUTF32, "UTF32_PlatformEndian", false},
    Encoding{kEncodingUTF16BE, "UTF-16BE", false},    Encoding{kEncodingUTF16LE, "UTF-16LE", false},
    Encoding{kEncodingUTF32BE, "UTF-32BE", false},    Encoding{kEncodingUTF32LE, "UTF-32LE", false},
};

const Encoding* find(std::uint32_t code) {
  for (const Encoding& encoding : encodings) {
    if (encoding.code == code) return &encoding;
  }
  return nullptr;
}

void check(UErrorCode error, const char* converterName) {
  if (U_FAILURE(error)) {
    throw std::runtime_error(fmt::format("cannot convert text ({}): {}", converterName, u_errorName(error)));
  }
}

UConverter* converterFor(std::uint32_t code) {
  auto* encoding = const_cast<Encoding*>(find(code));
  if (encoding == nullptr) return nullptr;
  if (encoding->converter == nullptr) {
    UErrorCode error = U_ZERO_ERROR;
    encoding->converter = ucnv_open(encoding->converterName, &error);
    check(error, encoding->converterName);
  }
  return encoding->converter;
}

}  // namespace

bool isByteEncoding(std::uint32_t encoding) {
  const Encoding* known = find(encoding);
  return known != nullptr && known->isByte;
}

std::optional<std::u16string> decode(std::string_view bytes, std::uint32_t encoding) {
  UConverter* converter = converterFor(encoding);
  if (converter == nullptr) return std::nullopt;
  // No encoding makes more than two units of a byte, replacements included.
  std::u16string units(2 * bytes.size() + 1, u'\0');
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t length = ucnv_toUChars(converter, units.data(), static_cast<std::int32_t>(units.size()),
                                            bytes.data(), static_cast<std::int32_t>(bytes.size()), &error);
  check(error, "decoding");
  units.resize(static_cast<std::size_t>(length));
  return units;
}

std::optional<std::string> encode(std::u16string_view units, std::uint32_t encoding) {
  UConverter* converter = converterFor(encoding);
  if (converter == nullptr) return std::nullopt;
  const auto length = static_cast<std::int32_t>(units.size());
  std::string bytes(
      static_cast<std::size_t>(UCNV_GET_MAX_BYTES_FOR_STRING(length, ucnv_getMaxCharSize(converter))), '\0');
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t written = ucnv_fromUChars(
      converter, bytes.data(), static_cast<std::int32_t>(bytes.size()), units.data(), length, &error);
  check(error, "encoding");
  bytes.resize(static_cast<std::size_t>(written));
  return bytes;
}

int compareFolded(std::u16string_view a, std::u16string_view b) {
  UErrorCode error = U_ZERO_ERROR;
  const std::int32_t order =
      u_strCaseCompare(a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                       static_cast<std::int32_t>(b.size()), U_COMPARE_CODE_POINT_ORDER, &error);
  check(error, "comparing");
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

}  // namespace vornik::host
