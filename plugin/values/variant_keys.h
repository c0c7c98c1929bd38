// What makes two host variants the same key, and in which order and under which hash containers keep them.
//
// Variants of different types are different keys, whatever they hold; among them, and among objects, the
// order is the order of their addresses, and it need not fit the order of values within a type. NaN equals
// nothing, itself included.
#ifndef VORNIK_VALUES_VARIANT_KEYS_H
#define VORNIK_VALUES_VARIANT_KEYS_H

#include <cstdint>
#include <cstring>
#include <optional>

#include "plugin/values/string_keys.h"

namespace vornik {

/// Types that comparison and hash tell apart beside the host's own, which has one code for signed and
/// unsigned integers.
enum UnsignedVariantType : std::int64_t {
  kVariantUInt32 = 102,
  kVariantUInt64 = 103,
};

/// The host's type code, with the unsigned integers told apart from the signed. Up to two host calls.
std::int64_t GetVariantType(REALobjectStruct* variant);

/// Whether variants of this type hold text.
bool isTextType(std::int64_t type);

/// One side of a comparison: borrows a variant and asks the host for its type, value or text once, when
/// first needed.
class VariantOperand {
 public:
  VariantOperand(REALobjectStruct* variant) noexcept : variant_(variant) {}
  /// One whose type is known already.
  VariantOperand(REALobjectStruct* variant, std::int64_t type) noexcept : variant_(variant), type_(type) {}
  VariantOperand(const VariantOperand& other) noexcept : variant_(other.variant_) {}
  VariantOperand& operator=(const VariantOperand&) = delete;

  REALobjectStruct* variant() const { return variant_; }
  std::int64_t type() const;
  /// What `accessor`, the one for this variant's type, reads from it.
  template <typename Accessor>
  auto value(const Accessor& accessor) const {
    auto value = decltype(accessor(variant_)){};
    static_assert(sizeof value <= sizeof value_);
    if (hasValue_) {
      std::memcpy(&value, &value_, sizeof value);
    } else {
      value = accessor(variant_);
      std::memcpy(&value_, &value, sizeof value);
      hasValue_ = true;
    }
    return value;
  }
  /// The text of a variant that holds text.
  const StringOperand& text() const;

 private:
  struct Text {
    explicit Text(REALstringStruct* owned) : string(StringReference::adopt(owned)), operand(owned) {}
    StringReference string;
    StringOperand operand;
  };

  REALobjectStruct* variant_;
  mutable std::optional<std::int64_t> type_;
  mutable bool hasValue_ = false;
  mutable std::uint64_t value_ = 0;
  mutable std::optional<Text> text_;
};

/// Negative, 0 or positive. Nil comes before everything else.
std::int64_t CompareS(const VariantOperand& a, const VariantOperand& b);
std::int64_t CompareI(const VariantOperand& a, const VariantOperand& b);

/// Text hashes as strings do, everything else as the host says; Nil's hash is 0.
std::uint32_t MyGetVariantHashS(const VariantOperand& variant);
std::uint32_t MyGetVariantHashI(const VariantOperand& variant);

/// A variant as a key of a container: holds one reference.
template <Case kCase>
struct RBVariant {
  using Operand = VariantOperand;

  explicit RBVariant(const VariantOperand& operand) : variant(operand.variant()) {}
  explicit RBVariant(ObjectReference owned) noexcept : variant(std::move(owned)) {}
  REALobjectStruct* get() const { return variant.get(); }

  static std::int64_t compare(const Operand& a, const Operand& b) {
    return kCase == Case::kSensitive ? CompareS(a, b) : CompareI(a, b);
  }
  static std::uint32_t hash(const Operand& operand) {
    return kCase == Case::kSensitive ? MyGetVariantHashS(operand) : MyGetVariantHashI(operand);
  }

  ObjectReference variant;
};

using RBVariantS = RBVariant<Case::kSensitive>;
using RBVariantI = RBVariant<Case::kInsensitive>;

}  // namespace vornik

#endif  // VORNIK_VALUES_VARIANT_KEYS_H
