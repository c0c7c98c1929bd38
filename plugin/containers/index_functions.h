// Access by position and export to host arrays, for all classes.
//
// Trees and hash tables cannot be indexed, so the first access by position copies all keys, and the values of
// a map, into host arrays that the object keeps until the next change made through it (DroppedCache). That
// costs one pass over the entries; every access up to the change is one array access.
#ifndef VORNIK_CONTAINERS_INDEX_FUNCTIONS_H
#define VORNIK_CONTAINERS_INDEX_FUNCTIONS_H

#include <cstdint>

#include "plugin/containers/container_functions.h"

namespace vornik {

template <typename Class>
struct IndexFunctions : ContainerFunctions<Class> {
  using Base = ContainerFunctions<Class>;
  using typename Base::Data;
  using typename Base::Key;

  static Key KeyAtIndex(REALobjectStruct* self, std::int64_t index) {
    BuildArrays(self);
    if (data(self).keyArray != nullptr) return elementAt<typename Class::Key>(data(self).keyArray, index);
    if constexpr (kHasValues) {
      return entryAt(self, index, [](auto& container, auto place) {
        return Class::Key::share(Class::Key::lend(container.key(place)));
      });
    } else {
      return Key();
    }
  }

  /// The cache itself, not a copy.
  static REALobjectStruct* rbGetKeys(REALobjectStruct* self) {
    BuildArrays(self);
    return handOutArray(data(self).keyArray);
  }

 protected:
  using Base::data;
  using Base::withContainer;

  /// Makes sure that the cache is there. Without a container, or on a host that cannot make the arrays, it
  /// stays away.
  static void BuildArrays(REALobjectStruct* self) {
    if (data(self).keyArray != nullptr || !Base::isInitialized(data(self))) return;
    withContainer(data(self), [&](auto& container) {
      const auto upperBound = static_cast<std::int64_t>(container.size()) - 1;
      auto keys = ObjectReference::adopt(REALCreateArray(Class::Key::kArrayType, upperBound));
      if (!keys) return;
      auto* const keyArray = asArray<typename Class::Key>(keys.get());
      if constexpr (kHasValues) {
        auto values = ObjectReference::adopt(REALCreateArray(Class::Value::kArrayType, upperBound));
        if (!values) return;
        auto* const valueArray = asArray<typename Class::Value>(values.get());
        const auto unchanged = watch(self, container);
        walk(container, unchanged, [&](std::int64_t index, auto place) {
          REALSetArrayValue(keyArray, index, Class::Key::lend(container.key(place)));
          if (unchanged) REALSetArrayValue(valueArray, index, Class::Value::lend(container.value(place)));
        });
        if (!unchanged || data(self).keyArray != nullptr) return;
        data(self).valueArray = values.release();
      } else {
        const auto unchanged = watch(self, container);
        walk(container, unchanged, [&](std::int64_t index, auto place) {
          REALSetArrayValue(keyArray, index, Class::Key::lend(container.key(place)));
        });
        if (!unchanged || data(self).keyArray != nullptr) return;
      }
      data(self).keyArray = keys.release();
    });
  }

  template <typename Kind>
  static typename Kind::Host elementAt(REALobjectStruct* array, std::int64_t index) {
    typename Kind::Host element{};
    REALGetArrayValue(asArray<Kind>(array), index, &element);
    return element;
  }

  static REALobjectStruct* handOutArray(REALobjectStruct* array) {
    lock(array);
    return array;
  }

  /// Runs `read` on the entry at `index` in iteration order, where no cache could be built. Linear in the
  /// index; answers the neutral result when there is no such entry.
  template <typename Read>
  static auto entryAt(REALobjectStruct* self, std::int64_t index, Read read) {
    using Result = decltype(withContainer(
        data(self), [&](auto& container) { return read(container, container.begin()); }));
    if (!Base::isInitialized(data(self))) return Result();
    return withContainer(data(self), [&](auto& container) {
      std::int64_t count = 0;
      for (auto place = container.begin(); place != container.end(); place = container.next(place)) {
        if (count++ == index) return read(container, place);
      }
      return Result();
    });
  }

  /// Inserts one side of every entry into the script's own array, ahead of what it holds.
  template <typename Kind, typename Lend>
  static void insertInto(REALobjectStruct* self, REALobjectStruct* targetArray, Lend lend) {
    if (targetArray == nullptr) return RaiseException("NilObjectException", "array is nil");
    auto* array = asArray<Kind>(targetArray);
    withContainer(data(self), [&](auto& container) {
      walk(container, watch(self, container), [&](std::int64_t index, auto place) {
        if (const auto insert = Kind::insertProc(array)) insert(array, index, lend(container, place));
      });
    });
  }

 private:
  static constexpr bool kHasValues = requires { typename Class::Value; };

  template <typename Kind>
  static typename Kind::Array* asArray(REALobjectStruct* array) {
    return reinterpret_cast<typename Kind::Array*>(array);
  }

  /// Whether an object still holds a container and the container what it held: the host's array procedures
  /// can run script code, and only while this is so are places still good.
  template <typename Container>
  class Unchanged {
   public:
    Unchanged(REALobjectStruct* self, const Container& container)
        : self_(self), container_(&container), change_(container.change()) {}
    explicit operator bool() const {
      const void* const held = container_;
      const bool isHeld = held == data(self_).sensitive || held == data(self_).insensitive;
      return isHeld && container_->change() == change_;
    }

   private:
    REALobjectStruct* self_;
    const Container* container_;
    ChangeStamp change_;
  };

  template <typename Container>
  static Unchanged<Container> watch(REALobjectStruct* self, const Container& container) {
    return Unchanged<Container>(self, container);
  }

  /// Runs visit(index, place) on every entry in iteration order, up to a change: what host code changes in
  /// the middle of an export ends it.
  template <typename Container, typename Visit>
  static void walk(Container& container, const Unchanged<Container>& unchanged, Visit visit) {
    std::int64_t index = 0;
    for (auto place = container.begin(); place != container.end(); place = container.next(place)) {
      visit(index++, place);
      if (!unchanged) return;
    }
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_INDEX_FUNCTIONS_H
