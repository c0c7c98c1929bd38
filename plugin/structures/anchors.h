// Where the elements of a hash table keep the slots of their positions.
#ifndef VORNIK_STRUCTURES_ANCHORS_H
#define VORNIK_STRUCTURES_ANCHORS_H

#include <cstddef>
#include <utility>
#include <vector>

#include "plugin/structures/node_chain.h"
#include "plugin/structures/positions.h"

namespace vornik {

/// The slot numbers of a table's nodes, in an array beside them that is made when the first element gets a
/// position: a table that nobody walks has none. Constant time unless said otherwise.
template <typename Positions>
class Anchors {
 public:
  /// The handle of an element's place; may throw std::bad_alloc. The first one makes anchors for all nodes
  /// that there is room for.
  template <typename Container>
  PositionHandle handle(Container* owner, NodeIndex place, NodeIndex capacity) {
    if (place >= slots_.size()) {
      const std::size_t count = std::size_t{capacity} + 1;
      slots_.reserve(count);  // and no more
      slots_.resize(count);
    }
    SlotNumber& slot = slots_[place];
    if (slot == 0) {
      slot = Positions::take(owner, {}, place);
      ++positioned_;
    }
    return Positions::handle(slot);
  }

  /// Makes the element's position stale, if it has one.
  void forget(NodeIndex place) noexcept {
    if (positioned_ == 0 || !has(place)) return;
    Positions::free(std::exchange(slots_[place], 0));
    --positioned_;
  }
  /// Makes all positions stale. Linear.
  void forgetAll() noexcept {
    for (NodeIndex place = 1; positioned_ != 0; ++place) forget(place);
  }
  /// Gives the memory back, when all positions are stale.
  void release() noexcept { std::vector<SlotNumber>().swap(slots_); }

  /// Anchors for other nodes, to which the ones here can move; without any where there is none to
  /// move. std::bad_alloc.
  Anchors forMove(NodeIndex capacity) const {
    Anchors fresh;
    if (positioned_ != 0) fresh.slots_.resize(std::size_t{capacity} + 1);
    return fresh;
  }
  /// Lets an element's position follow it to its new node.
  void move(NodeIndex from, Anchors& target, NodeIndex to) noexcept {
    if (!has(from)) return;
    target.slots_[to] = slots_[from];
    ++target.positioned_;
    Positions::move(target.slots_[to], {}, to);
  }

  /// Has an element's anchor on its way to the cache.
  void fetch(NodeIndex place) const {
    if (place < slots_.size()) __builtin_prefetch(&slots_[place]);
  }

 private:
  bool has(NodeIndex place) const { return place < slots_.size() && slots_[place] != 0; }

  std::vector<SlotNumber>
      slots_;                   // of the first nodes, up to any number; 0 is none, and the others have none
  std::size_t positioned_ = 0;  // that are not 0
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_ANCHORS_H
