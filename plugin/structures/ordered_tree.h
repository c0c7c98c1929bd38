// The ordered container behind the ordered classes: unique keys in a B+-tree, with positions that every
// change leaves where they are.
//
// All entries lie in leaves, which are chained in order; inner nodes lead to them (tree_nodes.h). Every
// separator is the greatest key below its child, always that of a live entry. So a search that took a
// separator knows how the greatest entry of its leaf stands to the probe, and no pair of keys is compared
// twice in one operation.
//
// The structure does not depend on what comparisons answer. One search says where a new entry goes, and
// nothing is compared after it: what happens to nodes is a matter of places alone (tree_shape.h). An order
// that changes its mind (a NaN, values of several types, a host that fails in the middle) can put a key where
// no search finds it. It cannot lose an entry, show it twice, loop, leak or touch freed memory.
//
// Comparing asks the host about strings and variants, which it answers without running script code; the tree
// relies on that. Whatever else the host does for a caller (giving a reference back, creating an object, a
// dictionary's methods, setting and inserting array elements) can run script code that changes this very
// container, and a place is good until the next change: none may be held across such a call.
#ifndef VORNIK_STRUCTURES_ORDERED_TREE_H
#define VORNIK_STRUCTURES_ORDERED_TREE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>
#include <utility>

#include "plugin/structures/positions.h"
#include "plugin/structures/tree_order.h"
#include "plugin/structures/tree_search.h"
#include "plugin/structures/tree_shape.h"

namespace vornik {

/// Key is what an entry that has left the container still holds, Order how keys are kept and
/// compared (tree_order.h).
///
/// Destroying keys and values can run host code, and host code can come back to this very container. Whatever
/// takes entries out therefore hands them to the caller, who lets them die once the container is whole again.
/// Every operation leaves the container as it was when it throws, and removing never throws where it could
/// not have reserved.
template <typename Key, typename Value, typename Order, typename Sizes = ShippedSizes>
class OrderedTree {
  static_assert(TreeOrder<Order, Key>);

  using Shape = TreeShape<OrderedTree, Value, Order, Sizes>;
  using Node = typename Shape::Node;
  using Leaf = typename Shape::Leaf;
  using Inner = typename Shape::Inner;
  using View = Routes<Order>;

 public:
  using Policy = Order;
  using Probe = typename Order::Probe;
  using Place = typename Shape::Place;
  using Positions = typename Shape::Positions;

  /// Where a handle leads; the owner is null when it has become stale.
  struct Located {
    OrderedTree* owner;
    Place place;
  };

  /// An entry that has left the container but still holds its key and value.
  struct Removed {
    Key key;
    [[no_unique_address]] Value value;
  };

  /// Entries that have left the container, still in their leaves. Their keys and values die with it,
  /// in order.
  class RemovedRange {
   public:
    RemovedRange(RemovedRange&& other) noexcept : leaves_(std::exchange(other.leaves_, nullptr)) {}
    RemovedRange& operator=(RemovedRange&&) = delete;
    ~RemovedRange() {
      while (leaves_ != nullptr) {
        Leaf* const leaf = std::exchange(leaves_, leaves_->next);
        if constexpr (kEntriesOwn) {
          for (unsigned i = 0; i < leaf->count; ++i) const Removed entry = takeOut({leaf, i});
        }
        Leaf::destroy(leaf);
      }
    }

   private:
    friend OrderedTree;
    explicit RemovedRange(Leaf* leaves) noexcept : leaves_(leaves) {}
    Leaf* leaves_;
  };

  OrderedTree() = default;
  OrderedTree(const OrderedTree&) = delete;
  OrderedTree& operator=(const OrderedTree&) = delete;
  ~OrderedTree() {
    // Before any entry dies, so that no host code can reach one that is about to.
    forgetPositions();
    const RemovedRange removed = extractAll();
  }

  std::size_t size() const { return shape_.size(); }
  bool empty() const { return size() == 0; }
  /// Another one after every change of structure.
  ChangeStamp change() const { return change_; }
  Place begin() const { return {shape_.first(), 0}; }
  Place end() const { return {}; }

  /// The key's entry, or the end. Logarithmic, as are the two bounds.
  Place find(const Probe& probe) const {
    const SearchResult found = search<Bound::kLower>(probe);
    return found.exact ? found.place : end();
  }
  Place lowerBound(const Probe& probe) const { return entryAt(search<Bound::kLower>(probe).place); }
  Place upperBound(const Probe& probe) const { return entryAt(search<Bound::kUpper>(probe).place); }

  static auto key(Place place) {
    const View routes = place.leaf->routes();
    return Order::lend(routes.numbers[View::kHasNumbers ? place.index : 0],
                       routes.details[View::kHasDetails ? place.index : 0]);
  }
  static Value& value(Place place) { return place.leaf->values()[place.index]; }
  static Place next(Place place) { return entryAt({place.leaf, place.index + 1}); }
  /// Of any place but the first.
  Place previous(Place place) const {
    if (place.leaf == nullptr) return {shape_.last(), shape_.last()->count - 1u};
    if (place.index != 0) return {place.leaf, place.index - 1};
    return {place.leaf->previous, place.leaf->previous->count - 1u};
  }
  /// Whether MoveNext leads from `first` to `last`. Logarithmic.
  bool reaches(Place first, Place last) const { return Shape::reaches(first, last); }

  /// The key's entry; a new one with an empty value where there is none. Logarithmic.
  Place findOrInsert(const Probe& probe) {
    const SearchResult found = search<Bound::kLower>(probe);
    return found.exact ? found.place : insert(found.place, probe);
  }

  /// Makes this empty container a copy of `other`, in the same sequence whatever the order says of it:
  /// nothing is compared. Linear.
  void copyFrom(const OrderedTree& other) {
    if (other.empty()) return;
    try {
      shape_.copyFrom(other.shape_);
    } catch (...) {
      // What was copied so far has no positions, and none of its references is a last one.
      const RemovedRange copied(shape_.extractAll());
      throw;
    }
    change_ = newChangeStamp();
  }

  /// Takes out one entry. Logarithmic at worst, amortised constant. Never throws.
  [[nodiscard]] Removed extract(Place place) noexcept {
    Shape::freeSlot(place);
    Removed removed = takeOut(place);
    shape_.close(place);
    change_ = newChangeStamp();
    return removed;
  }

  /// Takes out the entries from `first` up to, not including, `last`, which must be reachable from it. Throws
  /// std::bad_alloc where it cuts leaves whose entries own something. Linear in the number of entries that
  /// have positions and of leaves, apart from the edges.
  [[nodiscard]] RemovedRange extract(Place first, Place last) {
    if (first == last) return RemovedRange(nullptr);
    if (first == begin() && last == end()) return extractAll();
    RemovedRange removed(shape_.template extract<kEntriesOwn>(first, last));
    change_ = newChangeStamp();
    return removed;
  }

  /// Takes out everything. The end position stays what it was. Linear in the number of leaves and positions.
  [[nodiscard]] RemovedRange extractAll() noexcept {
    if (empty()) return RemovedRange(nullptr);
    change_ = newChangeStamp();
    return RemovedRange(shape_.extractAll());
  }

  /// Makes every position of this container stale, that of its end included. Linear as extractAll.
  void forgetPositions() noexcept {
    end_.release();
    shape_.freeAllSlots();
  }

  /// The handle of a place in this container; may throw std::bad_alloc. Amortised constant.
  PositionHandle handle(Place place) {
    if (place.leaf == nullptr) return end_.handle(this);
    place.leaf->reserveAnchors();
    SlotNumber& anchor = place.leaf->anchors[place.index];
    if (anchor == 0) anchor = Positions::take(this, place.leaf, place.index);
    return Positions::handle(anchor);
  }

  /// Where a handle points. Constant: changes within a leaf leave slots alone, so the index that a slot knows
  /// is a hint; where it no longer holds, the leaf's few anchors are searched.
  static Located locate(PositionHandle handle) noexcept {
    auto* const slot = Positions::resolve(handle);
    if (slot == nullptr) return {nullptr, {}};
    Leaf* const leaf = slot->node;
    if (leaf == nullptr) return {slot->owner, {}};
    const auto number = static_cast<SlotNumber>(handle);
    if (slot->index >= leaf->count || leaf->anchors[slot->index] != number) [[unlikely]] {
      slot->index = static_cast<std::uint32_t>(std::find(leaf->anchors, leaf->anchors + leaf->count, number) -
                                               leaf->anchors);
    }
    return {slot->owner, {leaf, slot->index}};
  }

 private:
  static constexpr bool kEntriesOwn =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  /// Where a search ended; the index may be one past the last entry of the leaf.
  struct SearchResult {
    Place place;
    bool exact;
  };

  static Place entryAt(Place place) {
    if (place.leaf == nullptr || place.index < place.leaf->count) return place;
    return {place.leaf->next, 0};
  }

  template <Bound kBound>
  SearchResult search(const Probe& probe) const {
    Node* node = shape_.root();
    if (node == nullptr) return {{}, false};
    if constexpr (Order::kLooksAtTheLastFirst) {
      // Saves the whole descent to a key beyond all others, and costs the others next to nothing.
      Leaf* const last = shape_.last();
      if (Order::isBefore(last->routes(), last->count - 1u, probe)) return {{last, last->count}, false};
    }
    // Whether a separator on the way was the greatest of all entries that can still be met, and equal to
    // the probe.
    bool greatestIsKnown = false;
    bool greatestIsExact = false;
    while (node->level != 0) {
      auto* const inner = static_cast<Inner*>(node);
      const unsigned last = inner->separatorCount();
      const Found found = Order::template search<kBound>(inner->separators(), inner->capacity, last, probe);
      if (found.index < last) {
        greatestIsKnown = true;
        greatestIsExact = found.exact;
      }
      node = inner->children[found.index];
    }
    auto* const leaf = static_cast<Leaf*>(node);
    const unsigned last = leaf->count - (greatestIsKnown ? 1u : 0u);
    const Found found = Order::template search<kBound>(leaf->routes(), leaf->capacity, last, probe);
    if (greatestIsKnown && found.index >= last) return {{leaf, last}, greatestIsExact};
    return {{leaf, found.index}, found.exact};
  }

  /// A new entry in front of `place`, which the search for `probe` answered.
  Place insert(Place place, const Probe& probe) {
    if (Shape::hasRoom(place)) return put(place, probe);
    if (!Shape::isFull(place)) return put(shape_.enlarge(place), probe);
    typename Shape::Split split = shape_.split(place);
    put(split.room, probe);
    shape_.settle(split);
    return split.room;
  }

  /// Where the leaf has room. Never throws.
  Place put(Place place, const Probe& probe) {
    const View routes = place.leaf->routes();
    if constexpr (View::kShares) {
      if (place.leaf->count == 0) {
        *routes.shared = Order::shared(probe);
      } else if (!Order::shares(*routes.shared, probe)) {
        routes.loosen(place.leaf->count, Order::narrowed(*routes.shared, probe));
      }
    }
    shape_.open(place);
    if constexpr (View::kHasNumbers) routes.numbers[place.index] = Order::number(probe, *routes.shared);
    if constexpr (View::kHasDetails) routes.details[place.index] = Order::hold(probe);
    ::new (static_cast<void*>(place.leaf->values() + place.index)) Value();
    change_ = newChangeStamp();
    return place;
  }

  /// What an entry without a slot held; its place is empty room from then on.
  static Removed takeOut(Place place) noexcept {
    const View routes = place.leaf->routes();
    Value* const value = place.leaf->values() + place.index;
    Removed removed{Order::release(routes.numbers[View::kHasNumbers ? place.index : 0],
                                   routes.details[View::kHasDetails ? place.index : 0]),
                    std::move(*value)};
    value->~Value();
    return removed;
  }

  Shape shape_;
  ChangeStamp change_ = 0;
  EndPosition<Positions> end_;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_ORDERED_TREE_H
