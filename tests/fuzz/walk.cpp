#include "tests/fuzz/walk.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>

namespace vornik::fuzz {

using behaviour::Kind;
using host::Host;
using host::Value;

void fault(const std::string& what) {
  std::fprintf(stderr, "fault: %s\n", what.c_str());
  std::abort();
}

namespace {

template <typename Result, typename... Arguments>
Result invoke(REALproc function, REALobjectStruct* self, Arguments... arguments) {
  return reinterpret_cast<Result (*)(REALobjectStruct*, Arguments...)>(function)(self, arguments...);
}

}  // namespace

Walker::Walker(Host& host, const behaviour::ClassFacts& facts)
    : host_(host),
      facts_(facts),
      first_(function(facts.name, "first", 0)),
      last_(function(facts.name, "last", 0)),
      countKey_(function(facts.name, "CountKey", 1)),
      moveNext_(function(facts.iterator(), "MoveNext", 0)),
      movePrevious_(function(facts.iterator(), "MovePrev", 0)),
      key_(function(facts.iterator(), "Key", 0)),
      value_(facts.isMap() ? function(facts.iterator(), "Value", 0) : nullptr),
      isNotEqual_(function(facts.iterator(), "isNotEqual", 1)) {}

REALproc Walker::function(const std::string& className, const char* method, std::size_t parameters) const {
  const host::RegisteredClass* const type = host_.findClass(className);
  if (type == nullptr) return nullptr;
  for (const auto& candidate : type->methods) {
    if (candidate.declaration.name == method && candidate.declaration.parameters.size() == parameters)
      return candidate.function;
  }
  return nullptr;
}

std::uint64_t Walker::taken(REALproc getter, Kind kind, REALobjectStruct* iterator) const {
  if (kind == Kind::kInteger) return static_cast<std::uint64_t>(invoke<std::int64_t>(getter, iterator));
  if (kind == Kind::kString) {
    const auto string = host::StringRef::adopt(invoke<REALstringStruct*>(getter, iterator));
    return reinterpret_cast<std::uint64_t>(string.get());
  }
  const auto object = host::ObjectRef::adopt(invoke<REALobjectStruct*>(getter, iterator));
  return reinterpret_cast<std::uint64_t>(object.get());
}

Value Walker::iteratorBy(REALproc getter, const Value& container) const {
  return host::ObjectRef::adopt(invoke<REALobjectStruct*>(getter, container.object().get()));
}

std::optional<Contents> Walker::walk(const Value& container, Findable findable) const {
  Contents contents;
  try {
    Host::PluginCall call;
    const Value at = iteratorBy(first_, container), end = iteratorBy(last_, container);
    call.finish();
    if (at.isNil() || end.isNil()) return {};
    const auto count = static_cast<std::size_t>(host_.get(container, "Count").integer());
    REALobjectStruct* const iterator = at.object().get();
    const auto isNotAt = [&](const Value& other) {
      return invoke<bool>(isNotEqual_, iterator, other.object().get());
    };
    const auto entry = [&] {
      return std::pair(taken(key_, facts_.key, iterator),
                       facts_.isMap() ? taken(value_, facts_.value, iterator) : 0);
    };
    for (; isNotAt(end); invoke<void>(moveNext_, iterator)) {
      if (contents.size() == count) fault("a walk goes on behind Count");
      contents.push_back(entry());
    }
    if (contents.size() != count) fault("a walk ends before Count");
    for (std::size_t i = count; movePrevious_ != nullptr && i-- > 0;) {
      invoke<void>(movePrevious_, iterator);
      if (entry() != contents[i]) fault("a walk back meets other entries");
    }
    if (movePrevious_ != nullptr && isNotAt(iteratorBy(first_, container)))
      fault("a walk back does not end at the first entry");
    call.finish();
  } catch (const host::ScriptException&) {
    return {};  // without a container
  }
  if (facts_.key == Kind::kVariant) return contents;
  if (facts_.key == Kind::kString) {
    if (findable == Findable::kNone) return contents;
    if (findable != Findable::kAll && !host_.get(container, "CaseSensitive").boolean()) return contents;
  }
  if (facts_.ordered && facts_.key == Kind::kInteger) {
    const auto before = [](const auto& a, const auto& b) {
      return static_cast<std::int64_t>(a.first) < static_cast<std::int64_t>(b.first);
    };
    const auto notBefore = [&](const auto& a, const auto& b) { return !before(a, b); };
    if (std::adjacent_find(contents.begin(), contents.end(), notBefore) != contents.end())
      fault("keys are out of order");
  }
  Host::PluginCall call;
  for (const auto& entry : contents) {
    REALobjectStruct* const self = container.object().get();
    const auto found =
        facts_.key == Kind::kInteger
            ? invoke<std::int64_t>(countKey_, self, static_cast<std::int64_t>(entry.first))
            : invoke<std::int64_t>(countKey_, self, std::bit_cast<REALstringStruct*>(entry.first));
    if (found != 1) fault("a key that a walk meets is not found");
  }
  return contents;
}

}  // namespace vornik::fuzz
