// The hash table, step by step, against the standard containers that show the same order.
//
// Built with that standard library only. VORNIK_OPERATIONS sets the number of steps of a run, and
// VORNIK_LARGE=1 adds one whose growth single precision decides.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <unordered_map>
#include <unordered_set>

#include "plugin/structures/hash_table.h"
#include "tests/oracle/hashing.h"

#ifndef _LIBCPP_VERSION
#error "the order of this standard library's containers is not the one to compare with"
#endif

namespace vornik::oracle {
namespace {

template <typename Hashing>
struct StandardHash {
  std::size_t operator()(std::int64_t key) const { return Hashing::hash(key); }
};

/// A table and the standard container that does the same; and some positions in it.
template <typename Hashing, typename Sizes>
class Mirrored {
 public:
  using Table = HashTable<std::int64_t, std::int64_t, Hashing, Sizes>;
  using Standard = std::unordered_map<std::int64_t, std::int64_t, StandardHash<Hashing>>;

  std::size_t size() const { return standard_.size(); }

  void set(std::int64_t key, std::int64_t value) {
    table_->value(table_->findOrInsert(key)) = value;
    const std::size_t size = standard_.size();
    standard_[key] = value;
    expectChange(standard_.size() != size);
  }

  void remove(std::int64_t key) {
    const auto place = table_->find(key);
    if (place != table_->end()) static_cast<void>(table_->extract(place));
    makeStale(key);
    const std::size_t removed = standard_.erase(key);
    ASSERT_EQ(place != table_->end(), removed == 1);
    expectChange(removed == 1);
  }

  /// Removes up to `count` elements that follow one another, from the key's on.
  void removeRange(std::int64_t key, std::size_t count) {
    const auto first = table_->find(key);
    const auto standardFirst = standard_.find(key);
    ASSERT_EQ(first == table_->end(), standardFirst == standard_.end());
    auto last = first;
    auto standardLast = standardFirst;
    for (; count > 0 && last != table_->end(); --count, ++standardLast) {
      makeStale(standardLast->first);
      last = table_->next(last);
    }
    static_cast<void>(table_->extract(first, last));
    expectChange(standardFirst != standardLast);
    standard_.erase(standardFirst, standardLast);
  }

  void clear() {
    static_cast<void>(table_->extractAll());
    expectChange(true);
    while (!positions_.empty()) makeStale(positions_.begin()->first);
    standard_.clear();
  }

  /// Goes on with a copy that was filled one by one.
  void copy() {
    auto table = std::make_unique<Table>();
    table->copyFrom(*table_);
    table_ = std::move(table);
    if (!standard_.empty()) expectChange(true);
    while (!positions_.empty()) makeStale(positions_.begin()->first);
    Standard standard;
    for (const auto& entry : standard_) standard.insert(entry);
    standard_ = std::move(standard);
  }

  /// Takes the position of the key's element.
  void position(std::int64_t key) {
    if (const auto place = table_->find(key)) positions_[key] = table_->handle(place);
  }

  void expectPositions() const {
    for (const auto& [key, handle] : positions_) {
      ASSERT_EQ(Table::locate(handle).owner, table_.get());
      ASSERT_EQ(Table::locate(handle).place, table_->find(key));
    }
    for (const PositionHandle handle : stale_) ASSERT_EQ(Table::locate(handle).owner, nullptr);
  }

  /// Compares the counts and the order of the first elements.
  void expectSame(std::size_t count) const {
    ASSERT_EQ(table_->size(), standard_.size());
    ASSERT_EQ(table_->bucketCount(), standard_.bucket_count());
    auto place = table_->begin();
    for (auto standard = standard_.begin(); standard != standard_.end();
         ++standard, place = table_->next(place)) {
      if (count-- == 0) return;
      ASSERT_NE(place, table_->end());
      ASSERT_EQ(table_->key(place), standard->first);
      ASSERT_EQ(table_->value(place), standard->second);
    }
    ASSERT_EQ(place, table_->end());
  }

 private:
  /// Whether the structure says that it was changed.
  void expectChange(bool isExpected) {
    ASSERT_EQ(std::exchange(change_, table_->change()) != table_->change(), isExpected);
  }
  void makeStale(std::int64_t key) {
    const auto position = positions_.find(key);
    if (position == positions_.end()) return;
    stale_[nextStale_++ % std::size(stale_)] = position->second;
    positions_.erase(position);
  }

  std::unique_ptr<Table> table_ = std::make_unique<Table>();
  ChangeStamp change_ = table_->change();
  Standard standard_;
  std::unordered_map<std::int64_t, PositionHandle> positions_;
  PositionHandle stale_[256] = {};
  std::size_t nextStale_ = 0;
};

/// Random keys of one range; each run of steps drifts towards growing or towards shrinking.
template <typename Hashing, typename Sizes>
void compareOverRandomSteps(std::uint64_t steps, std::int64_t lowest, std::int64_t highest) {
  std::mt19937_64 random(static_cast<std::uint64_t>(highest));
  std::uniform_int_distribution<std::int64_t> anyKey(lowest, highest);
  Mirrored<Hashing, Sizes> mirrored;
  std::int64_t recent[64] = {};  // so that huge ranges, too, meet keys that are there
  std::uint64_t untilFullComparison = 0;
  unsigned inserting = 60;
  bool takesPositions = false;
  for (std::uint64_t step = 0; step < steps; ++step) {
    if (step % 5000 == 0) {
      inserting = 35 + random() % 60;
      takesPositions = random() % 2 == 0;
    }
    std::int64_t& slot = recent[random() % std::size(recent)];
    const std::uint64_t choice = random() % 100;
    std::int64_t key = choice < inserting || random() % 4 == 0 ? anyKey(random) : slot;
    if (choice < inserting) {
      mirrored.set(key, static_cast<std::int64_t>(step));
      slot = key;
    } else if (random() % 20 != 0) {
      mirrored.remove(key);
    } else {
      mirrored.removeRange(key, random() % 8);
    }
    if (takesPositions && random() % 4 == 0) mirrored.position(slot);
    if (random() % 60000 == 0) mirrored.clear();
    if (random() % 20000 == 0) mirrored.copy();
    const bool isFull = untilFullComparison-- == 0;
    ASSERT_NO_FATAL_FAILURE(mirrored.expectSame(isFull ? mirrored.size() + 1 : 2)) << "step " << step;
    if (!isFull) continue;
    ASSERT_NO_FATAL_FAILURE(mirrored.expectPositions()) << "step " << step;
    untilFullComparison = mirrored.size() / 32;  // every step while there are few elements
  }
}

constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

template <typename AnyHashing, typename AnySizes>
struct Variation {
  using Hashing = AnyHashing;
  using Sizes = AnySizes;
};
template <typename AnyVariation>
class HashTableOracle : public testing::Test {};
using Variations = testing::Types<
    Variation<PatternHashing, ShippedHashTableSizes>, Variation<MixedHashing<32>, ShippedHashTableSizes>,
    Variation<MixedHashing<6>, ShippedHashTableSizes>, Variation<PatternHashing, TinyHashTableSizes>,
    Variation<MixedHashing<6>, TinyHashTableSizes>>;
TYPED_TEST_SUITE(HashTableOracle, Variations);

TYPED_TEST(HashTableOracle, SameOrderAndBucketCountAfterEveryStep) {
  const char* chosen = std::getenv("VORNIK_OPERATIONS");
  const std::uint64_t steps = chosen != nullptr ? std::strtoull(chosen, nullptr, 10) : 1'000'000;
  const std::pair<std::int64_t, std::int64_t> ranges[] = {{0, 15}, {-40, 40}, {-3000, 3000}, {kLeast, kMost}};
  for (const auto& [lowest, highest] : ranges) {
    SCOPED_TRACE(testing::Message() << "keys from " << lowest << " to " << highest);
    ASSERT_NO_FATAL_FAILURE((compareOverRandomSteps<typename TypeParam::Hashing, typename TypeParam::Sizes>(
        steps / std::size(ranges), lowest, highest)));
  }
}

TEST(HashTableLarge, SameGrowthWhereItIsDecidedByRounding) {
  if (std::getenv("VORNIK_LARGE") == nullptr) GTEST_SKIP() << "VORNIK_LARGE=1 runs it: 6 GB, a minute";
  struct Nothing {};
  HashTable<std::int64_t, Nothing, PatternHashing> table;
  std::unordered_set<std::int64_t, StandardHash<PatternHashing>> standard;
  constexpr std::int64_t kStride = 1'000'003;  // spreads the keys without a random order's cache misses
  for (std::int64_t i = 1; i <= 52'679'980; ++i) {
    table.findOrInsert(i * kStride);
    standard.insert(i * kStride);
    ASSERT_EQ(table.bucketCount(), standard.bucket_count()) << i;
  }
  EXPECT_GT(table.bucketCount(), 100'000'000U) << "grew once more, two elements later than exact counting";
  auto place = table.begin();
  for (const std::int64_t key : standard) {
    ASSERT_EQ(table.key(place), key);
    place = table.next(place);
  }
  EXPECT_EQ(place, table.end());
}

}  // namespace
}  // namespace vornik::oracle
