// Hash policies for tests of the table: what its users supply, in a form that makes every case likely.
#ifndef VORNIK_TESTS_ORACLE_HASHING_H
#define VORNIK_TESTS_ORACLE_HASHING_H

#include <cstdint>

namespace vornik::oracle {

/// The key's own pattern, never stored.
struct PatternHashing {
  static constexpr bool kKeyIsHash = true;
  static std::uint64_t hash(std::int64_t key) { return static_cast<std::uint64_t>(key); }
  static bool equal(std::int64_t a, std::int64_t b) { return a == b; }
};

/// A stored 32-bit hash of which only Bits bits vary: the fewer, the more different keys share one.
template <int Bits>
struct MixedHashing {
  static constexpr bool kKeyIsHash = false;
  static std::uint64_t hash(std::int64_t key) {
    const std::uint64_t mixed = static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15U;
    return mixed >> 32 & (~std::uint64_t{0} >> (64 - Bits)) << (32 - Bits);
  }
  static bool equal(std::int64_t a, std::int64_t b) { return a == b; }
};

}  // namespace vornik::oracle

#endif  // VORNIK_TESTS_ORACLE_HASHING_H
