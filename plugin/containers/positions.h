// Positions that stay safe whatever happens to the container they point into.
//
// Script code makes iterators by the million, gets no call when one goes, and keeps them after their entry or
// their container has gone. So an iterator holds no address but a handle: the number of a slot in a
// process-wide table per container type, and the generation that the slot had when the handle was made. The
// slot knows the place. An entry gets a slot when the first iterator reaches it and shares it with all later
// ones; when the entry goes, the slot is freed and its generation raised, so that every handle to it is
// recognised as stale for ever. Memory is bounded by the largest number of entries that ever had a position
// at one time.
#ifndef VORNIK_CONTAINERS_POSITIONS_H
#define VORNIK_CONTAINERS_POSITIONS_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <utility>

namespace vornik {

/// Generation in the upper half, slot number in the lower. Equal handles are equal positions. 0 is no
/// position.
using PositionHandle = std::uint64_t;

/// Number of a slot; 0 is none.
using SlotNumber = std::uint32_t;

/// All positions into containers of one type. Place is what such a container uses to designate an entry or
/// its end; it must be trivially copyable.
template <typename Container, typename Place>
class PositionTable {
 public:
  struct Position {
    Container* owner;
    Place place;
  };

  /// A free slot for this position; std::bad_alloc, with nothing changed, when there is none and no memory.
  /// Amortised constant.
  static SlotNumber take(Container* owner, Place place) {
    if (firstFree_ == 0) grow();
    const SlotNumber number = firstFree_;
    Slot& slot = slots_[number];
    firstFree_ = slot.nextFree;
    slot.position = {owner, place};
    return number;
  }

  /// Frees a slot; every handle to it is stale from now on. Constant.
  static void free(SlotNumber number) noexcept {
    Slot& slot = slots_[number];
    slot.position.owner = nullptr;
    // A slot whose generations are used up is retired: a second round would revive handles of the first.
    if (++slot.generation == 0) return;
    slot.nextFree = firstFree_;
    firstFree_ = number;
  }

  static PositionHandle handle(SlotNumber number) noexcept {
    return PositionHandle{slots_[number].generation} << 32 | number;
  }

  /// Where the handle points, or null when it is stale. Valid until a slot is next taken. Constant.
  static const Position* resolve(PositionHandle handle) noexcept {
    const auto number = static_cast<SlotNumber>(handle);
    if (number >= capacity_) return nullptr;
    const Slot& slot = slots_[number];
    return slot.generation == handle >> 32 ? &slot.position : nullptr;
  }

 private:
  friend struct PositionTableTest;

  struct Slot {
    Position position{nullptr, Place{}};
    std::uint32_t generation = 1;
    SlotNumber nextFree = 0;
  };

  static void grow() {
    constexpr SlotNumber kMaximum = std::numeric_limits<SlotNumber>::max();
    if (capacity_ == kMaximum) throw std::bad_alloc();
    const SlotNumber capacity = capacity_ > kMaximum / 2 ? kMaximum : std::max(SlotNumber{64}, capacity_ * 2);
    Slot* const slots = new Slot[capacity];
    std::copy_n(slots_, capacity_, slots);
    delete[] slots_;
    slots_ = slots;
    // Slot 0 stays unused, so that 0 can stand for none.
    const SlotNumber firstNew = std::max(SlotNumber{1}, capacity_);
    for (SlotNumber number = capacity; number-- > firstNew;) {
      slots_[number].nextFree = firstFree_;
      firstFree_ = number;
    }
    capacity_ = capacity;
  }

  // Lives as long as the process: host objects may be destroyed after static destructors have run.
  static inline constinit Slot* slots_ = nullptr;
  static inline constinit SlotNumber capacity_ = 0;
  static inline constinit SlotNumber firstFree_ = 0;
};

/// The 32-bit field through which an entry, or a container for its end, owns its slot. Destruction frees the
/// slot.
template <typename Table>
class PositionAnchor {
 public:
  PositionAnchor() = default;
  PositionAnchor(const PositionAnchor&) = delete;
  PositionAnchor& operator=(const PositionAnchor&) = delete;
  ~PositionAnchor() { release(); }

  /// The handle of this place, which must be the anchor's own; takes a slot at the first call
  /// (std::bad_alloc).
  template <typename Container, typename Place>
  PositionHandle handle(Container* owner, Place place) {
    if (slot_ == 0) slot_ = Table::take(owner, place);
    return Table::handle(slot_);
  }
  bool isTaken() const { return slot_ != 0; }
  /// Makes every handle given out so far stale.
  void release() noexcept {
    if (slot_ != 0) Table::free(std::exchange(slot_, 0));
  }

 private:
  SlotNumber slot_ = 0;
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_POSITIONS_H
