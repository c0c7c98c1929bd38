// How the ordered tree changes shape: insertion, removal, copies. Part of ordered_tree.h, which includes it.
#ifndef VORNIK_STRUCTURES_ORDERED_TREE_CHANGES_H
#define VORNIK_STRUCTURES_ORDERED_TREE_CHANGES_H

#include "plugin/structures/ordered_tree.h"

namespace vornik {

// Members of OrderedTree, without its parameters repeated.
#define VORNIK_TREE(RESULT)                                               \
  template <typename Key, typename Value, typename Order, typename Sizes> \
  RESULT OrderedTree<Key, Value, Order, Sizes>
#define VORNIK_TREE_TYPE(NAME) typename OrderedTree<Key, Value, Order, Sizes>::NAME

/// Entries that have left the container, still in their leaves. Their keys and values die with it, in order.
template <typename Key, typename Value, typename Order, typename Sizes>
class OrderedTree<Key, Value, Order, Sizes>::RemovedRange {
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
  static constexpr bool kEntriesOwn =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  explicit RemovedRange(Leaf* leaves) noexcept : leaves_(leaves) {}
  Leaf* leaves_;
};

// ---- Insertion

/// Whether child `at` is the first (or the last) of its level.
VORNIK_TREE(bool)::isOutermost(const Inner* parent, unsigned at, bool first) {
  while (at == (first ? 0 : parent->separatorCount())) {
    const Inner* const above = parent->parent;
    if (above == nullptr) return true;
    at = above->indexOf(parent);
    parent = above;
  }
  return false;
}

/// A new entry in front of `place`, which the search for `probe` answered.
VORNIK_TREE(VORNIK_TREE_TYPE(Place))::insert(Place place, const Probe& probe) {
  if (place.leaf == nullptr) {
    Leaf* const leaf = Leaf::create(Sizes::kFirstLeaf);
    root_ = first_ = last_ = leaf;
    return put({leaf, 0}, probe);
  }
  if (place.leaf->count < place.leaf->capacity) return put(place, probe);
  if (place.leaf->capacity < Sizes::kLeaf) return put({grow(place.leaf), place.index}, probe);
  return split(place, probe);
}

/// Where the leaf has room. Never throws.
VORNIK_TREE(VORNIK_TREE_TYPE(Place))::put(Place place, const Probe& probe) {
  const View routes = place.leaf->routes();
  if constexpr (View::kShares) {
    if (place.leaf->count == 0) {
      *routes.shared = Order::shared(probe);
    } else if (!Order::shares(*routes.shared, probe)) {
      routes.loosen(place.leaf->count, Order::common(*routes.shared, probe));
    }
  }
  Nodes::openEntry(place.leaf, place.index);
  if constexpr (kNumbered) routes.numbers[place.index] = Order::number(probe, *routes.shared);
  if constexpr (kDetailed) routes.details[place.index] = Order::hold(probe);
  ::new (static_cast<void*>(place.leaf->values() + place.index)) Value();
  ++size_;
  change_ = ++lastChange;
  return place;
}

/// A greater leaf in place of a small one, which is the whole tree.
VORNIK_TREE(VORNIK_TREE_TYPE(Leaf*))::grow(Leaf* leaf) {
  Reserve reserve;
  reserve.leaf = Leaf::create(std::min(leaf->capacity * 4u, Sizes::kLeaf));
  if (leaf->anchors != nullptr) reserve.leaf->reserveAnchors();
  Leaf* const grown = std::exchange(reserve.leaf, nullptr);
  Nodes::template moveEntries<Positions>(leaf, 0, grown);
  Leaf::destroy(leaf);
  root_ = first_ = last_ = grown;
  return grown;
}

/// In a full leaf: half of its entries move to a new one behind it. At either end of the tree the full leaf
/// stays as it is and the new entry has the new leaf for itself, so that keys that come in order fill their
/// leaves.
VORNIK_TREE(VORNIK_TREE_TYPE(Place))::split(Place place, const Probe& probe) {
  Leaf* const leaf = place.leaf;
  const bool behindAll = leaf == last_ && place.index == leaf->count;
  const bool beforeAll = leaf == first_ && place.index == 0;
  const unsigned kept = behindAll || beforeAll ? leaf->count : leaf->count / 2u;

  Reserve reserve;
  reserve.leaf = Leaf::create(Sizes::kLeaf);
  if (leaf->anchors != nullptr && kept != leaf->count) reserve.leaf->reserveAnchors();
  const Inner* parent = leaf->parent;
  for (; parent != nullptr && parent->count == parent->capacity; parent = parent->parent) reserve.addInner();
  if (parent == nullptr) reserve.addInner();

  // Nothing fails from here on.
  Leaf* const fresh = std::exchange(reserve.leaf, nullptr);
  fresh->previous = beforeAll ? nullptr : leaf;
  fresh->next = beforeAll ? leaf : leaf->next;
  (fresh->previous != nullptr ? fresh->previous->next : first_) = fresh;
  (fresh->next != nullptr ? fresh->next->previous : last_) = fresh;
  Nodes::template moveEntries<Positions>(leaf, kept, fresh);
  if (behindAll || beforeAll) {
    place = put({fresh, 0}, probe);
  } else if (place.index <= kept) {
    place = put(place, probe);
  } else {
    place = put({fresh, place.index - kept}, probe);
  }
  if constexpr (View::kShares) {
    if (kept != Sizes::kLeaf) {
      Order::template tighten<Sizes::kMostRoutes>(leaf->routes(), leaf->count);
      Order::template tighten<Sizes::kMostRoutes>(fresh->routes(), fresh->count);
    }
  }
  Leaf* const left = beforeAll ? fresh : leaf;
  attach(left, left->next, fresh, left->routes(), left->count - 1u, reserve);
  return place;
}

/// Gives `fresh`, one of two neighbours, its place in the other's parent. greatest[index] is the greatest
/// route below `left`, and the separator between the two.
VORNIK_TREE(void)::attach(Node* left, Node* right, Node* fresh, View greatest, unsigned index,
                          Reserve& reserve) {
  Node* const neighbour = fresh == left ? right : left;
  Inner* parent = neighbour->parent;
  if (parent == nullptr) {
    parent = reserve.takeInner();
    parent->level = static_cast<std::uint16_t>(left->level + 1);
    parent->insertChild(0, left);
    parent->insertChild(1, right);
    parent->separators().insert(0, 0, greatest, index);
    root_ = parent;
    return;
  }
  unsigned at = parent->indexOf(neighbour);
  if (parent->count == parent->capacity) {
    Inner* const sibling = reserve.takeInner();
    sibling->level = parent->level;
    if (isOutermost(parent, at, fresh == left)) {
      // As with leaves: at either end of the tree the full node stays, and the fresh one begins a new.
      sibling->insertChild(0, fresh);
      if (fresh == left) return attach(sibling, parent, sibling, greatest, index, reserve);
      return attach(parent, sibling, sibling, greatest, index, reserve);
    }
    const unsigned kept = parent->capacity / 2u;
    const unsigned separators = parent->separatorCount();
    parent->moveChildren(kept, sibling);
    parent->separators().moveTail(separators, kept, sibling->separators());
    if constexpr (View::kShares) {
      Order::template tighten<Sizes::kMostRoutes>(parent->separators(), kept);
      Order::template tighten<Sizes::kMostRoutes>(sibling->separators(), separators - kept);
    }
    // The separator behind the children that stay becomes the one between the halves.
    attach(parent, sibling, sibling, parent->separators(), kept - 1, reserve);
    View::fill(parent->numbers.data() + kept - 1, 1);
    if (at >= kept) {
      parent = sibling;
      at -= kept;
    }
  }
  parent->separators().insert(parent->separatorCount(), at, greatest, index);
  parent->insertChild(fresh == left ? at : at + 1, fresh);
}

// ---- Removal

/// Puts another greatest route below `node` in place of the one that was: into the first separator on the way
/// up, or nowhere where the node is the last of its level.
VORNIK_TREE(void)::renewSeparator(Node* node, View greatest, unsigned index) noexcept {
  for (Inner* parent = node->parent; parent != nullptr; node = parent, parent = parent->parent) {
    const unsigned at = parent->indexOf(node);
    if (at == parent->separatorCount()) continue;
    return parent->separators().assign(parent->separatorCount(), at, greatest, index);
  }
}

/// Takes leaves that are neighbours out of the chain; they stay chained to each other.
VORNIK_TREE(void)::unlink(Leaf* first, Leaf* last) noexcept {
  (first->previous != nullptr ? first->previous->next : first_) = last->next;
  (last->next != nullptr ? last->next->previous : last_) = first->previous;
  last->next = nullptr;
}

/// Takes neighbours out of their parent, and the parent, where none is left, out of its own. Something must
/// be left in the tree.
VORNIK_TREE(void)::removeChildren(Inner* parent, unsigned first, unsigned count) noexcept {
  if (count == parent->count) {
    removeChildren(parent->parent, parent->parent->indexOf(parent), 1);
    delete parent;
    return;
  }
  const View separators = parent->separators();
  const unsigned separatorCount = parent->separatorCount();
  if (first + count < parent->count) {
    separators.close(separatorCount, first, count);
  } else {
    // The child in front of them becomes the last, whose greatest is the parent's.
    renewSeparator(parent, separators, first - 1);
    separators.close(separatorCount, first - 1, count);
  }
  parent->removeChildren(first, count);
}

/// The right of two neighbours goes; the left has what both had.
VORNIK_TREE(void)::merge(Node* left, Node* right) noexcept {
  Inner* const parent = left->parent;
  const unsigned at = parent->indexOf(left);
  if (left->level == 0) {
    auto* const leaf = static_cast<Leaf*>(right);
    Nodes::template appendEntries<Positions>(static_cast<Leaf*>(left), leaf);
    unlink(leaf, leaf);
    Leaf::destroy(leaf);
  } else {
    auto* const to = static_cast<Inner*>(left);
    auto* const from = static_cast<Inner*>(right);
    const unsigned separators = to->separatorCount();
    to->separators().insert(separators, separators, parent->separators(), at);
    to->separators().append(separators + 1, from->separators(), from->separatorCount());
    from->moveChildren(0, to);
    delete from;
  }
  parent->separators().close(parent->separatorCount(), at);
  parent->removeChildren(at + 1, 1);
}

/// Mends a node that has lost entries or children, and its ancestors as far as they change, or all of them:
/// an empty leaf goes, a node with few merges with a neighbour that has room. Nothing is borrowed between
/// neighbours, so this never allocates; a node with few stays where both neighbours are well filled.
VORNIK_TREE(void)::rebalance(Node* node, bool wholePath) noexcept {
  while (Inner* const parent = node->parent) {
    const bool isLeaf = node->level == 0;
    Node* above = parent;
    if (node->count == 0) {
      auto* const leaf = static_cast<Leaf*>(node);
      while (above->count == 1) above = above->parent;  // goes with its only child
      unlink(leaf, leaf);
      removeChildren(parent, parent->indexOf(leaf), 1);
      Leaf::destroy(leaf);
    } else if (node->count < (isLeaf ? Sizes::kLeastLeaf : Sizes::kLeastInner)) {
      const unsigned room = (isLeaf ? Sizes::kMergedLeaf : Sizes::kMergedInner) - node->count;
      const unsigned at = parent->indexOf(node);
      if (at != parent->separatorCount() && parent->children[at + 1]->count <= room) {
        merge(node, parent->children[at + 1]);
      } else if (at != 0 && parent->children[at - 1]->count <= room) {
        merge(parent->children[at - 1], node);
      } else if (!wholePath) {
        return;
      }
    } else if (!wholePath) {
      return;
    }
    node = above;
  }
  shortenRoot();
}

VORNIK_TREE(void)::shortenRoot() noexcept {
  if (root_->count == 0) {
    Leaf::destroy(first_);
    root_ = first_ = last_ = nullptr;
    return;
  }
  while (root_->level != 0 && root_->count == 1) {
    auto* const inner = static_cast<Inner*>(root_);
    root_ = inner->children[0];
    root_->parent = nullptr;
    delete inner;
  }
}

/// Moves entries of one leaf to an empty one that nobody searches; without one they own nothing and just go.
VORNIK_TREE(void)::cut(Leaf* leaf, unsigned first, unsigned count, Leaf* to) noexcept {
  Nodes::template freeSlots<Positions>(leaf, first, first + count);
  if (to != nullptr) {
    relocate(leaf->details() + first, count, to->details());
    relocate(leaf->values() + first, count, to->values());
    to->count = static_cast<std::uint16_t>(count);
  }
  Nodes::closeEntries(leaf, first, count);
  size_ -= count;
}

VORNIK_TREE(VORNIK_TREE_TYPE(RemovedRange))::extract(Place first, Place last) {
  if (first == last) return RemovedRange(nullptr);
  if (first == begin() && last == end()) return extractAll();

  // What goes: the part of the first leaf behind `first`, whole leaves, the part of the last one before
  // `last`.
  const bool withinLeaf = first.leaf == last.leaf;
  const bool cutsFirst = withinLeaf || first.index != 0;
  const bool cutsLast = !withinLeaf && last.leaf != nullptr && last.index != 0;
  Reserve ofFirst, ofLast;
  if constexpr (RemovedRange::kEntriesOwn) {
    if (cutsFirst) ofFirst.leaf = Leaf::create(Sizes::kLeaf);
    if (cutsLast) ofLast.leaf = Leaf::create(Sizes::kLeaf);
  }

  // Nothing fails from here on.
  change_ = ++lastChange;
  Leaf* removed = nullptr;
  Leaf** link = &removed;
  Leaf* whole = first.leaf;
  Leaf* before = cutsFirst ? first.leaf : first.leaf->previous;
  if (cutsFirst) {
    const unsigned behind = (withinLeaf ? last.index : first.leaf->count) - first.index;
    cut(first.leaf, first.index, behind, ofFirst.leaf);
    if (!withinLeaf) renewSeparator(first.leaf, first.leaf->routes(), first.leaf->count - 1u);
    if (ofFirst.leaf != nullptr) link = &(*link = std::exchange(ofFirst.leaf, nullptr))->next;
    whole = withinLeaf ? last.leaf : first.leaf->next;
  }
  if (cutsLast) cut(last.leaf, 0, last.index, ofLast.leaf);
  if (whole != last.leaf) {
    Leaf* lastWhole = nullptr;
    for (Leaf* leaf = whole; leaf != last.leaf;) {
      Inner* const parent = leaf->parent;
      const unsigned at = parent->indexOf(leaf);
      unsigned count = 0;
      for (; leaf != last.leaf && leaf->parent == parent; leaf = leaf->next, ++count) {
        Nodes::template freeSlots<Positions>(leaf, 0, leaf->count);
        size_ -= leaf->count;
        lastWhole = leaf;
      }
      removeChildren(parent, at, count);
    }
    unlink(whole, lastWhole);
    *link = whole;
    link = &lastWhole->next;
  }
  if (ofLast.leaf != nullptr) *link = std::exchange(ofLast.leaf, nullptr);
  // The left of two that merge is the one that stays, so `before` outlives what becomes of the last leaf.
  if (last.leaf != nullptr) rebalance(last.leaf, true);
  if (before != nullptr && !withinLeaf) rebalance(before, true);
  return RemovedRange(removed);
}

// ---- Copies

/// A copy of a node and all below it; its leaves go to the end of this tree's chain. Throws std::bad_alloc.
VORNIK_TREE(VORNIK_TREE_TYPE(Node*))::copyOf(Node* node) {
  if (node->level == 0) return copyOfLeaf(static_cast<Leaf*>(node));
  auto* const source = static_cast<Inner*>(node);
  auto* const copy = new Inner;
  copy->level = source->level;
  try {
    for (unsigned i = 0; i < source->count; ++i) {
      // The copies made so far end with the greatest entry below the child before this one.
      if (i != 0) copy->separators().insert(i - 1, i - 1, last_->routes(), last_->count - 1u);
      copy->adopt(i, copyOf(source->children[i]));
      ++copy->count;
    }
  } catch (...) {
    destroyInner(copy);
    throw;
  }
  return copy;
}

VORNIK_TREE(VORNIK_TREE_TYPE(Leaf*))::copyOfLeaf(Leaf* source) {
  Leaf* const copy = Leaf::create(source->capacity);
  copy->previous = last_;
  (last_ != nullptr ? last_->next : first_) = copy;
  last_ = copy;
  copy->common = source->common;
  if constexpr (kNumbered) std::copy_n(source->numbers(), source->count, copy->numbers());
  if constexpr (kDetailed) {
    for (unsigned i = 0; i < source->count; ++i) copy->details()[i] = Order::hold(source->details()[i]);
  }
  if constexpr (!std::is_empty_v<Value>) {
    std::uninitialized_copy_n(source->values(), source->count, copy->values());
  }
  copy->count = source->count;
  return copy;
}

#undef VORNIK_TREE
#undef VORNIK_TREE_TYPE

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_ORDERED_TREE_CHANGES_H
