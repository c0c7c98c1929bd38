// The shape of the ordered tree: the chain of its leaves, the inner nodes that lead to them, the separators,
// and how they change.
//
// Everything goes by place alone. Nothing here compares keys, so no answer of an order can damage the tree. A
// change reserves what it needs before it begins, and nothing fails from then on. No entry dies here: whoever
// takes entries out has them afterwards, so that what runs when they die meets a whole tree.
#ifndef VORNIK_STRUCTURES_TREE_SHAPE_H
#define VORNIK_STRUCTURES_TREE_SHAPE_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include "plugin/structures/tree_nodes.h"
#include "plugin/structures/tree_paths.h"

namespace vornik {

/// Owner is what positions know as the container of their entries.
template <typename Owner, typename Value, typename Order, typename Sizes>
class TreeShape {
  using Nodes = TreeNodes<Owner, Value, Order, Sizes>;
  using Paths = TreePaths<Nodes>;
  using View = Routes<Order>;
  using OwnedLeaf = typename Nodes::OwnedLeaf;
  using SpareInners = typename Nodes::SpareInners;

 public:
  using Node = typename Nodes::Node;
  using Leaf = typename Nodes::Leaf;
  using Inner = typename Nodes::Inner;
  using Positions = typename Nodes::Positions;

  /// An entry, or the end (no leaf). Good until the next change.
  struct Place {
    Leaf* leaf = nullptr;
    unsigned index = 0;
    friend bool operator==(const Place&, const Place&) = default;
  };

  TreeShape() = default;
  TreeShape(const TreeShape&) = delete;
  TreeShape& operator=(const TreeShape&) = delete;

  Node* root() const { return root_; }  ///< null in an empty tree, as are the next two
  Leaf* first() const { return first_; }
  Leaf* last() const { return last_; }
  std::size_t size() const { return size_; }  ///< in entries

  /// Whether the chain leads from `first` to `last`. Logarithmic.
  static bool reaches(Place first, Place last) {
    if (last.leaf == nullptr) return true;
    if (first.leaf == nullptr) return false;
    if (first.leaf == last.leaf) return first.index <= last.index;
    return Paths::isBefore(first.leaf, last.leaf);
  }

  // ---- Insertion: where there is room an entry is opened; a full leaf is split first and settled afterwards

  static bool hasRoom(Place place) {
    return place.leaf != nullptr && place.leaf->count < place.leaf->capacity;
  }
  /// Whether a leaf has as many entries as any can have.
  static bool isFull(Place place) { return place.leaf != nullptr && place.leaf->count == Sizes::kLeaf; }

  /// Makes room in an empty tree, or in a leaf that is the whole tree and smaller than others, and answers
  /// where the place is then. std::bad_alloc with nothing changed.
  Place enlarge(Place place) {
    if (place.leaf == nullptr) {
      root_ = first_ = last_ = Leaf::create(Sizes::kFirstLeaf);
      return {first_, 0};
    }
    OwnedLeaf greater(Leaf::create(std::min(place.leaf->capacity * 4u, Sizes::kLeaf)));
    if (place.leaf->anchors != nullptr) greater->reserveAnchors();
    Nodes::moveEntries(place.leaf, 0, greater.get());
    Leaf::destroy(place.leaf);
    root_ = first_ = last_ = greater.release();
    return {first_, place.index};
  }

  /// Two neighbours instead of a full leaf, one of which no inner node leads to yet.
  struct Split {
    Place room;         ///< for the entry
    Leaf* left;         ///< of the two
    Leaf* fresh;        ///< the new one of them
    bool isHalf;        ///< whether the new one has half of the other's entries
    SpareInners spare;  ///< what settling takes
  };

  /// Splits a full leaf for an entry in front of `place`, which may be behind its last one. Half of the
  /// entries move to a new leaf behind it. At either end of the tree the full leaf stays as it is and the new
  /// entry has the new leaf for itself, so that keys that come in order fill their leaves. std::bad_alloc
  /// with nothing changed. The entry must be opened and the leaf settled before anything fails or searches.
  Split split(Place place) {
    Leaf* const leaf = place.leaf;
    const bool behindAll = leaf == last_ && place.index == leaf->count;
    const bool beforeAll = leaf == first_ && place.index == 0;
    const unsigned kept = behindAll || beforeAll ? leaf->count : leaf->count / 2u;

    SpareInners spare;
    OwnedLeaf reserved(Leaf::create(Sizes::kLeaf));
    if (leaf->anchors != nullptr && kept != leaf->count) reserved->reserveAnchors();
    const Inner* parent = leaf->parent;
    for (; parent != nullptr && parent->count == parent->capacity; parent = parent->parent) spare.add();
    if (parent == nullptr) spare.add();

    // Nothing fails from here on.
    const bool isHalf = kept != leaf->count;
    Leaf* const fresh = reserved.release();
    fresh->previous = beforeAll ? nullptr : leaf;
    fresh->next = beforeAll ? leaf : leaf->next;
    (fresh->previous != nullptr ? fresh->previous->next : first_) = fresh;
    (fresh->next != nullptr ? fresh->next->previous : last_) = fresh;
    Nodes::moveEntries(leaf, kept, fresh);
    if (!isHalf) {
      place = {fresh, 0};
    } else if (place.index > kept) {
      place = {fresh, place.index - kept};
    }
    return {place, beforeAll ? fresh : leaf, fresh, isHalf, std::move(spare)};
  }

  /// Opens an entry where there is room; its route and value are the caller's to construct.
  void open(Place place) noexcept {
    Nodes::openEntry(place.leaf, place.index);
    ++size_;
  }

  /// Lets inner nodes lead to the new leaf of a split. May ask the host for what the keys of split
  /// nodes hold.
  void settle(Split& split) {
    Leaf* const left = split.left;
    Leaf* const right = left->next;
    if constexpr (View::kShares) {
      if (split.isHalf) {
        tighten(left->routes(), left->count);
        tighten(right->routes(), right->count);
      }
    }
    attach(left, right, split.fresh, left->routes(), left->count - 1u, split.spare);
  }

  // ---- Removal

  /// Makes the position of an entry stale.
  static void freeSlot(Place place) noexcept { Nodes::freeSlots(place.leaf, place.index, place.index + 1); }

  /// Closes the gap that an entry without a slot has left.
  void close(Place place) noexcept {
    Leaf* const leaf = place.leaf;
    Nodes::closeEntries(leaf, place.index, 1);
    --size_;
    if (place.index == leaf->count && leaf->count != 0) {
      Paths::renewSeparator(leaf, leaf->routes(), leaf->count - 1u);
    }
    if (leaf->count < Sizes::kLeastLeaf) rebalance(leaf, false);
  }

  /// Takes the entries from `first` up to, not including, `last` out, which are some and not all, and makes
  /// their positions stale. Answers a chain of leaves with what they own, which is the caller's. What is cut
  /// out of the leaves at the edges goes to leaves that are reserved first (std::bad_alloc), or nowhere where
  /// entries own nothing; the leaves between go as they are.
  template <bool kEntriesOwn>
  Leaf* extract(Place first, Place last) {
    const bool withinLeaf = first.leaf == last.leaf;
    const bool cutsFirst = withinLeaf || first.index != 0;
    const bool cutsLast = !withinLeaf && last.leaf != nullptr && last.index != 0;
    OwnedLeaf ofFirst, ofLast;
    if constexpr (kEntriesOwn) {
      if (cutsFirst) ofFirst.reset(Leaf::create(Sizes::kLeaf));
      if (cutsLast) ofLast.reset(Leaf::create(Sizes::kLeaf));
    }

    // Nothing fails from here on.
    Leaf* removed = nullptr;
    Leaf** link = &removed;
    Leaf* whole = first.leaf;
    Leaf* const before = cutsFirst ? first.leaf : first.leaf->previous;
    if (cutsFirst) {
      const unsigned behind = (withinLeaf ? last.index : first.leaf->count) - first.index;
      cut(first.leaf, first.index, behind, ofFirst.get());
      if (!withinLeaf) Paths::renewSeparator(first.leaf, first.leaf->routes(), first.leaf->count - 1u);
      if (ofFirst != nullptr) link = &(*link = ofFirst.release())->next;
      whole = withinLeaf ? last.leaf : first.leaf->next;
    }
    if (cutsLast) cut(last.leaf, 0, last.index, ofLast.get());
    if (whole != last.leaf) {
      Leaf* const lastWhole = removeWhole(whole, last.leaf);
      *link = whole;
      link = &lastWhole->next;
    }
    if (ofLast != nullptr) *link = ofLast.release();
    // The left of two that merge is the one that stays, so `before` outlives what becomes of the last leaf.
    if (last.leaf != nullptr) rebalance(last.leaf, true);
    if (before != nullptr && !withinLeaf) rebalance(before, true);
    return removed;
  }

  /// Takes all entries out, as a chain of leaves that is the caller's, and makes their positions stale.
  /// Linear in the number of leaves and positions.
  Leaf* extractAll() noexcept {
    freeAllSlots();
    if (root_ != nullptr) Paths::destroyInner(std::exchange(root_, nullptr));
    last_ = nullptr;
    size_ = 0;
    return std::exchange(first_, nullptr);
  }

  void freeAllSlots() noexcept {
    for (Leaf* leaf = first_; leaf != nullptr; leaf = leaf->next) Nodes::freeSlots(leaf, 0, leaf->count);
  }

  // ---- Copies

  /// Makes this empty tree a copy of another, node by node. Where it throws std::bad_alloc, the entries
  /// copied so far are here for extractAll to take.
  void copyFrom(const TreeShape& other) {
    if (other.root_ == nullptr) return;
    root_ = copyOf(other.root_);
    size_ = other.size_;
  }

 private:
  static void tighten(const View& routes, unsigned count) {
    Order::template tighten<Sizes::kMostRoutes>(routes, count);
  }

  /// Gives `fresh`, one of two neighbours, its place in the other's parent. greatest[index] is the greatest
  /// route below `left`, and the separator between the two.
  void attach(Node* left, Node* right, Node* fresh, View greatest, unsigned index, SpareInners& spare) {
    Node* const neighbour = fresh == left ? right : left;
    Inner* parent = neighbour->parent;
    if (parent == nullptr) {
      parent = spare.take();
      parent->level = static_cast<std::uint16_t>(left->level + 1);
      parent->insertChild(0, left);
      parent->insertChild(1, right);
      parent->separators().insert(0, 0, greatest, index);
      root_ = parent;
      return;
    }
    unsigned at = parent->indexOf(neighbour);
    if (parent->count == parent->capacity) {
      Inner* const sibling = spare.take();
      sibling->level = parent->level;
      if (Paths::isOutermost(parent, at, fresh == left)) {
        // As with leaves: at either end of the tree the full node stays, and the fresh one begins a new.
        sibling->insertChild(0, fresh);
        if (fresh == left) return attach(sibling, parent, sibling, greatest, index, spare);
        return attach(parent, sibling, sibling, greatest, index, spare);
      }
      const unsigned kept = parent->capacity / 2u;
      const unsigned separators = parent->separatorCount();
      parent->moveChildren(kept, sibling);
      parent->separators().moveTail(separators, kept, sibling->separators());
      if constexpr (View::kShares) {
        tighten(parent->separators(), kept);
        tighten(sibling->separators(), separators - kept);
      }
      // The separator behind the children that stay becomes the one between the halves.
      attach(parent, sibling, sibling, parent->separators(), kept - 1, spare);
      View::fill(parent->numbers.data() + kept - 1, 1);
      if (at >= kept) {
        parent = sibling;
        at -= kept;
      }
    }
    parent->separators().insert(parent->separatorCount(), at, greatest, index);
    parent->insertChild(fresh == left ? at : at + 1, fresh);
  }

  /// Moves entries of one leaf to an empty one that nobody searches; without one they own nothing and
  /// just go.
  void cut(Leaf* leaf, unsigned first, unsigned count, Leaf* to) noexcept {
    Nodes::freeSlots(leaf, first, first + count);
    if (to != nullptr) {
      relocate(leaf->details() + first, count, to->details());
      relocate(leaf->values() + first, count, to->values());
      to->count = static_cast<std::uint16_t>(count);
    }
    Nodes::closeEntries(leaf, first, count);
    size_ -= count;
  }

  /// Takes the leaves from `first` up to, not including, `end` out of the tree; they stay chained. Answers
  /// the last of them.
  Leaf* removeWhole(Leaf* first, const Leaf* end) noexcept {
    Leaf* last = nullptr;
    for (Leaf* leaf = first; leaf != end;) {
      Inner* const parent = leaf->parent;
      const unsigned at = parent->indexOf(leaf);
      unsigned count = 0;
      for (; leaf != end && leaf->parent == parent; leaf = leaf->next, ++count) {
        Nodes::freeSlots(leaf, 0, leaf->count);
        size_ -= leaf->count;
        last = leaf;
      }
      Paths::removeChildren(parent, at, count);
    }
    unlink(first, last);
    return last;
  }

  /// Takes leaves that are neighbours out of the chain; they stay chained to each other.
  void unlink(Leaf* first, Leaf* last) noexcept {
    (first->previous != nullptr ? first->previous->next : first_) = last->next;
    (last->next != nullptr ? last->next->previous : last_) = first->previous;
    last->next = nullptr;
  }

  /// The right of two neighbours goes; the left has what both had.
  void merge(Node* left, Node* right) noexcept {
    Inner* const parent = left->parent;
    const unsigned at = parent->indexOf(left);
    if (left->level == 0) {
      auto* const leaf = static_cast<Leaf*>(right);
      Nodes::appendEntries(static_cast<Leaf*>(left), leaf);
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
  void rebalance(Node* node, bool wholePath) noexcept {
    while (Inner* const parent = node->parent) {
      const bool isLeaf = node->level == 0;
      Node* above = parent;
      if (node->count == 0) {
        auto* const leaf = static_cast<Leaf*>(node);
        while (above->count == 1) above = above->parent;  // goes with its only child
        unlink(leaf, leaf);
        Paths::removeChildren(parent, parent->indexOf(leaf), 1);
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

  void shortenRoot() noexcept {
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

  /// A copy of a node and all below it; its leaves go to the end of this tree's chain. Throws std::bad_alloc.
  Node* copyOf(Node* node) {
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
      Paths::destroyInner(copy);
      throw;
    }
    return copy;
  }

  Leaf* copyOfLeaf(Leaf* source) {
    Leaf* const copy = Leaf::create(source->capacity);
    copy->previous = last_;
    (last_ != nullptr ? last_->next : first_) = copy;
    last_ = copy;
    Nodes::copyEntries(source, copy);
    return copy;
  }

  Node* root_ = nullptr;
  Leaf* first_ = nullptr;
  Leaf* last_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_SHAPE_H
