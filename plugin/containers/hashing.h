// The hashing of the hash classes: what a table asks of keys and of searched keys.
#ifndef VORNIK_CONTAINERS_HASHING_H
#define VORNIK_CONTAINERS_HASHING_H

#include <cstdint>

#include "plugin/values/string_keys.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// Integers in hash tables: the 64-bit pattern is the hash.
struct IntegerHashing {
  using Probe = std::int64_t;
  static constexpr bool kKeyIsHash = true;
  static std::uint64_t hash(std::int64_t key) { return static_cast<std::uint64_t>(key); }
  static bool equal(std::int64_t a, std::int64_t b) { return a == b; }
};

/// Keys that RBString or RBVariant hold, in hash tables.
template <typename Key>
struct KeyHashing {
  using Probe = typename Key::Operand;
  static constexpr bool kKeyIsHash = false;
  static std::uint64_t hash(const Probe& probe) { return Key::hash(probe); }
  static bool equal(const Key& key, const Probe& probe) { return Key::compare(Probe(key.get()), probe) == 0; }
};

using RBStringHashS = KeyHashing<RBStringS>;
using RBStringHashI = KeyHashing<RBStringI>;
using RBVariantHashS = KeyHashing<RBVariantS>;
using RBVariantHashI = KeyHashing<RBVariantI>;

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_HASHING_H
