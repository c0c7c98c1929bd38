// Long random runs over two containers of one class, every answer compared with a mirror in standard
// containers. Hundreds of iterators are held across every change, so that entries go, and their memory is
// used again, under iterators that have to know it.
//
// The run over the ordered Integer map has a million operations; the others have a twentieth of that.
// VORNIK_OPERATIONS sets another number.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>

#include "tests/behaviour/container_test.h"

namespace vornik::behaviour {
namespace {

const char* const kAbsent = "KeyNotFoundException: Key not found";
const char* const kNothing = "nil";

std::string yesNo(bool answer) {
  return answer ? "true" : "false";
}

/// What script code gets: the result, or the exception.
template <typename Operation>
std::string answer(Operation&& operation) {
  std::string result;
  const std::string exception = raised([&] { result = show(operation()); });
  return exception.empty() ? result : exception;
}

/// Where an iterator is or was. Positions that compare equal are equal to isEqual, also when they are stale.
struct Position {
  int container;
  std::uint64_t serial;  ///< of the entry, or of the container's end
  int key = kEnd;
  static constexpr int kEnd = -1;
  friend bool operator==(const Position&, const Position&) = default;
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
  Position position{};
};

class RandomRun {
 public:
  RandomRun(Host& host, const Subject& subject, int keys, std::size_t iterators)
      : host_(host), facts_(*subject.facts), keys_(keys), random_(static_cast<unsigned>(keys)) {
    for (int i = 0; i < keys_; ++i) keyNumbers_[show(keyOf(facts_.key, i))] = i;
    if (facts_.hasCaseChoice()) constructorArguments_ = {subject.caseSensitive};
    for (Mirror& mirror : mirrors_) {
      mirror.object = host_.create(facts_.name, constructorArguments_);
      mirror.endSerial = ++lastSerial_;
    }
    iterators_.resize(iterators);
    for (Iterator& iterator : iterators_) place(iterator, 0, "first");
  }

  void step() {
    const int choice = below(100);
    const int key = below(keys_);
    const int which = below(2);
    Mirror& mirror = mirrors_[which];
    Iterator& iterator = any();
    if (choice < 22) {
      set(mirror, key);
    } else if (choice < 29) {
      const bool present = mirror.entries.contains(key);
      expect(answer([&] { return call(mirror, "Remove", {keyValue(key)}); }), present ? "1" : "0", "Remove");
      if (present) erase(mirror, key);
    } else if (choice < 33) {
      removeAt(below(8) == 0 ? which : iterator.position.container, iterator);
    } else if (choice < 34) {
      removeRange(below(8) == 0 ? which : iterator.position.container, iterator, any());
    } else if (choice < 48) {
      place(iterator, which, "find", key);
    } else if (choice < 51) {
      place(iterator, which, below(2) == 0 ? "first" : "last");
    } else if (choice < 54) {
      if (facts_.ordered) place(iterator, which, below(2) == 0 ? "LowerBound" : "UpperBound", key);
    } else if (choice < 68) {
      move(iterator, facts_.ordered && below(2) == 0 ? "MovePrev" : "MoveNext");
    } else if (choice < 82) {
      read(iterator);
    } else if (choice < 86) {
      if (facts_.isMap()) assign(iterator);
    } else if (choice < 91) {
      compare(iterator, any());
    } else {
      look(mirror, key);
    }
    if (below(4000) == 0) clear(mirror);
    if (below(10000) == 0) rebuild(mirror);
    if (below(1000) == 0) compareAll(mirror);
  }

 private:
  int below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }
  Iterator& any() { return iterators_[random_() % iterators_.size()]; }
  Value keyValue(int key) const { return keyOf(facts_.key, key); }
  Value call(const Mirror& mirror, const char* method, const Values& arguments = {}) {
    return host_.call(mirror.object, method, arguments);
  }
  static void expect(const std::string& actual, const std::string& expected, const char* what) {
    ASSERT_EQ(actual, expected) << what;
  }

  // ---- What the mirror knows

  bool isStale(const Position& position) const {
    const Mirror& mirror = mirrors_[position.container];
    if (position.key == Position::kEnd) return position.serial != mirror.endSerial;
    const auto entry = mirror.entries.find(position.key);
    return entry == mirror.entries.end() || entry->second.serial != position.serial;
  }

  /// Keys in visiting order. Ordered classes are told by the mirror; hash classes are asked, once a change.
  const std::vector<int>& order(Mirror& mirror) {
    if (!mirror.order.empty() || mirror.entries.empty()) return mirror.order;
    if (facts_.ordered) {
      for (const auto& [key, entry] : mirror.entries) mirror.order.push_back(key);
      if (facts_.descending()) std::reverse(mirror.order.begin(), mirror.order.end());
    } else {
      for (const Value& key : host_.elements(call(mirror, "Keys"))) {
        mirror.order.push_back(keyNumbers_.at(show(key)));
      }
    }
    return mirror.order;
  }

  /// The position at an index of the visiting order; past the last one is the end.
  Position positionAt(Mirror& mirror, std::size_t index) {
    const int container = static_cast<int>(&mirror - mirrors_);
    if (index >= order(mirror).size()) return {container, mirror.endSerial};
    const int key = order(mirror)[index];
    return {container, mirror.entries.at(key).serial, key};
  }

  std::size_t indexOf(Mirror& mirror, const Position& position) {
    const auto& keys = order(mirror);
    return static_cast<std::size_t>(std::find(keys.begin(), keys.end(), position.key) - keys.begin());
  }

  static void erase(Mirror& mirror, int key) {
    mirror.entries.erase(key);
    mirror.order.clear();
  }

  // ---- Operations

  void set(Mirror& mirror, int key) {
    const int value = facts_.isMap() ? below(1000) : 0;
    if (facts_.isMap()) {
      host_.assign(mirror.object, "value", {keyValue(key)}, valueOf(facts_.value, value));
    } else {
      call(mirror, "insert", {keyValue(key)});
    }
    const auto [entry, isNew] = mirror.entries.try_emplace(key);
    if (isNew) {
      entry->second.serial = ++lastSerial_;
      mirror.order.clear();
    }
    entry->second.value = value;
  }

  /// What removal has against an iterator, or nothing.
  const char* objection(int container, const Position& position) const {
    if (isStale(position)) return kStale;
    return position.container == container ? nullptr : kForeign;
  }

  void removeAt(int container, const Iterator& iterator) {
    Mirror& mirror = mirrors_[container];
    const char* expected = objection(container, iterator.position);
    if (expected == nullptr && iterator.position.key == Position::kEnd) expected = kAtEnd;
    expect(answer([&] { return call(mirror, "Remove", {iterator.object}); }),
           expected != nullptr ? expected : kNothing, "Remove(pos)");
    if (expected == nullptr) erase(mirror, iterator.position.key);
  }

  void removeRange(int container, const Iterator& first, const Iterator& last) {
    Mirror& mirror = mirrors_[container];
    const char* expected = objection(container, first.position);
    if (expected == nullptr) expected = objection(container, last.position);
    std::vector<int> removed;
    if (expected == nullptr) {
      const std::size_t from = indexOf(mirror, first.position);
      const std::size_t to = indexOf(mirror, last.position);
      if (from > to) expected = kReversed;
      for (std::size_t i = from; i < to; ++i) removed.push_back(mirror.order[i]);
    }
    expect(answer([&] {
             return call(mirror, "Remove", {first.object, last.object});
           }),
           expected != nullptr ? expected : kNothing, "Remove(first, last)");
    for (const int key : removed) erase(mirror, key);
  }

  /// Gives the pool's iterator a new object.
  void place(Iterator& iterator, int container, const std::string& method, std::optional<int> key = {}) {
    Mirror& mirror = mirrors_[container];
    const auto& keys = order(mirror);
    std::size_t index = keys.size();
    if (method == "first") {
      index = 0;
    } else if (method != "last") {
      const bool down = facts_.descending();
      const auto found = std::find_if(keys.begin(), keys.end(), [&](int candidate) {
        if (candidate == *key) return method != "UpperBound";
        return method != "find" && (down ? candidate < *key : candidate > *key);
      });
      index = static_cast<std::size_t>(found - keys.begin());
    }
    const Values arguments = key ? Values{keyValue(*key)} : Values{};
    iterator.object = call(mirror, method.c_str(), arguments);
    iterator.position = positionAt(mirror, index);
    read(iterator);
  }

  void move(Iterator& iterator, const std::string& method) {
    Mirror& mirror = mirrors_[iterator.position.container];
    std::string expected = kNothing;
    Position position = iterator.position;
    if (isStale(position)) {
      expected = kStale;
    } else if (method == "MovePrev") {
      const std::size_t index = indexOf(mirror, position);
      if (index == 0) expected = kAtFirst;
      if (index != 0) position = positionAt(mirror, index - 1);
    } else if (position.key == Position::kEnd) {
      expected = kAtEnd;
    } else {
      position = positionAt(mirror, indexOf(mirror, position) + 1);
    }
    expect(answer([&] { return host_.call(iterator.object, method); }), expected, method.c_str());
    iterator.position = position;
    read(iterator);
  }

  void read(const Iterator& iterator) {
    const Position& position = iterator.position;
    const Mirror& mirror = mirrors_[position.container];
    const char* exception = isStale(position) ? kStale : position.key == Position::kEnd ? kAtEnd : nullptr;
    expect(answer([&] { return host_.call(iterator.object, "Key"); }),
           exception != nullptr ? exception : show(keyValue(position.key)), "iterator Key");
    if (!facts_.isMap()) return;
    expect(answer([&] { return host_.call(iterator.object, "Value"); }),
           exception != nullptr ? exception : shownValue(mirror.entries.at(position.key)), "iterator Value");
  }

  void assign(const Iterator& iterator) {
    const Position& position = iterator.position;
    const char* exception = isStale(position) ? kStale : position.key == Position::kEnd ? kAtEnd : "";
    const int value = below(1000);
    expect(raised([&] { host_.assign(iterator.object, "Value", {}, valueOf(facts_.value, value)); }),
           exception, "assigning Value");
    if (*exception == '\0') mirrors_[position.container].entries.at(position.key).value = value;
  }

  void compare(const Iterator& a, const Iterator& b) {
    const bool equal = a.position == b.position;
    expect(answer([&] { return host_.call(a.object, "isEqual", {b.object}); }), yesNo(equal), "isEqual");
    expect(answer([&] { return host_.call(a.object, "isNotEqual", {b.object}); }), yesNo(!equal),
           "isNotEqual");
  }

  void look(const Mirror& mirror, int key) {
    const auto entry = mirror.entries.find(key);
    const bool present = entry != mirror.entries.end();
    const Value k = keyValue(key);
    expect(show(call(mirror, "CountKey", {k})), present ? "1" : "0", "CountKey");
    if (!facts_.isMap()) return expect(show(call(mirror, "lookup", {k})), yesNo(present), "lookup");
    expect(show(call(mirror, "hasKey", {k})), yesNo(present), "hasKey");
    expect(answer([&] { return call(mirror, "value", {k}); }), present ? shownValue(entry->second) : kAbsent,
           "value");
    const Value other = valueOf(facts_.value, 5000);
    expect(show(call(mirror, "lookup", {k, other})), present ? shownValue(entry->second) : show(other),
           "lookup");
  }

  void clear(Mirror& mirror) {
    call(mirror, "Clear");
    mirror.entries.clear();
    mirror.order.clear();
  }

  void rebuild(Mirror& mirror) {
    clear(mirror);
    call(mirror, "Constructor", constructorArguments_);
    mirror.endSerial = ++lastSerial_;
  }

  /// Walks the whole container with an iterator.
  void compareAll(Mirror& mirror) {
    expect(show(host_.get(mirror.object, "Count")), std::to_string(mirror.entries.size()), "Count");
    expect(show(host_.get(mirror.object, "Empty")), yesNo(mirror.entries.empty()), "Empty");
    mirror.order.clear();
    std::vector<int> visited = order(mirror);
    Iterator walk;
    place(walk, static_cast<int>(&mirror - mirrors_), "first");
    for (std::size_t i = 0; i < visited.size(); ++i) move(walk, "MoveNext");
    const Value end = call(mirror, "last");
    expect(show(host_.call(walk.object, "isEqual", {end})), "true", "end of the walk");
    std::sort(visited.begin(), visited.end());
    ASSERT_TRUE(std::equal(visited.begin(), visited.end(), mirror.entries.begin(), mirror.entries.end(),
                           [](int key, const auto& entry) { return key == entry.first; }))
        << "keys visited";
  }

  std::string shownValue(const Entry& entry) const { return show(valueOf(facts_.value, entry.value)); }

  Host& host_;
  const ClassFacts& facts_;
  int keys_;
  std::mt19937 random_;
  Values constructorArguments_;
  std::map<std::string, int> keyNumbers_;
  Mirror mirrors_[2];
  std::vector<Iterator> iterators_;
  std::uint64_t lastSerial_ = 0;
};

class Differential : public ContainerTest {};

TEST_P(Differential, AnswersLikeItsMirror) {
  const char* chosen = std::getenv("VORNIK_OPERATIONS");
  const long operations = chosen != nullptr ? std::atol(chosen) : 1'000'000;
  const bool isMain = GetParam().facts->name == std::string_view("IntegerToIntegerOrderedMapQZR");
  const int keys = isMain ? 300 : 60;
  RandomRun run(host(), GetParam(), keys, isMain ? 400 : 100);
  for (long i = 0; i < (isMain ? operations : operations / 20); ++i) {
    run.step();
    ASSERT_FALSE(HasFailure()) << "operation " << i;
  }
}

VORNIK_FOR_CLASSES(Differential, anyClass);

}  // namespace
}  // namespace vornik::behaviour
