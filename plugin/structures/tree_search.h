// Search within one node of the ordered tree.
#ifndef VORNIK_STRUCTURES_TREE_SEARCH_H
#define VORNIK_STRUCTURES_TREE_SEARCH_H

namespace vornik {

/// Which end of the entries that are equal to the probe a search is for.
enum class Bound { kLower, kUpper };

/// The first entry that is not before the bound: an index from 0 to the number of entries. `exact`: the entry
/// there is equal to the probe, as far as the search found out.
struct Found {
  unsigned index;
  bool exact;
};

/// How many of `capacity` numbers are below the probe. They ascend, and behind the last one in use stands
/// nothing that is below any probe; so there is no end to watch for, and no branch that could be
/// mispredicted: the last numbers of the blocks of eight tell the block, and that block's numbers the rest.
template <typename Number>
unsigned countBelow(const Number* numbers, unsigned capacity, Number probe) {
  unsigned below = 0;
  if (capacity < 8) {
    for (unsigned i = 0; i < capacity; ++i) below += numbers[i] < probe;
    return below;
  }
  for (unsigned i = 7; i < capacity; i += 8) below += numbers[i] < probe;
  const unsigned block = below * 8;
  if (block == capacity) return capacity;
  below = block;
  for (unsigned i = 0; i < 8; ++i) below += numbers[block + i] < probe;
  return below;
}

/// Binary search in [first, last), where compare(i) tells how entry i stands to the probe: negative when
/// before it, 0 when equal. Each entry is compared at most once, and whatever the answers are, the search
/// ends within the range.
template <Bound kBound, typename Compare>
Found bisect(unsigned first, unsigned last, Compare compare) {
  bool exact = false;
  while (first < last) {
    const unsigned middle = first + (last - first) / 2;
    const auto order = compare(middle);
    if (order < 0 || (kBound == Bound::kUpper && order == 0)) {
      first = middle + 1;
    } else {
      last = middle;
      exact = order == 0;
    }
  }
  return {first, exact};
}

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_SEARCH_H
