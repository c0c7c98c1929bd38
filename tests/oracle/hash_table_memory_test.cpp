// The hash table when memory runs out, at every allocation of an insertion.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "host/host.h"
#include "plugin/structures/hash_table.h"
#include "tests/oracle/hashing.h"
#include "tests/support/failures_memory.h"

namespace vornik::oracle {
namespace {

using behaviour::Shortage;

struct Case {
  std::int64_t elements;
  bool hasPositions;
  int allocations;  ///< that the next insertion needs; all but the last `optional` of them
  int optional;
};

/// The values are memory, so that a lost one is seen.
struct Memory : std::unique_ptr<std::int64_t> {
  static constexpr bool kTriviallyRelocatable = true;
  using unique_ptr::unique_ptr;
  using unique_ptr::operator=;
};
struct Filled {
  using Table = HashTable<std::int64_t, Memory, MixedHashing<32>>;

  explicit Filled(const Case& c) {
    for (std::int64_t key = 0; key < c.elements; ++key) insert(key);
    for (std::int64_t key = 0; c.hasPositions && key < c.elements; key += 3) {
      positions[key] = table.handle(table.find(key));
    }
  }
  void insert(std::int64_t key) {
    table.value(table.findOrInsert(key)) = std::make_unique<std::int64_t>(2 * key);
  }
  std::vector<std::pair<std::int64_t, std::int64_t>> content() {
    std::vector<std::pair<std::int64_t, std::int64_t>> content{{table.bucketCount(), table.size()}};
    for (auto place = table.begin(); place != table.end(); place = table.next(place)) {
      content.emplace_back(table.key(place), *table.value(place));
    }
    return content;
  }
  void expectPositions() {
    for (const auto& [key, handle] : positions) {
      ASSERT_EQ(Table::locate(handle).owner, &table);
      ASSERT_EQ(Table::locate(handle).place, table.find(key));
    }
  }

  Table table;
  std::map<std::int64_t, PositionHandle> positions;
};

void failAtEveryAllocation(const Case& c) {
  SCOPED_TRACE(testing::Message() << c.elements << " elements" << (c.hasPositions ? " with positions" : ""));
  Filled roomy(c);
  roomy.insert(c.elements);
  const auto after = roomy.content();
  for (const Shortage shortage : {Shortage::kOneAllocation, Shortage::kFromThenOn}) {
    for (int nth = 1; nth <= c.allocations + 1; ++nth) {
      SCOPED_TRACE(nth);
      Filled filled(c);
      const auto before = filled.content();
      bool failed = false;
      behaviour::limitMemory(nth, shortage);
      try {
        filled.table.findOrInsert(c.elements);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      EXPECT_EQ(behaviour::unlimitMemory() != 0, nth <= c.allocations);
      EXPECT_EQ(failed, nth <= c.allocations - c.optional);
      EXPECT_TRUE(!failed || filled.content() == before);
      filled.expectPositions();
      filled.insert(c.elements);
      EXPECT_EQ(filled.content(), after);
      filled.expectPositions();
    }
  }
}

TEST(HashTableMemory, FailedAllocationsLeaveTheTableAsItWas) {
  host::Host host;
  const host::Host::PluginCall call;  // what is allocated from here on is the library's
  behaviour::countLibraryMemory();
  failAtEveryAllocation({6421, true, 3, 2});  // the first positions leave memory for the next ones
  const std::size_t memory = behaviour::libraryAllocations();
  // Buckets and the first nodes; buckets; nodes.
  for (const auto& [elements, allocations] : {std::pair{0, 2}, {11, 1}, {12, 1}}) {
    for (const bool hasPositions : {false, true}) {
      failAtEveryAllocation({elements, hasPositions, allocations, 0});
    }
  }
  // Buckets, and the memory that elements move to, and their anchors; a full table can do without the move.
  failAtEveryAllocation({6421, false, 2, 1});
  failAtEveryAllocation({6421, true, 3, 2});
  EXPECT_EQ(behaviour::libraryAllocations(), memory);
}

}  // namespace
}  // namespace vornik::oracle
