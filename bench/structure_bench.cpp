// The tree and the table themselves, with Integer keys and values and without the call, side by side with the
// maps of C++.
#include "bench/harness.h"
#include "bench/keys.h"
#include "bench/raw_map.h"
#include "plugin/containers/hashing.h"
#include "plugin/containers/kinds.h"
#include "plugin/containers/orders.h"
#include "plugin/structures/hash_table.h"
#include "plugin/structures/ordered_tree.h"

namespace vornik::bench {
namespace {

using Tree = OrderedTree<std::int64_t, std::int64_t, IntegerOrder>;
using Table = HashTable<std::int64_t, std::int64_t, IntegerHashing>;

/// One of our structures, with the operations of a RawMap.
template <typename Structure>
class Ours {
 public:
  using Key = std::int64_t;
  using Keys = std::vector<Key>;

  explicit Ours(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

  void create() { structure_ = std::make_unique<Structure>(); }
  void destroy() { structure_.reset(); }

  std::int64_t set(const Keys& keys) {
    for (const Key key : keys) structure_->value(structure_->findOrInsert(key)) = key + 1;
    return static_cast<std::int64_t>(structure_->size());
  }
  std::int64_t get(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key key : keys) sum += structure_->value(structure_->find(key));
    return sum;
  }
  std::int64_t has(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key key : keys) sum += structure_->find(key) != structure_->end() ? 1 : 0;
    return sum;
  }
  std::int64_t lowerBound(const Keys& keys) {
    return sumAt(keys, [this](Key key) { return structure_->lowerBound(key); });
  }
  std::int64_t upperBound(const Keys& keys) {
    return sumAt(keys, [this](Key key) { return structure_->upperBound(key); });
  }
  std::int64_t remove(const Keys& keys) {
    std::int64_t sum = 0;
    for (const Key key : keys) {
      const auto place = structure_->find(key);
      if (place == structure_->end()) continue;
      static_cast<void>(structure_->extract(place));
      ++sum;
    }
    return sum;
  }
  std::int64_t walk() {
    std::int64_t sum = 0;
    for (auto place = structure_->begin(); place != structure_->end(); place = structure_->next(place)) {
      sum += structure_->key(place) ^ structure_->value(place);
    }
    return sum;
  }
  void takePositions() {
    for (auto place = structure_->begin(); place != structure_->end(); place = structure_->next(place)) {
      structure_->handle(place);
    }
  }
  std::int64_t copy() {
    copy_ = std::make_unique<Structure>();
    copy_->copyFrom(*structure_);
    return static_cast<std::int64_t>(copy_->size());
  }
  void dropCopy() { copy_.reset(); }

  void findMiddleThird() {
    ends_.clear();
    auto place = structure_->begin();
    for (std::size_t i = 0; i <= structure_->size() / 3 * 2; ++i, place = structure_->next(place)) {
      if (i == structure_->size() / 3 || i == structure_->size() / 3 * 2) ends_.push_back(place);
    }
  }
  std::int64_t removeMiddleThird() {
    static_cast<void>(structure_->extract(ends_[0], ends_[1]));
    return static_cast<std::int64_t>(structure_->size());
  }
  /// Whether the middle third's end can be reached from its beginning, which a removal asks first.
  std::int64_t reachesMiddle() { return structure_->reaches(ends_[0], ends_[1]) ? 1 : 0; }

 private:
  template <typename Search>
  std::int64_t sumAt(const Keys& keys, Search search) {
    std::int64_t sum = 0;
    for (const Key key : keys) {
      const auto place = search(key);
      sum += place != structure_->end() ? structure_->value(place) : 7;
    }
    return sum;
  }

  std::string name_;
  std::unique_ptr<Structure> structure_, copy_;
  std::vector<typename Structure::Place> ends_;
};

template <bool kOrdered>
auto keyedPass(Integers& load, bool dense) {
  return [&load, dense](auto& subject, Figures& figures) {
    const std::size_t size = load.size();
    load.shuffleFew();
    subject.create();
    figures.time("set", size, [&] { return subject.set(load.inserted); });
    figures.time("get", size, [&] { return subject.get(load.read); });
    if (!dense || !kOrdered) figures.time("miss", size, [&] { return subject.has(load.absent); });
    if constexpr (kOrdered) {
      figures.time("miss beyond", size, [&] { return subject.has(load.beyond); });
      figures.time("lower bound", size, [&] { return subject.lowerBound(dense ? load.read : load.absent); });
      figures.time("upper bound", size, [&] { return subject.upperBound(load.read); });
      figures.time("lower bound beyond", size, [&] { return subject.lowerBound(load.beyond); });
    }
    figures.time("remove", size, [&] { return subject.remove(load.removed); });
    subject.destroy();
  };
}

auto wholePass(Integers& load, const std::vector<std::int64_t>& ascending) {
  return [&load, &ascending](auto& subject, Figures& figures) {
    const std::size_t size = load.size();
    load.shuffleFew();
    subject.create();
    subject.set(load.inserted);
    figures.time("walk", size, [&] { return subject.walk(); });
    figures.time("copy", size, [&] { return subject.copy(); });
    subject.dropCopy();
    subject.findMiddleThird();
    if constexpr (requires { subject.reachesMiddle(); }) {
      figures.time("last follows first", 1, [&] { return subject.reachesMiddle(); });
    }
    figures.time("remove middle third", size / 3, [&] { return subject.removeMiddleThird(); });
    if constexpr (requires { subject.takePositions(); }) {
      subject.create();
      subject.set(load.inserted);
      figures.time("take positions", size, [&] { return subject.takePositions(), 0; });
      figures.time("remove positioned", size, [&] { return subject.remove(load.removed); });
    }
    subject.create();
    figures.time("ascending inserts", size, [&] { return subject.set(ascending); });
    subject.destroy();
  };
}

template <bool kOrdered, typename Structure, typename... Raw>
void compare(Report& report, const std::string& name, Raw... raw) {
  Ours<Structure> ours(name);
  for (const bool dense : {true, false}) {
    for (const std::size_t size : {1'000u, 100'000u, 1'000'000u}) {
      const Block block{name, dense ? "dense" : "random", size};
      if (!report.wants(block)) continue;
      Integers load = makeIntegers(size, dense);
      auto ascending = load.inserted;
      std::sort(ascending.begin(), ascending.end());
      Comparison comparison(report, block, ours, raw...);
      comparison.run(keyedPass<kOrdered>(load, dense));
      comparison.run(wholePass(load, ascending));
      comparison.finish();
    }
  }
}

void run(Report& report) {
  compare<true, Tree>(report, "OrderedTree", standardMap<std::int64_t>(), btreeMap<std::int64_t>());
  compare<false, Table>(report, "HashTable", standardHashMap<std::int64_t>(), flatHashMap<std::int64_t>());
}

}  // namespace
}  // namespace vornik::bench

int main(int argc, char** argv) {
  return vornik::bench::benchMain(argc, argv, "structure-bench", vornik::bench::run);
}
