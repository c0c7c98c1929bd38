// The hash table when memory runs out, at every allocation of an insertion. Replaces this program's
// allocation functions.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include "plugin/structures/hash_table.h"
#include "tests/oracle/allocations.h"
#include "tests/oracle/hashing.h"

namespace vornik::oracle {

long allocationsAlive = 0;

namespace {

/// While it is on, so many allocations succeed; then one fails, or all do.
struct {
  bool isOn = false;
  bool lasts = false;
  int successes = 0;
  int failures = 0;
} shortage;

void* allocate(std::size_t size) {
  if (shortage.isOn && shortage.successes-- <= 0 && (shortage.lasts || shortage.failures == 0)) {
    ++shortage.failures;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++allocationsAlive;
  return std::memset(memory, 0xA5, size);  // so that nobody relies on what new memory holds
}

void giveBack(void* memory) noexcept {
  if (memory != nullptr) --allocationsAlive;
  std::free(memory);
}

/// A value that exists once and knows it: moving leaves the source empty.
class Token {
 public:
  Token() { ++alive; }
  Token(Token&& other) noexcept : number_(std::exchange(other.number_, -1)) { ++alive; }
  Token& operator=(Token&&) = delete;
  ~Token() { --alive; }
  void set(std::int64_t number) { number_ = number; }
  std::int64_t number() const { return number_; }
  static inline int alive = 0;

 private:
  std::int64_t number_ = 0;
};

struct Case {
  std::int64_t elements;
  bool hasPositions;
  int allocations;  ///< that the next insertion needs; all but the last `optional` of them
  int optional;
};

template <typename Sizes>
class Filled {
 public:
  using Table = HashTable<std::int64_t, Token, MixedHashing<32>, Sizes>;
  using Content = std::vector<std::pair<std::int64_t, std::int64_t>>;

  explicit Filled(const Case& c) {
    for (std::int64_t key = 0; key < c.elements; ++key) insert(key);
    for (std::int64_t key = 0; c.hasPositions && key < c.elements; key += 3) {
      positions_[key] = table_.handle(table_.find(key));
    }
  }
  void insert(std::int64_t key) {
    const auto place = table_.findOrInsert(key);
    table_.value(place).set(2 * key);
  }
  Content content() const {
    Content content{{table_.bucketCount(), table_.size()}};
    for (auto place = table_.begin(); place != table_.end(); place = table_.next(place)) {
      content.emplace_back(table_.key(place), const_cast<Table&>(table_).value(place).number());
    }
    return content;
  }
  void expectPositions() const {
    for (const auto& [key, handle] : positions_) {
      ASSERT_EQ(Table::locate(handle).owner, &table_);
      ASSERT_EQ(Table::locate(handle).place, table_.find(key));
    }
  }

 private:
  Table table_;
  std::map<std::int64_t, PositionHandle> positions_;
};

template <typename Sizes>
void failAtEveryAllocation(const Case& c) {
  SCOPED_TRACE(testing::Message() << c.elements << " elements" << (c.hasPositions ? " with positions" : ""));
  Filled<Sizes> roomy(c);
  roomy.insert(c.elements);
  const auto after = roomy.content();
  for (const bool lasts : {false, true}) {
    for (int successes = 0; successes <= c.allocations; ++successes) {
      SCOPED_TRACE(testing::Message()
                   << successes << " allocations succeed, then " << (lasts ? "all" : "one"));
      Filled<Sizes> filled(c);
      const auto before = filled.content();
      shortage = {true, lasts, successes};
      bool failed = false;
      try {
        filled.insert(c.elements);
      } catch (const std::bad_alloc&) {
        failed = true;
      }
      shortage.isOn = false;
      EXPECT_EQ(shortage.failures != 0, successes < c.allocations);
      EXPECT_EQ(failed, successes < c.allocations - c.optional);
      EXPECT_EQ(filled.content(), failed ? before : after);
      filled.expectPositions();
      filled.insert(c.elements);
      EXPECT_EQ(filled.content(), after);
      filled.expectPositions();
    }
  }
}

TEST(HashTableMemory, FailedAllocationsLeaveTheTableAsItWas) {
  using Shipped = ShippedHashTableSizes;
  // Buckets and the first nodes; buckets; nodes.
  for (const auto& [elements, allocations] : {std::pair{0, 2}, {11, 1}, {12, 1}}) {
    for (const bool hasPositions : {false, true}) {
      failAtEveryAllocation<Shipped>({elements, hasPositions, allocations, 0});
    }
  }
  // Buckets, and the memory that elements move to, and their anchors; a full table can do without the move.
  failAtEveryAllocation<Shipped>({6421, false, 2, 1});
  failAtEveryAllocation<Shipped>({6421, true, 3, 2});
  EXPECT_EQ(Token::alive, 0);
}

}  // namespace
}  // namespace vornik::oracle

// The forms for arrays, too: sanitizers have their own ones.
void* operator new(std::size_t size) {
  return vornik::oracle::allocate(size);
}
void* operator new[](std::size_t size) {
  return vornik::oracle::allocate(size);
}
void operator delete(void* memory) noexcept {
  vornik::oracle::giveBack(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  vornik::oracle::giveBack(memory);
}
void operator delete[](void* memory) noexcept {
  vornik::oracle::giveBack(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
  vornik::oracle::giveBack(memory);
}
