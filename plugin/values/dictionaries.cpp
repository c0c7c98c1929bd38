#include "plugin/values/dictionaries.h"

#include <cstring>

#include "plugin/frame/host_services.h"
#include "plugin/frame/log.h"

namespace vornik {

_REALdictionary* LastDictionary = nullptr;

namespace {

/// Hosts from this version on count keys under another name.
constexpr double kFirstHostWithKeyCount = 2020.0;

using Setter = void (*)(_REALdictionary*, REALobjectStruct* key, REALobjectStruct* value);
using Getter = REALobjectStruct* (*)(_REALdictionary*, REALobjectStruct* key);
using KeyGetter = REALobjectStruct* (*)(_REALdictionary*, std::int64_t index);

void* LastVTablePointer = nullptr;
void* LastClassDefinition = nullptr;
Setter LastDictionarySetter = nullptr;
Getter LastDictionaryGetter = nullptr;
KeyGetter LastDictionaryKeyGetter = nullptr;

/// Drops the cached addresses unless they hold for this dictionary: they do for every one of the same class.
void keyCache(_REALdictionary* dictionary) {
  if (dictionary == LastDictionary) return;
  void* words[2];  // the object's dispatch pointer and class definition
  std::memcpy(words, static_cast<const void*>(dictionary), sizeof words);
  if (words[0] == LastVTablePointer && words[1] == LastClassDefinition) return;
  LastDictionary = dictionary;
  LastVTablePointer = words[0];
  LastClassDefinition = words[1];
  LastDictionarySetter = nullptr;
  LastDictionaryGetter = nullptr;
  LastDictionaryKeyGetter = nullptr;
}

struct Method {
  const char* declaration;
  const char* notFound;
  const char* isNil;
};
constexpr Method kSetter = {"Value(key As Variant, Assigns _value As Variant)",
                            "Failed to find dictionary setter", "DictionarySetter is nil!"};
constexpr Method kGetter = {"Value(key As Variant) As Variant", "Failed to find dictionary getter",
                            "DictionaryGetter is nil!"};
constexpr Method kKeyGetter = {"Key(index As Integer) As Variant", "Failed to find dictionary key getter",
                               "DictionaryKeyGetter is nil!"};

/// The method's address from its cache entry or from the host; null, with diagnostics, when the host
/// has none.
template <typename Address>
Address find(_REALdictionary* dictionary, Address& cached, const Method& method) {
  keyCache(dictionary);
  if (cached != nullptr) return cached;
  auto* object = reinterpret_cast<REALobjectStruct*>(dictionary);
  cached = reinterpret_cast<Address>(REALLoadObjectMethod(object, method.declaration));
  if (cached == nullptr && DebuggingEnabled) {
    LogMessageX("%s%s", kDebugPrefix, method.notFound);
    LogMessageX("%s%s", kDebugPrefix, method.isNil);
  }
  return cached;
}

}  // namespace

std::int64_t GetDictionaryCount(_REALdictionary* dictionary) {
  const bool hasKeyCount = rbversion_rbversion >= kFirstHostWithKeyCount;
  auto* object = reinterpret_cast<REALobjectStruct*>(dictionary);
  std::int64_t count = 0;
  if (!REALGetPropValueInteger(object, hasKeyCount ? "KeyCount" : "Count", &count)) {
    if (DebuggingEnabled) {
      LogMessageX("%s%s", kDebugPrefix,
                  hasKeyCount ? "failed to query KeyCount property." : "failed to query Count property.");
    }
    return 0;
  }
  if (DebuggingEnabled) {
    LogMessageX("%s%s %lld", kDebugPrefix, hasKeyCount ? "KeyCount" : "count", static_cast<long long>(count));
  }
  return count;
}

REALobjectStruct* GetDictionaryKey(_REALdictionary* dictionary, std::int64_t index) {
  const KeyGetter get = find(dictionary, LastDictionaryKeyGetter, kKeyGetter);
  return get != nullptr ? get(dictionary, index) : nullptr;
}

REALobjectStruct* GetDictionaryValue(_REALdictionary* dictionary, REALobjectStruct* key) {
  const Getter get = find(dictionary, LastDictionaryGetter, kGetter);
  return get != nullptr ? get(dictionary, key) : nullptr;
}

void SetDictionaryValue(_REALdictionary* dictionary, REALobjectStruct* key, REALobjectStruct* value) {
  if (const Setter set = find(dictionary, LastDictionarySetter, kSetter)) set(dictionary, key, value);
}

}  // namespace vornik
