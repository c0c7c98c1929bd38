// The ordered container behind the ordered classes: unique keys in a B+-tree, with positions that every
// change leaves where they are.
//
// All entries lie in leaves, which are chained in order; inner nodes lead to them (tree_nodes.h). Every
// separator is the greatest key below its child, always that of a live entry. So a search that took a
// separator knows how the greatest entry of its leaf stands to the probe, and no pair of keys is compared
// twice in one operation.
//
// The structure does not depend on what comparisons answer. One search says where a new entry goes, and
// nothing is compared after it; separators, splits and merges go by place alone. An order that changes its
// mind (a NaN, values of several types, a host that fails in the middle) can put a key where no search finds
// it. It cannot lose an entry, show it twice, loop, leak or touch freed memory.
//
// Comparing asks the host about strings and variants, which it answers without running script code; the tree
// relies on that. Whatever else the host does for a caller (giving a reference back, creating an object, a
// dictionary's methods, setting and inserting array elements) can run script code that changes this very
// container, and a place is good until the next change: none may be held across such a call.
#ifndef VORNIK_STRUCTURES_ORDERED_TREE_H
#define VORNIK_STRUCTURES_ORDERED_TREE_H

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "plugin/structures/positions.h"
#include "plugin/structures/tree_nodes.h"
#include "plugin/structures/tree_search.h"

namespace vornik {

/// Key is what an entry that has left the container still holds. Order says how keys are kept and compared:
///
///   Probe, Number, Detail, Shared   a searched key, and the parts of a route (tree_nodes.h)
///   search<Bound>(routes, capacity, last, probe)   the place of a probe among the first `last` routes of a
///   node
///                                        with arrays of `capacity`; later ones are only looked at for
///                                        nothing
///   number(probe, shared), hold(probe)   a new entry's route; hold takes the reference that the entry owns
///   hold(detail)                         a reference more, for a copy of an entry
///   lend(number, detail)                 the key as callers see it, borrowed
///   release(number, detail)              the Key that owns what the entry owned
///
/// and, only where Shared is not empty:
///
///   shared(probe), shares(shared, probe)   what a key shares with itself; whether it shares all that a node's
///                                          keys do
///   common(shared, probe or shared)        what both have
///   translate(number, detail, from, to)    a number relative to less than it was
///   tighten<kMost>(routes, count)          may let them, kMost at most, share more, with numbers to match;
///                                          asks the host
///
/// None of them fails. Destroying keys and values can run host code, and host code can come back to this very
/// container. Whatever takes entries out therefore hands them to the caller, who lets them die once the
/// container is whole again. Every operation leaves the container as it was when it throws, and removing
/// never throws where it could not have reserved.
template <typename Key, typename Value, typename Order, typename Sizes = ShippedSizes>
class OrderedTree {
  using Nodes = TreeNodes<Value, Order, Sizes>;
  using Node = typename Nodes::Node;
  using Leaf = typename Nodes::Leaf;
  using Inner = typename Nodes::Inner;
  using View = Routes<Order>;

 public:
  using Policy = Order;
  using Probe = typename Order::Probe;
  using Positions = PositionTable<OrderedTree, Leaf*>;

  /// An entry, or the end (no leaf). Good until the next change.
  struct Place {
    Leaf* leaf = nullptr;
    unsigned index = 0;
    friend bool operator==(const Place&, const Place&) = default;
  };
  struct Located {
    OrderedTree* owner;  ///< null when the handle is stale
    Place place;
  };

  /// An entry that has left the container but still holds its key and value.
  struct Removed {
    Key key;
    [[no_unique_address]] Value value;
  };
  class RemovedRange;

  OrderedTree() = default;
  OrderedTree(const OrderedTree&) = delete;
  OrderedTree& operator=(const OrderedTree&) = delete;
  ~OrderedTree() {
    // Before any entry dies, so that no host code can reach one that is about to.
    forgetPositions();
    const RemovedRange removed = extractAll();
  }

  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// Another one after every change of structure.
  ChangeStamp change() const { return change_; }
  Place begin() const { return {first_, 0}; }
  Place end() const { return {}; }

  /// The key's entry, or the end. Logarithmic, as are the two bounds.
  Place find(const Probe& probe) const {
    const Position found = search<Bound::kLower>(probe);
    return found.exact ? found.place : end();
  }
  Place lowerBound(const Probe& probe) const { return entryAt(search<Bound::kLower>(probe).place); }
  Place upperBound(const Probe& probe) const { return entryAt(search<Bound::kUpper>(probe).place); }

  static auto key(Place place) {
    const View routes = place.leaf->routes();
    return Order::lend(routes.numbers[kNumbered ? place.index : 0],
                       routes.details[kDetailed ? place.index : 0]);
  }
  static Value& value(Place place) { return place.leaf->values()[place.index]; }
  static Place next(Place place) { return entryAt({place.leaf, place.index + 1}); }
  /// Of any place but the first.
  Place previous(Place place) const {
    if (place.leaf == nullptr) return {last_, last_->count - 1u};
    if (place.index != 0) return {place.leaf, place.index - 1};
    return {place.leaf->previous, place.leaf->previous->count - 1u};
  }

  /// The key's entry; a new one with an empty value where there is none. Logarithmic.
  Place findOrInsert(const Probe& probe) {
    const Position found = search<Bound::kLower>(probe);
    return found.exact ? found.place : insert(found.place, probe);
  }

  /// Makes this empty container a copy of `other`, in the same sequence whatever the order says of it:
  /// nothing is compared. Linear.
  void copyFrom(const OrderedTree& other) {
    if (other.root_ == nullptr) return;
    try {
      root_ = copyOf(other.root_);
    } catch (...) {
      // The leaves made so far are chained; none has a position, and none of their references is a last one.
      const RemovedRange made(std::exchange(first_, nullptr));
      last_ = nullptr;
      throw;
    }
    size_ = other.size_;
    change_ = ++lastChange;
  }

  /// Takes out one entry. Logarithmic at worst, amortised constant. Never throws.
  [[nodiscard]] Removed extract(Place place) noexcept {
    Leaf* const leaf = place.leaf;
    Nodes::template freeSlots<Positions>(leaf, place.index, place.index + 1);
    Removed removed = takeOut(place);
    Nodes::closeEntries(leaf, place.index, 1);
    --size_;
    change_ = ++lastChange;
    if (place.index == leaf->count && leaf->count != 0)
      renewSeparator(leaf, leaf->routes(), leaf->count - 1u);
    if (leaf->count < Sizes::kLeastLeaf || leaf->count == 0) rebalance(leaf, false);
    return removed;
  }

  /// Takes out the entries from `first` up to, not including, `last`, which must be reachable from it. What
  /// is cut out of the leaves at the edges goes to leaves that are reserved first (std::bad_alloc); the
  /// leaves between go as they are. Linear in the number of entries that have positions and of leaves, apart
  /// from the edges.
  [[nodiscard]] RemovedRange extract(Place first, Place last);

  /// Takes out everything. The end position stays what it was. Linear in the number of leaves and positions.
  [[nodiscard]] RemovedRange extractAll() noexcept {
    if (root_ == nullptr) return RemovedRange(nullptr);
    forgetEntryPositions();
    destroyInner(std::exchange(root_, nullptr));
    last_ = nullptr;
    size_ = 0;
    change_ = ++lastChange;
    return RemovedRange(std::exchange(first_, nullptr));
  }

  /// Makes every position of this container stale, that of its end included. Linear as extractAll.
  void forgetPositions() noexcept {
    end_.release();
    forgetEntryPositions();
  }

  /// Whether MoveNext leads from `first` to `last`. Logarithmic.
  bool reaches(Place first, Place last) const {
    if (last.leaf == nullptr) return true;
    if (first.leaf == nullptr) return false;
    if (first.leaf == last.leaf) return first.index <= last.index;
    const Node* a = first.leaf;
    const Node* b = last.leaf;
    while (a->parent != b->parent) {
      a = a->parent;
      b = b->parent;
    }
    return a->parent->indexOf(a) < a->parent->indexOf(b);
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
  friend struct OrderedTreeTest;

  static constexpr bool kNumbered = View::kHasNumbers;
  static constexpr bool kDetailed = !std::is_empty_v<typename Order::Detail>;

  /// Where a search ended; the index may be one past the last entry of the leaf.
  struct Position {
    Place place;
    bool exact;
  };

  static Place entryAt(Place place) {
    if (place.leaf == nullptr || place.index < place.leaf->count) return place;
    return {place.leaf->next, 0};
  }

  template <Bound kBound>
  Position search(const Probe& probe) const {
    Node* node = root_;
    if (node == nullptr) return {{}, false};
    if constexpr (Order::kLooksAtTheLastFirst) {
      // Saves the whole descent to a key beyond all others, and costs the others next to nothing.
      if (Order::isBefore(last_->routes(), last_->count - 1u, probe)) return {{last_, last_->count}, false};
    }
    // Whether a separator on the way was the greatest of all entries that can still be met, and equal to the
    // probe.
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

  // ---- Insertion

  /// Nodes that an insertion may need, had before it changes anything.
  class Reserve {
   public:
    Reserve() = default;
    Reserve(const Reserve&) = delete;
    Reserve& operator=(const Reserve&) = delete;
    ~Reserve() {
      if (leaf != nullptr) Leaf::destroy(leaf);
      while (inner_ != nullptr) delete std::exchange(inner_, inner_->parent);
    }
    void addInner() {
      auto* const inner = new Inner;
      inner->parent = std::exchange(inner_, inner);
    }
    Inner* takeInner() {
      Inner* const inner = std::exchange(inner_, inner_->parent);
      inner->parent = nullptr;
      return inner;
    }
    Leaf* leaf = nullptr;

   private:
    Inner* inner_ = nullptr;
  };

  Place insert(Place place, const Probe& probe);
  Place put(Place place, const Probe& probe);
  Leaf* grow(Leaf* leaf);
  Place split(Place place, const Probe& probe);
  static bool isOutermost(const Inner* parent, unsigned at, bool first);
  void attach(Node* left, Node* right, Node* fresh, View greatest, unsigned index, Reserve& reserve);

  // ---- Removal

  /// What an entry without a slot held; its place is empty room from then on.
  static Removed takeOut(Place place) noexcept {
    const View routes = place.leaf->routes();
    Value* const value = place.leaf->values() + place.index;
    Removed removed{Order::release(routes.numbers[kNumbered ? place.index : 0],
                                   routes.details[kDetailed ? place.index : 0]),
                    std::move(*value)};
    value->~Value();
    return removed;
  }

  void renewSeparator(Node* node, View greatest, unsigned index) noexcept;
  void rebalance(Node* node, bool wholePath) noexcept;
  void merge(Node* left, Node* right) noexcept;
  void removeChildren(Inner* parent, unsigned first, unsigned count) noexcept;
  void shortenRoot() noexcept;
  void cut(Leaf* leaf, unsigned first, unsigned count, Leaf* to) noexcept;
  void unlink(Leaf* first, Leaf* last) noexcept;

  // ---- Whole trees

  void forgetEntryPositions() noexcept {
    for (Leaf* leaf = first_; leaf != nullptr; leaf = leaf->next) {
      Nodes::template freeSlots<Positions>(leaf, 0, leaf->count);
    }
  }

  Node* copyOf(Node* node);
  Leaf* copyOfLeaf(Leaf* source);
  static void destroyInner(Node* node) noexcept {
    if (node->level == 0) return;
    auto* const inner = static_cast<Inner*>(node);
    if (inner->level > 1) {
      for (unsigned i = 0; i < inner->count; ++i) destroyInner(inner->children[i]);
    }
    delete inner;
  }

  Node* root_ = nullptr;
  Leaf* first_ = nullptr;
  Leaf* last_ = nullptr;
  std::size_t size_ = 0;
  ChangeStamp change_ = 0;
  EndPosition<Positions> end_;
};

}  // namespace vornik

#include "plugin/structures/ordered_tree_changes.h"

#endif  // VORNIK_STRUCTURES_ORDERED_TREE_H
