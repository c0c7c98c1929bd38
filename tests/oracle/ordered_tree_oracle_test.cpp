// The ordered tree over long random runs, with positions held across every change and memory running out in
// between: at node sizes so small that splits and merges happen all the time, and at the shipped ones. Under an
// order that is one it answers like std::map. Under one that answers at random nothing is known of the sequence,
// but no entry may be lost, doubled or leaked.
//
// VORNIK_STEPS sets another number of steps of a run.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

#include "host/host.h"
#include "plugin/structures/ordered_tree.h"
#include "tests/support/failures_memory.h"

namespace vornik {

namespace {

/// Keys are counted. They have ids, which tell entries apart also where their order is none.
struct CountedKey {
  static inline std::int64_t live = 0;
  explicit CountedKey(std::int64_t value) : id(value) {}
  CountedKey(CountedKey&& other) noexcept : id(std::exchange(other.id, 0)) {}
  CountedKey& operator=(CountedKey&&) = delete;
  ~CountedKey() { live -= id != 0; }
  std::int64_t id;
};
struct CountedDetail {
  static CountedDetail make() {
    static std::int64_t last = 0;
    ++CountedKey::live;
    return {++last};
  }
  std::int64_t id;
};

/// Compares numbers, or as it likes.
template <bool kLies>
struct TestOrder {
  using Probe = std::int64_t;
  using Number = std::int64_t;
  using Detail = CountedDetail;
  struct Shared {};
  static constexpr bool kLooksAtTheLastFirst = true;
  static inline std::mt19937 random;
  static bool isBefore(const Routes<TestOrder>& routes, unsigned index, Probe probe) {
    return kLies ? random() % 32 == 0 : routes.numbers[index] < probe;
  }
  template <Bound kBound>
  static Found search(const Routes<TestOrder>& routes, unsigned capacity, unsigned count, Probe probe) {
    if constexpr (kLies) {
      return bisect<kBound>(0, count, [](unsigned) { return static_cast<int>(random() % 63) - 31; });
    } else {
      const unsigned below = countBelow(routes.numbers, capacity, probe);
      const bool exact = below < count && routes.numbers[below] == probe;
      return {below + (kBound == Bound::kUpper && exact), exact};
    }
  }
  static Number number(Probe probe, Shared) { return probe; }
  static Detail hold(Probe) { return Detail::make(); }
  static Detail hold(Detail) { return Detail::make(); }
  static std::int64_t lend(Number number, Detail) { return number; }
  static CountedKey release(Number, Detail detail) { return CountedKey(detail.id); }
};

/// A tree, and what must be in it.
template <bool kLies, typename Sizes>
class Mirrored {
 public:
  using Tree = OrderedTree<CountedKey, std::int64_t, TestOrder<kLies>, Sizes>;
  using Place = typename Tree::Place;

  void step() {
    if (entries_.size() > kGreatest * 3 / 4) growing_ = false;
    if (entries_.size() < kGreatest / 8) growing_ = true;
    const ChangeStamp change = tree_->change();
    const std::size_t size = entries_.size();
    const std::int64_t key = below(2 * kGreatest) - int{kGreatest};
    const Place place = lookUp(key);
    const int choice = below(200);
    if (choice < (growing_ ? 100 : 50)) {
      // Now and then a run of neighbours, upwards or downwards.
      const int run = below(50) == 0 ? below(300) : 1;
      for (int i = 0; i < run; ++i) insert(choice % 2 == 0 ? key + i : key - i);
    } else if (choice < (growing_ ? 125 : 175)) {
      if (place != tree_->end()) remove(place);
    } else if (choice < 178) {
      removeRange(place, below(below(40) == 0 ? kGreatest : 30));
    } else if (choice == 178 && below(100) == 0) {
      const auto removed = tree_->extractAll();
      entries_.clear();
      sorted_.clear();
    } else {
      Held& one = held_[random_() % held_.size()];
      succeeds([&] { one = {tree_->handle(place), idOf(place)}; });
    }
    EXPECT_EQ(tree_->change() != change, entries_.size() != size);
    expectPosition(held_[random_() % held_.size()]);
    if (below(5000) == 0) copy();
  }

  void expectContent() {
    EXPECT_EQ(tree_->size(), entries_.size());
    EXPECT_EQ(CountedKey::live, std::ssize(entries_));
    std::set<std::int64_t> met;
    auto at = sorted_.begin();
    Place before = tree_->end();
    for (Place place = tree_->begin(); place != tree_->end(); before = place, place = tree_->next(place)) {
      const Entry& entry = entries_.at(idOf(place));
      ASSERT_TRUE(met.insert(idOf(place)).second) << "met twice";
      EXPECT_EQ(tree_->key(place), entry.key);
      EXPECT_EQ(tree_->value(place), entry.value);
      EXPECT_TRUE(met.size() == 1 || tree_->previous(place) == before);
      if (!kLies) expectAt(place, at++);
    }
    EXPECT_EQ(met.size(), entries_.size());
    EXPECT_TRUE(met.empty() || tree_->previous(tree_->end()) == before);
  }

  /// The tree goes, and with it its positions.
  void replace(std::unique_ptr<Tree> tree) {
    tree_ = std::move(tree);
    for (const Held& old : std::exchange(held_, std::vector<Held>(held_.size())))
      EXPECT_EQ(Tree::locate(old.handle).owner, nullptr);
  }

 private:
  static constexpr unsigned kGreatest = Sizes::kLeaf < 64 ? 400 : 20'000;

  struct Entry {
    std::int64_t key, value;
  };
  struct Held {
    PositionHandle handle = 0;
    std::int64_t id = 0;  ///< 0: the end
  };

  int below(unsigned bound) { return static_cast<int>(random_() % bound); }
  static std::int64_t idOf(Place place) {
    return place.leaf == nullptr ? 0 : place.leaf->details()[place.index].id;
  }

  /// Runs an operation, now and then with too little memory, which must leave everything as it is.
  template <typename Operation>
  bool succeeds(Operation operation) {
    bool succeeded = true;
    behaviour::limitMemory(below(5) == 0 ? 1 + below(3) : 0, behaviour::Shortage::kFromThenOn);
    try {
      operation();
    } catch (const std::bad_alloc&) {
      succeeded = false;
    }
    EXPECT_EQ(behaviour::unlimitMemory() == 0, succeeded);
    return succeeded;
  }

  void expectAt(Place place, std::map<std::int64_t, std::int64_t>::const_iterator at) const {
    EXPECT_EQ(idOf(place), at == sorted_.end() ? 0 : at->second);
  }
  Place lookUp(std::int64_t key) const {
    const Place lower = tree_->lowerBound({key}), upper = tree_->upperBound({key}),
                found = tree_->find({key});
    if (!kLies) {
      expectAt(lower, sorted_.lower_bound(key));
      expectAt(upper, sorted_.upper_bound(key));
      expectAt(found, sorted_.find(key));
    }
    return lower;
  }

  void insert(std::int64_t key) {
    Place place = tree_->end();
    if (!succeeds([&] { place = tree_->findOrInsert({key}); })) return;
    const auto [at, isNew] = entries_.try_emplace(idOf(place), Entry{key, 0});
    if (!kLies) {
      EXPECT_EQ(sorted_.try_emplace(key, at->first).second, isNew);
      EXPECT_EQ(at->second.key, key);
    }
    EXPECT_EQ(tree_->value(place), at->second.value);
    tree_->value(place) = at->second.value = below(1000);
  }

  void remove(Place place) {
    const std::int64_t id = idOf(place);
    const auto removed = tree_->extract(place);
    EXPECT_EQ(removed.key.id, id);
    EXPECT_EQ(removed.value, entries_.at(id).value);
    forget(id);
  }
  void removeRange(Place first, int count) {
    std::vector<std::int64_t> ids;
    Place last = first;
    for (; count > 0 && last != tree_->end(); --count, last = tree_->next(last)) ids.push_back(idOf(last));
    EXPECT_TRUE(tree_->reaches(first, last));
    EXPECT_EQ(tree_->reaches(last, first), first == last);
    if (!succeeds([&] { const auto removed = tree_->extract(first, last); })) return;
    for (const std::int64_t id : ids) forget(id);
  }
  void forget(std::int64_t id) {
    sorted_.erase(entries_.at(id).key);
    entries_.erase(id);
  }

  /// A copy takes the original's place.
  void copy() {
    auto copy = std::make_unique<Tree>();
    if (succeeds([&] { copy->copyFrom(*tree_); })) {
      EXPECT_EQ(copy->change() > tree_->change(), !tree_->empty());
      std::map<std::int64_t, Entry> entries;
      Place original = tree_->begin();
      for (Place place = copy->begin(); place != copy->end(); place = copy->next(place)) {
        const Entry& entry = entries[idOf(place)] = entries_.at(idOf(original));
        if (!kLies) sorted_[entry.key] = idOf(place);
        original = tree_->next(original);
      }
      EXPECT_EQ(original, tree_->end());
      entries_ = std::move(entries);
      replace(std::move(copy));
    }
    copy.reset();
    expectContent();
  }

  void expectPosition(const Held& one) {
    const auto located = Tree::locate(one.handle);
    const bool isGood = one.handle != 0 && (one.id == 0 || entries_.contains(one.id));
    ASSERT_EQ(located.owner, isGood ? tree_.get() : nullptr);
    if (!isGood) return;
    EXPECT_EQ(idOf(located.place), one.id);
    EXPECT_EQ(tree_->handle(located.place), one.handle);
  }

  std::mt19937 random_{1};
  bool growing_ = true;
  std::unique_ptr<Tree> tree_ = std::make_unique<Tree>();
  std::map<std::int64_t, Entry> entries_;        // by id
  std::map<std::int64_t, std::int64_t> sorted_;  // ids by key, unless they are in no order
  std::vector<Held> held_{200};
};

template <typename AnyRun>
class OrderedTreeOracle : public testing::Test {};
using Runs = testing::Types<Mirrored<false, NodeSizes<4, 4>>, Mirrored<true, NodeSizes<4, 4>>,
                            Mirrored<false, NodeSizes<8, 16>>, Mirrored<true, NodeSizes<8, 16>>,
                            Mirrored<false, NodeSizes<64, 64>>, Mirrored<true, NodeSizes<64, 64>>>;
TYPED_TEST_SUITE(OrderedTreeOracle, Runs);

TYPED_TEST(OrderedTreeOracle, LosesNoEntryNoPositionAndNoMemory) {
  host::Host host;
  const host::Host::PluginCall call;  // what is allocated from here on is the library's
  behaviour::countLibraryMemory();
  typename TypeParam::Tree().handle({});  // with the first position come things that stay
  const std::size_t memory = behaviour::libraryAllocations();
  {
    const char* const chosen = std::getenv("VORNIK_STEPS");
    const long steps = chosen != nullptr ? std::atol(chosen) : 200'000;
    TypeParam run;
    long step = 0;
    for (; step < steps && !this->HasFailure(); ++step) {
      run.step();
      if (step % 997 == 0) run.expectContent();
    }
    EXPECT_EQ(step, steps) << "the step before it went wrong";
    run.expectContent();
    run.replace(nullptr);
  }
  EXPECT_EQ(CountedKey::live, 0);
  EXPECT_EQ(behaviour::libraryAllocations(), memory);
}

TEST(OrderedTree, TakesNoMoreMemoryThanItsEntriesNeed) {
  OrderedTree<CountedKey, std::int64_t, TestOrder<false>> tree;
  tree.findOrInsert({1});
  EXPECT_LE(tree.begin().leaf->capacity, 4);
  const auto leaves = [&] {
    int count = 0;
    for (auto* leaf = tree.begin().leaf; leaf != nullptr; leaf = leaf->next, ++count)
      EXPECT_EQ(leaf->anchors, nullptr) << "unwalked ones pay nothing for positions";
    return count;
  };
  for (int i = 0; i < 1000; ++i) tree.findOrInsert({i});
  EXPECT_EQ(leaves(), (1000 + 63) / 64) << "ascending keys fill their leaves";
  for (int i = 1; i < 1000; ++i) {
    if (i % 50 != 0) static_cast<void>(tree.extract(tree.find({i})));
  }
  EXPECT_LE(leaves(), 2) << "leaves that become empty merge";
  for (int i = 0; i < 1000; ++i) tree.findOrInsert({i});
  for (int i = 0; i < 960; i += 64) static_cast<void>(tree.extract(tree.find({i + 1}), tree.find({i + 63})));
  EXPECT_LE(leaves(), 5) << "and so do those that lose a range";
  while (tree.size() > 1) static_cast<void>(tree.extract(tree.begin()));
  EXPECT_EQ(tree.begin().leaf->parent, nullptr) << "levels go again";
}

}  // namespace
}  // namespace vornik
