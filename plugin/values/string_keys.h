// What makes two host strings the same key, and in which order and under which hash containers keep them.
//
// Case-sensitively: the UTF-8 forms, byte for byte up to the first zero byte. Case-insensitively: what the
// host's own comparison says; the hash is taken over case-folded UTF-16 code units.
#ifndef VORNIK_VALUES_STRING_KEYS_H
#define VORNIK_VALUES_STRING_KEYS_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include "plugin/frame/reference.h"
#include "plugin/values/text.h"

namespace vornik {

/// Whether keys that differ only in letter case are different keys.
enum class Case { kSensitive, kInsensitive };

/// One side of a comparison: borrows a string and makes its text view once, when first needed. A key that is
/// searched for is wrapped in one for the whole search.
class StringOperand {
 public:
  StringOperand(REALstringStruct* string) noexcept : string_(string) {}
  StringOperand(const StringOperand& other) noexcept : string_(other.string_) {}
  StringOperand& operator=(const StringOperand&) = delete;

  REALstringStruct* string() const { return string_; }
  const rbText::Form<char>& utf8() const;
  /// What case-sensitive keys are compared by: the UTF-8 form up to its first zero byte.
  std::string_view keyText() const;
  const rbText::Form<std::uint16_t>& utf16() const;

 private:
  rbText& view() const {
    if (!view_) view_.emplace(string_);
    return *view_;
  }

  REALstringStruct* string_;
  mutable std::int64_t keyLength_ = -1;
  mutable std::optional<rbText> view_;
};

/// Negative, 0 or positive. Two handles that are the same are equal without a look at the text.
std::int64_t CompareS(const StringOperand& a, const StringOperand& b);
/// As the host compares; on hosts without a comparison every pair is equal.
std::int64_t CompareI(const StringOperand& a, const StringOperand& b);

/// 32-bit hashes whose upper four bits are 0; the empty string's is 0. Linear in the length of the text.
std::uint32_t GetStringHashS(const StringOperand& string);
std::uint32_t GetStringHashI(const StringOperand& string);

/// A string as a key of a container: holds one reference.
template <Case kCase>
struct RBString {
  using Operand = StringOperand;

  explicit RBString(const StringOperand& operand) : string(operand.string()) {}
  explicit RBString(StringReference owned) noexcept : string(std::move(owned)) {}
  REALstringStruct* get() const { return string.get(); }

  static std::int64_t compare(const Operand& a, const Operand& b) {
    return kCase == Case::kSensitive ? CompareS(a, b) : CompareI(a, b);
  }
  static std::uint32_t hash(const Operand& operand) {
    return kCase == Case::kSensitive ? GetStringHashS(operand) : GetStringHashI(operand);
  }

  StringReference string;
};

using RBStringS = RBString<Case::kSensitive>;
using RBStringI = RBString<Case::kInsensitive>;

}  // namespace vornik

#endif  // VORNIK_VALUES_STRING_KEYS_H
