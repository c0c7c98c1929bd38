// What counts as one key: the choice of comparison, and variants of different types.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <limits>
#include <random>

#include "tests/support/container_test.h"

namespace vornik::behaviour {
namespace {

struct TextKeys : ContainerTest {
  bool has(const Value& container, const Value& k) { return call(container, "CountKey", {k}).integer() == 1; }
};
VORNIK_FOR_CLASSES(TextKeys, hasCaseChoice);
struct VariantKeys : TextKeys {
  Values mixedKeys(int numbers) {
    Values keys = {Value(), host().variant(kVariantDouble, std::nan("")),
                   host().variant(kVariantSingle, std::nan(""))};
    for (int i = 0; i < numbers; ++i) {
      for (const VariantType type : {kVariantInt32, kVariantInt64, kVariantColor})
        keys.push_back(host().variant(type, i));
      for (const VariantType type : {kVariantSingle, kVariantDouble, kVariantCurrency})
        keys.push_back(host().variant(type, i / 2.0));
      for (const VariantType type : {kVariantString, kVariantText})
        keys.push_back(host().variant(type, std::string(1, "abAB"[i % 4])));
      keys.push_back(host().variant(kVariantInt64, i, true));
      keys.push_back(host().scriptObject("key"));
    }
    return keys;
  }
  /// Read through the accessor of another type, some of these are one or stand the other way round. They
  /// differ in the high half, the sign or the last bit alone.
  Values keysThatAreNearlyEqual() {
    constexpr std::int64_t kSign = std::numeric_limits<std::int64_t>::min(), kWide = std::int64_t{1} << 62;
    const Values words{4, 5, 0x10005, std::int64_t{0x80000005}};
    const Values numbers{-1e300, -1.0, -1e-310, 1.0, std::nextafter(1.0, 2.0), 2.0, HUGE_VAL, -HUGE_VAL};
    const Values texts{"abcdefgh4", "abcdefgh5", "ABCDEFGH5", "abcdefgi5", "abcdefgh"};
    const struct {
      VariantType type;
      Values values;
      bool isUnsigned = false;
    } rows[] = {{kVariantInt32, {-0x7FFFFFFB, 4, 5, 0x10005}},
                {kVariantInt32, words, true},
                {kVariantInt64, {kSign, kSign + 5, -5, 4, 5, 0x100000005, kWide, kWide + 1}},
                {kVariantInt64, {4, 5, 0x100000005, kSign, kSign + 1, kSign + 5}, true},
                {kVariantSingle, {-1.0, 1.0, double{std::nextafter(1.0F, 2.0F)}, 2.0}},
                {kVariantDouble, numbers},
                {kVariantCurrency, {-1.0, 1.0, std::nextafter(1.0, 2.0), 2.0}},
                {kVariantBoolean, {false, true}},
                {kVariantColor, words},
                {kVariantString, texts},
                {kVariantText, texts}};
    Values keys;
    for (const auto& [type, values, isUnsigned] : rows) {
      for (const Value& entry : values) keys.push_back(host().variant(type, entry, isUnsigned));
    }
    return keys;
  }
};
VORNIK_FOR_CLASSES(VariantKeys, [](const ClassFacts& f) { return f.key == kAny; });

TEST_P(TextKeys, CompareAsChosenAndSoDoCopies) {
  const Value container = make();
  const Value first = keyOfText("\u00e4bc"), second = keyOfText("\u00c4BC");
  for (const Value& k : {first, second}) add(container, k, value(1));
  EXPECT_EQ(count(container), caseSensitive() ? 2 : 1);
  EXPECT_EQ(keyAt(call(container, "find", {second})), show(caseSensitive() ? second : first));
  EXPECT_TRUE(host().get(create(facts().name), "CaseSensitive").boolean());
  Values all{container};
  if (facts().isMap()) {
    all.insert(all.end(), {call(container, "Clone"), unmade()});
    copyInto(all.back(), container);
  }
  for (const Value& each : all) {
    EXPECT_EQ(host().get(each, "CaseSensitive").boolean(), caseSensitive());
    EXPECT_TRUE(has(each, second));
    EXPECT_EQ(content(each), content(container));
  }
}

/// Under keys of every type at once, NaN among them, the order is no order at all, and nothing may come of it
/// but an odd answer.
TEST_P(VariantKeys, OfAllTypesTogetherDoNoHarm) {
  const Values mixed = mixedKeys(12);
  std::mt19937 random(7);
  const auto any = [&] { return mixed[random() % mixed.size()]; };
  const Value container = make();
  Value held = call(container, "last");
  for (int step = 0; step < 20000; ++step) {
    const auto choice = random() % 8;
    raised([&] {  // stale and end positions are part of the mix
      if (choice < 3) return add(container, any(), any());
      if (choice == 3) call(container, "Remove", {any()});
      if (choice == 4) held = call(container, facts().ordered ? "LowerBound" : "find", {any()});
      if (choice == 5) call(held, "MoveNext");
      if (choice == 6) call(container, "Remove", {held});
      if (choice == 7 && step % 50 == 0) call(container, "Remove", {held, call(container, "last")});
    });
    if (step % 500 != 0) continue;
    ASSERT_EQ(keys(container).size(), static_cast<std::size_t>(count(container)));
    if (!facts().ordered || !facts().isMap()) continue;
    const Value copy = unmade();
    copyInto(copy, container);
    ASSERT_EQ(visit(copy), visit(container)) << "a copy has the sequence of what it was made from";
    ASSERT_EQ(visit(call(container, "Clone")), visit(container));
  }
}

/// -1, 0 or 1, as the rules have it: by value within a type, where a NaN is like every number, and by
/// address otherwise.
int order(const Value& a, const Value& b, bool caseSensitive) {
  const auto sign = [](const auto& x, const auto& y) { return x < y ? -1 : x > y ? 1 : 0; };
  Host& host = Host::current();
  const auto addressOf = [](const Value& v) { return v.isNil() ? nullptr : v.object().get(); };
  if (a.isNil() || b.isNil() || host.className(a) != host.className(b))
    return sign(addressOf(a), addressOf(b));
  const Value x = host.unbox(a), y = host.unbox(b);
  if (const auto* number = std::get_if<double>(&x.held())) return sign(*number, std::get<double>(y.held()));
  if (const auto* flag = std::get_if<bool>(&x.held())) return sign(*flag, std::get<bool>(y.held()));
  if (const auto* number = std::get_if<std::int64_t>(&x.held())) {
    const auto other = std::get<std::int64_t>(y.held());
    const bool isUnsigned = host.className(a).find("UInt") != std::string::npos;
    return isUnsigned ? sign(static_cast<std::uint64_t>(*number), static_cast<std::uint64_t>(other))
                      : sign(*number, other);
  }
  if (!std::holds_alternative<host::StringRef>(x.held())) return sign(addressOf(a), addressOf(b));
  Texts texts = {x.text(), y.text()};
  for (std::string& text : texts) {
    for (char& c : text) c = static_cast<char>(caseSensitive ? c : std::tolower(c));
  }
  return sign(texts[0], texts[1]);
}

/// The host's hash leaves it to comparison.
TEST_P(VariantKeys, ALoneEntryStandsToEveryKeyAsTheRulesSay) {
  start({.withheld = {"VariantHash"}});
  Values all = mixedKeys(4), nearlyEqual = keysThatAreNearlyEqual();
  if (!facts().ordered) all.erase(all.begin() + 1, all.begin() + 3);  // a NaN is like itself alone there
  all.insert(all.end(), nearlyEqual.begin(), nearlyEqual.end());
  for (const Value& entry : all) {
    // One that was alone from the start, and one that another type has left again.
    for (const bool left : {false, true}) {
      const Value container = make();
      add(container, entry, value(1));
      if (left) {
        const Value guest = host().scriptObject("guest");
        add(container, guest, value(2));
        call(container, "Remove", {guest});
      }
      ASSERT_EQ(count(container), 1);
      for (const Value& probe : all) {
        const int sign = facts().descending() ? order(probe, entry, caseSensitive())
                                              : order(entry, probe, caseSensitive());
        const std::string both = show(entry) + " and " + show(probe);
        ASSERT_EQ(has(container, probe), sign == 0) << both;
        if (!facts().ordered) continue;
        ASSERT_EQ(atEnd(container, call(container, "LowerBound", {probe})), sign < 0) << both;
        ASSERT_EQ(atEnd(container, call(container, "UpperBound", {probe})), sign <= 0) << both;
      }
    }
    // Each of two is found under itself.
    for (const Value& other : all) {
      const Value pair = make();
      for (const Value& one : {entry, other}) add(pair, one, value(1));
      ASSERT_TRUE(has(pair, entry) && has(pair, other)) << show(entry) << " and " << show(other);
    }
  }
}

}  // namespace
}  // namespace vornik::behaviour
