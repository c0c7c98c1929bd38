#include "plugin/values/string_keys.h"

#include <strings.h>

#include <algorithm>
#include <cstring>

#include "plugin/values/case_folding.h"

namespace vornik {
namespace {

/// Older hosts' comparison is not used.
constexpr double kFirstHostComparingText = 2012.0;

/// A hash has 28 bits: what a unit carries over them comes back in bits 4 to 7. It is left where it is until the
/// next unit, which shifts it to bits 8 to 11 with all the rest: one operation less from unit to unit, each of
/// which waits for the one before.
std::uint32_t mixed(std::uint32_t sum, std::uint32_t unit) {
  return ((sum << 4) ^ ((sum >> 20) & 0xF00)) + unit;
}
std::uint32_t folded(std::uint32_t sum) {
  return (sum & 0x0FFFFFFF) ^ ((sum >> 24) & 0xF0);
}

template <typename Compare>
std::int64_t compareUTF8(const StringOperand& a, const StringOperand& b, Compare compare) {
  const auto& x = a.utf8();
  const auto& y = b.utf8();
  return compare(x.data, y.data, static_cast<std::size_t>(std::min(x.length, y.length)) + 1);
}

}  // namespace

const rbText::Form<char>& StringOperand::utf8() const {
  rbText& text = view();
  if (text.utf8.length < 0) text.ConvertUTF8();
  return text.utf8;
}

std::string_view StringOperand::keyText() const {
  const auto& text = utf8();
  if (keyLength_ < 0) {
    keyLength_ = static_cast<std::int64_t>(strnlen(text.data, static_cast<std::size_t>(text.length)));
  }
  return {text.data, static_cast<std::size_t>(keyLength_)};
}

const rbText::Form<std::uint16_t>& StringOperand::utf16() const {
  rbText& text = view();
  if (text.utf16.length < 0) text.ConvertUTF16();
  return text.utf16;
}

std::int64_t CompareS(const StringOperand& a, const StringOperand& b) {
  if (a.string() == b.string()) return 0;
  return compareUTF8(a, b, &std::strncmp);
}

std::int64_t CompareI(const StringOperand& a, const StringOperand& b) {
  if (a.string() == b.string()) return 0;
  if (rbversion_rbversion >= kFirstHostComparingText) return REALCompareStrings(a.string(), b.string());
  return compareUTF8(a, b, &strncasecmp);
}

std::uint32_t GetStringHashS(const StringOperand& string) {
  const auto& text = string.utf8();
  std::uint32_t sum = 0;
  for (std::int64_t i = 0; i < text.length; ++i) {
    // Bytes count as signed numbers.
    sum = mixed(
        sum, static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(text.data[i]))));
  }
  return folded(sum);
}

std::uint32_t GetStringHashI(const StringOperand& string) {
  initLowerTable();
  const auto& text = string.utf16();
  std::uint32_t sum = 0;
  for (std::int64_t i = 0; i < text.length; ++i) sum = mixed(sum, lower[text.data[i]]);
  return folded(sum);
}

}  // namespace vornik
