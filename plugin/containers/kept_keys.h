// What the elements of hash tables keep of String and Variant keys, so that a search asks the host about the
// key that is looked for and next to nothing else.
//
// A key's text is kept as it was when the key went in: one that could not be had then is the empty text from
// then on, under the hash that it was given.
#ifndef VORNIK_CONTAINERS_KEPT_KEYS_H
#define VORNIK_CONTAINERS_KEPT_KEYS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <utility>

#include "plugin/values/string_keys.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// The beginning of a text without zero bytes, in so many bytes: all of it, if it has fewer.
template <std::size_t kBytes>
class KeptText {
 public:
  /// A text of up to so many bytes is all here.
  static constexpr std::size_t kMost = kBytes - 1;

  explicit KeptText(std::string_view text) noexcept {
    std::copy_n(text.data(), std::min(text.size(), kMost), bytes_);
    bytes_[kMost] = text.size() > kMost ? kGoesOn : 0;
  }

  /// Whether `text`, which has no zero bytes, is this one; where it is longer than what is kept, whether it
  /// may be.
  bool agreesWith(std::string_view text) const {
    if (text.size() > kMost) return bytes_[kMost] == kGoesOn && std::memcmp(bytes_, text.data(), kMost) == 0;
    return bytes_[text.size()] == 0 && std::memcmp(bytes_, text.data(), text.size()) == 0;
  }

 private:
  static constexpr char kGoesOn = 1;
  char bytes_[kBytes] = {};  // zeros behind the text's end; the last one says whether it goes on
};

/// Where the host compares texts, none is kept.
struct NoText {
  explicit NoText(std::string_view) noexcept {}
};

/// A key that RBString holds. The text fills what the reference leaves of 32 bytes.
template <Case kCase>
struct KeptString {
  static constexpr bool kTriviallyRelocatable = StringReference::kTriviallyRelocatable;
  static constexpr bool kKeepsText = kCase == Case::kSensitive;
  using Text = std::conditional_t<kKeepsText, KeptText<20>, NoText>;

  std::uint32_t hash;
  [[no_unique_address]] Text text;
  StringReference reference;

  static KeptString of(std::uint64_t hash, const StringOperand& probe) {
    return {static_cast<std::uint32_t>(hash), Text(kKeepsText ? probe.keyText() : std::string_view()),
            StringReference(probe.string())};
  }
  REALstringStruct* get() const { return reference.get(); }

  bool equals(const StringOperand& probe) const {
    if (get() == probe.string()) return true;
    if constexpr (kKeepsText) {
      const std::string_view sought = probe.keyText();
      if (!text.agreesWith(sought)) return false;
      if (sought.size() <= Text::kMost) return true;
    }
    return RBString<kCase>::compare(StringOperand(get()), probe) == 0;
  }
};
static_assert(sizeof(KeptString<Case::kSensitive>) == 32);
static_assert(sizeof(KeptString<Case::kInsensitive>) == 16, "no more than the hash and the reference");

/// A key that RBVariant holds: with its type, which was asked for its hash anyway, and its text where it
/// has one.
template <Case kCase>
struct KeptVariant {
  static constexpr bool kTriviallyRelocatable = ObjectReference::kTriviallyRelocatable;
  static constexpr bool kKeepsText = kCase == Case::kSensitive;
  using Text = std::conditional_t<kKeepsText, KeptText<19>, NoText>;

  std::uint32_t hash;
  std::uint8_t type;  ///< or kByHandle
  [[no_unique_address]] Text text;
  ObjectReference reference;

  static KeptVariant of(std::uint64_t hash, const VariantOperand& probe) {
    const std::uint8_t type = typeOf(probe);
    return {static_cast<std::uint32_t>(hash), type,
            Text(kKeepsText && isTextType(type) ? probe.text().keyText() : std::string_view()),
            ObjectReference(probe.variant())};
  }
  REALobjectStruct* get() const { return reference.get(); }

  bool equals(const VariantOperand& probe) const {
    if (get() == probe.variant()) return true;
    if (type == kByHandle || type != typeOf(probe)) return false;
    if constexpr (kKeepsText) {
      if (isTextType(type)) {
        const std::string_view sought = probe.text().keyText();
        if (!text.agreesWith(sought)) return false;
        if (sought.size() <= Text::kMost) return true;
      }
    }
    return RBVariant<kCase>::compare(VariantOperand(get(), type), probe) == 0;
  }

 private:
  /// Nil, and what is of a type that no comparison knows, is equal to its own handle alone.
  static constexpr std::uint8_t kByHandle = 255;
  static constexpr std::int64_t kLastKnown = kVariantUInt64;

  static std::uint8_t typeOf(const VariantOperand& probe) {
    if (probe.variant() == nullptr) return kByHandle;
    const std::int64_t type = probe.type();
    return type >= 0 && type <= kLastKnown ? static_cast<std::uint8_t>(type) : kByHandle;
  }
};
static_assert(sizeof(KeptVariant<Case::kSensitive>) == 32);
static_assert(sizeof(KeptVariant<Case::kInsensitive>) == 16);

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_KEPT_KEYS_H
