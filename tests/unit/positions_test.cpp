#include "plugin/containers/positions.h"

#include <gtest/gtest.h>

#include <set>

namespace vornik {

/// Reaches into the table to age a slot, since four billion real generations take too long.
struct PositionTableTest {
  template <typename Table>
  static void setGeneration(SlotNumber number, std::uint32_t generation) {
    Table::slots_[number].generation = generation;
  }
};

namespace {

struct Owner {};
using Table = PositionTable<Owner, int>;
using Anchor = PositionAnchor<Table>;

TEST(Positions, AnAnchorSharesOneHandleWhichIsStaleForEverAfterIt) {
  Owner owner;
  std::set<PositionHandle> stale;
  for (int round = 0; round < 1000; ++round) {
    Anchor anchor;
    const PositionHandle handle = anchor.handle(&owner, round);
    EXPECT_EQ(anchor.handle(&owner, round), handle);
    ASSERT_NE(Table::resolve(handle), nullptr);
    EXPECT_EQ(Table::resolve(handle)->place, round);
    EXPECT_EQ(Table::resolve(handle)->owner, &owner);
    for (const PositionHandle old : stale) ASSERT_EQ(Table::resolve(old), nullptr);
    ASSERT_TRUE(stale.insert(handle).second);
    ASSERT_EQ(static_cast<SlotNumber>(handle), static_cast<SlotNumber>(*stale.begin())) << "a slot is reused";
  }
}

TEST(Positions, ASlotWhoseGenerationsAreUsedUpIsRetired) {
  Owner owner;
  const SlotNumber number = Table::take(&owner, 1);
  PositionTableTest::setGeneration<Table>(number, 0xFFFFFFFF);
  const PositionHandle last = Table::handle(number);
  ASSERT_NE(Table::resolve(last), nullptr);
  Table::free(number);
  EXPECT_EQ(Table::resolve(last), nullptr);
  const SlotNumber next = Table::take(&owner, 2);
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
