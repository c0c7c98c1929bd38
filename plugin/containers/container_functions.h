// What script code can do with any container: written once for all classes.
//
// A class description names what differs:
//   Key, Value               kinds (kinds.h); a set has no Value
//   Sensitive, Insensitive   container types
//   Data, IteratorData       instance data (instance_data.h)
//   kHasCaseChoice           whether each object chooses if its keys are case-sensitive
//   kMissing                 message where an object holds no container
//   kName, kIteratorName     the host's class names
//   definition(), iteratorDefinition()
//
// The functions take the object first and then the declared parameters. They are registered behind the guard,
// so a std::bad_alloc in the middle reaches the script as an exception; each leaves the container as it was
// when it throws.
#ifndef VORNIK_CONTAINERS_CONTAINER_FUNCTIONS_H
#define VORNIK_CONTAINERS_CONTAINER_FUNCTIONS_H

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "plugin/containers/instance_data.h"
#include "plugin/containers/misuse.h"

namespace vornik {

/// One of two functions of different types.
template <bool kFirst, typename First, typename Second>
constexpr auto choose(First first, Second second) {
  if constexpr (kFirst) {
    return first;
  } else {
    return second;
  }
}

template <typename Class>
struct ContainerFunctions {
  using Key = typename Class::Key::Host;
  using Data = typename Class::Data;
  using IteratorData = typename Class::IteratorData;
  using Containers = OwnedContainers<typename Class::Sensitive, typename Class::Insensitive>;

  // ---- Construction and destruction

  static void constructEmpty(REALobjectStruct* self) { install(self, newContainers(true), true); }
  static void constructEmptyWithCase(REALobjectStruct* self, bool caseSensitive) {
    install(self, newContainers(caseSensitive), caseSensitive);
  }
  static constexpr auto theMapConstructor =
      choose<Class::kHasCaseChoice>(&constructEmptyWithCase, &constructEmpty);

  static void theMapDestructor(REALobjectStruct* self) { giveBackAll(data(self)); }

  static void clear(REALobjectStruct* self) {
    changeContainer(self, [](auto& container) { const auto removed = container.extractAll(); });
  }

  // ---- Keys

  static std::int64_t countRB(REALobjectStruct* self, Key key) {
    return withContainer(data(self), [&](auto& container) {
      return std::int64_t{container.find(probe(container, key)) != container.end()};
    });
  }

  static std::int64_t erase3(REALobjectStruct* self, Key key) {
    return changeContainer(self, [&](auto& container) {
      const auto place = container.find(probe(container, key));
      if (place == container.end()) return std::int64_t{0};
      [[maybe_unused]] const auto removed = container.extract(place);
      return std::int64_t{1};
    });
  }

  // ---- Positions

  static REALobjectStruct* getbegin(REALobjectStruct* self) {
    return newIterator(self, [](auto& container) { return container.begin(); });
  }
  static REALobjectStruct* getend(REALobjectStruct* self) {
    return newIterator(self, [](auto& container) { return container.end(); });
  }
  static REALobjectStruct* findRB(REALobjectStruct* self, Key key) {
    return newIterator(self, [&](auto& container) { return container.find(probe(container, key)); });
  }
  static REALobjectStruct* lower_bound(REALobjectStruct* self, Key key) {
    return newIterator(self, [&](auto& container) { return container.lowerBound(probe(container, key)); });
  }
  static REALobjectStruct* upper_bound(REALobjectStruct* self, Key key) {
    return newIterator(self, [&](auto& container) { return container.upperBound(probe(container, key)); });
  }

  // ---- Properties; the second parameter is the property record's, unused

  static std::int64_t GetSize(REALobjectStruct* self, std::int64_t) {
    return withContainer(data(self),
                         [](auto& container) { return static_cast<std::int64_t>(container.size()); });
  }
  static bool GetEmpty(REALobjectStruct* self, std::int64_t) {
    return withContainer(data(self), [](auto& container) { return container.empty(); });
  }
  static std::int64_t GetBucketCount(REALobjectStruct* self, std::int64_t) {
    return withContainer(data(self),
                         [](auto& container) { return static_cast<std::int64_t>(container.bucketCount()); });
  }
  static std::int64_t GetMaxSize(REALobjectStruct* self, std::int64_t) {
    return withContainer(data(self), [](auto&) {
      return static_cast<std::int64_t>(std::numeric_limits<std::uint64_t>::max() / kEntryBytes);
    });
  }

 protected:
  static Data& data(REALobjectStruct* self) { return instanceData<Data>(self, Class::definition()); }

  static bool isInitialized(const Data& d) { return d.sensitive != nullptr || d.insensitive != nullptr; }

  /// Runs `operation` on the container that is there; runs `otherwise` and answers the neutral result where
  /// there is none.
  template <typename Holder, typename Operation, typename Otherwise>
  static auto withContainer(Holder& holder, Operation&& operation, Otherwise&& otherwise) {
    using Result = decltype(operation(*holder.sensitive));
    if (holder.sensitive != nullptr) [[likely]]
      return operation(*holder.sensitive);
    if (holder.insensitive != nullptr) return operation(*holder.insensitive);
    otherwise();
    return Result();
  }

  /// Runs `operation` on the container that an object holds; raises and answers the neutral result where
  /// there is none.
  template <typename Operation>
  static auto withContainer(Data& d, Operation&& operation) {
    return withContainer(d, operation, [] { RaiseException("NilObjectException", Class::kMissing); });
  }

  /// The same for operations that change the entries. They drop the cache also where there is no container,
  /// and then before they raise: its elements can run script code as they go.
  template <typename Operation>
  static auto changeContainer(REALobjectStruct* self, Operation&& operation) {
    DroppedCache cache(data(self));
    return withContainer(data(self), operation, [&] {
      { const DroppedCache gone(std::move(cache)); }
      RaiseException("NilObjectException", Class::kMissing);
    });
  }

  /// One new, empty container.
  static Containers newContainers(bool caseSensitive) {
    Containers fresh;
    if (caseSensitive || !Class::kHasCaseChoice) {
      fresh.sensitive = std::make_unique<typename Class::Sensitive>();
    } else {
      fresh.insensitive = std::make_unique<typename Class::Insensitive>();
    }
    return fresh;
  }

  /// Lets new containers take the place of the object's, which die once the new ones are in place.
  static void install(REALobjectStruct* self, Containers fresh, bool caseSensitive) {
    if constexpr (Class::kHasCaseChoice) data(self).caseSensitive = caseSensitive;
    const Containers old = replaceContainers(data(self), std::move(fresh));
  }

  /// A key of the host's as the container searches for it.
  template <typename Container>
  static typename Container::Policy::Probe probe(const Container&, Key key) {
    return typename Container::Policy::Probe(key);
  }

  /// Removes the entry at a position of this very container, which the handle must be.
  template <typename Container>
  static void removeAt(REALobjectStruct* self, Container& container, PositionHandle handle) {
    const auto place = ownPlace(container, handle);
    if (!place) return;
    if (*place == container.end()) return raiseAtEnd();
    const DroppedCache cache(data(self));
    [[maybe_unused]] const auto removed = container.extract(*place);
  }

  /// Removes the entries between two positions of this very container; the second stays.
  template <typename Container>
  static void removeRange(REALobjectStruct* self, Container& container, PositionHandle from,
                          PositionHandle to) {
    const auto first = ownPlace(container, from);
    if (!first) return;
    const auto last = ownPlace(container, to);
    if (!last) return;
    if (!container.reaches(*first, *last)) return raiseReversedRange();
    const DroppedCache cache(data(self));
    const auto removed = container.extract(*first, *last);
  }

  static IteratorData& iteratorData(REALobjectStruct* iterator) {
    return instanceData<IteratorData>(iterator, Class::iteratorDefinition());
  }

  /// A new iterator object at the place that `locate(container)` answers; nil when the host cannot
  /// create one.
  template <typename Locate>
  static REALobjectStruct* newIterator(REALobjectStruct* self, Locate locate) {
    if (!isInitialized(data(self))) {
      RaiseException("NilObjectException", Class::kMissing);
      return nullptr;
    }
    auto iterator = ObjectReference::adopt(REALnewInstance(Class::kIteratorName));
    if (!iterator) return nullptr;
    const bool placed = withContainer(data(self), [&](auto& container) {
      const void* address = &container;
      IteratorData& cells = iteratorData(iterator.get());
      PositionHandle& cell = address == data(self).sensitive ? cells.sensitivePos : cells.insensitivePos;
      cell = container.handle(locate(container));
      return true;
    });
    return placed ? iterator.release() : nullptr;
  }

 private:
  /// The bytes that one entry counts for in MaxSize: what scripts have been told ever since, whatever an
  /// entry takes today.
  static constexpr std::uint64_t kEntryBytes = [] {
    constexpr bool kIsHashed = requires(typename Class::Sensitive container) {
      container.bucketCount();
    };
    std::uint64_t bytes = (kIsHashed ? 16 : 32) + Class::Key::kBytes;
    if constexpr (requires { typename Class::Value; }) bytes += Class::Value::kBytes;
    return bytes;
  }();

  /// The place of a handle that must lie in `container`; raises and answers nothing when it does not.
  template <typename Container>
  static std::optional<typename Container::Place> ownPlace(Container& container, PositionHandle handle) {
    const auto located = Container::locate(handle);
    if (located.owner == nullptr) {
      raiseStaleIterator();
      return {};
    }
    if (located.owner != &container) {
      raiseForeignIterator();
      return {};
    }
    return located.place;
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_CONTAINER_FUNCTIONS_H
