// Kinds of keys and values: how the host passes one, how an entry holds it, how it is handed out again.
// Operations are written once over kinds and never branch on them.
#ifndef VORNIK_CONTAINERS_KINDS_H
#define VORNIK_CONTAINERS_KINDS_H

#include <cstdint>

#include "plugin/frame/host_services.h"
#include "plugin/values/host_arrays.h"
#include "plugin/values/string_keys.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// What the entries of a set hold beside their key.
struct NoValue {};

/// Integers, held by value.
struct IntegerKind {
  using Host = std::int64_t;  ///< parameter and result type of registered functions
  using Held = std::int64_t;  ///< what an entry keeps as its value
  using Array = _REALarrayInteger;
  static constexpr std::int32_t kArrayType = kArrayOfIntegers;
  static constexpr std::uint64_t kBytes = 8;  ///< in MaxSize
  static constexpr const auto& insertProc = REALInsertArrayValueInteger;

  static Held hold(Host value) { return value; }
  /// Takes over the reference that a result of the host's carries, where the kind has any.
  static Held adopt(Host value) { return value; }
  /// As an argument, which is only borrowed.
  static Host lend(Held held) { return held; }
  /// As a result, which carries a reference of its own.
  static Host share(Host value) { return value; }

  static Held fromVariant(REALobjectStruct* variant) { return GetVariantInt64(variant); }
  static ObjectReference toVariant(Held held) { return ObjectReference::adopt(REALNewVariantInteger(held)); }
};

/// Strings and variants, held by reference. Keys are held with their case choice (RBString, RBVariant).
template <typename Handle>
struct ReferenceKind {
  using Host = Handle*;
  using Held = Reference<Handle>;
  static constexpr std::uint64_t kBytes = 16;

  static Held hold(Host value) { return Held(value); }
  static Held adopt(Host value) { return Held::adopt(value); }
  static Host lend(Host borrowed) { return borrowed; }
  template <typename AnyHeld>
  static Host lend(const AnyHeld& held) {
    return held.get();
  }
  static Host share(Host value) {
    lock(value);
    return value;
  }
};

struct StringKind : ReferenceKind<REALstringStruct> {
  using Array = _REALarrayString;
  static constexpr std::int32_t kArrayType = kArrayOfStrings;
  static constexpr const auto& insertProc = REALInsertArrayValueString;

  static Held fromVariant(REALobjectStruct* variant) {
    return Held::adopt(variant != nullptr ? GetVariantString(variant) : nullptr);
  }
  static ObjectReference toVariant(const Held& held) {
    return ObjectReference::adopt(REALNewVariantString(held.get()));
  }
};

struct VariantKind : ReferenceKind<REALobjectStruct> {
  using Array = _REALarrayObject;
  static constexpr std::int32_t kArrayType = kArrayOfVariants;
  static constexpr const auto& insertProc = REALInsertArrayValueObject;

  static Held fromVariant(REALobjectStruct* variant) {
    return Held::adopt(variant != nullptr ? GetVariantObject(variant) : nullptr);
  }
  static const ObjectReference& toVariant(const Held& held) { return held; }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_KINDS_H
