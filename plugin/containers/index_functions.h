// Access by position and export to host arrays, for all classes.
//
// Trees and hash tables cannot be indexed, so the first access by position copies all keys, and the values of
// a map, into host arrays that the object keeps until the next change made through it (DroppedCache). That
// costs one pass over the entries; every access up to the change is one array access. The host can run script
// code in the middle of that pass (host_services.h); where that changes the container, no cache comes of it.
#ifndef VORNIK_CONTAINERS_INDEX_FUNCTIONS_H
#define VORNIK_CONTAINERS_INDEX_FUNCTIONS_H

#include <array>
#include <cstdint>
#include <type_traits>

#include "plugin/containers/container_functions.h"

namespace vornik {

template <typename Class>
struct IndexFunctions : ContainerFunctions<Class> {
  using Base = ContainerFunctions<Class>;
  using typename Base::Data;
  using typename Base::Key;

  static Key KeyAtIndex(REALobjectStruct* self, std::int64_t index) { return atIndex<KeySide>(self, index); }

  /// The cache itself, not a copy.
  static REALobjectStruct* rbGetKeys(REALobjectStruct* self) { return exported<KeySide>(self); }

 protected:
  using Base::data;
  using Base::withContainer;

  /// One side of every entry: what it is made of, where it lies, and which array is its cache.
  struct KeySide {
    using Kind = typename Class::Key;
    template <typename Container, typename Place>
    static typename Kind::Host lend(Container& container, Place place) {
      return Kind::lend(container.key(place));
    }
    static REALobjectStruct*& cache(Data& d) { return d.keyArray; }
  };
  struct ValueSide {
    using Kind = typename Class::Value;
    template <typename Container, typename Place>
    static typename Kind::Host lend(Container& container, Place place) {
      return Kind::lend(container.value(place));
    }
    static REALobjectStruct*& cache(Data& d) { return d.valueArray; }
  };

  /// The element at `index` of the cache or, where none could be built, of a map itself.
  template <typename Side>
  static typename Side::Kind::Host atIndex(REALobjectStruct* self, std::int64_t index) {
    BuildArrays(self);
    if (REALobjectStruct* const array = Side::cache(data(self))) {
      return elementAt<typename Side::Kind>(array, index);
    }
    if constexpr (kHasValues) {
      return walkedTo<Side>(self, index);
    } else {
      return {};
    }
  }

  template <typename Side>
  static REALobjectStruct* exported(REALobjectStruct* self) {
    BuildArrays(self);
    return VariantKind::share(Side::cache(data(self)));
  }

  template <typename Kind>
  static typename Kind::Host elementAt(REALobjectStruct* array, std::int64_t index) {
    typename Kind::Host element{};
    REALGetArrayValue(asArray<Kind>(array), index, &element);
    return element;
  }

  /// Inserts one side of every entry into the script's own array, ahead of what it holds.
  template <typename Side>
  static void insertInto(REALobjectStruct* self, REALobjectStruct* targetArray) {
    using Kind = typename Side::Kind;
    if (targetArray == nullptr) return RaiseException("NilObjectException", "array is nil");
    auto* const array = asArray<Kind>(targetArray);
    withContainer(data(self), [&](auto& container) {
      const auto watched = watch(self, container);
      walk(watched, [&](std::int64_t index, auto place) {
        const auto insert = Kind::insertProc(array);
        if (insert != nullptr && watched) insert(array, index, Side::lend(*watched, place));
      });
    });
  }

 private:
  static constexpr bool kHasValues = requires { typename Class::Value; };

  /// A container while its object holds it and it holds what it did at first. Calls of the host that can run
  /// script code come in between, so every use asks anew; only while this is so are places still good.
  template <typename Container>
  class Watched {
   public:
    Watched(REALobjectStruct* self, const Container& container) : self_(self), change_(container.change()) {}

    explicit operator bool() const {
      const Container* const held = find();
      return held != nullptr && held->change() == change_;
    }
    Container& operator*() const { return *find(); }

   private:
    Container* find() const {
      if constexpr (std::is_same_v<Container, typename Class::Sensitive>) {
        return data(self_).sensitive;
      } else {
        return data(self_).insensitive;
      }
    }

    REALobjectStruct* self_;
    ChangeStamp change_;  // tells containers apart as well, but for those that never held anything
  };

  template <typename Container>
  static Watched<Container> watch(REALobjectStruct* self, const Container& container) {
    return Watched<Container>(self, container);
  }

  /// Makes sure that the cache is there. It stays away without a container, on a host that cannot make the
  /// arrays, and where script code changes the container meanwhile.
  static void BuildArrays(REALobjectStruct* self) {
    if constexpr (kHasValues) {
      buildArrays<KeySide, ValueSide>(self);
    } else {
      buildArrays<KeySide>(self);
    }
  }

  template <typename... Sides>
  static void buildArrays(REALobjectStruct* self) {
    if (data(self).keyArray != nullptr || !Base::isInitialized(data(self))) return;
    withContainer(data(self), [&](auto& container) {
      const auto watched = watch(self, container);
      const auto assigned = assignments(data(self));
      const auto upperBound = static_cast<std::int64_t>(container.size()) - 1;
      std::array<ObjectReference, sizeof...(Sides)> arrays;
      auto next = arrays.begin();
      const auto make = [&](std::int32_t type) {
        *next = ObjectReference::adopt(REALCreateArray(type, upperBound));
        return *next++ && watched;
      };
      if (!(make(Sides::Kind::kArrayType) && ...)) return;
      walk(watched, [&](std::int64_t index, auto place) {
        auto array = arrays.begin();
        (setElement<Sides>(*array++, index, watched, place) && ...);
      });
      if (!watched || assigned != assignments(data(self))) return;
      // Script code that left the entries alone may have built the cache.
      if (data(self).keyArray != nullptr) return;
      next = arrays.begin();
      ((Sides::cache(data(self)) = (next++)->release()), ...);
    });
  }

  static std::uint32_t assignments(const Data& d) {
    if constexpr (kHasValues) {
      return d.assignments;
    } else {
      return 0;
    }
  }

  /// False once there is no entry to take an element from.
  template <typename Side, typename Container, typename Place>
  static bool setElement(const ObjectReference& array, std::int64_t index, const Watched<Container>& watched,
                         Place place) {
    const auto target = placeAt(asArray<typename Side::Kind>(array.get()), index);
    if (!watched) return false;
    target.set(Side::lend(*watched, place));
    return bool(watched);
  }

  /// One side of the entry at `index` in iteration order, where no cache could be built. Linear in the index;
  /// the neutral result when there is no such entry.
  template <typename Side>
  static typename Side::Kind::Host walkedTo(REALobjectStruct* self, std::int64_t index) {
    if (!Base::isInitialized(data(self))) return {};
    return withContainer(data(self), [&](auto& container) {
      std::int64_t count = 0;
      for (auto place = container.begin(); place != container.end(); place = container.next(place)) {
        if (count++ == index) return Side::Kind::share(Side::lend(container, place));
      }
      return typename Side::Kind::Host();
    });
  }

  template <typename Kind>
  static typename Kind::Array* asArray(REALobjectStruct* array) {
    return reinterpret_cast<typename Kind::Array*>(array);
  }

  /// Runs visit(index, place) on every entry in iteration order, up to a change: what script code changes in
  /// the middle of an export ends it.
  template <typename Container, typename Visit>
  static void walk(const Watched<Container>& watched, Visit visit) {
    std::int64_t index = 0;
    for (auto place = (*watched).begin(); place != (*watched).end(); place = (*watched).next(place)) {
      visit(index++, place);
      if (!watched) return;
    }
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_INDEX_FUNCTIONS_H
