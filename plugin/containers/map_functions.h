// What maps add to the functions of all containers: values, copies, and their rules for nil iterators.
#ifndef VORNIK_CONTAINERS_MAP_FUNCTIONS_H
#define VORNIK_CONTAINERS_MAP_FUNCTIONS_H

#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "plugin/containers/index_functions.h"
#include "plugin/values/dictionaries.h"

namespace vornik {

/// What the descriptions of all map classes share.
template <typename SensitiveContainer, typename InsensitiveContainer>
struct MapClass {
  using Sensitive = Departable<SensitiveContainer>;
  using Insensitive = Departable<InsensitiveContainer>;
  using Data = MapContainerData<Sensitive, Insensitive>;
  using IteratorData = MapIteratorData;
  static constexpr bool kHasCaseChoice = !std::is_same_v<Sensitive, Insensitive>;
  static constexpr const char* kMissing = "Map not initialized";
};

template <typename Class>
struct MapFunctions : IndexFunctions<Class> {
  using Base = IndexFunctions<Class>;
  using typename Base::Containers;
  using typename Base::Data;
  using typename Base::Key;
  using Value = typename Class::Value::Host;

  // ---- Copies

  static void theMapConstructorCopy(REALobjectStruct* self, REALobjectStruct* other) {
    if (other == nullptr) return RaiseException("NilObjectException", "Other map is nil");
    const Data& source = data(other);
    // The object's own entries count as gone before `other` is looked at, so a map cannot be copied
    // into itself.
    if (other == self || !isInitialized(source)) {
      leaveWithoutContainer(data(self));
      if (!isInitialized(source)) return RaiseException("NilObjectException", "Other map not initialized");
    }
    install(self, copyOf(source), source.caseSensitive);
  }

  static REALobjectStruct* cloneMap(REALobjectStruct* self) {
    if (!isInitialized(data(self))) {
      RaiseException("NilObjectException", Class::kMissing);
      return nullptr;
    }
    auto clone = ObjectReference::adopt(REALnewInstance(Class::kName));
    if (!clone) return nullptr;
    // Containers that the host's own construction of the object made die here.
    install(clone.get(), copyOf(data(self)), data(self).caseSensitive);
    return clone.release();
  }

  // ---- Dictionaries

  static void constructFromDictionary(REALobjectStruct* self, _REALdictionary* dic) {
    install(self, fromDictionary(dic, true), true);
  }
  static void constructFromDictionaryWithCase(REALobjectStruct* self, _REALdictionary* dic,
                                              bool caseSensitive) {
    install(self, fromDictionary(dic, caseSensitive), caseSensitive);
  }
  static constexpr auto theMapConstructorDic =
      choose<Class::kHasCaseChoice>(&constructFromDictionaryWithCase, &constructFromDictionary);

  static REALobjectStruct* cloneDictionary(REALobjectStruct* self) {
    // The entries are taken out first: a dictionary is the host's, and what it runs may change this map.
    std::vector<std::pair<typename Class::Key::Held, typename Class::Value::Held>> entries;
    const bool initialized = withContainer(data(self), [&](auto& container) {
      entries.reserve(container.size());
      for (auto place = container.begin(); place != container.end(); place = container.next(place)) {
        entries.emplace_back(Class::Key::lend(container.key(place)), container.value(place));
      }
      return true;
    });
    if (!initialized) return nullptr;
    auto result = ObjectReference::adopt(REALnewInstance("Dictionary"));
    if (!result) return nullptr;
    auto* dictionary = reinterpret_cast<_REALdictionary*>(result.get());
    const DictionaryConversion conversion;
    for (const auto& [key, value] : entries) {
      const ObjectReference keyVariant = Class::Key::toVariant(key);
      const ObjectReference valueVariant = Class::Value::toVariant(value);
      SetDictionaryValue(dictionary, keyVariant.get(), valueVariant.get());
    }
    return result.release();
  }

  // ---- Access by key

  static Value getvalue(REALobjectStruct* self, Key key) {
    return withContainer(data(self), [&](auto& container) {
      const auto place = container.find(probe(container, key));
      if (place == container.end()) {
        RaiseException("KeyNotFoundException", "Key not found");
        return Value();
      }
      return Class::Value::share(Class::Value::lend(container.value(place)));
    });
  }

  static void setvalue(REALobjectStruct* self, Key key, Value value) {
    Base::changeContainer(self, [&](auto& container) {
      auto held = Class::Value::hold(value);
      ++data(self).assignments;
      // Leaves with the old value, which dies when the entry already has the new one.
      std::swap(container.value(container.findOrInsert(probe(container, key))), held);
    });
  }

  static bool haskey(REALobjectStruct* self, Key key) { return Base::countRB(self, key) != 0; }

  static Value lookup(REALobjectStruct* self, Key key, Value defaultvalue) {
    return withContainer(data(self), [&](auto& container) {
      const auto place = container.find(probe(container, key));
      const bool found = place != container.end();
      return Class::Value::share(found ? Class::Value::lend(container.value(place)) : defaultvalue);
    });
  }

  // ---- Removal at positions

  static void erase1(REALobjectStruct* self, REALobjectStruct* pos) {
    withContainer(data(self), [&](auto& container) {
      if (const PositionHandle handle = cell(self, container, pos)) Base::removeAt(self, container, handle);
    });
  }

  static void erase2(REALobjectStruct* self, REALobjectStruct* first, REALobjectStruct* last) {
    withContainer(data(self), [&](auto& container) {
      const PositionHandle from = cell(self, container, first);
      const PositionHandle to = cell(self, container, last);
      if (from != 0 && to != 0) Base::removeRange(self, container, from, to);
    });
  }

  // ---- Access by index and export

  static Value ValueAtIndex(REALobjectStruct* self, std::int64_t index) {
    return Base::template atIndex<ValueSide>(self, index);
  }

  static REALobjectStruct* rbGetValues(REALobjectStruct* self) {
    return Base::template exported<ValueSide>(self);
  }

  static void rbGetKeys2(REALobjectStruct* self, REALobjectStruct* targetArray) {
    Base::template insertInto<KeySide>(self, targetArray);
  }

  static void rbGetValues2(REALobjectStruct* self, REALobjectStruct* targetArray) {
    Base::template insertInto<ValueSide>(self, targetArray);
  }

 private:
  using Base::data;
  using Base::install;
  using Base::isInitialized;
  using Base::probe;
  using Base::withContainer;
  using typename Base::KeySide;
  using typename Base::ValueSide;

  /// Lets the containers die, but for a husk of one where it is needed for the cache to go by.
  static void leaveWithoutContainer(Data& d) {
    Containers old = replaceContainers(d, Containers());
    if (d.keyArray == nullptr || d.husk != nullptr) return;
    d.husk = old.sensitive != nullptr ? static_cast<Departing*>(old.sensitive.release())
                                      : old.insensitive.release();
    if (d.husk != nullptr) d.husk->becomeEmpty();
  }

  static Containers copyOf(const Data& source) {
    Containers copy;
    if (source.sensitive != nullptr) {
      copy.sensitive = std::make_unique<typename Class::Sensitive>();
      copy.sensitive->copyFrom(*source.sensitive);
    } else if (source.insensitive != nullptr) {
      copy.insensitive = std::make_unique<typename Class::Insensitive>();
      copy.insensitive->copyFrom(*source.insensitive);
    }
    return copy;
  }

  static Containers fromDictionary(_REALdictionary* dic, bool caseSensitive) {
    Containers fresh = Base::newContainers(caseSensitive);
    if (dic == nullptr) return fresh;
    const DictionaryConversion conversion;
    const std::int64_t count = GetDictionaryCount(dic);
    withContainer(
        fresh,
        [&](auto& container) {
          for (std::int64_t index = 0; index < count; ++index) {
            const ObjectReference key = ObjectReference::adopt(GetDictionaryKey(dic, index));
            const ObjectReference value = ObjectReference::adopt(GetDictionaryValue(dic, key.get()));
            const auto heldKey = Class::Key::fromVariant(key.get());
            container.value(container.findOrInsert(probe(container, Class::Key::lend(heldKey)))) =
                Class::Value::fromVariant(value.get());
          }
        },
        [] {});
    return fresh;
  }

  /// The position that an iterator argument holds for `container`; 0 for nil and for one without such
  /// a position.
  template <typename Container>
  static PositionHandle cell(REALobjectStruct* self, const Container& container, REALobjectStruct* iterator) {
    if (iterator == nullptr) return 0;
    const void* address = &container;
    const MapIteratorData& cells = Base::iteratorData(iterator);
    return address == data(self).sensitive ? cells.sensitivePos : cells.insensitivePos;
  }
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_MAP_FUNCTIONS_H
