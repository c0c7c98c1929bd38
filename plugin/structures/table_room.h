// For how many elements a hash table has memory at a time.
#ifndef VORNIK_STRUCTURES_TABLE_ROOM_H
#define VORNIK_STRUCTURES_TABLE_ROOM_H

#include <algorithm>
#include <cstdint>
#include <new>

#include "plugin/structures/node_chain.h"

namespace vornik {

/// Where a table changes its ways.
struct ShippedHashTableSizes {
  /// Links have 31 bits, and node 0 is no element's. One element more is a failed allocation.
  static constexpr std::uint64_t kMostElements = (std::uint64_t{1} << 31) - 2;
  /// From here on elements move into the order of the chain when the table grows: walks, copies and the next
  /// growth then run through memory. Below, everything is in the cache anyway.
  static constexpr std::uint64_t kMovedFrom = 4096;
  /// Below, there is room for all elements that the buckets are good for. From here on it comes in two steps,
  /// for a sixth of the memory in the mean. As the array of nodes mostly grows where it lies, that makes filling
  /// a table a few per cent slower at most.
  static constexpr std::uint64_t kTwoStepsFrom = 96;
  /// With so many buckets it comes in several, because half of a large table would be much memory to keep for
  /// elements that may never come.
  static constexpr std::uint64_t kManyStepsFromBuckets = 131072;
};

/// Every way within the reach of a few elements, for tests that run at random.
struct TinyHashTableSizes : ShippedHashTableSizes {
  static constexpr std::uint64_t kMovedFrom = 10;
  static constexpr std::uint64_t kTwoStepsFrom = 5;
  static constexpr std::uint64_t kManyStepsFromBuckets = 40;
};

#ifdef VORNIK_TINY
using HashTableSizes = TinyHashTableSizes;
#else
using HashTableSizes = ShippedHashTableSizes;
#endif

/// For how many elements to make room when the `needed`th needs it: all that are `expected`, or some to
/// spare, but no more than the buckets are good for, and one, which makes a full table's growth independent
/// of a second room. std::bad_alloc beyond the limit.
template <typename Sizes>
NodeIndex roomFor(std::uint64_t needed, std::uint64_t expected, std::uint64_t bucketCount) {
  if (needed > Sizes::kMostElements) throw std::bad_alloc();
  const std::uint64_t most = std::min(std::max(needed, bucketCount + 1), Sizes::kMostElements);
  std::uint64_t room = most;
  if (bucketCount >= Sizes::kManyStepsFromBuckets) {
    // A sixth is spare at first, and more as the buckets fill: with 24 bytes a node and 4 a bucket, an entry
    // of two Integers takes 36 at most.
    room = needed + std::max(needed / 6, needed / 2 - std::min(needed / 2, bucketCount / 6));
  } else if (needed >= Sizes::kTwoStepsFrom) {
    // Growth has doubled the buckets, so this leaves a third of the elements to spare; then comes all.
    const std::uint64_t firstStep = bucketCount - bucketCount / 3;
    if (needed <= firstStep) room = firstStep;
  }
  return static_cast<NodeIndex>(std::min(std::max(expected, room), most));
}

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TABLE_ROOM_H
