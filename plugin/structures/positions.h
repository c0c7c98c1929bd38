// Positions that stay safe whatever happens to the container they point into.
//
// Script code makes iterators by the million, gets no call when one goes, and keeps them after their entry or
// their container has gone. So an iterator holds no address but a handle: the number of a slot in a
// process-wide table per container type, and the generation that the slot had when the handle was made. The
// slot knows the place. An entry gets a slot when the first iterator reaches it and shares it with all later
// ones; when the entry goes, the slot is freed and its generation raised, so that every handle to it is
// recognised as stale for ever. Slots lie in blocks, and a block that no entry uses gives its memory back:
// what positions cost is bounded by the entries and containers that have one.
#ifndef VORNIK_STRUCTURES_POSITIONS_H
#define VORNIK_STRUCTURES_POSITIONS_H

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
    if (withFree_ == kNone) addBlock();
    const std::uint32_t number = withFree_;
    Block& block = blocks_[number];
    if (block.slots == nullptr) allocate(block);
    const std::uint32_t index = block.firstFree;
    Slot& slot = block.slots[index];
    block.firstFree = slot.nextFree;
    if (block.firstFree == kNone) withFree_ = block.nextWithFree;
    if (block.inUse++ == 0 && spare_ == number) spare_ = kNone;
    slot.position = {owner, place};
    return number * kBlockSize + index + 1;
  }

  /// Frees a slot; every handle to it is stale from now on. Amortised constant.
  static void free(SlotNumber number) noexcept {
    const std::uint32_t blockNumber = (number - 1) / kBlockSize;
    Block& block = blocks_[blockNumber];
    Slot& slot = slotOf(number);
    slot.position.owner = nullptr;
    // A slot whose generations are used up is retired: a second round would revive handles of the first.
    if (++slot.generation == 0) return;
    if (block.firstFree == kNone) block.nextWithFree = std::exchange(withFree_, blockNumber);
    slot.nextFree = std::exchange(block.firstFree, (number - 1) % kBlockSize);
    if (--block.inUse != 0) return;
    // One block stays for the next position, so that a lone one that comes and goes costs no allocation.
    if (spare_ != kNone) release(blocks_[spare_]);
    spare_ = blockNumber;
  }

  static PositionHandle handle(SlotNumber number) noexcept {
    return PositionHandle{slotOf(number).generation} << 32 | number;
  }

  /// Where the handle points, or null when it is stale. Valid until the slot is freed. Constant.
  static const Position* resolve(PositionHandle handle) noexcept {
    const std::uint32_t place = static_cast<SlotNumber>(handle) - 1;
    if (place / kBlockSize >= blockCount_) return nullptr;
    const Slot* const slots = blocks_[place / kBlockSize].slots;
    if (slots == nullptr) return nullptr;
    const Slot& slot = slots[place % kBlockSize];
    return slot.generation == handle >> 32 ? &slot.position : nullptr;
  }

 private:
  friend struct PositionTableTest;

  static constexpr std::uint32_t kBlockSize = 256;
  static constexpr std::uint32_t kMaximumBlocks = std::numeric_limits<SlotNumber>::max() / kBlockSize;
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  struct Slot {
    Position position{nullptr, Place{}};
    std::uint32_t generation = 1;
    std::uint32_t nextFree = kNone;  ///< in the same block
  };
  /// Stays when its slots give their memory back, so that old handles stay stale.
  struct Block {
    Slot* slots = nullptr;
    std::uint32_t inUse = 0;       ///< slots, retired ones included
    std::uint32_t generation = 1;  ///< with which the slots begin when they get memory again
    std::uint32_t firstFree = kNone;
    std::uint32_t nextWithFree = kNone;  ///< of the blocks that have a free slot
  };

  static Slot& slotOf(SlotNumber number) noexcept {
    return blocks_[(number - 1) / kBlockSize].slots[(number - 1) % kBlockSize];
  }

  static void addBlock() {
    if (blockCount_ == kMaximumBlocks) throw std::bad_alloc();
    if (blockCount_ == blockCapacity_) {
      const std::uint32_t capacity = std::max(std::uint32_t{16}, blockCapacity_ * 2);
      auto* const blocks = new Block[capacity];
      std::copy_n(blocks_, blockCount_, blocks);
      delete[] blocks_;
      blocks_ = blocks;
      blockCapacity_ = capacity;
    }
    withFree_ = blockCount_++;
  }

  static void allocate(Block& block) {
    block.slots = new Slot[kBlockSize];
    for (std::uint32_t index = 0; index < kBlockSize; ++index) {
      block.slots[index].generation = block.generation;
      block.slots[index].nextFree = index + 1 < kBlockSize ? index + 1 : kNone;
    }
    block.firstFree = 0;
  }

  /// Gives the memory of an unused block back. Its slots begin again behind every generation they had.
  static void release(Block& block) noexcept {
    for (std::uint32_t index = 0; index < kBlockSize; ++index) {
      block.generation = std::max(block.generation, block.slots[index].generation);
    }
    delete[] std::exchange(block.slots, nullptr);
  }

  // Lives as long as the process: host objects may be destroyed after static destructors have run.
  static inline constinit Block* blocks_ = nullptr;
  static inline constinit std::uint32_t blockCount_ = 0;
  static inline constinit std::uint32_t blockCapacity_ = 0;
  static inline constinit std::uint32_t withFree_ = kNone;  ///< the first block with a free slot
  static inline constinit std::uint32_t spare_ = kNone;     ///< the unused block that keeps its memory
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

#endif  // VORNIK_STRUCTURES_POSITIONS_H
