// What the ordered tree asks of an order: how a key is kept in a node as a route (tree_routes.h), and how a
// searched key, the probe, is found among routes.
//
// No function of an order throws, and none runs script code. Those that may ask the host say so.
#ifndef VORNIK_STRUCTURES_TREE_ORDER_H
#define VORNIK_STRUCTURES_TREE_ORDER_H

#include <concepts>
#include <type_traits>

#include "plugin/structures/tree_routes.h"
#include "plugin/structures/tree_search.h"

namespace vornik {

/// The types of an order. Routes are copied without further ado: separators borrow what leaves own.
template <typename Order>
concept HasRoutes = requires {
  /// A searched key. May keep what the host has answered about it, for as long as one operation takes.
  typename Order::Probe;
  /// The parts of a route, and what all keys of a node share. Any may be empty, but not all of a route.
  typename Order::Number;
  typename Order::Detail;
  typename Order::Shared;
  requires std::is_trivially_copyable_v<typename Order::Number>;
  requires std::is_trivially_copyable_v<typename Order::Detail>;
  requires std::is_trivially_copyable_v<typename Order::Shared>;
  requires std::default_initializable<typename Order::Shared>;
  requires Routes<Order>::kHasNumbers || Routes<Order>::kHasDetails;
  requires Routes<Order>::kHasNumbers || !Routes<Order>::kShares;
};

/// What all orders answer. Key is what an entry that has left the tree still holds.
template <typename Order, typename Key>
concept SearchesRoutes = HasRoutes<Order> &&
    requires(const Routes<Order>& routes, unsigned n, const typename Order::Probe& probe,
             typename Order::Number number, typename Order::Detail detail) {
  /// search<Bound>(routes, capacity, count, probe): the place of a probe among the first `count` routes of a
  /// node whose arrays have room for `capacity`; later ones are looked at for nothing, if at all. May ask
  /// the host.
  { Order::template search<Bound::kLower>(routes, n, n, probe) } -> std::same_as<Found>;
  { Order::template search<Bound::kUpper>(routes, n, n, probe) } -> std::same_as<Found>;
  /// The key as callers see it, borrowed.
  requires !std::is_void_v<decltype(Order::lend(number, detail))>;
  /// The Key that owns what the entry owned.
  { Order::release(number, detail) } -> std::same_as<Key>;
  /// Whether a search looks at the last entry of all before it descends.
  requires std::same_as<decltype(Order::kLooksAtTheLastFirst), const bool>;
};

/// With numbers, which are integers: a search may rely on the greatest standing where no route is.
template <typename Order>
concept KeepsNumbers = std::integral<typename Order::Number> &&
    requires(const typename Order::Probe& probe, const typename Order::Shared& shared) {
  /// A new entry's number in a node whose keys share this, as the new one does. May ask the host about
  /// the probe.
  { Order::number(probe, shared) } -> std::same_as<typename Order::Number>;
};

/// With details, of which each entry's owns a reference, where the order has any.
template <typename Order>
concept KeepsDetails = requires(const typename Order::Probe& probe, typename Order::Detail detail) {
  /// A new entry's detail; takes the reference that the entry owns. May ask the host about the probe.
  { Order::hold(probe) } -> std::same_as<typename Order::Detail>;
  /// A reference more, for a copy of an entry.
  { Order::hold(detail) } -> std::same_as<typename Order::Detail>;
};

/// With a part that all keys of a node share.
template <typename Order>
concept KeepsShared = std::equality_comparable<typename Order::Shared> &&
    requires(const Routes<Order>& routes, unsigned count, const typename Order::Probe& probe,
             const typename Order::Shared& shared, typename Order::Number number,
             typename Order::Detail detail) {
  /// What a key shares with itself, when it is the first of its node. May ask the host about the probe, as
  /// the next two may.
  { Order::shared(probe) } -> std::same_as<typename Order::Shared>;
  /// Whether a key shares all that a node's keys share.
  { Order::shares(shared, probe) } -> std::same_as<bool>;
  /// What is left of it that another key, or another node's keys, share too.
  { Order::narrowed(shared, probe) } -> std::same_as<typename Order::Shared>;
  { Order::narrowed(shared, shared) } -> std::same_as<typename Order::Shared>;
  /// translate(number, detail, from, to): a number that was relative to `from`, relative to the
  /// narrower `to`.
  { Order::translate(number, detail, shared, shared) } -> std::same_as<typename Order::Number>;
  /// tighten<kMost>(routes, count): lets the routes of a node, `kMost` at most, share more where that tells
  /// them apart, with numbers to match. Asks the host for what the keys hold.
  { Order::template tighten<8>(routes, count) } -> std::same_as<void>;
};

/// With a look at the last entry of all.
template <typename Order>
concept LooksAtTheLastFirst = requires(const Routes<Order>& routes, unsigned index,
                                       const typename Order::Probe& probe) {
  /// Whether the route comes before the probe.
  { Order::isBefore(routes, index, probe) } -> std::same_as<bool>;
};

/// All that a tree with such keys asks of its order.
template <typename Order, typename Key>
concept TreeOrder = SearchesRoutes<Order, Key> && requires {
  requires !Routes<Order>::kHasNumbers || KeepsNumbers<Order>;
  requires !Routes<Order>::kHasDetails || KeepsDetails<Order>;
  requires !Routes<Order>::kShares || KeepsShared<Order>;
  requires !Order::kLooksAtTheLastFirst || LooksAtTheLastFirst<Order>;
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_ORDER_H
