// The ordered tree against std::map over long random runs, with positions held across every change: at node
// sizes so small that splits and merges happen all the time, and at the shipped ones. And under orders that
// answer at random, where nothing is known of the sequence but that no entry may be lost, doubled or leaked.
//
// Runs have 400,000 steps a row; VORNIK_STEPS sets another number.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "host/host.h"
#include "plugin/structures/ordered_tree.h"
#include "tests/support/failures_memory.h"

namespace vornik {

/// Looks at the nodes: the invariants that a search relies on.
struct OrderedTreeTest {
  template <typename Tree>
  static void check(const Tree& tree) {
    std::size_t entries = 0;
    typename Tree::Leaf* previous = nullptr;
    if (tree.shape_.root() != nullptr) {
      ASSERT_EQ(tree.shape_.root()->parent, nullptr);
      ASSERT_TRUE(tree.shape_.root()->level == 0 || tree.shape_.root()->count > 1);
      checkNode(tree, tree.shape_.root(), previous, entries);
    }
    ASSERT_EQ(tree.shape_.last(), previous);
    ASSERT_EQ(entries, tree.size());
  }
  template <typename Tree>
  static std::size_t leaves(const Tree& tree) {
    std::size_t count = 0;
    for (auto* leaf = tree.shape_.first(); leaf != nullptr; leaf = leaf->next) ++count;
    return count;
  }
  /// The identity of an entry, which is never compared: its detail.
  template <typename Tree>
  static auto detail(typename Tree::Place place) {
    return place.leaf->details()[place.index];
  }

 private:
  template <typename Tree>
  static void checkNode(const Tree& tree, typename Tree::Node* node, typename Tree::Leaf*& previous,
                        std::size_t& entries) {
    ASSERT_GT(node->count, 0);
    ASSERT_LE(node->count, node->capacity);
    if (node->level == 0) {
      auto* const leaf = static_cast<typename Tree::Leaf*>(node);
      ASSERT_EQ(leaf->previous, previous);
      ASSERT_EQ(previous != nullptr ? previous->next : tree.shape_.first(), leaf);
      previous = leaf;
      entries += leaf->count;
      return;
    }
    auto* const inner = static_cast<typename Tree::Inner*>(node);
    for (unsigned i = 0; i < inner->count; ++i) {
      ASSERT_EQ(inner->children[i]->parent, inner);
      ASSERT_EQ(inner->children[i]->level + 1, inner->level);
      ASSERT_NO_FATAL_FAILURE(checkNode(tree, inner->children[i], previous, entries));
      if (i != inner->separatorCount()) {
        const auto separators = inner->separators();
        const auto routes = previous->routes();
        ASSERT_EQ(separators.details[i].id, routes.details[previous->count - 1].id);
        ASSERT_EQ(separators.numbers[i], routes.numbers[previous->count - 1]);
      }
    }
  }
};

namespace {

/// A key that is counted, so that a lost or doubled one is seen. The live ones are in a set.
struct CountedKey {
  static inline std::set<std::int64_t> live;
  explicit CountedKey(std::int64_t value) : id(value) {}
  CountedKey(CountedKey&& other) noexcept : id(std::exchange(other.id, 0)) {}
  CountedKey& operator=(CountedKey&&) = delete;
  ~CountedKey() {
    if (id != 0 && live.erase(id) != 1) ADD_FAILURE() << "given back twice";
  }
  std::int64_t id;
};

/// Ids tell entries apart also where their numbers are the same or their order is none.
struct CountedDetail {
  std::int64_t id;
};
std::int64_t nextId() {
  static std::int64_t last = 0;
  CountedKey::live.insert(++last);
  return last;
}

struct TestOrder {
  using Probe = std::int64_t;
  using Number = std::int64_t;
  using Detail = CountedDetail;
  struct Shared {};
  static constexpr bool kLooksAtTheLastFirst = true;
  static bool isBefore(const Routes<TestOrder>& routes, unsigned index, Probe probe) {
    return routes.numbers[index] < probe;
  }
  template <Bound kBound>
  static Found search(const Routes<TestOrder>& routes, unsigned capacity, unsigned count, Probe probe) {
    const unsigned below = countBelow(routes.numbers, capacity, probe);
    const bool exact = below < count && routes.numbers[below] == probe;
    return {below + (kBound == Bound::kUpper && exact), exact};
  }
  static Number number(Probe probe, Shared) { return probe; }
  static Detail hold(Probe) { return {nextId()}; }
  static Detail hold(Detail) { return {nextId()}; }
  static std::int64_t lend(Number number, Detail) { return number; }
  static CountedKey release(Number, Detail detail) { return CountedKey(detail.id); }
};

/// Compares as it likes.
struct LyingOrder : TestOrder {
  static constexpr bool kLooksAtTheLastFirst = false;
  static inline std::mt19937 random;
  template <Bound kBound>
  static Found search(const Routes<LyingOrder>&, unsigned, unsigned count, Probe) {
    return bisect<kBound>(0, count, [](unsigned) { return static_cast<int>(random() % 5) - 2; });
  }
};

// Orders that lack something are refused as a whole.
struct WithoutIsBefore : LyingOrder {
  [[maybe_unused]] static constexpr bool kLooksAtTheLastFirst = true;  // isBefore is for other routes
};
struct WithoutNumber : LyingOrder {
  static void number(Probe, Shared);
};
struct WithoutHold : LyingOrder {
  static Detail hold(Probe);
};
struct WithSharedButNoMore : LyingOrder {
  using Shared = std::int64_t;
};
static_assert(TreeOrder<LyingOrder, CountedKey> && !TreeOrder<LyingOrder, std::int64_t>);
static_assert(!TreeOrder<WithoutIsBefore, CountedKey> && !TreeOrder<WithoutNumber, CountedKey> &&
              !TreeOrder<WithoutHold, CountedKey> && !TreeOrder<WithSharedButNoMore, CountedKey>);

using Tiny = NodeSizes<4, 4>;
using Small = NodeSizes<8, 16>;
using Shipped = NodeSizes<64, 64>;

template <typename Sizes>
class OrderedTreeOracle : public testing::Test {};
using AllSizes = testing::Types<Tiny, Small, Shipped>;
TYPED_TEST_SUITE(OrderedTreeOracle, AllSizes);

long steps() {
  const char* const chosen = std::getenv("VORNIK_STEPS");
  return chosen != nullptr ? std::atol(chosen) : 400'000;
}

TYPED_TEST(OrderedTreeOracle, AnswersLikeTheStandardMap) {
  using Tree = OrderedTree<CountedKey, std::int64_t, TestOrder, TypeParam>;
  struct Entry {
    std::int64_t id;
    std::int64_t value;
  };
  struct Held {
    PositionHandle handle = 0;
    std::int64_t id = 0;  ///< 0: the end
  };
  const int maximum = TypeParam::kLeaf < 64 ? 400 : 40'000;
  std::mt19937 random(TypeParam::kLeaf);
  const auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
  auto tree = std::make_unique<Tree>();
  std::map<std::int64_t, Entry> mirror;
  std::vector<Held> held(200);
  std::set<std::int64_t> present;  // ids

  const auto placeOf = [&](auto at) {
    if (at == mirror.end()) return tree->end();
    return tree->find({at->first});
  };
  const auto same = [&](typename Tree::Place place, auto at) {
    ASSERT_EQ(place == tree->end(), at == mirror.end());
    if (at == mirror.end()) return;
    ASSERT_EQ(tree->key(place), at->first);
    ASSERT_EQ(tree->value(place), at->second.value);
    ASSERT_EQ(OrderedTreeTest::detail<Tree>(place).id, at->second.id);
  };
  const auto anyKey = [&] { return below(2 * maximum) - maximum; };

  bool growing = true;
  for (long step = 0; step < steps(); ++step) {
    if (mirror.size() > static_cast<std::size_t>(maximum) * 3 / 4) growing = false;
    if (mirror.size() < static_cast<std::size_t>(maximum) / 8) growing = true;
    const std::int64_t key = anyKey();
    const ChangeStamp change = tree->change();
    const std::size_t size = mirror.size();
    const int choice = below(100);
    if (choice < (growing ? 45 : 20)) {
      // Now and then a run of neighbours, upwards or downwards.
      const int run = below(50) == 0 ? below(300) : 1;
      for (int i = 0; i < run; ++i) {
        const std::int64_t k = step % 2 == 0 ? key + i : key - i;
        const auto place = tree->findOrInsert({k});
        const auto [at, isNew] = mirror.try_emplace(k, Entry{OrderedTreeTest::detail<Tree>(place).id, 0});
        ASSERT_EQ(present.insert(at->second.id).second, isNew);
        at->second.value = tree->value(place) = step;
      }
    } else if (choice < (growing ? 55 : 75)) {
      const auto at = mirror.lower_bound(key);
      if (at == mirror.end()) continue;
      {
        const auto removed = tree->extract(placeOf(at));
        ASSERT_EQ(removed.key.id, at->second.id);
        ASSERT_EQ(removed.value, at->second.value);
      }
      present.erase(at->second.id);
      mirror.erase(at);
    } else if (choice < 76) {
      auto from = mirror.lower_bound(key),
           to = mirror.lower_bound(key + below(below(40) == 0 ? 2 * maximum : 30));
      ASSERT_TRUE(tree->reaches(placeOf(from), placeOf(to)));
      ASSERT_EQ(tree->reaches(placeOf(to), placeOf(from)), from == to);
      const auto removed = tree->extract(placeOf(from), placeOf(to));
      for (auto at = from; at != to; ++at) present.erase(at->second.id);
      mirror.erase(from, to);
    } else if (choice < 84) {
      same(tree->find({key}), mirror.find(key));
      same(tree->lowerBound({key}), mirror.lower_bound(key));
      same(tree->upperBound({key}), mirror.upper_bound(key));
    } else {
      Held& one = held[random() % held.size()];
      const auto at = mirror.lower_bound(key);
      one = {tree->handle(placeOf(at)), at == mirror.end() ? 0 : at->second.id};
    }
    ASSERT_EQ(tree->change() != change, mirror.size() != size) << step;

    const Held& one = held[random() % held.size()];
    const auto located = Tree::locate(one.handle);
    if (one.handle != 0) {
      ASSERT_EQ(located.owner != nullptr, one.id == 0 || present.contains(one.id)) << step;
      if (located.owner != nullptr) {
        ASSERT_EQ(tree->handle(located.place), one.handle);
        const bool isEntry = located.place != tree->end();
        ASSERT_EQ(isEntry ? OrderedTreeTest::detail<Tree>(located.place).id : 0, one.id);
      }
    }
    const bool whole = step % 997 == 0 || step + 1 == steps();
    if (whole) {
      ASSERT_NO_FATAL_FAILURE(OrderedTreeTest::check(*tree));
      auto at = mirror.begin();
      auto place = tree->begin();
      for (; place != tree->end(); place = tree->next(place), ++at) ASSERT_NO_FATAL_FAILURE(same(place, at));
      ASSERT_EQ(at, mirror.end());
      for (; at != mirror.begin();) ASSERT_NO_FATAL_FAILURE(same(place = tree->previous(place), --at));
      ASSERT_EQ(CountedKey::live.size(), mirror.size());
    }
    if (step % 20'011 == 0) {
      // A copy takes the original's place; positions of the original go with it.
      auto copy = std::make_unique<Tree>();
      copy->copyFrom(*tree);
      ASSERT_TRUE(tree->empty() || copy->change() != tree->change());
      tree = std::move(copy);
      for (const Held& old : held) ASSERT_EQ(Tree::locate(old.handle).owner, nullptr);
      std::fill(held.begin(), held.end(), Held());
      present.clear();
      for (auto& [k, entry] : mirror)
        present.insert(entry.id = OrderedTreeTest::detail<Tree>(tree->find({k})).id);
      ASSERT_NO_FATAL_FAILURE(OrderedTreeTest::check(*tree));
    }
    if (step % 50'021 == 0) {
      const auto full = tree->empty() ? change - 1 : tree->change();
      const auto removed = tree->extractAll();
      ASSERT_NE(tree->change(), full);
      mirror.clear();
      present.clear();
    }
  }
  tree.reset();
  EXPECT_TRUE(CountedKey::live.empty());
  for (const Held& old : held) EXPECT_EQ(Tree::locate(old.handle).owner, nullptr);
}

TYPED_TEST(OrderedTreeOracle, LosesNothingWhateverComparisonsAnswer) {
  using Tree = OrderedTree<CountedKey, std::int64_t, LyingOrder, TypeParam>;
  std::mt19937 random(TypeParam::kLeaf);
  LyingOrder::random.seed(TypeParam::kLeaf);
  Tree tree;
  std::map<std::int64_t, PositionHandle> entries;  // by id
  const auto idOf = [](typename Tree::Place place) { return OrderedTreeTest::detail<Tree>(place).id; };
  for (long step = 0; step < steps() / 4; ++step) {
    const auto choice = static_cast<int>(random() % 100);
    if (choice < 55) {
      const auto place = tree.findOrInsert({step});
      const auto [at, isNew] = entries.try_emplace(idOf(place), 0);
      if (isNew) at->second = tree.handle(place);
    } else if (!entries.empty()) {
      const auto first = tree.lowerBound({step}), last = tree.upperBound({step});
      if (choice < 96 || !tree.reaches(first, last)) {
        const auto nth = static_cast<long>(random() % std::min<std::size_t>(entries.size(), 50));
        const auto place = Tree::locate(std::next(entries.begin(), nth)->second).place;
        ASSERT_NE(place, tree.end());
        entries.erase(idOf(place));
        const auto removed = tree.extract(place);
      } else if (choice == 99) {
        for (auto place = first; place != last; place = tree.next(place)) entries.erase(idOf(place));
        const auto removed = tree.extract(first, last);
      }
    }
    ASSERT_EQ(tree.size(), entries.size());
    if (step % 499 != 0) continue;
    std::set<std::int64_t> met;
    for (auto place = tree.begin(); place != tree.end(); place = tree.next(place)) {
      ASSERT_TRUE(met.insert(idOf(place)).second) << "met twice";
      ASSERT_EQ(Tree::locate(entries.at(idOf(place))).place, place);
    }
    ASSERT_EQ(met.size(), entries.size());
    ASSERT_EQ(CountedKey::live.size(), entries.size());
    ASSERT_NO_FATAL_FAILURE(OrderedTreeTest::check(tree));
  }
}

TYPED_TEST(OrderedTreeOracle, GivesItsMemoryBack) {
  using Tree = OrderedTree<CountedKey, std::int64_t, TestOrder, TypeParam>;
  host::Host host;
  const host::Host::PluginCall call;  // what is allocated from here on is the library's
  behaviour::countLibraryMemory();
  const std::size_t before = behaviour::libraryAllocations();
  {
    std::mt19937 random(1);
    Tree tree, copy;
    for (int round = 0; round < 2; ++round) {
      for (int i = 0; i < 30'000; ++i) tree.findOrInsert({static_cast<std::int64_t>(random() % 100'000)});
      for (int i = 0; i < 20'000; ++i) static_cast<void>(tree.extract(tree.begin()));
      static_cast<void>(tree.extract(tree.lowerBound({95'000}), tree.lowerBound({98'000})));
      if (round == 0) copy.copyFrom(tree);
      while (tree.size() > (round == 0 ? 10u : 0u))
        static_cast<void>(tree.extract(tree.previous(tree.end())));
      static_cast<void>(tree.extractAll());
    }
  }
  EXPECT_EQ(behaviour::libraryAllocations(), before);
}

TEST(OrderedTree, SmallOnesAreSmallAndUnwalkedOnesPayNothingForPositions) {
  using Tree = OrderedTree<CountedKey, std::int64_t, TestOrder>;
  Tree tree;
  tree.findOrInsert({1});
  EXPECT_LE(tree.begin().leaf->capacity, 4);
  for (int i = 0; i < 1000; ++i) tree.findOrInsert({i});
  for (auto* leaf = tree.begin().leaf; leaf != nullptr; leaf = leaf->next) ASSERT_EQ(leaf->anchors, nullptr);
  EXPECT_EQ(OrderedTreeTest::leaves(tree), (1000 + 63) / 64u) << "ascending keys fill their leaves";
}

}  // namespace
}  // namespace vornik
