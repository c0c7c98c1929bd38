// The built-in Dictionary: variants under variant keys, kept in the order in which the keys were first set.
#ifndef VORNIK_HOST_DICTIONARIES_H
#define VORNIK_HOST_DICTIONARIES_H

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <vector>

#include "host/thing.h"
#include "host/variants.h"

namespace vornik::host {

/// Keys are the same when their types and values are; text counts letter case, and numbers of different types
/// are different keys.
struct VariantKeyHash {
  std::size_t operator()(REALobjectStruct* key) const { return variantHash(key); }
};
struct VariantKeyEqual {
  bool operator()(REALobjectStruct* a, REALobjectStruct* b) const { return sameVariant(a, b); }
};

struct Dictionary : Thing {
  struct Content {
    std::vector<std::pair<ObjectRef, ObjectRef>> entries;
    std::unordered_map<REALobjectStruct*, std::size_t, VariantKeyHash, VariantKeyEqual> positions;
  };
  Content content;
  std::function<void()> override;  ///< what a subclass runs ahead of each member
};

inline Dictionary& dictionaryBehind(REALobjectStruct* handle) {
  return requireKind<Dictionary>(handle, kDictionaryKind);
}

/// Adds an entry or replaces the value of an existing one. O(1) on average.
void setEntry(Dictionary& dictionary, const ObjectRef& key, const ObjectRef& value);

// Services.
REALobjectStruct* dictionaryValue(REALobjectStruct* dictionary, REALobjectStruct* key);
void setDictionaryValue(REALobjectStruct* dictionary, REALobjectStruct* key, REALobjectStruct* value);
REALobjectStruct* dictionaryKey(REALobjectStruct* dictionary, std::int64_t index);

}  // namespace vornik::host

#endif  // VORNIK_HOST_DICTIONARIES_H
