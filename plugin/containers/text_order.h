// What the orders of String keys and of Variant keys that hold text have in common, and the order of
// String keys.
#ifndef VORNIK_CONTAINERS_TEXT_ORDER_H
#define VORNIK_CONTAINERS_TEXT_ORDER_H

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include "plugin/structures/tree_routes.h"
#include "plugin/structures/tree_search.h"
#include "plugin/values/string_keys.h"
#include "plugin/values/text_heads.h"

namespace vornik {

enum class Direction { kAscending, kDescending };

/// A number as nodes keep it, in which what comes first in the container is the smaller. Its own reverse.
template <Direction kDirection>
constexpr std::uint64_t directedNumber(std::uint64_t number) {
  return kDirection == Direction::kAscending ? number : ~number;
}

/// How an entry stands to a probe in a container: negative where it comes before. compare(x, y) is the
/// three-way comparison of what they hold; it is asked as an order of that direction asks.
template <Direction kDirection, typename Entry, typename Probe, typename Compare>
std::int64_t compareDirected(const Entry& entry, const Probe& probe, Compare compare) {
  return kDirection == Direction::kAscending ? compare(entry, probe) : compare(probe, entry);
}

/// Search among the numbers of a node that are in order; compareText(i) settles a tie that the numbers
/// leave open.
template <Bound kBound, Direction kDirection, typename CompareText>
Found searchNumbers(const std::uint64_t* numbers, unsigned capacity, unsigned count, std::uint64_t number,
                    bool tiesAreOpen, CompareText compareText) {
  const unsigned first = std::min(countBelow(numbers, capacity, number), count);
  unsigned last = first;
  while (last < count && numbers[last] == number) ++last;
  if (first == last) return {first, false};
  if (!tiesAreOpen) return {kBound == Bound::kUpper ? last : first, true};
  return bisect<kBound>(first, last, compareText);
}

/// Lengthens the prefix of a node's texts, of which there are at most kMost, where some of them are not told
/// apart by their heads. textOf(i) reads a text anew, which may ask the host; one that is not what it was
/// when it went in leaves everything as it is. At most two passes over the texts of a node.
template <Direction kDirection, unsigned kMost, typename TextOf>
void tightenHeads(TextPrefix& prefix, std::uint64_t* numbers, unsigned count, TextOf textOf) {
  if (std::adjacent_find(numbers, numbers + count) == numbers + count) return;
  const TextHead differing = numbers[0] ^ numbers[count - 1];
  if (differing >> 56 != 0) return;
  std::uint64_t fresh[kMost];
  TextPrefix longer;
  // The last gives the prefix; the first, which is read last, what of it is common.
  for (unsigned i = count; i-- > 0;) {
    const auto operand = textOf(i);
    const std::string_view text = operand.keyText();
    if (text.size() < prefix.length || directedNumber<kDirection>(headOf(text, prefix.length)) != numbers[i])
      return;
    if (i == count - 1) {
      const auto other = textOf(0);
      longer = TextPrefix(text);
      longer.shorten(commonLength(longer.text(), other.keyText()));
      if (longer.length <= prefix.length) return;
    }
    if (!text.starts_with(longer.text())) return;
    fresh[i] = directedNumber<kDirection>(headOf(text, longer.length));
  }
  if (!std::is_sorted(fresh, fresh + count)) return;
  std::copy_n(fresh, count, numbers);
  prefix = longer;
}

/// Keys that RBString holds.
///
/// Case-sensitively a node keeps the heads of its keys' texts, behind a prefix that all of them share: a
/// search asks the host about the probe, and about another key only where heads leave a tie. What a node
/// keeps of a text is settled when the key goes in; a text that could not be had then is the empty text
/// there. Case-insensitively the host compares, and a node keeps the handles alone.
template <Case kCase, Direction kDirection>
struct StringOrder {
  static constexpr bool kHasHeads = kCase == Case::kSensitive;
  struct Nothing {};

  using Probe = StringOperand;
  using Number = std::conditional_t<kHasHeads, std::uint64_t, Nothing>;
  struct Detail {
    REALstringStruct* string;
  };
  struct NoPrefix {};
  using Shared = std::conditional_t<kHasHeads, TextPrefix, NoPrefix>;
  static constexpr bool kLooksAtTheLastFirst = false;

  template <Bound kBound>
  static Found search(const Routes<StringOrder>& routes, unsigned capacity, unsigned count,
                      const Probe& probe) {
    const auto compareText = [&](unsigned i) {
      return compareDirected<kDirection>(
          Probe(routes.details[i].string), probe,
          [](const Probe& a, const Probe& b) { return kHasHeads ? CompareS(a, b) : CompareI(a, b); });
    };
    if constexpr (kHasHeads) {
      // A lone key under the same handle is found before anybody asks for its text.
      if (count == 1 && routes.details[0].string == probe.string()) return {kBound == Bound::kUpper, true};
      if (count == 0) return {0, false};
      const std::string_view text = probe.keyText();
      const int beyond = text.compare(0, routes.shared->length, routes.shared->text());
      if (beyond != 0) return {(beyond > 0) == (kDirection == Direction::kAscending) ? count : 0, false};
      const TextHead head = headOf(text, routes.shared->length);
      return searchNumbers<kBound, kDirection>(
          routes.numbers, capacity, count, directedNumber<kDirection>(head), !reachesEnd(head), compareText);
    } else {
      return bisect<kBound>(0, count, compareText);
    }
  }

  static Detail hold(const Probe& probe) { return hold(Detail{probe.string()}); }
  static Detail hold(Detail detail) {
    if (detail.string != nullptr) lock(detail.string);
    return detail;
  }
  static REALstringStruct* lend(Number, Detail detail) { return detail.string; }
  static RBString<kCase> release(Number, Detail detail) {
    return RBString<kCase>(StringReference::adopt(detail.string));
  }

  // ---- Heads and the prefix before them

  static Number number(const Probe& probe, const Shared& shared) {
    return directedNumber<kDirection>(headOf(probe.keyText(), shared.length));
  }
  static Shared shared(const Probe& probe) { return Shared(probe.keyText()); }
  static bool shares(const Shared& shared, const Probe& probe) {
    return probe.keyText().starts_with(shared.text());
  }
  static Shared narrowed(Shared shared, const Probe& probe) {
    shared.shorten(commonLength(shared.text(), probe.keyText()));
    return shared;
  }
  static Shared narrowed(Shared a, const Shared& b) {
    a.shorten(commonLength(a.text(), b.text()));
    return a;
  }
  static Number translate(Number number, Detail, const Shared& from, const Shared& to) {
    return directedNumber<kDirection>(headBehindShorter(directedNumber<kDirection>(number), from, to.length));
  }
  template <unsigned kMost>
  static void tighten(const Routes<StringOrder>& routes, unsigned count) {
    tightenHeads<kDirection, kMost>(*routes.shared, routes.numbers, count,
                                    [&](unsigned i) { return Probe(routes.details[i].string); });
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_TEXT_ORDER_H
