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
using Table = PositionTable<Owner, int>;

TEST(Positions, ASlotThatIsFreedLeavesItsHandlesStaleForEver) {
  Owner owner;
  std::set<PositionHandle> stale;
  for (int round = 0; round < 1000; ++round) {
    EndPosition<Table> end;
    const PositionHandle handle = end.handle(&owner);
    EXPECT_EQ(end.handle(&owner), handle);
    ASSERT_NE(Table::resolve(handle), nullptr);
    EXPECT_EQ(Table::resolve(handle)->owner, &owner);
    Table::move(static_cast<SlotNumber>(handle), round, 7);
    EXPECT_EQ(Table::resolve(handle)->node, round);
    EXPECT_EQ(Table::resolve(handle)->index, 7u);
    for (const PositionHandle old : stale) ASSERT_EQ(Table::resolve(old), nullptr);
    ASSERT_TRUE(stale.insert(handle).second);
    ASSERT_EQ(static_cast<SlotNumber>(handle), static_cast<SlotNumber>(*stale.begin())) << "a slot is reused";
  }
}

TEST(Positions, UnusedBlocksGiveTheirMemoryBackAndOldHandlesStayStale) {
  struct Own {};
  using OwnTable = PositionTable<Own>;
  Own owner;
  std::set<PositionHandle> stale;
  for (int round = 0; round < 20; ++round) {
    // Another part of the blocks each time, and one position that stays in the middle of them.
    const std::size_t used = 3000 - 149 * static_cast<std::size_t>(round);
    std::vector<PositionHandle> handles;
    for (std::size_t i = 0; i < used; ++i)
      handles.push_back(OwnTable::handle(OwnTable::take(&owner, {}, static_cast<std::uint32_t>(i))));
    for (const PositionHandle handle : stale) ASSERT_EQ(OwnTable::resolve(handle), nullptr);
    for (std::size_t i = 0; i < used; ++i) {
      ASSERT_EQ(OwnTable::resolve(handles[i])->index, i);
      if (i != used / 2) OwnTable::free(static_cast<SlotNumber>(handles[i]));
    }
    EXPECT_LE(PositionTableTest::blocksInMemory<OwnTable>(), 2);
    EXPECT_EQ(OwnTable::resolve(handles[used / 2])->index, used / 2);
    OwnTable::free(static_cast<SlotNumber>(handles[used / 2]));
    for (const PositionHandle handle : handles) EXPECT_TRUE(stale.insert(handle).second);
  }
}

TEST(Positions, AnUnusedBlockIsNoLongerSpareOnceItIsInUseAgain) {
  struct Own {};
  using OwnTable = PositionTable<Own>;
  Own owner;
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
  const SlotNumber number = Table::take(&owner, 1, 0);
  PositionTableTest::setGeneration<Table>(number, 0xFFFFFFFF);
  const PositionHandle last = Table::handle(number);
  ASSERT_NE(Table::resolve(last), nullptr);
  Table::free(number);
  EXPECT_EQ(Table::resolve(last), nullptr);
  const SlotNumber next = Table::take(&owner, 2, 0);
  EXPECT_NE(next, number);
  Table::free(next);
}

TEST(Positions, HandlesThatWereNeverGivenOutResolveToNothing) {
  for (const PositionHandle handle :
       {PositionHandle{0}, ~PositionHandle{0}, PositionHandle{1} << 32 | 0x7FFFFFFF}) {
    EXPECT_EQ(Table::resolve(handle), nullptr);
  }
}

}  // namespace
}  // namespace vornik
