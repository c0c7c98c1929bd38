// Access to the host's Dictionary objects.
//
// The host offers plugins no access of their own, so members are reached as script code reaches them: the
// count as a property, the rest through method addresses that the host looks up by declaration. Those are
// kept for the dictionary class used last.
#ifndef VORNIK_VALUES_DICTIONARIES_H
#define VORNIK_VALUES_DICTIONARIES_H

#include <cstdint>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// The dictionary that the method cache was last keyed to; only compared, not referenced.
extern _REALdictionary* LastDictionary;

/// A conversion from or to a dictionary. At its end, also by an exception, the cache forgets the dictionary:
/// another one, of another class, may come to lie at its address.
struct DictionaryConversion {
  DictionaryConversion() = default;
  DictionaryConversion(const DictionaryConversion&) = delete;
  DictionaryConversion& operator=(const DictionaryConversion&) = delete;
  ~DictionaryConversion() { LastDictionary = nullptr; }
};

/// Number of entries; 0 when it cannot be read.
std::int64_t GetDictionaryCount(_REALdictionary* dictionary);
/// The key at an index from 0, and the value under a key: one reference for the caller. Nil when the method
/// is missing.
REALobjectStruct* GetDictionaryKey(_REALdictionary* dictionary, std::int64_t index);
REALobjectStruct* GetDictionaryValue(_REALdictionary* dictionary, REALobjectStruct* key);
/// Stores a value; the dictionary takes references of its own.
void SetDictionaryValue(_REALdictionary* dictionary, REALobjectStruct* key, REALobjectStruct* value);

}  // namespace vornik

#endif  // VORNIK_VALUES_DICTIONARIES_H
