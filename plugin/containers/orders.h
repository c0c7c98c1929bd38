// The orders of the ordered classes: what a node of the tree keeps of a key, and how a searched key compares
// with it.
#ifndef VORNIK_CONTAINERS_ORDERS_H
#define VORNIK_CONTAINERS_ORDERS_H

#include <cstdint>

#include "plugin/structures/tree_nodes.h"
#include "plugin/structures/tree_search.h"
#include "plugin/values/string_keys.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// Ascending order of Integers: the numbers decide alone.
struct IntegerOrder {
  using Probe = std::int64_t;
  using Number = std::int64_t;
  struct Detail {};
  struct Shared {};
  static constexpr bool kLooksAtTheLastFirst = true;

  static bool isBefore(const Routes<IntegerOrder>& routes, unsigned index, Probe probe) {
    return routes.numbers[index] < probe;
  }
  template <Bound kBound>
  static Found search(const Routes<IntegerOrder>& routes, unsigned capacity, unsigned count, Probe probe) {
    const unsigned below = countBelow(routes.numbers, capacity, probe);
    const bool exact = below < count && routes.numbers[below] == probe;
    return {below + (kBound == Bound::kUpper && exact), exact};
  }
  static Number number(Probe probe, Shared) { return probe; }
  static std::int64_t lend(Number number, Detail) { return number; }
  static std::int64_t release(Number number, Detail) { return number; }
};

enum class Direction { kAscending, kDescending };

/// Keys that RBString or RBVariant hold, compared by Key::compare alone.
template <typename Key, Direction kDirection>
struct ComparedOrder {
  using Probe = typename Key::Operand;
  using Handle = decltype(std::declval<Key>().get());
  struct Number {};
  struct Detail {
    Handle handle;
  };
  struct Shared {};
  static constexpr bool kLooksAtTheLastFirst = false;

  template <Bound kBound>
  static Found search(const Routes<ComparedOrder>& routes, unsigned, unsigned count, const Probe& probe) {
    return bisect<kBound>(0, count, [&](unsigned i) -> std::int64_t {
      const Probe entry(routes.details[i].handle);
      if (less(entry, probe)) return -1;
      return less(probe, entry) ? 1 : 0;
    });
  }
  static Detail hold(const Probe& probe) { return hold(Detail{probe.handle()}); }
  static Detail hold(Detail detail) {
    if (detail.handle != nullptr) lock(detail.handle);
    return detail;
  }
  static Handle lend(Number, Detail detail) { return detail.handle; }
  static Key release(Number, Detail detail) {
    return Key(Reference<std::remove_pointer_t<Handle>>::adopt(detail.handle));
  }

 private:
  static bool less(const Probe& a, const Probe& b) {
    return kDirection == Direction::kAscending ? Key::compare(a, b) < 0 : Key::compare(b, a) < 0;
  }
};

// Ordered maps with String or Variant keys run from the greatest key to the smallest, ordered sets from the
// smallest to the greatest.
using RBStringMapOrderS = ComparedOrder<RBStringS, Direction::kDescending>;
using RBStringMapOrderI = ComparedOrder<RBStringI, Direction::kDescending>;
using LTRBStringS = ComparedOrder<RBStringS, Direction::kAscending>;
using LTRBStringI = ComparedOrder<RBStringI, Direction::kAscending>;
using RBVariantMapOrderS = ComparedOrder<RBVariantS, Direction::kDescending>;
using RBVariantMapOrderI = ComparedOrder<RBVariantI, Direction::kDescending>;
using LTRBVariantS = ComparedOrder<RBVariantS, Direction::kAscending>;
using LTRBVariantI = ComparedOrder<RBVariantI, Direction::kAscending>;

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_ORDERS_H
