#include "host/dictionaries.h"

#include <memory>

#include "fmt/format.h"
#include "host/declaration.h"
#include "host/exceptions.h"
#include "host/state.h"

namespace vornik::host {

namespace {

Thing* makeDictionary(const ThingClass& type) {
  return makeThing<Dictionary>(type);
}

void releaseEntries(Thing& thing) {
  auto& dictionary = static_cast<Dictionary&>(thing);
  const Dictionary::Content last = std::move(dictionary.content);
  std::destroy_at(&dictionary.content);
  std::destroy_at(&dictionary.override);
}

/// The dictionary after a subclass's own code has run; null when that raised an exception.
Dictionary* afterOverride(REALobjectStruct* handle) {
  Dictionary& dictionary = dictionaryBehind(handle);
  if (!dictionary.override) return &dictionary;
  try {
    dictionary.override();
    return &dictionary;
  } catch (const ScriptException& exception) {
    raise(exception.className(), exception.message());
    return nullptr;
  }
}

std::string classAndCount(const Thing& thing) {
  const auto& dictionary = static_cast<const Dictionary&>(thing);
  return fmt::format("{} of {} entries", thing.dispatch->name, dictionary.content.entries.size());
}

std::optional<Value> dictionaryProperty(Thing& thing, std::string_view name) {
  const auto& dictionary = static_cast<Dictionary&>(thing);
  // Both names exist at all times; which one is asked for is up to the version that the caller sees.
  if (sameName(name, "Count") || sameName(name, "KeyCount")) {
    return static_cast<std::int64_t>(dictionary.content.entries.size());
  }
  return std::nullopt;
}

}  // namespace

const Kind kDictionaryKind{.noun = "dictionary",
                           .make = makeDictionary,
                           .finalize = nullptr,
                           .release = releaseEntries,
                           .describe = classAndCount,
                           .property = dictionaryProperty};

void setEntry(Dictionary& dictionary, const ObjectRef& key, const ObjectRef& value) {
  auto& [entries, positions] = dictionary.content;
  const auto [position, isNew] = positions.try_emplace(key.get(), entries.size());
  if (isNew) {
    entries.emplace_back(key, value);
  } else {
    // The old value dies after the dictionary is whole again, since its destructor may come back here.
    const ObjectRef old = std::exchange(entries[position->second].second, value);
  }
}

REALobjectStruct* dictionaryValue(REALobjectStruct* handle, REALobjectStruct* key) {
  const Dictionary* dictionary = afterOverride(handle);
  if (dictionary == nullptr) return nullptr;
  const auto& [entries, positions] = dictionary->content;
  const auto position = positions.find(key);
  if (position == positions.end()) {
    raise("KeyNotFoundException", "The dictionary has no such key");
    return nullptr;
  }
  return ObjectRef(entries[position->second].second).release();
}

void setDictionaryValue(REALobjectStruct* handle, REALobjectStruct* key, REALobjectStruct* value) {
  Dictionary* dictionary = afterOverride(handle);
  if (dictionary != nullptr) setEntry(*dictionary, ObjectRef::share(key), ObjectRef::share(value));
}

REALobjectStruct* dictionaryKey(REALobjectStruct* handle, std::int64_t index) {
  const Dictionary* dictionary = afterOverride(handle);
  if (dictionary == nullptr) return nullptr;
  const auto& entries = dictionary->content.entries;
  if (index < 0 || static_cast<std::size_t>(index) >= entries.size()) {
    raise("OutOfBoundsException",
          fmt::format("Index {} is outside a dictionary of {} entries", index, entries.size()));
    return nullptr;
  }
  return ObjectRef(entries[static_cast<std::size_t>(index)].first).release();
}

}  // namespace vornik::host
