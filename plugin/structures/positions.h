// Positions that stay safe whatever happens to the container they point into.
//
// Script code makes iterators by the million, gets no call when one goes, and keeps them after their entry or
// their container has gone. So an iterator holds no address but a handle: the number of a slot in a
// process-wide table per container type, and the generation that the slot had when the handle was made. The
// slot knows the place. An entry gets a slot when the first iterator reaches it and shares it with all later
// ones; when the entry goes, the slot is freed and its generation raised, so that every handle to it is
// recognised as stale for ever.
//
// So iterators cost nothing beyond the slots of the entries and containers that have one. Slots lie in blocks
// of 256. A block that no entry uses gives its memory back, but for a spare one; a single slot in use keeps
// it whole. Its record, 24 bytes, stays for ever, as old handles must stay stale. What positions cost is thus
// bounded by the most slots that were ever in use together, and goes down only by blocks.
//
// The tables are shared by all containers of a type and take no lock: containers belong on one thread.
#ifndef VORNIK_STRUCTURES_POSITIONS_H
#define VORNIK_STRUCTURES_POSITIONS_H

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace vornik {

/// Generation in the upper half, slot number in the lower. Equal handles are equal positions. 0 is
/// no position.
using PositionHandle = std::uint64_t;

/// Number of a slot; 0 is none.
using SlotNumber = std::uint32_t;

/// For containers whose places are an index and nothing else.
struct NoNode {};

/// All positions into containers of one type. A place is a node of the container and an index, which the
/// container interprets: it may be exact, or a hint that the container corrects. Node is trivially copyable;
/// with NoNode a slot takes 16 bytes, with a pointer 24.
template <typename Container, typename Node = NoNode>
class PositionTable {
 public:
  struct Slot {
    Container* owner = nullptr;  ///< null in a free slot
    [[no_unique_address]] Node node{};
    std::uint32_t generation = 1;
    std::uint32_t index = 0;  ///< in a free slot: the next free one of the block
  };
  static_assert(std::is_trivially_copyable_v<Node>);
  static_assert(sizeof(Slot) == (std::is_empty_v<Node> ? 16 : 24));

  /// A free slot for this position; std::bad_alloc, with nothing changed, when there is none and no memory.
  /// Amortised constant.
  static SlotNumber take(Container* owner, Node node, std::uint32_t index) {
    if (withFree_ == kNone) addBlock();
    const std::uint32_t number = withFree_;
    Block& block = blocks_[number];
    if (block.slots == nullptr) allocate(block);
    const std::uint32_t inBlock = block.firstFree;
    Slot& slot = block.slots[inBlock];
    block.firstFree = slot.index;
    if (block.firstFree == kNone) withFree_ = block.nextWithFree;
    if (block.inUse++ == 0 && spare_ == number) spare_ = kNone;
    slot.owner = owner;
    slot.node = node;
    slot.index = index;
    return number * kBlockSize + inBlock + 1;
  }

  /// Points a slot that is in use to the place where its entry lies now.
  static void move(SlotNumber number, Node node, std::uint32_t index) noexcept {
    Slot& slot = slotOf(number);
    slot.node = node;
    slot.index = index;
  }

  /// Frees a slot; every handle to it is stale from now on. Amortised constant.
  static void free(SlotNumber number) noexcept {
    const std::uint32_t blockNumber = (number - 1) / kBlockSize;
    Block& block = blocks_[blockNumber];
    Slot& slot = slotOf(number);
    slot.owner = nullptr;
    // A slot whose generations are used up is retired: a second round would revive handles of the first.
    if (++slot.generation == 0) return;
    if (block.firstFree == kNone) block.nextWithFree = std::exchange(withFree_, blockNumber);
    slot.index = std::exchange(block.firstFree, (number - 1) % kBlockSize);
    if (--block.inUse != 0) return;
    // One block stays for the next position, so that a lone one that comes and goes costs no allocation.
    if (spare_ != kNone) release(blocks_[spare_]);
    spare_ = blockNumber;
  }

  static PositionHandle handle(SlotNumber number) noexcept {
    return PositionHandle{slotOf(number).generation} << 32 | number;
  }

  /// The slot of a handle, or null when the handle is stale. Good until the slot is freed. Constant.
  static Slot* resolve(PositionHandle handle) noexcept {
    const std::uint32_t place = static_cast<SlotNumber>(handle) - 1;
    if (place / kBlockSize >= blockCount_) return nullptr;
    Slot* const slots = blocks_[place / kBlockSize].slots;
    if (slots == nullptr) return nullptr;
    Slot& slot = slots[place % kBlockSize];
    return slot.generation == handle >> 32 ? &slot : nullptr;
  }

 private:
  friend struct PositionTableTest;

  static constexpr std::uint32_t kBlockSize = 256;
  static constexpr std::uint32_t kMaximumBlocks = std::numeric_limits<SlotNumber>::max() / kBlockSize;
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  /// Stays when its slots give their memory back, and knows what generation they must begin with again.
  struct Block {
    Slot* slots = nullptr;
    std::uint32_t inUse = 0;       ///< slots, retired ones included
    std::uint32_t generation = 1;  ///< with which the slots begin when they get memory again
    std::uint32_t firstFree = kNone;
    std::uint32_t nextWithFree = kNone;  ///< of the blocks that have a free slot
  };

  static_assert(sizeof(Block) == 24);

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
      block.slots[index].index = index + 1 < kBlockSize ? index + 1 : kNone;
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

/// The slot of a container's end position. Destruction frees it.
template <typename Table>
class EndPosition {
 public:
  EndPosition() = default;
  EndPosition(const EndPosition&) = delete;
  EndPosition& operator=(const EndPosition&) = delete;
  ~EndPosition() { release(); }

  /// The handle of the end, which has no node and index 0; takes a slot at the first call (std::bad_alloc).
  template <typename Container>
  PositionHandle handle(Container* owner) {
    if (slot_ == 0) slot_ = Table::take(owner, {}, 0);
    return Table::handle(slot_);
  }
  /// Makes every handle given out so far stale.
  void release() noexcept {
    if (slot_ != 0) Table::free(std::exchange(slot_, 0));
  }

 private:
  SlotNumber slot_ = 0;
};

/// Stamps for changes of structure, unique in the process. A container takes a new one with every change.
/// Whoever calls host code in the middle of a walk compares: while the container is still there with the same
/// stamp, places are what they were.
using ChangeStamp = std::uint64_t;
inline ChangeStamp newChangeStamp() noexcept {
  static constinit ChangeStamp last = 0;
  return ++last;
}

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_POSITIONS_H
