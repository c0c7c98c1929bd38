// The nodes of the ordered tree and what can be done to one of them.
//
// A leaf holds entries, an inner node children and, between them, separators: separator i is a borrowed copy
// of the greatest route below child i. What a search compares lies in arrays of its own, apart from the
// values:
//
//   number   compared first and, where numbers differ, alone; ascending in the container's order
//   detail   what else belongs to the key: a handle that a tie asks, a type. In a leaf it owns the key's
//   reference.
//
// together they are a key's route. Either may be of an empty type, and then takes no room. What all keys of a
// node have in common (the text that all of them begin with) is kept once, in the node's `shared`, and the
// numbers are then relative to it.
#ifndef VORNIK_STRUCTURES_TREE_NODES_H
#define VORNIK_STRUCTURES_TREE_NODES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "plugin/structures/positions.h"

namespace vornik {

/// How many entries a leaf and how many children an inner node has room for. A node below a quarter of that
/// merges with a neighbour where both fill three quarters at most: the gap between the two keeps a tree whose
/// size goes up and down by one from splitting and merging in turn.
template <unsigned kEntries, unsigned kChildren>
struct NodeSizes {
  static constexpr unsigned kLeaf = kEntries;
  static constexpr unsigned kInner = kChildren;
  /// No node has more routes.
  static constexpr unsigned kMostRoutes = std::max(kEntries, kChildren);
  /// A leaf that is the whole tree begins small and grows by four, so that small containers are small.
  static constexpr unsigned kFirstLeaf = std::max(1u, kEntries / 16);
  static constexpr unsigned kLeastLeaf = std::max(2u, kEntries / 4);
  static constexpr unsigned kMergedLeaf = kEntries * 3 / 4;
  static constexpr unsigned kLeastInner = std::max(2u, kChildren / 4);
  static constexpr unsigned kMergedInner = kChildren * 3 / 4;
  static_assert(kLeaf >= 4 && kInner >= 4);
  static_assert((kLeaf < 8 || kLeaf % 8 == 0) && (kInner < 8 || kInner % 8 == 0));
};

#ifdef VORNIK_TINY
using ShippedSizes = NodeSizes<4, 4>;  // for tests that want splits, merges and many levels from few entries
#else
using ShippedSizes = NodeSizes<64, 64>;
#endif

/// Moves `count` objects to another place, which may overlap; the ones at the old place are gone.
template <typename T>
void relocate(T* from, std::size_t count, T* to) noexcept {
  if constexpr (std::is_empty_v<T>) {
    return;
  } else if constexpr (std::is_trivially_copyable_v<T>) {
    if (to < from) {
      std::copy_n(from, count, to);
    } else {
      std::copy_backward(from, from + count, to + count);
    }
  } else if (to < from) {
    for (std::size_t i = 0; i < count; ++i) {
      ::new (static_cast<void*>(to + i)) T(std::move(from[i]));
      from[i].~T();
    }
  } else {
    for (std::size_t i = count; i-- > 0;) {
      ::new (static_cast<void*>(to + i)) T(std::move(from[i]));
      from[i].~T();
    }
  }
}

/// The routes of one node. A view: the node owns the arrays. Numbers behind the last one in use are always
/// the greatest there are, so that a search needs no count. Nothing here fails or asks the host.
template <typename Order>
struct Routes {
  using Number = typename Order::Number;
  using Detail = typename Order::Detail;
  using Shared = typename Order::Shared;
  static constexpr bool kHasNumbers = !std::is_empty_v<Number>;
  static constexpr bool kShares = !std::is_empty_v<Shared>;

  Number* numbers;
  Detail* details;
  Shared* shared;

  static void fill(Number* numbers, std::size_t count) {
    if constexpr (kHasNumbers) std::fill_n(numbers, count, std::numeric_limits<Number>::max());
  }

  /// Lets the routes share no more than `limit`, which is a part of what they share now.
  void loosen(unsigned count, const Shared& limit) const {
    if constexpr (kShares) {
      if (*shared == limit) return;
      for (unsigned i = 0; i < count; ++i) {
        numbers[i] = Order::translate(numbers[i], details[i], *shared, limit);
      }
      *shared = limit;
    }
  }

  void open(unsigned count, unsigned at) const {
    relocate(numbers + at, count - at, numbers + at + 1);
    relocate(details + at, count - at, details + at + 1);
  }

  void close(unsigned count, unsigned at, unsigned removed = 1) const {
    relocate(numbers + at + removed, count - at - removed, numbers + at);
    relocate(details + at + removed, count - at - removed, details + at);
    fill(numbers + count - removed, removed);
  }

  /// Copies a route of another node over the one at `at`.
  void assign(unsigned count, unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kShares) loosen(count, Order::common(*shared, *from.shared));
    copy(at, from, index);
  }

  void insert(unsigned count, unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kShares) {
      if (count == 0) {
        *shared = *from.shared;
      } else {
        loosen(count, Order::common(*shared, *from.shared));
      }
    }
    open(count, at);
    copy(at, from, index);
  }

  /// Moves the routes from `first` on to the empty node `to`.
  void moveTail(unsigned count, unsigned first, Routes to) const {
    if constexpr (kShares) *to.shared = *shared;
    relocate(numbers + first, count - first, to.numbers);
    relocate(details + first, count - first, to.details);
    fill(numbers + first, count - first);
  }

  /// Takes all routes of another node over, behind the own.
  void append(unsigned count, Routes from, unsigned fromCount) const {
    if (fromCount == 0) return;
    if constexpr (kShares) {
      if (count == 0) {
        *shared = *from.shared;
      } else {
        const Shared common = Order::common(*shared, *from.shared);
        loosen(count, common);
        from.loosen(fromCount, common);
      }
    }
    relocate(from.numbers, fromCount, numbers + count);
    relocate(from.details, fromCount, details + count);
  }

 private:
  void copy(unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kHasNumbers) numbers[at] = from.numbers[index];
    details[at] = from.details[index];
    if constexpr (kShares) numbers[at] = Order::translate(numbers[at], details[at], *from.shared, *shared);
  }
};

/// An array member that takes no room when T is empty.
template <typename T, std::size_t kCount>
struct ArrayRoom {
  T elements[kCount];
  T* data() { return elements; }
};
template <typename T, std::size_t kCount>
requires std::is_empty_v<T>
struct ArrayRoom<T, kCount> {
  T* data() {
    static T nothing;
    return &nothing;
  }
};

template <typename Value, typename Order, typename Sizes>
struct TreeNodes {
  using Number = typename Order::Number;
  using Detail = typename Order::Detail;
  using Shared = typename Order::Shared;
  using View = Routes<Order>;
  struct Inner;

  struct Node {
    Inner* parent = nullptr;
    std::uint16_t count = 0;     ///< entries of a leaf, children of an inner node
    std::uint16_t capacity = 0;  ///< of them
    std::uint16_t level = 0;     ///< 0 is a leaf
  };

  /// Entries in order, in one piece of memory: the leaf, then numbers, details, values, each an array of
  /// `capacity`.
  struct Leaf : Node {
    Leaf* previous = nullptr;
    Leaf* next = nullptr;
    /// The entries' slots, 0 for none. Null until the first position in this leaf is taken.
    SlotNumber* anchors = nullptr;
    [[no_unique_address]] Shared common{};

    /// An empty leaf; may throw std::bad_alloc.
    static Leaf* create(unsigned capacity) {
      void* const memory = ::operator new(valuesAt(capacity) + roomFor<Value>(capacity));
      Leaf* const leaf = ::new (memory) Leaf;
      leaf->capacity = static_cast<std::uint16_t>(capacity);
      View::fill(leaf->numbers(), capacity);
      return leaf;
    }
    /// Frees the memory; the entries must have left.
    static void destroy(Leaf* leaf) noexcept {
      delete[] leaf->anchors;
      ::operator delete(leaf);
    }

    Number* numbers() { return array<Number>(sizeof(Leaf)); }
    Detail* details() { return array<Detail>(detailsAt(this->capacity)); }
    Value* values() { return array<Value>(valuesAt(this->capacity)); }
    View routes() { return {numbers(), details(), &common}; }

    /// Takes a place for each entry's slot; std::bad_alloc with nothing changed.
    void reserveAnchors() {
      if (anchors == nullptr) anchors = new SlotNumber[this->capacity]();
    }

   private:
    template <typename T>
    static constexpr std::size_t roomFor(unsigned capacity) {
      static_assert(alignof(T) <= alignof(Leaf) && (std::is_empty_v<T> || sizeof(T) % alignof(Leaf) == 0));
      return std::is_empty_v<T> ? 0 : capacity * sizeof(T);
    }
    static constexpr std::size_t detailsAt(unsigned capacity) {
      return sizeof(Leaf) + roomFor<Number>(capacity);
    }
    static constexpr std::size_t valuesAt(unsigned capacity) {
      return detailsAt(capacity) + roomFor<Detail>(capacity);
    }
    template <typename T>
    T* array(std::size_t offset) {
      return reinterpret_cast<T*>(reinterpret_cast<std::byte*>(this) + offset);
    }
  };

  struct Inner : Node {
    [[no_unique_address]] Shared common{};
    [[no_unique_address]] ArrayRoom<Number, Sizes::kInner> numbers;
    [[no_unique_address]] ArrayRoom<Detail, Sizes::kInner> details;
    Node* children[Sizes::kInner];

    Inner() {
      this->capacity = Sizes::kInner;
      View::fill(numbers.data(), Sizes::kInner);
    }
    View separators() { return {numbers.data(), details.data(), &common}; }
    unsigned separatorCount() const { return this->count - 1u; }

    /// Linear in the number of children, which are neighbours in memory.
    unsigned indexOf(const Node* child) const {
      return static_cast<unsigned>(std::find(children, children + this->count, child) - children);
    }
    void adopt(unsigned at, Node* child) {
      children[at] = child;
      child->parent = this;
    }
    void insertChild(unsigned at, Node* child) {
      relocate(children + at, this->count - at, children + at + 1);
      adopt(at, child);
      ++this->count;
    }
    /// Takes out children; the separators are the caller's.
    void removeChildren(unsigned at, unsigned removed) {
      relocate(children + at + removed, this->count - at - removed, children + at);
      this->count = static_cast<std::uint16_t>(this->count - removed);
    }
    /// Moves the children from `first` on behind those of `to`.
    void moveChildren(unsigned first, Inner* to) {
      for (unsigned i = first; i < this->count; ++i) to->adopt(to->count++, children[i]);
      this->count = static_cast<std::uint16_t>(first);
    }
  };

  // ---- Entries of leaves, with their slots

  template <typename Positions>
  static void pointSlots(Leaf* leaf, unsigned first, unsigned last) noexcept {
    if (leaf->anchors == nullptr) return;
    for (unsigned i = first; i < last; ++i) {
      if (leaf->anchors[i] != 0) Positions::move(leaf->anchors[i], leaf, i);
    }
  }

  /// Makes every position in the leaf stale.
  template <typename Positions>
  static void freeSlots(Leaf* leaf, unsigned first, unsigned last) noexcept {
    if (leaf->anchors == nullptr) return;
    for (unsigned i = first; i < last; ++i) {
      if (leaf->anchors[i] != 0) Positions::free(std::exchange(leaf->anchors[i], 0));
    }
  }

  /// Makes room for an entry; its route and value are the caller's to construct. Slots keep their entries:
  /// where one lies within its leaf is found again when it is asked for.
  static void openEntry(Leaf* leaf, unsigned at) noexcept {
    leaf->routes().open(leaf->count, at);
    relocate(leaf->values() + at, leaf->count - at, leaf->values() + at + 1);
    if (leaf->anchors != nullptr) {
      relocate(leaf->anchors + at, leaf->count - at, leaf->anchors + at + 1);
      leaf->anchors[at] = 0;
    }
    ++leaf->count;
  }

  /// Closes the gap that entries without slots have left.
  static void closeEntries(Leaf* leaf, unsigned at, unsigned removed) noexcept {
    const unsigned behind = leaf->count - at - removed;
    leaf->routes().close(leaf->count, at, removed);
    relocate(leaf->values() + at + removed, behind, leaf->values() + at);
    if (leaf->anchors != nullptr) {
      relocate(leaf->anchors + at + removed, behind, leaf->anchors + at);
      std::fill_n(leaf->anchors + at + behind, removed, 0);
    }
    leaf->count = static_cast<std::uint16_t>(at + behind);
  }

  /// Moves entries from `first` on to an empty leaf, which has anchors where this one has.
  template <typename Positions>
  static void moveEntries(Leaf* leaf, unsigned first, Leaf* to) noexcept {
    const unsigned moved = leaf->count - first;
    leaf->routes().moveTail(leaf->count, first, to->routes());
    relocate(leaf->values() + first, moved, to->values());
    if (leaf->anchors != nullptr) {
      relocate(leaf->anchors + first, moved, to->anchors);
      std::fill_n(leaf->anchors + first, moved, 0);
    }
    leaf->count = static_cast<std::uint16_t>(first);
    to->count = static_cast<std::uint16_t>(moved);
    pointSlots<Positions>(to, 0, moved);
  }

  /// Moves all entries of `from` behind those of a leaf of the same capacity. Never allocates: where only one
  /// of the two has anchors, that array serves.
  template <typename Positions>
  static void appendEntries(Leaf* leaf, Leaf* from) noexcept {
    const unsigned before = leaf->count, moved = from->count;
    leaf->routes().append(before, from->routes(), moved);
    relocate(from->values(), moved, leaf->values() + before);
    if (from->anchors != nullptr && leaf->anchors == nullptr) {
      leaf->anchors = std::exchange(from->anchors, nullptr);
      relocate(leaf->anchors, moved, leaf->anchors + before);
      std::fill_n(leaf->anchors, before, 0);
    } else if (from->anchors != nullptr) {
      relocate(from->anchors, moved, leaf->anchors + before);
    }
    leaf->count = static_cast<std::uint16_t>(before + moved);
    from->count = 0;
    pointSlots<Positions>(leaf, before, leaf->count);
  }
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_NODES_H
