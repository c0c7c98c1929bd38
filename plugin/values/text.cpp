#include "plugin/values/text.h"

#include <algorithm>
#include <new>

#include "plugin/frame/host_services.h"
#include "plugin/frame/host_string.h"
#include "plugin/frame/log.h"
#include "plugin/frame/utf8.h"

namespace vornik {
namespace {

/// "QZRT", at both ends of a view. Views live on the stack, where a stray write is soon felt.
constexpr std::uint64_t kGuard = 0x515A5254;
constexpr std::uint16_t kByteOrderMark = 0xFEFF;
constexpr std::uint16_t kSwappedByteOrderMark = 0xFFFE;

void debugLog(const char* message) {
  if (DebuggingEnabled) LogMessageX("%s%s", kDebugPrefix, message);
}

void debugLog(const char* message, std::uint64_t value) {
  if (DebuggingEnabled) {
    LogMessageX("%s%s %lu", kDebugPrefix, message, static_cast<unsigned long>(value));
  }
}

template <typename Unit>
std::unique_ptr<Unit[]> zeroFilled(std::int64_t units) {
  return std::unique_ptr<Unit[]>(new (std::nothrow) Unit[static_cast<std::size_t>(units)]());
}

template <typename Unit>
void makeEmpty(rbText::Form<Unit>& form) {
  form.length = 0;
  form.data = rbText::Form<Unit>::kEmpty;
}

/// Text of the host's. Where it has no unit it has no terminator to rely on either.
template <typename Unit>
void borrow(rbText::Form<Unit>& form, const Unit* data, std::int64_t length) {
  if (length == 0) return makeEmpty(form);
  form.data = data;
  form.length = length;
}

/// Lets a copy of the form, changed unit by unit, take its place.
template <typename Unit, typename Change>
void replaceByCopy(rbText::Form<Unit>& form, Change change) {
  auto copy = zeroFilled<Unit>(form.length + 4 / static_cast<std::int64_t>(sizeof(Unit)));
  if (copy == nullptr) {
    debugLog("Out of memory");
    makeEmpty(form);
    form.owned.reset();
    return;
  }
  std::transform(form.data, form.data + form.length, copy.get(), change);
  form.data = copy.get();
  form.owned = std::move(copy);
}

template <typename Unit>
void terminate(rbText::Form<Unit>& form) {
  if (form.data[form.length] == 0) return;
  debugLog("String is not zero terminated. Fixed.");
  replaceByCopy(form, [](Unit unit) { return unit; });
}

/// Takes the text that the host converts the string to; false when the form is final without it.
template <typename Unit>
bool convertByHost(rbText::Form<Unit>& form, REALstringStruct* string, std::uint32_t encoding) {
  form.record = {};
  if (!REALGetStringData(string, encoding, &form.record)) {
    debugLog("REALGetStringData failed.");
    return false;
  }
  form.recordFilled = true;
  if (form.record.data == nullptr || form.record.byteLength < 0) return false;
  borrow(form, static_cast<const Unit*>(form.record.data),
         form.record.byteLength / static_cast<std::int64_t>(sizeof(Unit)));
  return true;
}

template <typename Unit>
void handBack(rbText::Form<Unit>& form) {
  if (form.recordFilled) REALDisposeStringData(&form.record);
  form.recordFilled = false;
}

bool isWide(std::uint32_t encoding) {
  switch (encoding) {
    case kEncodingUTF16:
    case kEncodingUTF16BE:
    case kEncodingUTF16LE:
    case kEncodingUTF32:
    case kEncodingUTF32BE:
    case kEncodingUTF32LE:
      return true;
    default:
      return false;
  }
}

std::uint16_t swapped(std::uint16_t unit) {
  return static_cast<std::uint16_t>(unit << 8 | unit >> 8);
}

std::uint32_t codePoint(const std::uint8_t* sequence, std::int64_t length) {
  if (length == 1) return sequence[0];
  std::uint32_t value = sequence[0] & (0x7Fu >> length);
  for (std::int64_t i = 1; i < length; ++i) value = value << 6 | (sequence[i] & 0x3Fu);
  return value;
}

}  // namespace

rbData::rbData(REALstringStruct* string) noexcept {
  if (string == nullptr) return;
  const StringContents contents = REALGetStringContents(string);
  data = reinterpret_cast<const std::uint8_t*>(contents.bytes);
  length = std::max(contents.length, std::int64_t{0});
  if (data == nullptr && length != 0) {
    length = 0;
    debugLog("data is NULL, so size fixed to zero.");
  }
}

DecodedUTF8 decodeUTF8(const char* bytes, std::int64_t count, std::uint16_t* units) noexcept {
  const auto* input = reinterpret_cast<const std::uint8_t*>(bytes);
  std::uint16_t* out = units;
  std::int64_t position = 0;
  while (position < count) {
    const std::uint8_t* sequence = input + position;
    const std::int64_t length = utf8CharacterLength(sequence, count - position);
    if (length == 0) break;
    position += length;
    const std::uint32_t point = codePoint(sequence, length);
    if (point == kByteOrderMark || point == kSwappedByteOrderMark) continue;
    if (point <= 0xFFFF) {
      *out++ = static_cast<std::uint16_t>(point);
    } else {
      *out++ = static_cast<std::uint16_t>(0xD800 + ((point - 0x10000) >> 10));
      *out++ = static_cast<std::uint16_t>(0xDC00 + (point & 0x3FF));
    }
  }
  return {out - units, position};
}

rbText::rbText(REALstringStruct* string) noexcept : leadingGuard_(kGuard), trailingGuard_(kGuard) {
  if (string == nullptr) return;
  string_ = string;
  utf8.length = utf16.length = -1;
  if (!REALGetStringEncoding.isAvailable()) {
    encoding_ = kEncodingMacRoman;
    classification_ = CheckPending;
    return;
  }
  encoding_ = REALGetStringEncoding(string);
  switch (encoding_) {
    case kEncodingMacRoman:
    case kEncodingISOLatin1:
    case kEncodingWindowsLatin1:
      classification_ = CheckPending;
      break;
    case kEncodingASCII:
    case kEncodingUTF8: {
      classification_ = CheckPending;
      const StringContents contents = REALGetStringContents(string);
      if (contents.bytes != nullptr) borrow(utf8, contents.bytes, contents.length);
      break;
    }
    case kEncodingUnknown:
      classification_ = CheckPending;
      CheckASCII();
      if (classification_ == NotASCII) redeclare();
      break;
    default:
      classification_ = isWide(encoding_) ? NotASCII : Unclassified;
      break;
  }
}

rbText::~rbText() {
  if (leadingGuard_ != kGuard) debugLog("Check1 in rbText invalid", leadingGuard_);
  if (trailingGuard_ != kGuard) debugLog("Check2 in rbText invalid", trailingGuard_);
  handBack(utf8);
  handBack(utf16);
  if (ownsString_ && string_ != nullptr) REALUnlockString(string_);
}

void rbText::becomeEmpty() noexcept {
  makeEmpty(utf8);
  makeEmpty(utf16);
  string_ = nullptr;
  encoding_ = kEncodingASCII;
  classification_ = PureASCII;
}

/// A string of unknown encoding that is not ASCII counts as Mac Roman text; the host converts from there.
void rbText::redeclare() noexcept {
  const rbData bytes(string_);
  if (bytes.length == 0) return becomeEmpty();
  string_ = REALBuildUnicodeString(bytes.data, bytes.length, kEncodingMacRoman);
  ownsString_ = true;
  if (string_ != nullptr) {
    encoding_ = REALGetStringEncoding(string_);
    return;
  }
  static bool FailedAlready = false;
  if (!FailedAlready) debugLog("REALBuildUnicodeString failed");
  FailedAlready = true;
}

void rbText::CheckASCII() noexcept {
  if (classification_ != CheckPending) return;
  const auto classify = [this](const auto* bytes, std::int64_t length) {
    const bool ascii = std::none_of(bytes, bytes + length, [](auto byte) { return (byte & 0x80) != 0; });
    classification_ = ascii ? PureASCII : NotASCII;
  };
  // What is declared as UTF-8 has been borrowed already, unless the host did not give it.
  if (utf8.length >= 0) return classify(utf8.data, utf8.length);
  const rbData bytes(string_);
  classify(bytes.data, bytes.length);
  if (classification_ != PureASCII) return;
  borrow(utf8, reinterpret_cast<const char*>(bytes.data), bytes.length);
}

void rbText::ConvertUTF8() noexcept {
  if (string_ == nullptr) return makeEmpty(utf8);
  CheckASCII();
  if (classification_ == PureASCII) return;
  makeEmpty(utf8);
  if (convertByHost(utf8, string_, kEncodingUTF8) && utf8.length >= 1) terminate(utf8);
}

void rbText::widenASCII() noexcept {
  if (utf8.length < 1) return;
  utf16.owned = zeroFilled<std::uint16_t>(utf8.length + 2);
  if (utf16.owned == nullptr) return;
  std::transform(utf8.data, utf8.data + utf8.length, utf16.owned.get(),
                 [](char byte) { return static_cast<std::uint8_t>(byte); });
  utf16.data = utf16.owned.get();
  utf16.length = utf8.length;
}

void rbText::decodeUTF8() noexcept {
  debugLog("Try UTF8 to UTF16 conversion...");
  if (utf8.length < 0) ConvertUTF8();
  if (utf8.length < 1) return;
  utf16.owned = zeroFilled<std::uint16_t>(utf8.length + 8);
  if (utf16.owned == nullptr) return;
  const auto count = static_cast<std::uint32_t>(utf8.length);  // hashes go by the length modulo 2^32
  const DecodedUTF8 decoded = vornik::decodeUTF8(utf8.data, count, utf16.owned.get());
  if (decoded.consumed < count) {
    debugLog("Illegal UTF-8 sequence!", static_cast<std::uint64_t>(decoded.consumed));
  }
  utf16.data = utf16.owned.get();
  utf16.length = decoded.units;
}

void rbText::ConvertUTF16() noexcept {
  makeEmpty(utf16);
  if (string_ == nullptr) return;
  CheckASCII();
  if (classification_ == PureASCII) {
    widenASCII();
  } else if (encoding_ == kEncodingUTF8 || encoding_ == kEncodingASCII) {
    decodeUTF8();
  } else if (!convertByHost(utf16, string_, kEncodingUTF16)) {
    return;
  }
  terminate(utf16);
  if (utf16.length >= 1 && utf16.data[0] == kSwappedByteOrderMark) {
    debugLog("String is Little Endian. Swap.");
    replaceByCopy(utf16, swapped);
  }
  for (const std::uint16_t mark : {kByteOrderMark, kSwappedByteOrderMark}) {
    if (utf16.length < 1 || utf16.data[0] != mark) break;
    ++utf16.data;
    --utf16.length;
  }
}

}  // namespace vornik
