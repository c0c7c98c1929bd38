// The orders of the ordered classes: what a node of the tree keeps of a key, and how a searched key compares
// with it.
#ifndef VORNIK_CONTAINERS_ORDERS_H
#define VORNIK_CONTAINERS_ORDERS_H

#include <cstdint>

#include "plugin/containers/text_order.h"
#include "plugin/containers/variant_order.h"
#include "plugin/structures/tree_routes.h"
#include "plugin/structures/tree_search.h"

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

// Ordered maps with String or Variant keys run from the greatest key to the smallest, ordered sets from the
// smallest to the greatest.
using StringMapOrderS = StringOrder<Case::kSensitive, Direction::kDescending>;
using StringMapOrderI = StringOrder<Case::kInsensitive, Direction::kDescending>;
using LTRBStringS = StringOrder<Case::kSensitive, Direction::kAscending>;
using LTRBStringI = StringOrder<Case::kInsensitive, Direction::kAscending>;
using VariantMapOrderS = VariantOrder<Case::kSensitive, Direction::kDescending>;
using VariantMapOrderI = VariantOrder<Case::kInsensitive, Direction::kDescending>;
using LTRBVariantS = VariantOrder<Case::kSensitive, Direction::kAscending>;
using LTRBVariantI = VariantOrder<Case::kInsensitive, Direction::kAscending>;

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_ORDERS_H
