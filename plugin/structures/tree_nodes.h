// The nodes of the ordered tree and what can be done to one of them.
//
// A leaf holds entries, an inner node children and, between them, separators: separator i is a borrowed copy
// of the greatest route below child i (tree_routes.h). What a search compares lies in arrays of its own,
// apart from the values.
#ifndef VORNIK_STRUCTURES_TREE_NODES_H
#define VORNIK_STRUCTURES_TREE_NODES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "plugin/structures/positions.h"
#include "plugin/structures/tree_routes.h"

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

/// The nodes of an Owner's tree, which positions know as theirs.
template <typename Owner, typename Value, typename Order, typename Sizes>
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

  /// Entries in order, in one piece of memory: the leaf, then numbers, details, values, each an array
  /// of `capacity`.
  struct Leaf : Node {
    Leaf* previous = nullptr;
    Leaf* next = nullptr;
    /// The entries' slots, 0 for none. Null until the first position in this leaf is taken.
    SlotNumber* anchors = nullptr;
    [[no_unique_address]] Shared shared{};

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
    View routes() { return {numbers(), details(), &shared}; }

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
    [[no_unique_address]] Shared shared{};
    [[no_unique_address]] ArrayRoom<Number, Sizes::kInner> numbers;
    [[no_unique_address]] ArrayRoom<Detail, Sizes::kInner> details;
    Node* children[Sizes::kInner];

    Inner() {
      this->capacity = Sizes::kInner;
      View::fill(numbers.data(), Sizes::kInner);
    }
    View separators() { return {numbers.data(), details.data(), &shared}; }
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

  // ---- Nodes that go with what holds them, reserved for a change

  struct DestroyLeaf {
    void operator()(Leaf* leaf) const noexcept { Leaf::destroy(leaf); }
  };
  using OwnedLeaf = std::unique_ptr<Leaf, DestroyLeaf>;

  class SpareInners {
   public:
    SpareInners() = default;
    SpareInners(SpareInners&& other) noexcept : inners_(std::exchange(other.inners_, nullptr)) {}
    SpareInners& operator=(SpareInners&&) = delete;
    ~SpareInners() {
      while (inners_ != nullptr) delete std::exchange(inners_, inners_->parent);
    }
    void add() {
      auto* const inner = new Inner;
      inner->parent = std::exchange(inners_, inner);
    }
    Inner* take() noexcept {
      Inner* const inner = std::exchange(inners_, inners_->parent);
      inner->parent = nullptr;
      return inner;
    }

   private:
    Inner* inners_ = nullptr;
  };

  // ---- Entries of leaves, with their slots

  using Positions = PositionTable<Owner, Leaf*>;

  static void pointSlots(Leaf* leaf, unsigned first, unsigned last) noexcept {
    if (leaf->anchors == nullptr) return;
    for (unsigned i = first; i < last; ++i) {
      if (leaf->anchors[i] != 0) Positions::move(leaf->anchors[i], leaf, i);
    }
  }

  /// Makes every position in the leaf stale.
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
    pointSlots(to, 0, moved);
  }

  /// Moves all entries of `from` behind those of a leaf of the same capacity. Never allocates: where only one
  /// of the two has anchors, that array serves.
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
    pointSlots(leaf, before, leaf->count);
  }

  /// Copies all entries to an empty leaf of the same capacity, and no positions.
  static void copyEntries(Leaf* leaf, Leaf* to) {
    to->shared = leaf->shared;
    if constexpr (View::kHasNumbers) std::copy_n(leaf->numbers(), leaf->count, to->numbers());
    if constexpr (View::kHasDetails) {
      for (unsigned i = 0; i < leaf->count; ++i) to->details()[i] = Order::hold(leaf->details()[i]);
    }
    if constexpr (!std::is_empty_v<Value>) {
      std::uninitialized_copy_n(leaf->values(), leaf->count, to->values());
    }
    to->count = leaf->count;
  }
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_NODES_H
