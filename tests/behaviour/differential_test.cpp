// Long random runs over two containers of one class, every answer compared with a mirror in standard
// containers. Hundreds of iterators are held across every change, so that entries go, and their memory is
// used again, under iterators that have to know it.
//
// The run over the ordered Integer map has a million operations; the others have a twentieth of that.
// VORNIK_OPERATIONS sets another number.
#include <cstdlib>
#include <map>
#include <optional>
#include <random>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

/// Where an iterator is or was. Those of the same serial are equal to isEqual, also when they are stale.
struct Position {
  int container = 0;
  std::uint64_t serial = 0;  ///< of the entry, or of the container's end
  std::optional<int> key{};  ///< none at the end
};

struct Entry {
  std::uint64_t serial;
  int value;
};

/// A container's mirror. Keys and values are the numbers that keyOf and valueOf make them from.
struct Mirror {
  Value object;
  std::map<int, Entry> entries;
  std::uint64_t endSerial = 0;
  std::vector<int> order;  ///< keys as they are visited; empty where it has to be found out again
};

struct Iterator {
  Value object;
  Position position;
};

class Differential : public ContainerTest {
 protected:
  void TearDown() override {
    for (Mirror& mirror : mirrors_) mirror = {};
    iterators_.clear();
    ContainerTest::TearDown();
  }

  void begin(int keys, std::size_t iterators) {
    keys_ = keys;
    random_.seed(static_cast<unsigned>(keys));
    for (int i = 0; i < keys; ++i) keyNumbers_[show(key(i))] = i;
    for (Mirror& mirror : mirrors_) mirror = {make(), {}, ++lastSerial_, {}};
    iterators_.resize(iterators);
    for (Iterator& iterator : iterators_) place(iterator, 0, "first");
  }

  void step() {
    const int choice = below(100), k = below(keys_), which = below(2);
    Mirror& mirror = mirrors_[which];
    Iterator& iterator = any();
    if (below(1000) == 0) compareAll(mirror);
    if (below(10000) == 0) return clear(mirror, "Constructor");
    if (below(4000) == 0) return clear(mirror, "Clear");
    if (choice < 22) return set(mirror, k);
    if (choice < 29) return removeKey(mirror, k);
    // Seldom from the other container.
    const int owner = below(8) == 0 ? which : iterator.position.container;
    if (choice < 33) return removeAt(owner, iterator);
    if (choice < 34) return removeRange(owner, iterator, any());
    if (choice < 48) return place(iterator, which, "find", k);
    if (choice < 51) return place(iterator, which, below(2) == 0 ? "first" : "last");
    if (choice < 54 && facts().ordered)
      return place(iterator, which, below(2) == 0 ? "LowerBound" : "UpperBound", k);
    if (choice < 68) return move(iterator, facts().ordered && below(2) == 0 ? "MovePrev" : "MoveNext");
    if (choice < 82) return read(iterator);
    if (choice < 86 && facts().isMap()) return assign(iterator);
    if (choice < 91) return compare(iterator, any());
    look(mirror, k);
  }

 private:
  int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
  Iterator& any() { return iterators_[random_() % iterators_.size()]; }

  // ---- What the mirror knows

  /// What an operation has against a position, or nothing.
  std::optional<std::string> objection(const Position& position, bool needsEntry, int container = -1) const {
    const Mirror& mirror = mirrors_[position.container];
    const auto entry = mirror.entries.find(position.key.value_or(-1));
    if (position.serial != (entry != mirror.entries.end() ? entry->second.serial : mirror.endSerial))
      return kStale;
    if (container >= 0 && container != position.container) return kForeign;
    if (needsEntry && !position.key) return kAtEnd;
    return {};
  }

  /// Keys in visiting order. Ordered classes are told by the mirror; hash classes are asked, once a change.
  const std::vector<int>& order(Mirror& mirror) {
    if (!mirror.order.empty() || mirror.entries.empty()) return mirror.order;
    if (facts().ordered) {
      for (const auto& [k, entry] : mirror.entries) mirror.order.push_back(k);
      if (facts().descending()) std::reverse(mirror.order.begin(), mirror.order.end());
    } else {
      for (const std::string& k : elements(call(mirror.object, "Keys")))
        mirror.order.push_back(keyNumbers_.at(k));
    }
    return mirror.order;
  }
  /// The position at an index of the visiting order; past the last one is the end.
  Position positionAt(int container, std::size_t index) {
    Mirror& mirror = mirrors_[container];
    if (index >= order(mirror).size()) return {container, mirror.endSerial};
    const int k = order(mirror)[index];
    return {container, mirror.entries.at(k).serial, k};
  }
  std::size_t indexOf(const Position& position) {
    const auto& keys = order(mirrors_[position.container]);
    return static_cast<std::size_t>(std::find(keys.begin(), keys.end(), position.key) - keys.begin());
  }
  static void erase(Mirror& mirror, int k) {
    mirror.entries.erase(k);
    mirror.order.clear();
  }
  static std::string shownValue(const Entry& entry) { return show(value(entry.value)); }

  // ---- Operations

  void set(Mirror& mirror, int k) {
    const int number = below(1000);
    put(mirror.object, k, number);
    const auto [entry, isNew] = mirror.entries.try_emplace(k);
    entry->second = {isNew ? ++lastSerial_ : entry->second.serial, number};
    if (isNew) mirror.order.clear();
  }

  void removeKey(Mirror& mirror, int k) {
    const bool present = mirror.entries.contains(k);
    ASSERT_EQ(answer(mirror.object, "Remove", {key(k)}), present ? "1" : "0");
    if (present) erase(mirror, k);
  }

  void removeAt(int container, const Iterator& iterator) {
    auto exception = objection(iterator.position, true, container);
    ASSERT_EQ(answer(mirrors_[container].object, "Remove", {iterator.object}), exception.value_or("nil"));
    if (!exception) erase(mirrors_[container], *iterator.position.key);
  }

  void removeRange(int container, const Iterator& first, const Iterator& last) {
    auto exception = objection(first.position, false, container);
    if (!exception) exception = objection(last.position, false, container);
    std::vector<int> removed;
    if (!exception) {
      const std::size_t from = indexOf(first.position), to = indexOf(last.position);
      if (from > to) exception = kReversed;
      for (std::size_t i = from; i < to; ++i) removed.push_back(mirrors_[container].order[i]);
    }
    ASSERT_EQ(answer(mirrors_[container].object, "Remove", {first.object, last.object}),
              exception.value_or("nil"));
    for (const int k : removed) erase(mirrors_[container], k);
  }

  /// Gives the pool's iterator a new object.
  void place(Iterator& iterator, int container, const std::string& method, std::optional<int> k = {}) {
    const auto& keys = order(mirrors_[container]);
    const auto found = std::find_if(keys.begin(), keys.end(), [&](int candidate) {
      if (!k) return method == "first";
      if (candidate == *k) return method != "UpperBound";
      return method != "find" && (facts().descending() ? candidate < *k : candidate > *k);
    });
    const Values arguments = k ? Values{key(*k)} : Values{};
    iterator.object = call(mirrors_[container].object, method, arguments);
    iterator.position = positionAt(container, static_cast<std::size_t>(found - keys.begin()));
    read(iterator);
  }

  void move(Iterator& iterator, const std::string& method) {
    Position& position = iterator.position;
    const bool back = method == "MovePrev";
    auto exception = objection(position, !back);
    if (!exception && back && indexOf(position) == 0) exception = kAtFirst;
    ASSERT_EQ(answer(iterator.object, method), exception.value_or("nil"));
    if (!exception)
      position = positionAt(position.container, indexOf(position) + (back ? std::size_t(-1) : 1));
    read(iterator);
  }

  void read(const Iterator& iterator) {
    const Position& position = iterator.position;
    auto exception = objection(position, true);
    ASSERT_EQ(answer(iterator.object, "Key"), exception ? *exception : show(key(*position.key)));
    if (!facts().isMap()) return;
    const auto& entries = mirrors_[position.container].entries;
    ASSERT_EQ(answer(iterator.object, "Value"),
              exception ? *exception : shownValue(entries.at(*position.key)));
  }

  void assign(const Iterator& iterator) {
    const Position& position = iterator.position;
    auto exception = objection(position, true);
    const int number = below(1000);
    ASSERT_EQ(raised([&] { host().assign(iterator.object, "Value", {}, value(number)); }),
              exception.value_or(""));
    if (!exception) mirrors_[position.container].entries.at(*position.key).value = number;
  }

  void compare(const Iterator& a, const Iterator& b) {
    ASSERT_EQ(equal(a.object, b.object), a.position.serial == b.position.serial);
  }

  void look(const Mirror& mirror, int k) {
    const auto entry = mirror.entries.find(k);
    const bool present = entry != mirror.entries.end();
    const char* yesNo = present ? "true" : "false";
    ASSERT_EQ(answer(mirror.object, "CountKey", {key(k)}), present ? "1" : "0");
    ASSERT_EQ(answer(mirror.object, facts().isMap() ? "hasKey" : "lookup", {key(k)}), yesNo);
    if (!facts().isMap()) return;
    ASSERT_EQ(answer(mirror.object, "value", {key(k)}),
              present ? shownValue(entry->second) : "KeyNotFoundException: Key not found");
    ASSERT_EQ(answer(mirror.object, "lookup", {key(k), value(5000)}),
              present ? shownValue(entry->second) : show(value(5000)));
  }

  void clear(Mirror& mirror, const std::string& method) {
    const bool rebuilds = method == "Constructor";
    call(mirror.object, method, rebuilds ? constructorArguments() : Values{});
    mirror.entries.clear();
    mirror.order.clear();
    if (rebuilds) mirror.endSerial = ++lastSerial_;
  }

  void compareAll(const Mirror& mirror) {
    Texts expected;
    for (const auto& [k, entry] : mirror.entries)
      expected.push_back(show(key(k)) + (facts().isMap() ? "=" + shownValue(entry) : ""));
    ASSERT_EQ(content(mirror.object), sorted(expected));
    ASSERT_EQ(count(mirror.object), static_cast<std::int64_t>(expected.size()));
    ASSERT_EQ(host().get(mirror.object, "Empty").boolean(), expected.empty());
  }

  int keys_ = 0;
  std::mt19937 random_;
  std::map<std::string, int> keyNumbers_;
  Mirror mirrors_[2];
  std::vector<Iterator> iterators_;
  std::uint64_t lastSerial_ = 0;
};

TEST_P(Differential, AnswersLikeItsMirror) {
  const char* chosen = std::getenv("VORNIK_OPERATIONS");
  const long operations = chosen != nullptr ? std::atol(chosen) : 1'000'000;
  const bool isMain = facts().name == std::string_view("IntegerToIntegerOrderedMapQZR");
  begin(isMain ? 300 : 60, isMain ? 400 : 100);
  for (long i = 0; i < (isMain ? operations : operations / 20); ++i) {
    step();
    ASSERT_FALSE(HasFailure()) << "operation " << i;
  }
}

VORNIK_FOR_CLASSES(Differential, anyClass);

}  // namespace
}  // namespace vornik::behaviour
