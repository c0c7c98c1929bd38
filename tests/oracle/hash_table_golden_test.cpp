// What users of the hash classes may have come to depend on, pinned: a change here is a decision.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "plugin/containers/bucket_count.h"
#include "plugin/containers/hash_table.h"
#include "tests/oracle/hashing.h"

namespace vornik::oracle {
namespace {

using testing::ElementsAre;
using Table = HashTable<std::int64_t, std::int64_t, PatternHashing>;
using Keys = std::vector<std::int64_t>;

void insert(Table& table, std::initializer_list<std::int64_t> keys) {
  for (const std::int64_t key : keys) table.findOrInsert(key);
}

Keys order(const Table& table) {
  Keys keys;
  for (auto place = table.begin(); place != table.end(); place = Table::next(place)) {
    keys.push_back(Table::key(place));
  }
  return keys;
}

TEST(HashTableGolden, BucketCountsByNumberOfElements) {
  const std::vector<std::pair<std::size_t, std::uint64_t>> growth = {
      {1, 2},     {3, 5},     {6, 11},     {12, 23},     {24, 47},     {48, 97},     {98, 197},
      {198, 397}, {398, 797}, {798, 1597}, {1598, 3203}, {3204, 6421}, {6422, 12853}};
  Table table;
  EXPECT_EQ(table.bucketCount(), 0U);
  std::vector<std::pair<std::size_t, std::uint64_t>> seen;
  for (std::int64_t key = 0; key < 12853; ++key) {
    const std::uint64_t before = table.bucketCount();
    table.findOrInsert(-key * key);
    if (table.bucketCount() != before) seen.emplace_back(table.size(), table.bucketCount());
  }
  EXPECT_EQ(seen, growth);
  for (const std::int64_t key : order(table)) static_cast<void>(table.extract(table.find(key)));
  EXPECT_EQ(table.bucketCount(), 12853U) << "never shrinks";
}

TEST(HashTableGolden, GrowthIsDecidedInSinglePrecision) {
  EXPECT_FALSE(mustGrow(13169977, 13169977));
  EXPECT_TRUE(mustGrow(13169978, 13169977));
  EXPECT_FALSE(mustGrow(52679970, 52679969)) << "both round to 52679968";
  EXPECT_TRUE(mustGrow(52679971, 52679969));
  EXPECT_EQ(grownBucketCount(13169978, 13169977), 26339969U);
}

TEST(HashTableGolden, NewestFirstInFreshBucketsAndBeforeTheRunInTakenOnes) {
  Table table;
  insert(table, {1, 2, 3});
  EXPECT_THAT(order(table), ElementsAre(3, 2, 1));
  insert(table, {6});
  EXPECT_THAT(order(table), ElementsAre(3, 2, 6, 1));
  insert(table, {-1});  // 2^64 - 1 is a multiple of 5: a fresh bucket
  EXPECT_THAT(order(table), ElementsAre(-1, 3, 2, 6, 1));
  insert(table, {5});
  EXPECT_EQ(table.bucketCount(), 11U);
}

TEST(HashTableGolden, OrdersAcrossGrowthRemovalClearAndCopies) {
  Table table;
  insert(table, {1, 2, 3, 4, 5});
  EXPECT_EQ(table.bucketCount(), 5U);
  EXPECT_THAT(order(table), ElementsAre(5, 4, 3, 2, 1));

  Table copy;
  copy.copyFrom(table);
  EXPECT_EQ(copy.bucketCount(), 5U);
  EXPECT_THAT(order(copy), ElementsAre(1, 2, 3, 4, 5));

  static_cast<void>(table.extract(table.find(3)));
  EXPECT_THAT(order(table), ElementsAre(5, 4, 2, 1));
  insert(table, {3});
  EXPECT_THAT(order(table), ElementsAre(3, 5, 4, 2, 1));
  insert(table, {6});
  EXPECT_EQ(table.bucketCount(), 11U);
  EXPECT_THAT(order(table), ElementsAre(6, 3, 5, 4, 2, 1));

  static_cast<void>(table.extractAll());
  EXPECT_EQ(table.bucketCount(), 11U);
  EXPECT_THAT(order(table), ElementsAre());
  insert(table, {8, 7});
  EXPECT_THAT(order(table), ElementsAre(7, 8));
}

/// As with text whose comparison is coarser than its hash.
struct CoarseHashing : MixedHashing<32> {
  static bool equal(std::int64_t, std::int64_t) { return true; }
};

TEST(HashTableGolden, KeysOfDifferentHashAreDifferentWhateverTheirComparison) {
  HashTable<std::int64_t, std::int64_t, CoarseHashing> table;
  for (std::int64_t key = 0; key < 100; ++key) table.findOrInsert(key);
  EXPECT_EQ(table.size(), 100U);
}

TEST(BucketCount, DividesLikeTheProcessor) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::mt19937_64 random(1);
  std::vector<std::uint64_t> counts = {2,
                                       3,
                                       4,
                                       5,
                                       7,
                                       8,
                                       11,
                                       23,
                                       47,
                                       97,
                                       12853,
                                       26339969,
                                       4294967291,
                                       std::uint64_t{1} << 32,
                                       4294967311,
                                       std::uint64_t{1} << 62,
                                       (std::uint64_t{1} << 62) + 1,
                                       std::uint64_t{1} << 63,
                                       kMost};
  for (int i = 0; i < 20000; ++i) counts.push_back((random() >> random() % 63) | 2);
  for (const std::uint64_t count : counts) {
    const BucketCount divisor(count);
    const auto agrees = [&](std::uint64_t hash) {
      if (divisor.bucketOf(hash) == hash % count) return true;
      ADD_FAILURE() << hash << " modulo " << count;
      return false;
    };
    for (const std::uint64_t hash :
         {std::uint64_t{0}, std::uint64_t{1}, count - 1, count, count + 1, kMost, kMost - 1, kMost / 2,
          kMost / 2 + 1, kMost / count * count, kMost / count * count - 1}) {
      ASSERT_TRUE(agrees(hash));
    }
    for (int i = 0; i < 50; ++i) {
      const std::uint64_t hash = random() >> random() % 64;
      ASSERT_TRUE(agrees(hash));
      ASSERT_TRUE(agrees(hash / count * count));
      ASSERT_TRUE(agrees(hash / count * count - 1));
    }
  }
}

TEST(BucketCount, NextPrimeIsTheSmallestOneNotBelow) {
  std::vector<bool> composite(30000);
  std::uint64_t expected = 0;
  for (std::uint64_t n = 2; n < composite.size(); ++n) {
    for (std::uint64_t multiple = 2 * n; !composite[n] && multiple < composite.size(); multiple += n) {
      composite[multiple] = true;
    }
  }
  for (std::uint64_t n = composite.size() - 100; n-- > 0;) {
    if (n >= 2 && !composite[n]) expected = n;
    if (expected == 0) continue;  // above the greatest prime of the sieve
    ASSERT_EQ(nextPrime(n), expected) << n;
  }
}

}  // namespace
}  // namespace vornik::oracle
