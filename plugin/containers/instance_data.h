// What the host allocates with every container and iterator object, zero-filled, and how to get at it.
#ifndef VORNIK_CONTAINERS_INSTANCE_DATA_H
#define VORNIK_CONTAINERS_INSTANCE_DATA_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "plugin/containers/departing.h"
#include "plugin/frame/errors.h"
#include "plugin/frame/reference.h"
#include "plugin/structures/positions.h"

namespace vornik {

/// Instance data of the map classes. The object owns its containers and one reference to each cached array.
template <typename Sensitive, typename Insensitive>
struct MapContainerData {
  Sensitive* sensitive;
  Insensitive* insensitive;
  REALobjectStruct* keyArray;    ///< snapshot of the keys in iteration order, for index access
  REALobjectStruct* valueArray;  ///< the values in the same order; built and dropped together with the keys
  bool caseSensitive;            ///< the host reads this byte itself where a class has the property
  std::uint32_t assignments;     ///< of values through the object, modulo 2^32; none changes a place
  Departing* husk;               ///< an emptied container, where the cache has outlived the containers
};

/// Instance data of the set classes.
template <typename Sensitive, typename Insensitive>
struct SetContainerData {
  Sensitive* sensitive;
  Insensitive* insensitive;
  bool caseSensitive;
  REALobjectStruct* keyArray;
};

/// Instance data of iterators: one position, in the field that names the container it lies in.
struct MapIteratorData {
  PositionHandle insensitivePos;
  PositionHandle sensitivePos;
};
struct SetIteratorData {
  PositionHandle sensitivePos;
  PositionHandle insensitivePos;
};

static_assert(sizeof(MapContainerData<int, int>) == 48);
static_assert(sizeof(SetContainerData<int, int>) == 32);
static_assert(sizeof(MapIteratorData) == 16 && sizeof(SetIteratorData) == 16);

/// The instance data of an object, at the offset that the host chose when it registered the class.
template <typename Data>
Data& instanceData(REALobjectStruct* object, const REALclassDefinition& definition) {
  return *reinterpret_cast<Data*>(reinterpret_cast<std::byte*>(object) + definition.forSystemUse);
}

/// The containers of an object, on their way in or out.
template <typename Sensitive, typename Insensitive>
struct OwnedContainers {
  std::unique_ptr<Sensitive> sensitive;
  std::unique_ptr<Insensitive> insensitive;
};

/// Puts `fresh` in place of the object's containers and returns the old ones, for the caller to let die.
template <typename Data, typename Sensitive, typename Insensitive>
[[nodiscard]] auto replaceContainers(Data& data, OwnedContainers<Sensitive, Insensitive> fresh) noexcept {
  OwnedContainers<Sensitive, Insensitive> old;
  old.sensitive.reset(std::exchange(data.sensitive, fresh.sensitive.release()));
  old.insensitive.reset(std::exchange(data.insensitive, fresh.insensitive.release()));
  return old;
}

/// Gives back what an object holds, when the object itself goes.
template <typename Data>
void giveBackAll(Data& data) noexcept {
  Departing* carrier = std::exchange(data.sensitive, nullptr);
  if (carrier == nullptr) carrier = std::exchange(data.insensitive, nullptr);
  REALobjectStruct* values = nullptr;
  if constexpr (requires { data.valueArray; }) {
    values = std::exchange(data.valueArray, nullptr);
    std::unique_ptr<Departing> husk(std::exchange(data.husk, nullptr));
    if (carrier == nullptr) carrier = husk.release();
  }
  // Without a container there is no cache: only a copy that fails takes the container away, and leaves
  // a husk.
  if (carrier != nullptr) Departing::giveBack(carrier, values, std::exchange(data.keyArray, nullptr));
}

/// Takes an object's cached arrays and gives them back at the end of its scope, values first. Declared at the
/// top of an operation, it lets them die only after the change: an array's elements can run script code as
/// they go.
class DroppedCache {
 public:
  template <typename Data>
  explicit DroppedCache(Data& data) noexcept
      : keys_(ObjectReference::adopt(std::exchange(data.keyArray, nullptr))),
        values_(ObjectReference::adopt(takeValues(data))) {}

 private:
  template <typename Data>
  static REALobjectStruct* takeValues(Data& data) {
    if constexpr (requires { data.valueArray; }) {
      return std::exchange(data.valueArray, nullptr);
    } else {
      return nullptr;
    }
  }

  ObjectReference keys_;
  ObjectReference values_;
};

}  // namespace vornik

#endif  // VORNIK_CONTAINERS_INSTANCE_DATA_H
