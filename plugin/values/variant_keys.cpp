#include "plugin/values/variant_keys.h"

#include <bit>
#include <utility>

namespace vornik {
namespace {

/// A host class, asked for once; a reference that could not be had is not asked for again.
struct ClassReference {
  const char* name;
  bool asked = false;
  void* reference = nullptr;

  bool includes(REALobjectStruct* object) {
    if (!std::exchange(asked, true)) reference = REALGetClassRef(name);
    return reference != nullptr && REALObjectIsA(object, reference);
  }
};
ClassReference cVariantUInt32{"_VariantUInt32"};
ClassReference cVariantUInt64{"_VariantUInt64"};

std::int64_t address(const VariantOperand& operand) {
  return std::bit_cast<std::int64_t>(operand.variant());
}

std::int64_t byAddress(const VariantOperand& a, const VariantOperand& b) {
  // Unsigned, because the difference of two addresses may wrap.
  return static_cast<std::int64_t>(static_cast<std::uint64_t>(address(a)) -
                                   static_cast<std::uint64_t>(address(b)));
}

/// -1, 0 or 1; a NaN on either side gives 1.
template <typename Accessor>
std::int64_t byValue(const Accessor& accessor, const VariantOperand& a, const VariantOperand& b) {
  const auto x = a.value(accessor);
  const auto y = b.value(accessor);
  if (x == y) return 0;
  return x < y ? -1 : 1;
}

template <typename CompareText>
std::int64_t compare(const VariantOperand& a, const VariantOperand& b, CompareText compareText) {
  if (a.variant() == b.variant()) return 0;
  if (a.variant() == nullptr) return -address(b);
  if (b.variant() == nullptr) return address(a);
  const std::int64_t type = a.type();
  if (type != b.type()) return byAddress(a, b);
  switch (type) {
    case kVariantNil:
      return 0;
    case kVariantInt32:
    case kVariantBoolean:
      return byValue(GetVariantInt32, a, b);
    case kVariantInt64:
      return byValue(GetVariantInt64, a, b);
    case kVariantSingle:
      return byValue(GetVariantSingle, a, b);
    case kVariantDouble:
    case kVariantCurrency:
      return byValue(GetVariantDouble, a, b);
    case kVariantColor:
    case kVariantUInt32:
      return byValue(GetVariantUInt32, a, b);
    case kVariantUInt64:
      return byValue(GetVariantUInt64, a, b);
    default:
      return isTextType(type) ? compareText(a.text(), b.text()) : byAddress(a, b);
  }
}

template <typename HashText>
std::uint32_t hashOf(const VariantOperand& variant, HashText hashText) {
  if (variant.variant() == nullptr) return 0;
  return isTextType(variant.type()) ? hashText(variant.text()) : GetVariantHash(variant.variant());
}

}  // namespace

std::int64_t GetVariantType(REALobjectStruct* variant) {
  const std::int64_t type = GetVariantTypeInternal(variant);
  if (type == kVariantInt64 && cVariantUInt64.includes(variant)) return kVariantUInt64;
  if (type == kVariantInt32 && cVariantUInt32.includes(variant)) return kVariantUInt32;
  return type;
}

bool isTextType(std::int64_t type) {
  switch (type) {
    case kVariantString:
    case 18:  // the host's other kinds of text
    case 19:
    case 20:
    case 21:
    case 23:
    case kVariantText:
      return true;
    default:
      return false;
  }
}

std::int64_t VariantOperand::type() const {
  if (!type_) type_ = GetVariantType(variant_);
  return *type_;
}

const StringOperand& VariantOperand::text() const {
  if (!text_) text_.emplace(GetVariantString(variant_));
  return text_->operand;
}

std::int64_t CompareS(const VariantOperand& a, const VariantOperand& b) {
  return compare(a, b, [](const StringOperand& x, const StringOperand& y) { return CompareS(x, y); });
}

std::int64_t CompareI(const VariantOperand& a, const VariantOperand& b) {
  return compare(a, b, [](const StringOperand& x, const StringOperand& y) { return CompareI(x, y); });
}

std::uint32_t MyGetVariantHashS(const VariantOperand& variant) {
  return hashOf(variant, &GetStringHashS);
}

std::uint32_t MyGetVariantHashI(const VariantOperand& variant) {
  return hashOf(variant, &GetStringHashI);
}

}  // namespace vornik
