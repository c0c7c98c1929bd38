// Routes: what the ordered tree keeps of keys to compare, apart from what else an entry has.
//
//   number   compared first and, where numbers differ, alone; ascending in the container's order
//   detail   what else belongs to the key: a handle that a tie asks, a type; in a leaf it owns the reference
//
// together they are a key's route. Either may be of an empty type, and then takes no room. What all keys of a
// node share (the text that all of them begin with) is kept once, in the node's `shared`, and the numbers are
// then relative to it.
#ifndef VORNIK_STRUCTURES_TREE_ROUTES_H
#define VORNIK_STRUCTURES_TREE_ROUTES_H

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

namespace vornik {

/// Moves `count` objects to another place, which may overlap; the ones at the old place are gone.
template <typename T>
void relocate(T* from, std::size_t count, T* to) noexcept {
  if constexpr (std::is_empty_v<T>) {
    return;
  } else if constexpr (std::is_trivially_copyable_v<T>) {
    if (to < from) {
      std::copy_n(from, count, to);
    } else {
      std::copy_backward(from, from + count, to + count);
    }
  } else if (to < from) {
    for (std::size_t i = 0; i < count; ++i) {
      ::new (static_cast<void*>(to + i)) T(std::move(from[i]));
      from[i].~T();
    }
  } else {
    for (std::size_t i = count; i-- > 0;) {
      ::new (static_cast<void*>(to + i)) T(std::move(from[i]));
      from[i].~T();
    }
  }
}

/// The routes of one node. A view: the node owns the arrays. Numbers behind the last one in use are always
/// the greatest there are, so that a search needs no count. Nothing here fails or asks the host.
template <typename Order>
struct Routes {
  using Number = typename Order::Number;
  using Detail = typename Order::Detail;
  using Shared = typename Order::Shared;
  static constexpr bool kHasNumbers = !std::is_empty_v<Number>;
  static constexpr bool kHasDetails = !std::is_empty_v<Detail>;
  static constexpr bool kShares = !std::is_empty_v<Shared>;

  Number* numbers;
  Detail* details;
  Shared* shared;

  static void fill(Number* numbers, std::size_t count) {
    if constexpr (kHasNumbers) std::fill_n(numbers, count, std::numeric_limits<Number>::max());
  }

  /// Lets the routes share no more than `limit`, which is a part of what they share now.
  void loosen(unsigned count, const Shared& limit) const {
    if constexpr (kShares) {
      if (*shared == limit) return;
      for (unsigned i = 0; i < count; ++i) {
        numbers[i] = Order::translate(numbers[i], details[i], *shared, limit);
      }
      *shared = limit;
    }
  }

  void open(unsigned count, unsigned at) const {
    relocate(numbers + at, count - at, numbers + at + 1);
    relocate(details + at, count - at, details + at + 1);
  }

  void close(unsigned count, unsigned at, unsigned removed = 1) const {
    relocate(numbers + at + removed, count - at - removed, numbers + at);
    relocate(details + at + removed, count - at - removed, details + at);
    fill(numbers + count - removed, removed);
  }

  /// Copies a route of another node over the one at `at`.
  void assign(unsigned count, unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kShares) loosen(count, Order::narrowed(*shared, *from.shared));
    copy(at, from, index);
  }

  void insert(unsigned count, unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kShares) {
      if (count == 0) {
        *shared = *from.shared;
      } else {
        loosen(count, Order::narrowed(*shared, *from.shared));
      }
    }
    open(count, at);
    copy(at, from, index);
  }

  /// Moves the routes from `first` on to the empty node `to`.
  void moveTail(unsigned count, unsigned first, Routes to) const {
    if constexpr (kShares) *to.shared = *shared;
    relocate(numbers + first, count - first, to.numbers);
    relocate(details + first, count - first, to.details);
    fill(numbers + first, count - first);
  }

  /// Takes all routes of another node over, behind the own.
  void append(unsigned count, Routes from, unsigned fromCount) const {
    if (fromCount == 0) return;
    if constexpr (kShares) {
      if (count == 0) {
        *shared = *from.shared;
      } else {
        const Shared both = Order::narrowed(*shared, *from.shared);
        loosen(count, both);
        from.loosen(fromCount, both);
      }
    }
    relocate(from.numbers, fromCount, numbers + count);
    relocate(from.details, fromCount, details + count);
  }

 private:
  void copy(unsigned at, const Routes& from, unsigned index) const {
    if constexpr (kHasNumbers) numbers[at] = from.numbers[index];
    details[at] = from.details[index];
    if constexpr (kShares) numbers[at] = Order::translate(numbers[at], details[at], *from.shared, *shared);
  }
};

}  // namespace vornik

#endif  // VORNIK_STRUCTURES_TREE_ROUTES_H
