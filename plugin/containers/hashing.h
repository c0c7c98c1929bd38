// The hashing of the hash classes: how their tables search for keys, and what their elements keep of one.
#ifndef VORNIK_CONTAINERS_HASHING_H
#define VORNIK_CONTAINERS_HASHING_H

#include <cstdint>
#include <utility>

#include "plugin/containers/kept_keys.h"
#include "plugin/values/string_keys.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// Integers: the 64-bit pattern is the hash, so equal hashes are equal keys.
struct IntegerHashing {
  using Probe = std::int64_t;
  using Stored = std::int64_t;
  static std::uint64_t hash(std::int64_t key) noexcept { return static_cast<std::uint64_t>(key); }
  static bool equal(Stored, Probe) { return true; }
  static Stored hold(std::uint64_t, Probe probe) { return probe; }
  static std::int64_t lend(Stored stored) { return stored; }
  static std::int64_t release(Stored stored) noexcept { return stored; }
};

/// Keys that RBString or RBVariant hold.
template <typename Key, typename Kept>
struct KeptKeyHashing {
  using Probe = typename Key::Operand;
  using Stored = Kept;
  static std::uint64_t hash(const Probe& probe) { return Key::hash(probe); }
  static std::uint64_t hash(const Stored& stored) noexcept { return stored.hash; }
  static bool equal(const Stored& stored, const Probe& probe) { return stored.equals(probe); }
  static Stored hold(std::uint64_t hash, const Probe& probe) { return Stored::of(hash, probe); }
  static auto lend(const Stored& stored) { return stored.get(); }
  static Key release(Stored&& stored) noexcept { return Key(std::move(stored.reference)); }
};

using RBStringHashS = KeptKeyHashing<RBStringS, KeptString<Case::kSensitive>>;
using RBStringHashI = KeptKeyHashing<RBStringI, KeptString<Case::kInsensitive>>;
using RBVariantHashS = KeptKeyHashing<RBVariantS, KeptVariant<Case::kSensitive>>;
using RBVariantHashI = KeptKeyHashing<RBVariantI, KeptVariant<Case::kInsensitive>>;

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_HASHING_H
