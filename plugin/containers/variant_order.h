// The order of Variant keys.
#ifndef VORNIK_CONTAINERS_VARIANT_ORDER_H
#define VORNIK_CONTAINERS_VARIANT_ORDER_H

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>

#include "plugin/containers/text_order.h"
#include "plugin/values/variant_keys.h"

namespace vornik {

/// Keys that RBVariant holds.
///
/// A node keeps the type of each key with its value as a number that orders as the type's values do: the
/// numbers themselves, the heads of texts that are compared case-sensitively, addresses where a type has no
/// order. Where all keys of a node are of the probe's type, a search is one among numbers; else the entries
/// are compared by the rules for mixed types. A NaN comes neither before nor after a number, so it counts as
/// a type of its own there.
template <Case kCase, Direction kDirection>
struct VariantOrder {
  using Probe = VariantOperand;
  using Number = std::uint64_t;
  struct Detail {
    REALobjectStruct* variant;
    std::int64_t type;
  };
  struct Shared {
    std::int64_t type = kMixed;  ///< of all keys, or kMixed
    TextPrefix prefix;           ///< of texts; empty where not all keys are texts of one type

    friend bool operator==(const Shared& a, const Shared& b) {
      return a.type == b.type && a.prefix == b.prefix;
    }
  };
  static constexpr bool kLooksAtTheLastFirst = false;

  template <Bound kBound>
  static Found search(const Routes<VariantOrder>& routes, unsigned capacity, unsigned count,
                      const Probe& probe) {
    if (count == 0) return {0, false};
    // A lone key under the same handle is found before anybody asks what it is.
    if (count == 1 && routes.details[0].variant == probe.variant()) return {kBound == Bound::kUpper, true};
    const Shared& shared = *routes.shared;
    if (shared.type == kMixed || shared.type != uniformType(probe)) {
      return bisect<kBound>(0, count, [&](unsigned i) { return compareMixed(routes, i, probe); });
    }
    bool tiesAreOpen = false;
    if (isTextType(shared.type)) {
      tiesAreOpen = true;
      if constexpr (kHasHeads) {
        const std::string_view text = probe.text().keyText();
        const int beyond = text.compare(0, shared.prefix.length, shared.prefix.text());
        if (beyond != 0) return {(beyond > 0) == (kDirection == Direction::kAscending) ? count : 0, false};
        tiesAreOpen = !reachesEnd(headOf(text, shared.prefix.length));
      }
    }
    return searchNumbers<kBound, kDirection>(routes.numbers, capacity, count, number(probe, shared),
                                             tiesAreOpen,
                                             [&](unsigned i) { return compareText(routes, i, probe); });
  }

  static Detail hold(const Probe& probe) { return hold(Detail{probe.variant(), typeOf(probe)}); }
  static Detail hold(Detail detail) {
    if (detail.variant != nullptr) lock(detail.variant);
    return detail;
  }
  static REALobjectStruct* lend(Number, Detail detail) { return detail.variant; }
  static RBVariant<kCase> release(Number, Detail detail) {
    return RBVariant<kCase>(ObjectReference::adopt(detail.variant));
  }

  // ---- Numbers, and what they are relative to

  static Number number(const Probe& probe, const Shared& shared) {
    return directedNumber<kDirection>(ascendingNumber(probe, shared.prefix.length));
  }
  static Shared shared(const Probe& probe) {
    Shared own;
    own.type = uniformType(probe);
    if (hasHead(own.type)) own.prefix = TextPrefix(probe.text().keyText());
    return own;
  }
  static bool shares(const Shared& shared, const Probe& probe) {
    return (shared.type == kMixed || shared.type == uniformType(probe)) &&
           (shared.prefix.length == 0 || probe.text().keyText().starts_with(shared.prefix.text()));
  }
  static Shared narrowed(Shared shared, const Probe& probe) {
    return narrowed(std::move(shared), VariantOrder::shared(probe));
  }
  static Shared narrowed(Shared a, const Shared& b) {
    if (a.type != b.type) a.type = kMixed;
    a.prefix.shorten(a.type == kMixed ? 0 : commonLength(a.prefix.text(), b.prefix.text()));
    return a;
  }
  static Number translate(Number number, Detail detail, const Shared& from, const Shared& to) {
    if (!hasHead(detail.type)) return number;
    return directedNumber<kDirection>(
        headBehindShorter(directedNumber<kDirection>(number), from.prefix, to.prefix.length));
  }
  template <unsigned kMost>
  static void tighten(const Routes<VariantOrder>& routes, unsigned count) {
    if (!hasHead(routes.shared->type)) return;
    tightenHeads<kDirection, kMost>(routes.shared->prefix, routes.numbers, count,
                                    [&](unsigned i) { return VariantText(routes.details[i].variant); });
  }

 private:
  static constexpr bool kHasHeads = kCase == Case::kSensitive;
  // Beside all types that a host has.
  static constexpr std::int64_t kMixed = std::numeric_limits<std::int64_t>::min();
  static constexpr std::int64_t kNil = kMixed + 1;  ///< a null handle, which has no type to ask for

  /// The text of a variant that holds text, for as long as this lives.
  struct VariantText {
    explicit VariantText(REALobjectStruct* variant)
        : string(StringReference::adopt(GetVariantString(variant))), operand(string.get()) {}
    std::string_view keyText() const { return operand.keyText(); }
    StringReference string;
    StringOperand operand;
  };

  static bool hasHead(std::int64_t type) { return kHasHeads && type != kMixed && isTextType(type); }
  static std::int64_t typeOf(const Probe& probe) { return probe.variant() == nullptr ? kNil : probe.type(); }

  /// The type under which keys are in order among themselves.
  static std::int64_t uniformType(const Probe& probe) {
    const std::int64_t type = typeOf(probe);
    return isFloating(type) && std::isnan(doubleFrom(ascendingNumber(probe, 0))) ? kMixed : type;
  }

  static bool isFloating(std::int64_t type) {
    return type == kVariantSingle || type == kVariantDouble || type == kVariantCurrency;
  }
  static Number fromSigned(std::int64_t value) { return static_cast<Number>(value) ^ kSign; }
  /// The bits of positive numbers ascend with them, those of negative ones descend. Both zeros are the
  /// same number.
  static Number fromDouble(double value) {
    const auto bits = std::bit_cast<Number>(value == 0 ? 0.0 : value);
    return (bits & kSign) != 0 ? ~bits : bits | kSign;
  }
  static double doubleFrom(Number number) {
    return std::bit_cast<double>((number & kSign) != 0 ? number ^ kSign : ~number);
  }
  static constexpr Number kSign = Number{1} << 63;

  static Number ascendingNumber(const Probe& probe, std::size_t prefixLength) {
    switch (const std::int64_t type = typeOf(probe)) {
      case kNil:
      case kVariantNil:
        return 0;
      case kVariantInt32:
      case kVariantBoolean:
        return fromSigned(probe.value(GetVariantInt32));
      case kVariantInt64:
        return fromSigned(probe.value(GetVariantInt64));
      case kVariantSingle:
        return fromDouble(probe.value(GetVariantSingle));
      case kVariantDouble:
      case kVariantCurrency:
        return fromDouble(probe.value(GetVariantDouble));
      case kVariantColor:
      case kVariantUInt32:
        return probe.value(GetVariantUInt32);
      case kVariantUInt64:
        return probe.value(GetVariantUInt64);
      default:
        if (!isTextType(type)) return std::bit_cast<Number>(probe.variant());
        return kHasHeads ? headOf(probe.text().keyText(), prefixLength) : 0;
    }
  }

  static std::int64_t compareText(const Routes<VariantOrder>& routes, unsigned i, const Probe& probe) {
    const VariantText entry(routes.details[i].variant);
    return compareDirected<kDirection>(entry.operand, probe.text(),
                                       [](const StringOperand& a, const StringOperand& b) {
                                         return kHasHeads ? CompareS(a, b) : CompareI(a, b);
                                       });
  }

  /// By the rules for any two variants. Where both have the same type only the probe is asked for its value.
  static std::int64_t compareMixed(const Routes<VariantOrder>& routes, unsigned i, const Probe& probe) {
    const Detail& entry = routes.details[i];
    if (entry.variant == probe.variant()) return 0;
    if (entry.variant == nullptr || probe.variant() == nullptr || entry.type != probe.type()) {
      return compareDirected<kDirection>(
          address(entry.variant), address(probe.variant()), [](auto a, auto b) {
            return static_cast<std::int64_t>(a - b);  // Nil is address 0, and before all others
          });
    }
    const Number mine = directedNumber<kDirection>(routes.numbers[i]);
    const Number others = ascendingNumber(probe, 0);
    if (isFloating(entry.type) && (std::isnan(doubleFrom(mine)) || std::isnan(doubleFrom(others)))) return 0;
    if (mine != others) return (mine < others) == (kDirection == Direction::kAscending) ? -1 : 1;
    if (!isTextType(entry.type) || (kHasHeads && reachesEnd(mine))) return 0;
    return compareText(routes, i, probe);
  }
  static std::uint64_t address(REALobjectStruct* variant) { return std::bit_cast<std::uint64_t>(variant); }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_VARIANT_ORDER_H
