#include "tests/support/model.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <map>
#include <random>
#include <stdexcept>
#include <tuple>
#include <unordered_map>

namespace vornik::behaviour {
namespace {

using namespace std::string_literals;

/// A key as the host has it, and as what it is ordered: by the rules themselves.
struct Key {
  Value object;
  VariantType type = kVariantNil;
  long double number = 0;
  std::string text{};      ///< UTF-8 up to the first zero byte, without letter case where that does not count
  std::uint32_t hash = 0;  ///< of all its UTF-8, in hash classes: texts of different hash are never the same
  bool isConverted = false;  ///< by the host, which can fail
  friend bool operator<(const Key& a, const Key& b) {
    return std::tie(a.type, a.number, a.text, a.hash) < std::tie(b.type, b.number, b.text, b.hash);
  }
};

struct Entry {
  std::uint64_t serial;
  int value;
};
using Entries = std::map<Key, Entry>;

struct Mirror {
  Value object;
  std::uint64_t endSerial = 0;
  Entries entries{};
  std::unordered_map<std::uint64_t, Entries::iterator> places{};  ///< by the serials of the entries
  std::vector<std::uint64_t> order{};  ///< as they are visited; empty where it has to be found out again

  void erase(std::uint64_t serial) {
    entries.erase(places.at(serial));
    places.erase(serial);
    order.clear();
  }
};

/// Iterators of the same serial are equal to isEqual, also when they are stale.
struct Iterator {
  Value object;
  Mirror* mirror;
  std::uint64_t serial;  ///< of the entry, or of the container's end
};

/// Numbers about which an order or a hash can err, and many that are near to each other.
template <typename Number>
Number numberOf(std::uint64_t k) {
  using Limits = std::numeric_limits<Number>;
  static constexpr Number kSpecial[] = {Limits::min(), Limits::max(), Limits::lowest(), 0, 1,
                                        Number(-1),    Number(-0.0)};
  if (k < std::size(kSpecial)) return kSpecial[k];
  if constexpr (std::is_floating_point_v<Number>) return static_cast<Number>(k) / 8 - 20;
  return static_cast<Number>(k % 2 == 0 ? k : k * 0x9E3779B97F4A7C15);
}

/// Long common beginnings, for nodes that keep what their keys begin with; or many of one hash, of lengths
/// around what the elements of a table keep.
std::string textOf(std::uint64_t k, bool ordered) {
  static constexpr std::size_t kShared[] = {0, 0, 1, 7, 8, 9, 24, 31, 40, 60, 100, 130};
  static constexpr std::size_t kLengths[] = {0, 1, 2, 14, 15, 16, 17, 18, 19, 20, 21, 40};
  static constexpr const char* kPairs[] = {"ar", "bb", "cR", "pp"};  // the first three hash alike
  std::minstd_rand random(static_cast<unsigned>(k) * 7919 + 1);
  const auto below = [&](std::size_t bound) { return (random() >> 8) % bound; };
  std::string text((ordered ? kShared : kLengths)[below(12)], 'p');
  if (!ordered && text.size() >= 2)
    text.replace(below(2) == 0 ? text.size() - 2 : below(text.size() - 1), 2, kPairs[below(4)]);
  if (!ordered) return text;
  if (below(3) == 0 && !text.empty()) text[below(text.size())] = 'q';
  for (std::size_t tail = below(below(4) == 0 ? 20 : 4); tail > 0; --tail) text += "abcABC019"[below(9)];
  return text;
}

std::uint32_t hashOf(const std::string& bytes) {
  std::uint32_t hash = 0;
  for (const char byte : bytes) {
    hash = hash * 16 + static_cast<std::uint32_t>(static_cast<signed char>(byte));
    hash = (hash ^ hash >> 28 << 4) & 0xFFFFFFF;
  }
  return hash;
}

/// ASCII, or with an end that only some encodings have. The same text comes in several of them.
Key textKey(const ModelRun& run, std::size_t k) {
  static const struct {
    std::uint32_t encoding;
    std::string end, endInUTF8;
  } kForms[] = {{kEncodingUTF8, "", ""},
                {kEncodingASCII, "", ""},
                {kEncodingUTF16, "", ""},
                {kEncodingUTF8, "\u00e9", "\u00e9"},
                {kEncodingISOLatin1, "\xe9", "\u00e9"},
                {kEncodingMacRoman, "\x8e", "\u00e9"},
                {kEncodingUnknown, "\x8e", "\u00e9"},
                {kEncodingUTF8, "\xff", "\xff"},
                {kEncodingUTF8, "\U0001F600", "\U0001F600"},
                {kEncodingUTF8, "\0ar"s, "\0ar"s},
                {kEncodingUTF8, "\0bb"s, "\0bb"s}};
  if (k == 0) return {.object = host::StringRef()};
  // The host's comparison without regard to case is no order over all of them.
  const bool caseCounts = run.subject.caseSensitive, ordered = run.subject.facts->ordered;
  const auto& [encoding, end, endInUTF8] = kForms[run.below(caseCounts ? std::size(kForms) : 3)];
  const std::string text = textOf(k, ordered), inUTF8 = text + endInUTF8;
  std::string bytes;
  for (const char c : text) bytes += encoding == kEncodingUTF16 ? std::string{c, '\0'} : std::string{c};
  bytes += end;
  Key key{.object = Host::current().string(bytes, encoding), .text = inUTF8.substr(0, inUTF8.find('\0'))};
  key.isConverted = caseCounts && bytes != inUTF8;
  if (caseCounts && !ordered) key.hash = hashOf(inUTF8);
  for (char& c : key.text) c = caseCounts ? c : static_cast<char>(std::tolower(c));
  return key;
}

Key anyKey(const ModelRun& run) {
  const Kind kind = run.subject.facts->key;
  const std::size_t k =
      run.keys > 256 ? run.below(256) * run.keys / 256 + run.below(run.keys / 256 + 1) : run.below(run.keys);
  if (kind == kText) return textKey(run, k);
  const auto wide = numberOf<std::int64_t>(k);
  if (kind == kInt) return {.object = wide, .number = static_cast<long double>(wide)};
  const auto [type, isUnsigned] = run.sorts[run.below(run.sorts.size())];
  Key key;
  const auto give = [&, type = type, isUnsigned = isUnsigned](auto number, auto asOrdered) {
    key.number = static_cast<long double>(asOrdered);
    key.object = Host::current().variant(type, number, isUnsigned);
  };
  if (type == kVariantString || type == kVariantText) {
    key = textKey(run, k);
    key.object = Host::current().variant(type, key.object);
  } else if (type == kVariantInt64) {
    isUnsigned ? give(wide, static_cast<std::uint64_t>(wide)) : give(wide, wide);
  } else if (type == kVariantInt32 || type == kVariantColor) {
    const std::int64_t narrow = numberOf<std::int32_t>(k);
    give(narrow, isUnsigned || type == kVariantColor ? static_cast<std::uint32_t>(narrow) : narrow);
  } else if (type == kVariantBoolean) {
    give(k % 2 != 0, k % 2);
  } else {
    const double number = type == kVariantSingle     ? double{numberOf<float>(k)}
                          : type == kVariantCurrency ? static_cast<double>(k) / 16
                                                     : numberOf<double>(k);
    give(number, number);
  }
  if (!run.subject.facts->ordered && !key.object.isNil()) key.type = type;
  return key;
}

class Model {
 public:
  explicit Model(const ModelRun& run) : run_(run), facts_(*run.subject.facts) {
    for (Mirror& mirror : mirrors_)
      mirror = {host_.create(facts_.name, constructorArguments_), ++lastSerial_};
    for (std::size_t i = 0; i < run.iterators; ++i)
      iterators_.push_back({host_.call(mirrors_[0].object, "last"), &mirrors_[0], mirrors_[0].endSerial});
  }

  void step() {
    struct Row {
      std::size_t weight;
      const char* name;
      void (Model::*run)();
    };
    static constexpr Row kOften[] = {{22, "set", &Model::set},
                                     {7, "Remove(key)", &Model::removeKey},
                                     {4, "Remove(pos)", &Model::removeAt},
                                     {1, "Remove(range)", &Model::removeRange},
                                     {20, "search", &Model::search},
                                     {14, "move", &Model::move},
                                     {14, "read", &Model::readAny},
                                     {4, "assignment by an iterator", &Model::assign},
                                     {5, "comparison", &Model::compare},
                                     {9, "lookup", &Model::look}};
    static constexpr Row kSeldom[] = {{1, "Clear", &Model::clear},
                                      {3, "Constructor or Clone", &Model::construct},
                                      {12, "walk", &Model::walk}};
    ++steps_;
    const std::span<const Row> rows = below(250) != 0 ? std::span<const Row>(kOften) : kSeldom;
    std::size_t choice = below(rows.data() == kOften ? 100 : 16);
    const Row* row = rows.data();
    while (choice >= row->weight) choice -= row++->weight;
    name_ = row->name;
    (this->*row->run)();
  }

 private:
  std::size_t below(std::size_t bound) const { return run_.below(bound); }
  Mirror& anyMirror() { return mirrors_[below(2)]; }
  Iterator& any() { return iterators_[below(iterators_.size())]; }
  /// Mostly the one that the iterator belongs to.
  Mirror& receiverFor(const Iterator& iterator) { return below(8) == 0 ? anyMirror() : *iterator.mirror; }

  // ---- What the model knows

  /// What an operation has against an iterator: the exception, or nothing.
  static std::string objection(const Iterator& iterator, bool needsEntry, const Mirror* receiver = nullptr) {
    const bool atEnd = iterator.serial == iterator.mirror->endSerial;
    if (!atEnd && !iterator.mirror->places.contains(iterator.serial)) return kStale;
    if (receiver != nullptr && receiver != iterator.mirror) return kForeign;
    return atEnd && needsEntry ? kAtEnd : "";
  }

  /// Serials as they are visited. The model knows it of ordered classes; hash classes are asked, once a
  /// change.
  const std::vector<std::uint64_t>& order(Mirror& mirror) {
    if (!mirror.order.empty() || mirror.entries.empty()) return mirror.order;
    std::unordered_map<std::string, std::uint64_t> serials;
    for (const auto& [key, entry] : mirror.entries) {
      if (facts_.ordered) mirror.order.push_back(entry.serial);
      if (!facts_.ordered) serials[identity(key.object)] = entry.serial;
    }
    if (facts_.descending()) std::reverse(mirror.order.begin(), mirror.order.end());
    if (facts_.ordered) return mirror.order;
    for (const Value& key : host_.elements(host_.call(mirror.object, "Keys")))
      mirror.order.push_back(serials.at(identity(key)));
    return mirror.order;
  }
  std::uint64_t serialAt(Mirror& mirror, std::size_t index) {
    return index < order(mirror).size() ? mirror.order[index] : mirror.endSerial;
  }
  std::size_t indexOf(const Iterator& iterator) {
    const auto& serials = order(*iterator.mirror);
    return static_cast<std::size_t>(std::find(serials.begin(), serials.end(), iterator.serial) -
                                    serials.begin());
  }
  std::uint64_t found(Mirror& mirror, const std::string& method, const Key& key) {
    if (method == "first") return serialAt(mirror, 0);
    auto [place, behind] = mirror.entries.equal_range(key);
    if (method == "last" || (method == "find" && place == behind)) return mirror.endSerial;
    if (method != "find" && (method == "UpperBound") != facts_.descending()) place = behind;
    if (method != "find" && facts_.descending())
      return place == mirror.entries.begin() ? mirror.endSerial : std::prev(place)->second.serial;
    return place == mirror.entries.end() ? mirror.endSerial : place->second.serial;
  }
  void expect(const std::string& answered, const std::string& expected) const {
    if (answered == expected) return;
    throw std::logic_error("operation " + std::to_string(steps_) + ", " + name_ + ": " + answered +
                           " instead of " + expected);
  }
  std::string shownValue(int number) const { return show(valueOf(facts_.value, number)); }

  // ---- Operations

  void set() {
    Mirror& mirror = anyMirror();
    Key key = anyKey(run_);
    const int number = static_cast<int>(below(250));
    // A text that cannot be had when its key goes in is the empty text from then on.
    const bool fails = key.isConverted && below(20) == 0;
    if (fails) {
      host_.failFrom("PluginGetStringData", 1);
      key.text.clear();
      key.hash = 0;
    }
    add(facts_, mirror.object, key.object, valueOf(facts_.value, number));
    if (fails) host_.failFrom("PluginGetStringData", 0);
    const auto [place, isNew] = mirror.entries.try_emplace(key, Entry{lastSerial_ + 1, number});
    place->second.value = number;
    if (!isNew) return;
    mirror.places[++lastSerial_] = place;
    mirror.order.clear();
  }
  void removeKey() {
    Mirror& mirror = anyMirror();
    const Key key = anyKey(run_);
    const auto place = mirror.entries.find(key);
    expect(answer(mirror.object, "Remove", {key.object}), place != mirror.entries.end() ? "1" : "0");
    if (place != mirror.entries.end()) mirror.erase(place->second.serial);
  }
  void removeAt() {
    const Iterator& iterator = any();
    Mirror& mirror = receiverFor(iterator);
    const std::string exception = objection(iterator, true, &mirror);
    expect(raised([&] { host_.call(mirror.object, "Remove", {iterator.object}); }), exception);
    if (exception.empty()) mirror.erase(iterator.serial);
  }
  void removeRange() {
    const Iterator &first = any(), &last = any();
    Mirror& mirror = receiverFor(first);
    std::string exception = objection(first, false, &mirror);
    if (exception.empty()) exception = objection(last, false, &mirror);
    std::vector<std::uint64_t> removed;
    if (exception.empty()) {
      const std::size_t from = indexOf(first), to = indexOf(last);
      if (from > to) exception = kReversed;
      for (std::size_t i = from; i < to; ++i) removed.push_back(mirror.order[i]);
    }
    expect(raised([&] { host_.call(mirror.object, "Remove", {first.object, last.object}); }), exception);
    for (const std::uint64_t serial : removed) mirror.erase(serial);
  }
  /// Gives an iterator a new object.
  void search() {
    static const std::string kMethods[] = {"first", "last",       "find",      "find",
                                           "find",  "LowerBound", "UpperBound"};
    const std::size_t choice = below(facts_.ordered ? 7 : 5);
    Iterator& iterator = any();
    Mirror& mirror = anyMirror();
    const Key key = anyKey(run_);
    const Value object =
        host_.call(mirror.object, kMethods[choice], choice < 2 ? Values{} : Values{key.object});
    iterator = {object, &mirror, found(mirror, kMethods[choice], key)};
    read(iterator);
  }
  void move() {
    Iterator& iterator = any();
    const bool back = facts_.ordered && below(2) == 0;
    std::string exception = objection(iterator, !back);
    if (exception.empty() && back && indexOf(iterator) == 0) exception = kAtFirst;
    expect(raised([&] { host_.call(iterator.object, back ? "MovePrev" : "MoveNext"); }), exception);
    if (exception.empty())
      iterator.serial = serialAt(*iterator.mirror, indexOf(iterator) + (back ? ~std::size_t{0} : 1));
    read(iterator);
  }
  void readAny() { read(any()); }
  void read(const Iterator& iterator) {
    const std::string exception = objection(iterator, true);
    std::string key, value = exception;
    const std::string outcome = raised([&] { key = identity(host_.call(iterator.object, "Key")); });
    expect(outcome, exception);
    if (exception.empty()) {
      const auto& [expected, entry] = *iterator.mirror->places.at(iterator.serial);
      expect(key, identity(expected.object));
      value = shownValue(entry.value);
    }
    if (facts_.isMap()) expect(answer(iterator.object, "Value"), value);
  }
  void assign() {
    if (!facts_.isMap()) return;
    const Iterator& iterator = any();
    const std::string exception = objection(iterator, true);
    const int number = static_cast<int>(below(250));
    expect(raised([&] { host_.assign(iterator.object, "Value", {}, valueOf(facts_.value, number)); }),
           exception);
    if (exception.empty()) iterator.mirror->places.at(iterator.serial)->second.value = number;
  }
  void compare() {
    const Iterator &a = any(), &b = any();
    expect(answer(a.object, "isEqual", {b.object}), show(a.serial == b.serial));
    expect(answer(a.object, "isNotEqual", {b.object}), show(a.serial != b.serial));
  }
  void look() {
    const Mirror& mirror = anyMirror();
    const Key key = anyKey(run_);
    const auto place = mirror.entries.find(key);
    const bool present = place != mirror.entries.end();
    expect(answer(mirror.object, "CountKey", {key.object}), present ? "1" : "0");
    expect(answer(mirror.object, facts_.isMap() ? "hasKey" : "lookup", {key.object}), show(present));
    if (!facts_.isMap()) return;
    const std::string held = present ? shownValue(place->second.value) : "";
    expect(answer(mirror.object, "value", {key.object}),
           present ? held : "KeyNotFoundException: Key not found");
    const Value other = valueOf(facts_.value, 5000);
    expect(answer(mirror.object, "lookup", {key.object, other}), present ? held : show(other));
  }
  void clear() {
    Mirror& mirror = anyMirror();
    host_.call(mirror.object, "Clear");
    mirror = {mirror.object, mirror.endSerial};
  }
  /// Other entries, in a container that is as good as another.
  void construct() {
    Mirror &mirror = mirrors_[0], &other = mirrors_[1];
    const std::size_t choice = facts_.isMap() ? below(3) : 0;
    const Entries entries = choice == 0 ? Entries() : choice == 1 ? mirror.entries : other.entries;
    const Values arguments = choice == 0 ? constructorArguments_ : Values{other.object};
    const Value made = choice == 1 ? host_.call(mirror.object, "Clone") : mirror.object;
    if (choice != 1) host_.call(made, "Constructor", arguments);
    mirror = {made, ++lastSerial_, entries};
    for (auto place = mirror.entries.begin(); place != mirror.entries.end(); ++place)
      mirror.places[place->second.serial = ++lastSerial_] = place;
  }
  void walk() {
    Mirror& mirror = anyMirror();
    const std::size_t size = mirror.entries.size();
    expect(show(host_.get(mirror.object, "Count")), std::to_string(size));
    expect(show(host_.get(mirror.object, "Empty")), show(size == 0));
    Iterator iterator{host_.call(mirror.object, "first"), &mirror, serialAt(mirror, 0)};
    for (std::size_t index = 1; read(iterator), index <= size; ++index) {
      host_.call(iterator.object, "MoveNext");
      iterator.serial = serialAt(mirror, index);
    }
  }

  const ModelRun& run_;
  const ClassFacts& facts_;
  Host& host_ = Host::current();
  const Values constructorArguments_ = facts_.hasCaseChoice() ? Values{run_.subject.caseSensitive} : Values{};
  Mirror mirrors_[2];
  std::vector<Iterator> iterators_;
  std::uint64_t lastSerial_ = 0, steps_ = 0;
  const char* name_ = "";
};

}  // namespace

Value modelKey(const ModelRun& run) {
  return anyKey(run).object;
}

void compareWithModel(const ModelRun& run, const std::function<bool()>& goesOn) {
  for (Model model(run); goesOn();) model.step();
}

}  // namespace vornik::behaviour
