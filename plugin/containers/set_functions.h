// What sets add to the functions of all containers: insertion, construction from arrays, and their rules for
// nil iterators.
#ifndef VORNIK_CONTAINERS_SET_FUNCTIONS_H
#define VORNIK_CONTAINERS_SET_FUNCTIONS_H

#include <cstdint>
#include <type_traits>
#include <utility>

#include "plugin/containers/index_functions.h"

namespace vornik {

/// What the descriptions of all set classes share.
template <typename SensitiveContainer, typename InsensitiveContainer>
struct SetClass {
  using Sensitive = Departable<SensitiveContainer>;
  using Insensitive = Departable<InsensitiveContainer>;
  using Data = SetContainerData<Sensitive, Insensitive>;
  using IteratorData = SetIteratorData;
  static constexpr bool kHasCaseChoice = !std::is_same_v<Sensitive, Insensitive>;
  static constexpr const char* kMissing = "Set not initialized";
};

template <typename Class>
struct SetFunctions : IndexFunctions<Class> {
  using Base = IndexFunctions<Class>;
  using typename Base::Containers;
  using typename Base::Key;

  /// From an array of the set's own kind of key; equal keys collapse into the first. Case-sensitive, as the
  /// classes' other constructors are by default.
  static void theMapConstructor2(REALobjectStruct* self, REALobjectStruct* keys) {
    constructFrom<typename Class::Key>(self, keys, [](const auto& element) { return element; });
  }

  /// The Variant sets' constructor from an array of strings.
  static void theMapConstructor3(REALobjectStruct* self, REALobjectStruct* keys) {
    constructFrom<StringKind>(self, keys,
                              [](const StringReference& text) { return StringKind::toVariant(text); });
  }

  static void insert(REALobjectStruct* self, Key key) {
    Base::changeContainer(self,
                          [&](auto& container) { container.findOrInsert(Base::probe(container, key)); });
  }

  static bool lookup(REALobjectStruct* self, Key key) { return Base::countRB(self, key) != 0; }

  // Unlike maps, a set without a container lets positions pass in silence.
  static void erase1(REALobjectStruct* self, REALobjectStruct* pos) {
    if (pos == nullptr) return;
    withOwnContainer(self, [&](auto& container, PositionHandle SetIteratorData::*cell) {
      if (const PositionHandle handle = Base::iteratorData(pos).*cell)
        Base::removeAt(self, container, handle);
    });
  }

  static void erase2(REALobjectStruct* self, REALobjectStruct* first, REALobjectStruct* last) {
    if (first == nullptr || last == nullptr) return;
    withOwnContainer(self, [&](auto& container, PositionHandle SetIteratorData::*cell) {
      const PositionHandle from = Base::iteratorData(first).*cell;
      const PositionHandle to = Base::iteratorData(last).*cell;
      if (from != 0 && to != 0) Base::removeRange(self, container, from, to);
    });
  }

 private:
  using Base::data;
  using Base::withContainer;

  template <typename ElementKind, typename ToKey>
  static void constructFrom(REALobjectStruct* self, REALobjectStruct* keys, ToKey toKey) {
    if (keys == nullptr) return RaiseException("NilObjectException", "values array is nil");
    Containers fresh = Base::newContainers(true);
    auto& container = *fresh.sensitive;
    const std::int64_t upperBound = REALGetArrayUBound(keys);
    for (std::int64_t index = 0; index <= upperBound; ++index) {
      const auto element = ElementKind::adopt(Base::template elementAt<ElementKind>(keys, index));
      const typename Class::Key::Held key = toKey(element);
      container.findOrInsert(Base::probe(container, Class::Key::lend(key)));
    }
    Base::install(self, std::move(fresh), true);
  }

  /// Runs `operation` on the container that is there, if one is, with the field of its iterators' positions.
  template <typename Operation>
  static void withOwnContainer(REALobjectStruct* self, Operation operation) {
    if (auto* sensitive = data(self).sensitive) {
      operation(*sensitive, &SetIteratorData::sensitivePos);
    } else if (auto* insensitive = data(self).insensitive) {
      operation(*insensitive, &SetIteratorData::insensitivePos);
    }
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_SET_FUNCTIONS_H
