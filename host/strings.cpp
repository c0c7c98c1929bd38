#include "host/strings.h"

#include <algorithm>
#include <cstring>

#include "fmt/format.h"
#include "host/encodings.h"
#include "host/state.h"

namespace vornik::host {

namespace {

// Behind every text, and the whole text of the empty string: one zero element of the widest encoding.
constexpr std::size_t kTerminator = 4;
alignas(kTerminator) constexpr char kNoText[kTerminator] = {};

// Marks a record as filled, so that handing one back twice or unfilled is noticed.
constexpr std::uint64_t kFilled = 0x66696c6c65642121;

bool hasOnlyASCII(std::string_view bytes) {
  return std::all_of(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool isPlain(std::string_view bytes, std::uint32_t encoding) {
  return isByteEncoding(encoding) && hasOnlyASCII(bytes);
}

std::string quoted(const Thing& thing) {
  constexpr std::size_t kMost = 40;
  const std::string_view text = static_cast<const String&>(thing).view();
  std::string shown;
  for (const char c : text.substr(0, kMost)) shown += c < ' ' ? '?' : c;
  return fmt::format("\"{}{}\"", shown, text.size() > kMost ? "..." : "");
}

/// The bytes in another encoding; nothing when either encoding is not known.
std::optional<std::string> convert(const String& string, std::uint32_t encoding) {
  if (string.encoding == encoding || (string.isASCII && isByteEncoding(encoding))) {
    return std::string(string.view());
  }
  const auto units = decode(string.view(), string.encoding);
  return units ? encode(*units, encoding) : std::nullopt;
}

char lowerASCII(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int compareASCII(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    const char x = lowerASCII(a[i]), y = lowerASCII(b[i]);
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

}  // namespace

const Kind kStringKind{.noun = "string",
                       .make = nullptr,
                       .finalize = nullptr,
                       .release = nullptr,
                       .describe = quoted,
                       .property = nullptr};

StringRef makeString(std::string_view bytes, std::uint32_t encoding) {
  auto* string = makeThing<String>(state().classes.stringClass(), bytes.size() + kTerminator);
  string->encoding = encoding;
  string->isASCII = isPlain(bytes, encoding);
  string->length = bytes.size();
  if (!bytes.empty()) std::memcpy(reinterpret_cast<char*>(string + 1), bytes.data(), bytes.size());
  return StringRef::adopt(stringHandle(string));
}

std::string utf8Text(REALstringStruct* handle) {
  const String* string = stringBehind(handle);
  if (string == nullptr) return {};
  auto text = convert(*string, kEncodingUTF8);
  return text ? *std::move(text) : std::string(string->view());
}

void lockString(REALstringStruct* string) {
  if (stringBehind(string) != nullptr) addReference(string);
}

void unlockString(REALstringStruct* string) {
  if (string != nullptr) dropReference(string);
}

REALstringStruct* buildString(const void* bytes, std::int32_t length) {
  return buildStringWithEncoding(bytes, length, kEncodingUnknown);
}

REALstringStruct* buildStringWithEncoding(const void* bytes, std::int32_t length, std::uint32_t encoding) {
  if (bytes == nullptr || length <= 0) return nullptr;
  return makeString({static_cast<const char*>(bytes), static_cast<std::size_t>(length)}, encoding).release();
}

std::uint32_t stringEncoding(REALstringStruct* handle) {
  const String* string = stringBehind(handle);
  return string != nullptr ? string->encoding : std::uint32_t{kEncodingASCII};
}

void setStringEncoding(REALstringStruct* handle, std::uint32_t encoding) {
  if (String* string = stringBehind(handle)) {
    string->encoding = encoding;
    string->isASCII = isPlain(string->view(), encoding);
  }
}

REALstringStruct* convertString(REALstringStruct* handle, std::uint32_t encoding) {
  const String* string = stringBehind(handle);
  if (string == nullptr) return nullptr;
  const auto bytes = convert(*string, encoding);
  return bytes ? makeString(*bytes, encoding).release() : nullptr;
}

bool stringData(REALstringStruct* handle, std::uint32_t encoding, REALstringData* record) {
  StringRef text;
  if (const String* string = stringBehind(handle)) {
    if (string->encoding == encoding || (string->isASCII && isByteEncoding(encoding))) {
      text = StringRef::share(handle);
    } else {
      const auto bytes = convert(*string, encoding);
      if (!bytes) return false;
      text = makeString(*bytes, encoding);
    }
  }
  const String* filled = stringBehind(text.get());
  record->data = filled != nullptr ? filled->bytes() : kNoText;
  record->byteLength = filled != nullptr ? static_cast<std::int64_t>(filled->length) : 0;
  record->hostOnly[0] = wordOf(text.release());
  record->hostOnly[1] = kFilled;
  return true;
}

void disposeStringData(REALstringData* record) {
  if (record == nullptr) return;
  if (record->hostOnly[1] != kFilled) fault("disposal of a string data record that is not filled");
  unlockString(handleFrom<REALstringStruct>(record->hostOnly[0]));
  *record = {};
}

const char* stringBytes(REALstringStruct* handle) {
  const String* string = stringBehind(handle);
  return string != nullptr ? string->bytes() : kNoText;
}

std::int64_t stringByteLength(REALstringStruct* handle) {
  const String* string = stringBehind(handle);
  return string != nullptr ? static_cast<std::int64_t>(string->length) : 0;
}

std::int32_t compareStrings(REALstringStruct* handleA, REALstringStruct* handleB) {
  const String* a = stringBehind(handleA);
  const String* b = stringBehind(handleB);
  const std::string_view bytesA = a != nullptr ? a->view() : std::string_view();
  const std::string_view bytesB = b != nullptr ? b->view() : std::string_view();
  if ((a == nullptr || a->isASCII) && (b == nullptr || b->isASCII)) return compareASCII(bytesA, bytesB);
  const auto unitsA = decode(bytesA, a != nullptr ? a->encoding : std::uint32_t{kEncodingUTF8});
  const auto unitsB = decode(bytesB, b != nullptr ? b->encoding : std::uint32_t{kEncodingUTF8});
  if (unitsA && unitsB) return compareFolded(*unitsA, *unitsB);
  const int order = bytesA.compare(bytesB);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}

}  // namespace vornik::host
