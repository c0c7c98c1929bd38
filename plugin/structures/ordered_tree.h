// The ordered container behind the ordered classes: unique keys in an ordered tree, with safe positions.
#ifndef VORNIK_STRUCTURES_ORDERED_TREE_H
#define VORNIK_STRUCTURES_ORDERED_TREE_H

#include <cstddef>
#include <iterator>
#include <map>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/structures/positions.h"

namespace vornik {

/// Key and Value are what entries hold; Order is a transparent less-than over keys.
///
/// Destroying keys and values can run host code, and host code can come back to this very container. Whatever
/// takes entries out therefore hands them to the caller, who lets them die once the container is whole again.
/// Every operation leaves the container as it was when it throws.
template <typename Key, typename Value, typename Order>
class OrderedTree {
  struct Entry;
  using Tree = std::map<Key, Entry, Order>;

 public:
  using Policy = Order;
  using Place = typename Tree::iterator;
  using Positions = PositionTable<OrderedTree, Place>;
  /// Entries that have left the container but still hold their keys and values.
  using Removed = typename Tree::node_type;
  using RemovedRange = std::vector<Removed>;

  OrderedTree() = default;
  OrderedTree(const OrderedTree&) = delete;
  OrderedTree& operator=(const OrderedTree&) = delete;
  ~OrderedTree() {
    // Before any entry dies, so that no host code can reach one that is about to.
    if constexpr (kEntriesRunHostCode) forgetPositions();
  }

  std::size_t size() const { return tree_.size(); }
  bool empty() const { return tree_.empty(); }
  Place begin() { return tree_.begin(); }
  Place end() { return tree_.end(); }

  /// The key's entry, or the end. Logarithmic, as are the two bounds.
  template <typename Probe>
  Place find(const Probe& key) {
    return tree_.find(key);
  }
  template <typename Probe>
  Place lowerBound(const Probe& key) {
    return tree_.lower_bound(key);
  }
  template <typename Probe>
  Place upperBound(const Probe& key) {
    return tree_.upper_bound(key);
  }

  static const Key& key(Place place) { return place->first; }
  static Value& value(Place place) { return place->second.value; }
  static Place next(Place place) { return std::next(place); }
  static Place previous(Place place) { return std::prev(place); }

  /// The key's entry; a new one with an empty value where there is none. Logarithmic.
  template <typename Probe>
  Place findOrInsert(const Probe& key) {
    if constexpr (std::is_same_v<Probe, Key>) return tree_.try_emplace(key).first;
    const Place place = tree_.lower_bound(key);
    if (place != tree_.end() && !tree_.key_comp()(key, place->first)) return place;
    return tree_.try_emplace(place, Key(key));
  }

  /// Appends copies of all entries of `other`, which has the same order, to this empty container. Linear.
  /// Where Variants of different types are in no consistent order, the sequence is kept as far as neighbours
  /// agree with it.
  void copyFrom(OrderedTree& other) {
    for (auto& [key, entry] : other.tree_) tree_.try_emplace(tree_.end(), key)->second.value = entry.value;
  }

  /// Takes out one entry. Amortised constant.
  [[nodiscard]] Removed extract(Place place) {
    place->second.anchor.release();
    return tree_.extract(place);
  }

  /// Takes out the entries from `first` up to, not including, `last`, which must be reachable from it.
  [[nodiscard]] RemovedRange extract(Place first, Place last) {
    RemovedRange removed;
    if constexpr (kEntriesRunHostCode) {
      removed.reserve(static_cast<std::size_t>(std::distance(first, last)));
      while (first != last) removed.push_back(extract(first++));
    } else {
      tree_.erase(first, last);
    }
    return removed;
  }

  /// Takes out everything. The end position stays what it was.
  [[nodiscard]] Tree extractAll() {
    if constexpr (kEntriesRunHostCode) forgetEntryPositions();
    return std::exchange(tree_, Tree());
  }

  /// Makes every position of this container stale, that of its end included. Linear.
  void forgetPositions() noexcept {
    end_.release();
    forgetEntryPositions();
  }

  /// Whether MoveNext leads from `first` to `last`. Linear in the distance between them, or to the end.
  bool reaches(Place first, Place last) {
    if (last == tree_.end()) return true;
    while (first != last && first != tree_.end()) ++first;
    return first == last;
  }

  /// The handle of a place in this container; may throw std::bad_alloc. Amortised constant.
  PositionHandle handle(Place place) {
    return place == tree_.end() ? end_.handle(this, place) : place->second.anchor.handle(this, place);
  }

 private:
  using Anchor = PositionAnchor<Positions>;
  struct Entry {
    [[no_unique_address]] Value value{};
    Anchor anchor;
  };
  static constexpr bool kEntriesRunHostCode =
      !std::is_trivially_destructible_v<Key> || !std::is_trivially_destructible_v<Value>;

  void forgetEntryPositions() noexcept {
    for (auto& [key, entry] : tree_) entry.anchor.release();
  }
  Tree tree_;
  Anchor end_;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_ORDERED_TREE_H
