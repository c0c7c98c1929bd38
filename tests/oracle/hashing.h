// Hash policies for tests of the table: what its users supply, in a form that makes every case likely.
#ifndef VORNIK_TESTS_ORACLE_HASHING_H
#define VORNIK_TESTS_ORACLE_HASHING_H

#include <cstdint>

#include "plugin/containers/hashing.h"

namespace vornik::oracle {

/// The key's own pattern, never stored.
using PatternHashing = IntegerHashing;

/// A stored 32-bit hash of which only Bits bits vary: the fewer, the more different keys share one.
template <int Bits>
struct MixedHashing {
  using Probe = std::int64_t;
  struct Stored {
    std::int64_t key;
    std::uint32_t hash;
  };
  static std::uint64_t hash(Probe key) {
    const std::uint64_t mixed = static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15U;
    return mixed >> 32 & (~std::uint64_t{0} >> (64 - Bits)) << (32 - Bits);
  }
  static std::uint64_t hash(const Stored& stored) noexcept { return stored.hash; }
  static bool equal(const Stored& stored, Probe probe) { return stored.key == probe; }
  static Stored hold(std::uint64_t hash, Probe probe) { return {probe, static_cast<std::uint32_t>(hash)}; }
  static std::int64_t lend(const Stored& stored) { return stored.key; }
  static std::int64_t release(const Stored& stored) noexcept { return stored.key; }
};

}  // namespace vornik::oracle

#endif  // VORNIK_TESTS_ORACLE_HASHING_H
