// Containers that are given back together with their object, however deep they lie in each other.
//
// A value can be another container, whose destructor the host calls while we give the value back, and so on:
// script code builds a chain of a million and drops its end. Destructors nest, so that everything is given
// back in the order in which it is reached, and before the release that caused it returns; but only to a
// certain depth. Below it a destructor leaves what its object held to the innermost that still runs at once,
// which gives that back in the very same order, depth first, and returns when nothing is left. So the stack
// stays small, and nothing outlives the outermost call.
//
// Leaving something cannot fail: the container itself is the link of the list.
#ifndef VORNIK_CONTAINERS_DEPARTING_H
#define VORNIK_CONTAINERS_DEPARTING_H

#include <utility>

#include "plugin/frame/host_services.h"

namespace vornik {

/// A container seen as what remains of its object: entries, and the arrays that were cached for them.
class Departing {
 public:
  Departing() = default;
  Departing(const Departing&) = delete;
  Departing& operator=(const Departing&) = delete;
  virtual ~Departing() = default;

  /// Takes over a container and a reference to each array that is not null. Gives everything back, values
  /// and keys and then the entries, and deletes the container: at once, or before the outermost
  /// destructor returns.
  static void giveBack(Departing* container, REALobjectStruct* values, REALobjectStruct* keys) noexcept {
    container->values_ = values;
    container->keys_ = keys;
    if (depth_ < kGreatestDepth) {
      ++depth_;
      while (container->giveBackArray()) continue;
      delete container;
      --depth_;
      return;
    }
    container->forgetPositions();
    container->below_ = std::exchange(top_, container);
    if (depth_ > kGreatestDepth) return;
    ++depth_;
    while (top_ != nullptr) giveBackOne(*top_);
    --depth_;
  }

  /// Takes out all entries, lets them die, and makes every position stale.
  virtual void becomeEmpty() noexcept = 0;

 private:
  virtual void forgetPositions() noexcept = 0;
  /// Takes out one entry and lets it die; false when there is none.
  virtual bool giveBackEntry() noexcept = 0;

  bool giveBackArray() noexcept {
    REALobjectStruct* const array = std::exchange(values_ != nullptr ? values_ : keys_, nullptr);
    if (array == nullptr) return false;
    REALUnlockObject(array);
    return true;
  }

  /// One reference or entry at a time, since giving it back can put other containers on top of this one.
  static void giveBackOne(Departing& container) noexcept {
    if (container.giveBackArray() || container.giveBackEntry()) return;
    top_ = container.below_;
    delete &container;
  }

#ifdef VORNIK_TINY
  static constexpr int kGreatestDepth = 2;
#else
  static constexpr int kGreatestDepth = 32;
#endif
  static inline constinit int depth_ = 0;  ///< destructors that give something back right now
  static inline constinit Departing* top_ = nullptr;

  REALobjectStruct* values_ = nullptr;
  REALobjectStruct* keys_ = nullptr;
  Departing* below_ = nullptr;
};

/// A container as objects own it.
template <typename Container>
class Departable final : public Container, public Departing {
 public:
  void becomeEmpty() noexcept override {
    Container::forgetPositions();
    const auto removed = Container::extractAll();
  }

 private:
  void forgetPositions() noexcept override { Container::forgetPositions(); }
  bool giveBackEntry() noexcept override {
    if (Container::empty()) return false;
    [[maybe_unused]] const auto removed = Container::extract(Container::begin());
    return true;
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_DEPARTING_H
