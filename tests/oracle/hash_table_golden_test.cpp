// What users of the hash classes may have come to depend on, pinned: a change here is a decision.
#include <gtest/gtest.h>

#include <initializer_list>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "plugin/containers/hashing.h"
#include "plugin/structures/bucket_count.h"
#include "plugin/structures/hash_table.h"

namespace vornik::oracle {
namespace {

using Table = HashTable<std::int64_t, std::int64_t, IntegerHashing>;
using Keys = std::vector<std::int64_t>;
constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();

Keys order(const Table& table) {
  Keys keys;
  for (auto place = table.begin(); place != table.end(); place = table.next(place)) {
    keys.push_back(table.key(place));
  }
  return keys;
}

TEST(HashTableGolden, BucketCountsByNumberOfElements) {
  // A table grows when it takes one element more than it has buckets.
  const std::uint64_t growth[] = {0, 2, 5, 11, 23, 47, 97, 197, 397, 797, 1597, 3203, 6421, 12853};
  Table table;
  const std::uint64_t* expected = growth;
  for (std::int64_t key = 0; key < 12853; ++key) {
    if (table.size() == *expected) ++expected;
    table.findOrInsert(-key * key);
    ASSERT_EQ(table.bucketCount(), *expected) << table.size();
  }
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

TEST(HashTableGolden, Orders) {
  Table table;
  const auto orderWith = [&](std::initializer_list<std::int64_t> keys) {
    for (const std::int64_t key : keys) table.findOrInsert(key);
    return order(table);
  };
  // Newest first in fresh buckets, and before the run in taken ones.
  EXPECT_EQ(orderWith({1, 2, 3, 6}), (Keys{3, 2, 6, 1}));
  EXPECT_EQ(orderWith({-1}), (Keys{-1, 3, 2, 6, 1})) << "2^64 - 1 is a multiple of 5: a fresh bucket";
  Table copy;
  copy.copyFrom(table);
  EXPECT_EQ(order(copy), (Keys{1, 6, 2, 3, -1}));
  EXPECT_EQ(orderWith({4}), (Keys{4, -1, 3, 2, 6, 1})) << "growth";
}

/// A limit within reach.
struct FewElements : TinyHashTableSizes {
  static constexpr std::uint64_t kMostElements = 30;
};

TEST(HashTable, OneElementMoreThanTheLimitIsAFailedAllocation) {
  HashTable<std::int64_t, std::int64_t, IntegerHashing, FewElements> table;
  for (std::int64_t key = 0; key < 30; ++key) table.findOrInsert(key);
  EXPECT_THROW(table.findOrInsert(30), std::bad_alloc);
  EXPECT_EQ(table.size(), 30U);
  EXPECT_EQ(table.findOrInsert(7), table.find(7)) << "what is there needs no room";
  static_cast<void>(table.extract(table.find(7)));
  EXPECT_NE(table.findOrInsert(30), table.end());
  static_assert(ShippedHashTableSizes::kMostElements == 2'147'483'646);
}

TEST(BucketCount, DividesLikeTheProcessor) {
  std::mt19937_64 random(1);
  std::vector<std::uint64_t> counts = {26339969, 4294967291, 4294967311, kMost};
  for (int i = 0; i < 20000; ++i) counts.push_back((random() >> random() % 63) | 2);
  for (int bit = 1; bit < 64; ++bit)
    counts.insert(counts.end(), {std::uint64_t{1} << bit, (std::uint64_t{1} << bit) + 1});
  for (const std::uint64_t count : counts) {
    const BucketCount divisor(count);
    for (int i = 0; i < 50; ++i) {
      const std::uint64_t any = i == 0 ? kMost : random() >> random() % 64, edge = any / count * count;
      for (const std::uint64_t hash : {any, edge - 1, edge, edge + 1})
        ASSERT_EQ(divisor.bucketOf(hash), hash % count) << hash << " modulo " << count;
    }
  }
}

TEST(BucketCount, NextPrimeIsTheSmallestOneNotBelow) {
  const std::pair<std::uint64_t, std::uint64_t> primes[] = {
      {0, 2}, {2, 2}, {3, 3}, {4, 5}, {8, 11}, {24, 29}, {114, 127}, {840, 853}, {26339956, 26339969}};
  for (const auto& [n, prime] : primes) EXPECT_EQ(nextPrime(n), prime) << n;
}

}  // namespace
}  // namespace vornik::oracle
