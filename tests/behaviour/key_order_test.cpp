// The order of text and Variant keys and which of them are the same, against a mirror that compares by the
// rules themselves: texts in many encodings with zeros and illegal bytes in them and long common beginnings,
// keys whose text could not be had when they went in, keys of equal hash, and every type of number. And what
// an order that changes its mind in the middle of an insertion may do: put a key in the wrong place, and
// nothing else.
//
// A row has 20,000 steps; VORNIK_OPERATIONS sets another number.
#include <cstdlib>
#include <limits>
#include <map>
#include <numeric>
#include <random>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

/// A key as the host has it, and as what it is ordered.
struct Sample {
  Value key;
  std::string text;  ///< UTF-8 up to the first zero byte, without letter case where that does not count
  long double number = 0;
  std::uint32_t hash =
      0;  ///< of all its UTF-8; in hash classes, where texts of different hash are never the same
  VariantType type = kVariantNil;  ///< where there are several
  bool isConverted = false;        ///< by the host, which can fail
  bool isLost = false;             ///< could not be had, and is not found under its key any more
  friend bool operator<(const Sample& a, const Sample& b) {
    return std::tie(a.type, a.number, a.text, a.hash) < std::tie(b.type, b.number, b.text, b.hash);
  }
};

struct KeyOrder : ContainerTest {
  int below(std::size_t bound) { return static_cast<int>(random_() % bound); }

  /// Around what the elements of hash tables keep of a text, and many of one hash.
  std::string collidingText() {
    static constexpr std::size_t kLengths[] = {0, 1, 2, 14, 15, 16, 17, 18, 19, 20, 21, 40};
    static constexpr const char* kPairs[] = {"ar", "bb", "cR", "pp"};  // the first three hash alike
    std::string text(kLengths[random_() % std::size(kLengths)], 'p');
    if (text.size() >= 2) {
      const std::size_t at = below(2) == 0 ? text.size() - 2 : random_() % (text.size() - 1);
      text.replace(at, 2, kPairs[below(std::size(kPairs))]);
    }
    return text;
  }

  std::string randomText() {
    if (!facts().ordered) return collidingText();
    static constexpr std::size_t kShared[] = {0, 0, 1, 7, 8, 9, 24, 31, 40, 60, 100, 130};
    std::string text(kShared[random_() % std::size(kShared)], 'p');
    if (below(3) == 0 && !text.empty()) text[random_() % text.size()] = 'q';
    const int tail = below(4) == 0 ? below(20) : below(4);
    for (int i = 0; i < tail; ++i) text += "abcABC019"[below(9)];
    return text;
  }

  static std::uint32_t hashOf(const std::string& bytes) {
    std::uint32_t hash = 0;
    for (const char byte : bytes) {
      hash = hash * 16 + static_cast<std::uint32_t>(static_cast<signed char>(byte));
      hash = (hash ^ hash >> 28 << 4) & 0xFFFFFFF;
    }
    return hash;
  }

  /// Text of ASCII letters and "é", in some encoding.
  Sample textSample() {
    if (below(60) == 0) return {{}, ""};
    Sample sample;
    std::string text = randomText();
    std::string bytes = text;
    std::uint32_t encoding = kEncodingUTF8;
    switch (caseSensitive() ? below(8) : 0) {
      case 0:
        break;
      case 1:
        encoding = kEncodingASCII;
        break;
      case 2:
        encoding = below(2) == 0 ? kEncodingISOLatin1 : kEncodingWindowsLatin1;
        text += "\u00e9";
        bytes += "\xe9";
        break;
      case 3:
        encoding = below(2) == 0 ? kEncodingMacRoman : kEncodingUnknown;
        text += "\u00e9";
        bytes += "\x8e";
        break;
      case 4:
        encoding = kEncodingUTF16;
        bytes.clear();
        for (const char c : text) bytes += {c, '\0'};
        break;
      case 5:
        bytes = text + '\0' + randomText();
        break;
      case 6:
        bytes = text += below(2) == 0 ? "\xff" : "\xc3";
        break;
      case 7:
        bytes = text += "\U0001F600";
        break;
    }
    sample.isConverted = bytes != text && encoding != kEncodingUTF8;
    sample.key = host().string(bytes, encoding);
    sample.text = text;
    if (!facts().ordered && caseSensitive())
      sample.hash = hashOf(bytes.starts_with(text) && encoding == kEncodingUTF8 ? bytes : text);
    if (!caseSensitive())
      std::transform(text.begin(), text.end(), sample.text.begin(), [](char c) { return std::tolower(c); });
    return sample;
  }

  template <typename Number>
  Number randomNumber() {
    using Limits = std::numeric_limits<Number>;
    static const Number kSpecial[] = {Limits::min(),
                                      Limits::max(),
                                      Limits::lowest(),
                                      0,
                                      1,
                                      static_cast<Number>(-1),
                                      static_cast<Number>(-0.0)};
    if (below(4) == 0) return kSpecial[random_() % std::size(kSpecial)];
    if constexpr (std::is_floating_point_v<Number>) return static_cast<Number>(below(2000) - 1000) / 8;
    return static_cast<Number>(below(2) == 0 ? random_() : random_() % 300);
  }

  /// A key of one sort, so that the order is one.
  Sample sample(VariantType type, bool isUnsigned) {
    if (facts().key == kText) return textSample();
    Sample sample;
    const auto of = [&](auto number, long double asOrdered) {
      sample.number = asOrdered;
      sample.key = host().variant(type, number, isUnsigned);
    };
    if (type == kVariantString || type == kVariantText) {
      sample = textSample();
      sample.key = host().variant(type, sample.key);
    } else if (type == kVariantInt64) {
      const auto number = randomNumber<std::int64_t>();
      of(number, isUnsigned ? static_cast<long double>(static_cast<std::uint64_t>(number)) : number);
    } else if (type == kVariantInt32 || type == kVariantColor) {
      const std::int64_t number = randomNumber<std::int32_t>();
      of(number, isUnsigned || type == kVariantColor ? static_cast<std::uint32_t>(number) : number);
    } else if (type == kVariantBoolean) {
      const bool flag = below(2) != 0;
      of(flag, flag);
    } else {
      const double number = type == kVariantSingle     ? double{randomNumber<float>()}
                            : type == kVariantCurrency ? below(100000) / 16.0
                                                       : randomNumber<double>();
      of(number, number);
    }
    return sample;
  }

  /// The mirror's view of an entry: what it is ordered by, and the key object that went in.
  using Mirror = std::map<Sample, Value>;

  void compareWith(const Value& container, const Mirror& mirror) {
    std::vector<std::string> expected;
    for (const auto& [sample, key] : mirror) expected.push_back(show(key));
    if (facts().descending()) std::reverse(expected.begin(), expected.end());
    const Texts keys = elements(call(container, "Keys"));
    ASSERT_EQ(facts().ordered ? keys : sorted(keys), facts().ordered ? expected : sorted(expected));
  }

  /// The mirror's entry at a bound, or at the key, as the iterator shows it.
  std::string at(const Mirror& mirror, const Sample& sample, const std::string& method) {
    auto lower = mirror.lower_bound(sample), upper = mirror.upper_bound(sample);
    if (method == "find") return lower == upper ? kAtEnd : show(lower->second);
    if (!facts().descending()) {
      const auto place = method == "LowerBound" ? lower : upper;
      return place == mirror.end() ? kAtEnd : show(place->second);
    }
    const auto past = method == "LowerBound" ? upper : lower;
    return past == mirror.begin() ? kAtEnd : show(std::prev(past)->second);
  }

  void run(VariantType type, bool isUnsigned, long steps) {
    run([=, this] { return sample(type, isUnsigned); }, steps);
  }
  template <typename Draw>
  void run(Draw draw, long steps) {
    Value container = make();
    Mirror mirror;
    for (long step = 0; step < steps; ++step) {
      Sample some = draw();
      const int choice = below(100);
      if (choice < 45) {
        // A text that cannot be had when its key goes in is the empty text from then on.
        const bool fails = some.isConverted && below(20) == 0;
        if (fails) host().failFrom("PluginGetStringData", 1);
        add(container, some.key, value(1));
        if (fails) host().failFrom("PluginGetStringData", 0);
        if (fails) some.text.clear(), some.hash = 0;
        some.isLost = fails;
        mirror.try_emplace(some, some.key);
      } else if (choice < 60 && !mirror.empty()) {
        auto place = mirror.lower_bound(some);
        if (place == mirror.end()) place = mirror.begin();
        // One whose text was not to be had is not found under its key any more.
        if (place->first.isLost) continue;
        const Value iterator = call(container, "find", {place->second});
        ASSERT_EQ(answer(iterator, "Key"), show(place->second));
        call(container, "Remove", {iterator});
        mirror.erase(place);
      } else {
        ASSERT_EQ(answer(container, "CountKey", {some.key}), mirror.contains(some) ? "1" : "0") << step;
        for (const char* method : {"find", "LowerBound", "UpperBound"}) {
          if (!facts().ordered && method != std::string_view("find")) continue;
          ASSERT_EQ(answer(call(container, method, {some.key}), "Key"), at(mirror, some, method))
              << method << step;
        }
      }
      ASSERT_EQ(count(container), static_cast<std::int64_t>(mirror.size())) << step;
      if (step % 997 == 0) compareWith(container, mirror);
      if (step % 1499 == 0 && facts().isMap()) container = call(container, "Clone");
      if (HasFailure()) return;
      if (mirror.size() > 700) {
        call(container, "Clear");
        mirror.clear();
      }
    }
    compareWith(container, mirror);
  }

  std::mt19937_64 random_{20};
};

TEST_P(KeyOrder, IsThatOfTheRules) {
  const char* const chosen = std::getenv("VORNIK_OPERATIONS");
  const long steps = chosen != nullptr ? std::atol(chosen) : 20'000;
  if (facts().key == kText) return run(kVariantString, false, steps);
  for (const VariantType type : {kVariantString, kVariantText}) run(type, false, steps / 3);
  for (const VariantType type : {kVariantInt32, kVariantInt64}) {
    for (const bool isUnsigned : {false, true}) run(type, isUnsigned, steps / 27);
  }
  for (const VariantType type :
       {kVariantSingle, kVariantDouble, kVariantCurrency, kVariantBoolean, kVariantColor})
    run(type, false, steps / 27);
}

struct KeyIdentity : KeyOrder {};

TEST_P(KeyIdentity, IsThatOfTheRules) {
  const char* const chosen = std::getenv("VORNIK_OPERATIONS");
  const long steps = chosen != nullptr ? std::atol(chosen) : 20'000;
  if (facts().key == kText) return run(kVariantString, false, steps);
  static constexpr VariantType kTypes[] = {kVariantString,   kVariantText,    kVariantInt32,
                                           kVariantInt64,    kVariantSingle,  kVariantDouble,
                                           kVariantCurrency, kVariantBoolean, kVariantColor};
  run(
      [this] {
        const VariantType type = kTypes[below(2) == 0 ? below(2) : below(std::size(kTypes))];
        Sample some = sample(type, false);
        if (!some.key.isNil()) some.type = type;
        return some;
      },
      steps);
}

/// What elements keep of their keys decides: a hit asks the host about the key that is looked for, as a miss
/// does, and case-insensitively for one comparison more.
TEST_P(KeyIdentity, AHitAsksTheHostAboutLittleElse) {
  const auto calls = [&](const Value& container, const std::string& text, const char* expected) {
    const Value searched = keyOfText(text);
    host().resetCalls();
    EXPECT_EQ(answer(container, "CountKey", {searched}), expected) << text;
    std::uint64_t sum = 0;
    for (const auto& [service, number] : host().calls()) sum += number;
    return sum;
  };
  const Value empty = make(), container = make();
  add(empty, keyOfText("another"), value(1));
  for (const std::size_t length : {0u, 1u, 14u, 15u})
    add(container, keyOfText(std::string(length, 'p')), value(1));
  // Of a variant that holds text, the host compares a string that it is asked for and that goes back.
  const std::uint64_t more = caseSensitive() ? 0 : facts().key == kText ? 1 : 3;
  for (const std::size_t length : {0u, 1u, 14u, 15u}) {
    const std::string text(length, 'p');
    EXPECT_EQ(calls(container, text, "1"), calls(empty, text, "0") + more) << length;
  }
}

VORNIK_FOR_CLASSES(KeyIdentity, [](const ClassFacts& f) { return !f.ordered && f.hasCaseChoice(); });

/// Nothing may be lost, doubled or leaked when the host fails in the middle of an insertion, at whatever
/// call: seen as entries that a walk does not meet, as references left over, and under the address sanitizer.
TEST_P(KeyOrder, ThatChangesItsMindLosesNothing) {
  const auto wide = [&](std::string_view text) {
    std::string bytes;
    for (const char c : text) bytes += {c, '\0'};
    return keyOfText(host().string(bytes, kEncodingUTF16));
  };
  for (const char* service : {"PluginGetStringData", "StringGetCString", "REALGetStringEncoding",
                              "RuntimeStringCompare", "VariantToString", "VariantToInt32"}) {
    for (std::uint64_t nth = 1; nth < 40; ++nth) {
      for (const auto& [first, later] : {std::pair<Texts, Texts>{{"d", "b"}, {"d2"}},
                                         {{"d", "b", "f", "h", "a"}, {"d2", "b2", "a2", "g"}}}) {
        for (const std::uint64_t failures : {std::uint64_t{1}, ~std::uint64_t{0}}) {
          const Value container = make();
          for (const std::string& text : first) add(container, wide(text), value(1));
          const Value iterator = call(container, "first");
          host().failFrom(service, nth, failures);
          for (const std::string& text : later) add(container, wide(text), value(1));
          host().failFrom(service, 0);
          ASSERT_EQ(keys(container).size(), static_cast<std::size_t>(count(container))) << service << nth;
          ASSERT_GE(count(container), static_cast<std::int64_t>(first.size()));
          call(iterator, "Key");
        }
      }
    }
  }
}

/// What nodes keep of their keys decides, also where keys begin alike in places: the host is asked about the
/// key that is looked for, and seldom about another one.
TEST_P(KeyOrder, ASearchAsksTheHostAboutLittleElse) {
  if (!caseSensitive()) return;
  const auto textKey = [&](int i) {
    const std::string shared(30, 'p');
    return keyOfText(i == -1 ? "a" : i == -1000 ? "z" : shared + std::to_string(1000 + i));
  };
  const Value container = make(), one = make();
  const auto insert = [&](int i) { add(container, textKey(i), value(1)); };
  const auto remove = [&](int i) { call(container, "Remove", {textKey(i)}); };
  const auto callsOf = [&](const Value& searched, const Value& key) {
    host().resetCalls();
    EXPECT_EQ(answer(searched, "CountKey", {key}), "1");
    std::uint64_t sum = 0;
    for (const auto& [service, calls] : host().calls()) sum += calls;
    return sum;
  };
  const auto expectFound = [&](int from, int to, int step) {
    for (int i = from; i < to; i += step) ASSERT_EQ(answer(container, "CountKey", {textKey(i)}), "1") << i;
  };
  std::vector<int> numbers(2800);
  std::iota(numbers.begin(), numbers.end(), 0);
  std::shuffle(numbers.begin(), numbers.end(), random_);
  insert(-1);
  for (const int i : numbers) {
    insert(i);
    if (count(container) == 20) remove(-1);
  }
  const Value lone = textKey(0);
  add(one, lone, value(1));
  EXPECT_EQ(callsOf(one, lone), 0u) << "the same handle is the same key";
  const std::uint64_t ofTheProbe = callsOf(one, textKey(0));
  for (const int i : numbers) ASSERT_EQ(callsOf(container, textKey(i)), ofTheProbe);

  // What shares nothing with the others comes to either end, and what was the greatest beside it goes.
  for (const int i : {-1, -1000}) insert(i);
  for (int i = 0; i < 100; ++i) {
    for (const int k : {100 - i, 2699 + i}) remove(k);
  }
  expectFound(101, 2699, 1);
  for (int i = 0; i < 100; ++i) {
    for (const int k : {100 - i, 2699 + i}) insert(k);
  }

  // What is told apart with less than they share comes between them, and all are still found.
  for (int i = -900; i < 0; ++i) insert(i);
  expectFound(-900, 2800, 1);

  // And again where most are gone, and nodes have merged that shared different beginnings.
  for (int i = -900; i < 0; ++i) numbers.push_back(i);
  for (const int i : numbers) {
    if (i % 30 != 0) remove(i);
  }
  expectFound(-900, 2800, 30);
}

/// An inner node that has lost all children but one stays where its neighbours are full.
TEST_P(KeyOrder, IsTheSameBelowANodeWithOneChild) {
  const Value container = make();
  constexpr int kFull = 64 * 64;
  for (int i = 0; i < 3 * kFull; ++i) put(container, i);
  const Value first = nth(container, kFull + 64), last = nth(container, 2 * kFull);
  call(container, "Remove", {first, last});
  ASSERT_EQ(count(container), 2 * kFull + 64);
  const Texts all = keys(container);
  for (const Value& tree : {container, facts().isMap() ? call(container, "Clone") : container}) {
    Texts found;
    for (int i = 0; i < 3 * kFull; ++i) {
      const Value place = call(tree, "find", {key(i)});
      if (!atEnd(tree, place)) found.push_back(keyAt(place));
    }
    EXPECT_EQ(sorted(found), sorted(all));
  }
}

VORNIK_FOR_CLASSES(KeyOrder, [](const ClassFacts& f) { return f.ordered && f.hasCaseChoice(); });

}  // namespace
}  // namespace vornik::behaviour
