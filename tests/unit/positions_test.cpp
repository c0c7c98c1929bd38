#include "plugin/structures/positions.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace vornik {

/// Reaches into the table to age a slot, since four billion real generations take too long.
struct PositionTableTest {
  template <typename Table>
  static void setGeneration(SlotNumber number, std::uint32_t generation) {
    Table::slotOf(number).generation = generation;
  }
  template <typename Table>
  static int blocksInMemory() {
    int blocks = 0;
    for (std::uint32_t i = 0; i < Table::blockCount_; ++i) blocks += Table::blocks_[i].slots != nullptr;
    return blocks;
  }
};

namespace {

struct Owner {};
using Table = PositionTable<Owner>;

TEST(Positions, UnusedBlocksGiveTheirMemoryBackAndOldHandlesStayStale) {
  Owner owner;
  std::set<PositionHandle> stale{0, ~PositionHandle{0}, PositionHandle{1} << 32 | 0x7FFFFFFF};
  for (std::uint32_t round = 0; round < 20; ++round) {
    // Another part of the blocks each time, and one position that stays in the middle of them.
    const std::uint32_t used = 3000 - 149 * round;
    std::vector<PositionHandle> handles;
    for (std::uint32_t i = 0; i < used; ++i) handles.push_back(Table::handle(Table::take(&owner, {}, i)));
    for (const PositionHandle handle : stale) ASSERT_EQ(Table::resolve(handle), nullptr);
    for (std::uint32_t i = 0; i < used; ++i) {
      ASSERT_EQ(Table::resolve(handles[i])->index, i);
      if (i != used / 2) Table::free(static_cast<SlotNumber>(handles[i]));
    }
    EXPECT_LE(PositionTableTest::blocksInMemory<Table>(), 2);
    EXPECT_EQ(Table::resolve(handles[used / 2])->index, used / 2);
    Table::free(static_cast<SlotNumber>(handles[used / 2]));
    stale.insert(handles.begin(), handles.end());
  }
}

TEST(Positions, AnUnusedBlockIsNoLongerSpareOnceItIsInUseAgain) {
  struct Own {
  } owner;
  using OwnTable = PositionTable<Own>;  // with no blocks yet
  const auto take = [&] { return OwnTable::take(&owner, {}, 0); };
  std::vector<SlotNumber> block;
  while (PositionTableTest::blocksInMemory<OwnTable>() < 2) block.push_back(take());
  const SlotNumber elsewhere = block.back();
  block.pop_back();
  for (const SlotNumber number : block) OwnTable::free(number);
  const PositionHandle held = OwnTable::handle(take());
  OwnTable::free(elsewhere);
  ASSERT_NE(OwnTable::resolve(held), nullptr);
  EXPECT_EQ(OwnTable::resolve(held)->owner, &owner);
}

TEST(Positions, ASlotWhoseGenerationsAreUsedUpIsRetired) {
  Owner owner;
  const SlotNumber number = Table::take(&owner, {}, 0);
  PositionTableTest::setGeneration<Table>(number, 0xFFFFFFFF);
  const PositionHandle last = Table::handle(number);
  ASSERT_NE(Table::resolve(last), nullptr);
  Table::free(number);
  EXPECT_EQ(Table::resolve(last), nullptr);
  const SlotNumber next = Table::take(&owner, {}, 0);
  EXPECT_NE(next, number);
  Table::free(next);
}

}  // namespace
}  // namespace vornik
