// What script code can do with an iterator: written once over the class descriptions of the containers.
#ifndef VORNIK_CONTAINERS_ITERATOR_FUNCTIONS_H
#define VORNIK_CONTAINERS_ITERATOR_FUNCTIONS_H

#include <utility>

#include "plugin/containers/instance_data.h"
#include "plugin/containers/misuse.h"

namespace vornik {

/// What map and set iterators have in common.
template <typename Class>
struct IteratorFunctions {
  using Key = typename Class::Key::Host;
  using Data = typename Class::IteratorData;

 protected:
  static Data& data(REALobjectStruct* self) { return instanceData<Data>(self, Class::iteratorDefinition()); }

  static bool hasPosition(const Data& cells) { return cells.sensitivePos != 0 || cells.insensitivePos != 0; }

  /// Runs operation(cell, container, place) on the iterator's position. Raises, and answers the neutral
  /// result, when there is none or it has become stale.
  template <typename Operation>
  static auto withPosition(REALobjectStruct* self, Operation operation) {
    Data& cells = data(self);
    if (cells.sensitivePos != 0) [[likely]] {
      return resolved<typename Class::Sensitive>(cells.sensitivePos, operation);
    }
    if (cells.insensitivePos != 0)
      return resolved<typename Class::Insensitive>(cells.insensitivePos, operation);
    RaiseException("NilObjectException", "Iterator not initialized");
    return decltype(resolved<typename Class::Sensitive>(cells.sensitivePos, operation))();
  }

  /// As withPosition, for operations that need an entry: the end position raises too.
  template <typename Operation>
  static auto withEntry(REALobjectStruct* self, Operation operation) {
    return withPosition(self, [&](PositionHandle&, auto& container, auto place) {
      if (place == container.end()) {
        raiseAtEnd();
        return decltype(operation(container, place))();
      }
      return operation(container, place);
    });
  }

  static void moveNext(REALobjectStruct* self) {
    withPosition(self, [](PositionHandle& cell, auto& container, auto place) {
      if (place == container.end()) return raiseAtEnd();
      const auto following = container.next(place);
      cell = container.handle(following);
      if constexpr (requires { container.fetchNext(following); }) container.fetchNext(following);
    });
  }

  static void movePrevious(REALobjectStruct* self) {
    withPosition(self, [](PositionHandle& cell, auto& container, auto place) {
      if (place == container.begin()) return raiseAtFirst();
      cell = container.handle(container.previous(place));
    });
  }

  static Key key(REALobjectStruct* self) {
    return withEntry(self, [](auto& container, auto place) {
      return Class::Key::share(Class::Key::lend(container.key(place)));
    });
  }

  /// Whether both iterators are at the same position, or are not where `expected` is false. Raises with
  /// `missing` when there is nothing to compare.
  static bool compare(REALobjectStruct* self, REALobjectStruct* other, bool expected, const char* missing) {
    if (other == nullptr || !hasPosition(data(self))) {
      RaiseException("NilObjectException", missing);
      return false;
    }
    const Data& mine = data(self);
    const Data& others = data(other);
    const bool equal = mine.sensitivePos != 0 ? mine.sensitivePos == others.sensitivePos
                                              : mine.insensitivePos == others.insensitivePos;
    return equal == expected;
  }

 private:
  template <typename Container, typename Operation>
  static auto resolved(PositionHandle& cell, Operation operation) {
    using Result = decltype(operation(cell, std::declval<Container&>(), typename Container::Place()));
    const auto located = Container::locate(cell);
    if (located.owner == nullptr) {
      raiseStaleIterator();
      return Result();
    }
    return operation(cell, *located.owner, located.place);
  }
};

template <typename Class>
struct MapIteratorFunctions : IteratorFunctions<Class> {
  using Base = IteratorFunctions<Class>;
  using typename Base::Key;
  using Value = typename Class::Value::Host;

  static void iteratorMoveNext(REALobjectStruct* self) { Base::moveNext(self); }
  static void iteratorMovePrev(REALobjectStruct* self) { Base::movePrevious(self); }
  static Key iteratorGetKey(REALobjectStruct* self) { return Base::key(self); }

  static Value iteratorGetValue(REALobjectStruct* self) {
    return Base::withEntry(self, [](auto& container, auto place) {
      return Class::Value::share(Class::Value::lend(container.value(place)));
    });
  }

  static void iteratorSetValue(REALobjectStruct* self, Value value) {
    Base::withEntry(self, [&](auto& container, auto place) {
      auto held = Class::Value::hold(value);
      std::swap(container.value(place), held);
    });
  }

  static bool iteratorIsEqual(REALobjectStruct* self, REALobjectStruct* other) {
    return Base::compare(self, other, true, "other iterator is nil");
  }
  static bool iteratorIsNotEqual(REALobjectStruct* self, REALobjectStruct* other) {
    return Base::compare(self, other, false, "other iterator is nil");
  }
};

template <typename Class>
struct SetIteratorFunctions : IteratorFunctions<Class> {
  using Base = IteratorFunctions<Class>;
  using typename Base::Key;

  // Unlike map iterators, those of sets stay where they are when they have no position.
  static void MoveNext(REALobjectStruct* self) {
    if (Base::hasPosition(Base::data(self))) Base::moveNext(self);
  }
  static void MovePrev(REALobjectStruct* self) {
    if (Base::hasPosition(Base::data(self))) Base::movePrevious(self);
  }
  static Key GetKey(REALobjectStruct* self) { return Base::key(self); }

  static bool isEqual(REALobjectStruct* self, REALobjectStruct* other) {
    return Base::compare(self, other, true, "other iterator is nil");
  }
  static bool isNotEqual(REALobjectStruct* self, REALobjectStruct* other) {
    return Base::compare(self, other, false, "Iterator is nil");
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_ITERATOR_FUNCTIONS_H
