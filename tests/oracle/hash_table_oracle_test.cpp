// The hash table, step by step, against the standard container that shows the same order, with positions held and
// memory running out in between.
//
// Built with that standard library only. VORNIK_OPERATIONS sets the number of steps of a run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <random>
#include <unordered_map>

#include "host/host.h"
#include "plugin/containers/hashing.h"
#include "plugin/structures/hash_table.h"
#include "tests/support/failures_memory.h"

#ifndef _LIBCPP_VERSION
#error "the order of this standard library's containers is not the one to compare with"
#endif

namespace vornik::oracle {
namespace {

/// A stored 32-bit hash of which only Bits bits vary: the fewer, the more different keys share one.
template <int Bits>
struct MixedHashing {
  using Probe = std::int64_t;
  struct Stored {
    std::int64_t key;
    std::uint32_t hash;
  };
  static std::uint64_t hash(Probe key) {
    const std::uint64_t mixed = static_cast<std::uint64_t>(key) * 0x9E3779B97F4A7C15U;
    return mixed >> 32 & (~std::uint64_t{0} >> (64 - Bits)) << (32 - Bits);
  }
  static std::uint64_t hash(const Stored& stored) noexcept { return stored.hash; }
  /// Coarser than the hash, as with some text.
  static bool equal(const Stored& stored, Probe probe) {
    return stored.key == probe || stored.hash != hash(probe);
  }
  static Stored hold(std::uint64_t hash, Probe probe) { return {probe, static_cast<std::uint32_t>(hash)}; }
  static std::int64_t lend(const Stored& stored) { return stored.key; }
  static std::int64_t release(const Stored& stored) noexcept { return stored.key; }
};

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

  /// With memory for the first `allocations` only, or enough (0). Where that was too little, nothing happens.
  void set(std::int64_t key, std::int64_t value, int allocations) {
    behaviour::limitMemory(allocations, behaviour::Shortage::kOneAllocation);
    try {
      table_->value(table_->findOrInsert(key)) = value;
    } catch (const std::bad_alloc&) {
    }
    behaviour::unlimitMemory();
    const std::size_t size = standard_.size();
    if (table_->find(key) != table_->end()) standard_[key] = value;
    EXPECT_TRUE(allocations != 0 || standard_.contains(key));
    expectChange(standard_.size() != size);
  }

  /// Removes up to `count` elements that follow one another, from the key's on.
  void remove(std::int64_t key, std::size_t count) {
    const auto first = table_->find(key);
    const auto standardFirst = standard_.find(key);
    ASSERT_EQ(first == table_->end(), standardFirst == standard_.end());
    auto last = first;
    auto standardLast = standardFirst;
    for (std::size_t left = count; left > 0 && last != table_->end(); --left, ++standardLast) {
      makeStale(standardLast->first);
      last = table_->next(last);
    }
    if (count == 1 && first != last) {
      static_cast<void>(table_->extract(first));
    } else {
      EXPECT_TRUE(table_->reaches(first, last));
      static_cast<void>(table_->extract(first, last));
    }
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
    EXPECT_EQ(std::exchange(change_, table_->change()) < table_->change(), isExpected);
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
template <typename Run>
void compareOverRandomSteps(std::uint64_t steps, std::int64_t lowest, std::int64_t highest) {
  std::mt19937_64 random(static_cast<std::uint64_t>(highest));
  std::uniform_int_distribution<std::int64_t> anyKey(lowest, highest);
  Run run;
  std::int64_t recent[64] = {};  // so that huge ranges, too, meet keys that are there
  std::uint64_t untilFullComparison = 0;
  unsigned inserting = 60;
  bool takesPositions = false;
  for (std::uint64_t step = 0; step < steps && !testing::Test::HasFailure(); ++step) {
    if (step % 5000 == 0) {
      inserting = 35 + random() % 60;
      takesPositions = random() % 2 == 0;
    }
    std::int64_t& slot = recent[random() % std::size(recent)];
    const std::uint64_t choice = random() % 100;
    const std::int64_t key = choice < inserting || random() % 4 == 0 ? anyKey(random) : slot;
    if (choice < inserting) {
      run.set(key, static_cast<std::int64_t>(step), static_cast<int>(random() % 4));
      slot = key;
    } else {
      run.remove(key, random() % 20 != 0 ? 1 : random() % 8);
    }
    if (takesPositions && random() % 4 == 0) run.position(slot);
    if (random() % 20000 == 0) run.clear();
    if (random() % 5000 == 0) run.copy();
    const bool isFull = untilFullComparison-- == 0;
    run.expectSame(isFull ? run.size() + 1 : 2);
    if (!isFull) continue;
    run.expectPositions();
    untilFullComparison = run.size() / 32;  // every step while there are few elements
  }
}

template <typename AnyRun>
class HashTableOracle : public testing::Test {};
using Runs = testing::Types<
    Mirrored<IntegerHashing, ShippedHashTableSizes>, Mirrored<MixedHashing<32>, ShippedHashTableSizes>,
    Mirrored<MixedHashing<6>, ShippedHashTableSizes>, Mirrored<IntegerHashing, TinyHashTableSizes>,
    Mirrored<MixedHashing<6>, TinyHashTableSizes>>;
TYPED_TEST_SUITE(HashTableOracle, Runs);

TYPED_TEST(HashTableOracle, HasTheOrderAndTheBucketsOfTheStandardsAndLosesNothing) {
  const char* chosen = std::getenv("VORNIK_OPERATIONS");
  const std::uint64_t steps = chosen != nullptr ? std::strtoull(chosen, nullptr, 10) : 1'000'000;
  host::Host host;
  const host::Host::PluginCall call;  // what is allocated from here on is the library's
  behaviour::countLibraryMemory();
  typename TypeParam::Table().handle(0);  // with the first position come things that stay
  const std::size_t memory = behaviour::libraryAllocations();
  constexpr std::int64_t kWidest = std::numeric_limits<std::int64_t>::max();
  for (const std::int64_t highest : {std::int64_t{8}, std::int64_t{40}, std::int64_t{3000}, kWidest})
    compareOverRandomSteps<TypeParam>(steps / 4, -highest, highest);
  EXPECT_EQ(behaviour::libraryAllocations(), memory);
}

}  // namespace
}  // namespace vornik::oracle
