// What a search for a text asks the host about, and what an order that changes its mind in the middle of an
// insertion may do: put a key in the wrong place, and nothing else.
#include <numeric>
#include <random>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct KeyIdentity : ContainerTest {
  /// How many calls of the host a search needs that finds so many keys.
  std::uint64_t callsOf(const Value& container, const Value& key, const char* found) {
    host().resetCalls();
    EXPECT_EQ(answer(container, "CountKey", {key}), found);
    std::uint64_t sum = 0;
    for (const auto& [service, calls] : host().calls()) sum += calls;
    return sum;
  }
};
VORNIK_FOR_CLASSES(KeyIdentity, [](const ClassFacts& f) { return !f.ordered && f.hasCaseChoice(); });
struct KeyOrder : KeyIdentity {};
VORNIK_FOR_CLASSES(KeyOrder, [](const ClassFacts& f) { return f.ordered && f.hasCaseChoice(); });

/// What elements keep of their keys decides: a hit asks the host about the key that is looked for, as a miss
/// does, and case-insensitively for one comparison more.
TEST_P(KeyIdentity, AHitAsksTheHostAboutLittleElse) {
  const Value empty = make(), container = make();
  add(empty, keyOfText("another"), value(1));
  // Of a variant that holds text, the host compares a string that it is asked for and that goes back.
  const std::uint64_t more = caseSensitive() ? 0 : facts().key == kText ? 1 : 3;
  for (const std::size_t length : {0u, 1u, 17u, facts().key == kText ? 19u : 18u}) {
    const std::string text(length, 'p');
    add(container, keyOfText(text), value(1));
    EXPECT_EQ(callsOf(container, keyOfText(text), "1"), callsOf(empty, keyOfText(text), "0") + more)
        << length;
  }
}

/// Nothing may be lost, doubled or leaked when the host fails in the middle of an insertion, at whatever
/// call: seen as entries that a walk does not meet, as references left over, and under the address sanitizer.
TEST_P(KeyOrder, ThatChangesItsMindLosesNothing) {
  const auto addWide = [&](const Value& container, const Texts& texts) {
    for (const std::string& text : texts) {
      std::string bytes;
      for (const char c : text) bytes += {c, '\0'};
      add(container, keyOfText(host().string(bytes, kEncodingUTF16)), value(1));
    }
  };
  for (const char* service : {"PluginGetStringData", "StringGetCString", "REALGetStringEncoding",
                              "RuntimeStringCompare", "VariantToString", "VariantToInt32"}) {
    for (std::uint64_t nth = 1; nth < 40; ++nth) {
      for (const auto& [first, later] : {std::pair<Texts, Texts>{{"d", "b"}, {"d2"}},
                                         {{"d", "b", "f", "h", "a"}, {"d2", "b2", "a2", "g"}}}) {
        const Value container = make();
        addWide(container, first);
        const Value iterator = call(container, "first");
        host().failFrom(service, nth, nth % 2 == 0 ? 1 : ~std::uint64_t{0});
        addWide(container, later);
        host().failFrom(service, 0);
        ASSERT_EQ(keys(container).size(), static_cast<std::size_t>(count(container))) << service << nth;
        ASSERT_GE(count(container), static_cast<std::int64_t>(first.size()));
        call(iterator, "Key");
      }
    }
  }
}

/// What nodes keep of their keys decides, also where keys begin alike in places: the host is asked about the
/// key that is looked for, and seldom about another one.
TEST_P(KeyOrder, ASearchAsksTheHostAboutLittleElse) {
  if (!caseSensitive()) return;
  const auto textKey = [&](int i) {
    return keyOfText(i == -1 ? "a" : i == -1000 ? "z" : std::string(30, 'p') + std::to_string(1000 + i));
  };
  const Value container = make(), one = make(), lone = textKey(0);
  const auto insert = [&](int i) { add(container, textKey(i), value(1)); };
  const auto remove = [&](int i) { call(container, "Remove", {textKey(i)}); };
  const auto expectFound = [&](int from, int to, int step) {
    for (int i = from; i < to; i += step) ASSERT_EQ(answer(container, "CountKey", {textKey(i)}), "1") << i;
  };
  std::vector<int> numbers(2800);
  std::iota(numbers.begin(), numbers.end(), 0);
  std::shuffle(numbers.begin(), numbers.end(), std::mt19937_64(20));
  insert(-1);
  for (const int i : numbers) {
    insert(i);
    if (count(container) == 20) remove(-1);
  }
  add(one, lone, value(1));
  EXPECT_EQ(callsOf(one, lone, "1"), 0u) << "the same handle is the same key";
  const std::uint64_t ofTheProbe = callsOf(one, textKey(0), "1");
  for (const int i : numbers) ASSERT_EQ(callsOf(container, textKey(i), "1"), ofTheProbe);

  // What shares nothing with the others comes to either end, and what was the greatest beside it goes.
  for (const int i : {-1, -1000}) insert(i);
  for (int i = 0; i < 100; ++i) {
    remove(100 - i);
    remove(2699 + i);
  }
  expectFound(101, 2699, 1);
  for (int i = 0; i < 100; ++i) {
    insert(100 - i);
    insert(2699 + i);
  }

  // What is told apart with less than they share comes between them, and all are still found.
  for (int i = -900; i < 0; ++i) {
    insert(i);
    numbers.push_back(i);
  }
  expectFound(-900, 2800, 1);

  // And again where most are gone, and nodes have merged that shared different beginnings.
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
  call(container, "Remove", {nth(container, kFull + 64), nth(container, 2 * kFull)});
  const Texts all = keys(container);
  ASSERT_EQ(all.size(), 2u * kFull + 64);
  for (const Value& tree : {container, facts().isMap() ? call(container, "Clone") : container}) {
    Texts found;
    for (int i = 0; i < 3 * kFull; ++i) {
      const Value place = call(tree, "find", {key(i)});
      if (!atEnd(tree, place)) found.push_back(keyAt(place));
    }
    EXPECT_EQ(sorted(found), sorted(all));
  }
}

}  // namespace
}  // namespace vornik::behaviour
