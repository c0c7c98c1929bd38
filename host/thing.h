// What is behind every handle: a header common to strings, variants, arrays, dictionaries, exceptions and
// instances, and the ledger that knows all of them.
//
// The memory of a thing that has ended stays readable for a while (see Ledger), so that a handle used or
// given back after its thing's end is recognised by its mark instead of reading whatever took its place.
#ifndef VORNIK_HOST_THING_H
#define VORNIK_HOST_THING_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/value.h"
#include "plugin/frame/host_interface.h"

namespace vornik::host {

struct Thing;
struct ThingClass;
struct RegisteredClass;

/// What sets one kind of thing apart from another. Kinds are compared by address; null entries
/// mean "nothing".
struct Kind {
  const char* noun;
  Thing* (*make)(const ThingClass&);  ///< null: not to be created by class name
  void (*finalize)(Thing&);           ///< runs the destructor that the thing's class brings along
  void (*release)(Thing&);            ///< gives back what the thing itself holds; the thing has ended by then
  std::string (*describe)(const Thing&);
  std::optional<Value> (*property)(Thing&, std::string_view name);
};

extern const Kind kStringKind, kVariantKind, kArrayKind, kDictionaryKind, kExceptionKind, kInstanceKind,
    kScriptKind;

/// A class of things. Its address serves as the dispatch pointer of its things and as class reference.
struct ThingClass {
  const Kind* kind = nullptr;
  std::string name;
  const ThingClass* superclass = nullptr;
  RegisteredClass* registered = nullptr;  ///< for classes of the library
  REALclassDefinition ownDefinition{};    ///< stands in for the record of the library in all others
  const REALclassDefinition* definition = nullptr;
  std::size_t endOfData = 0;  ///< offset from a thing's start to the end of its instance data

  bool isA(const ThingClass& other) const;
};

enum class Mark : std::uint32_t {
  kLive = 0x4c495645,
  kEnding = 0x454e4447,  ///< its destructor runs; references come and go without effect
  kEnded = 0x44454144,
  kOrphan = 0x4f525048,  ///< left over by a host that has ended; may only be given back
};

struct Thing {
  const ThingClass* dispatch;             // these two words are the identity of a class for those
  const REALclassDefinition* definition;  // who only see handles
  Mark mark;
  std::uint32_t size;       ///< of the whole block in bytes, saturated
  std::int64_t references;  ///< arrays are documented to keep it at this offset
  std::uint64_t serial;     ///< 1 for the first thing of a host
  Thing* next;
  Thing* previous;

  bool is(const Kind& kind) const { return dispatch->kind == &kind; }
};
static_assert(offsetof(Thing, definition) == 8 && offsetof(Thing, references) == 24 && sizeof(Thing) == 56);

/// All live things of a host, newest last, and the quarantine of those that have ended.
class Ledger {
 public:
  Ledger();
  ~Ledger();  ///< live things become orphans; the quarantine is freed
  Ledger(const Ledger&) = delete;
  Ledger& operator=(const Ledger&) = delete;

  void enter(Thing& thing, const ThingClass& type, std::size_t size);
  /// Ends a thing without references: destructor, then what it held, then quarantine. O(1) besides those.
  void end(Thing& thing);

  template <typename Visitor>
  void visit(Visitor visitor) const {
    for (const Thing* thing = head_.next; thing != &head_; thing = thing->next) visitor(*thing);
  }

 private:
  void quarantine(Thing& thing);
  void freeOldest();

  Thing head_{};  // of the circular list of live things
  std::uint64_t lastSerial_ = 0;
  Thing* oldestEnded_ = nullptr;  // chained through next
  Thing* newestEnded_ = nullptr;
  std::size_t endedCount_ = 0;
  std::size_t endedBytes_ = 0;
};

Ledger& ledger();

/// "string "abc" #12": kind, class or text, serial number.
std::string describe(const Thing& thing);

/// Reports a fault of the library on standard error, in one line, and aborts.
[[noreturn]] void fault(const std::string& message) noexcept;

/// The same for a fault in the handling of a handle, naming the thing behind it.
[[noreturn]] void misuse(const void* handle, const char* what) noexcept;

/// Whether a handle is that of a thing that may be used, be it for the last time.
inline bool isLive(const void* handle) {
  if (handle == nullptr || reinterpret_cast<std::uintptr_t>(handle) % alignof(Thing) != 0) return false;
  const Mark mark = static_cast<const Thing*>(handle)->mark;
  return mark == Mark::kLive || mark == Mark::kEnding;
}

/// The live thing behind a handle; anything else is a misuse.
inline Thing& require(const void* handle) {
  if (!isLive(handle)) misuse(handle, "use of");
  return *static_cast<Thing*>(const_cast<void*>(handle));
}

inline Thing& requireObject(const void* handle) {
  Thing& thing = require(handle);
  if (thing.is(kStringKind)) misuse(handle, "use as an object of");
  return thing;
}

template <typename T>
T& requireKind(const void* handle, const Kind& kind) {
  Thing& thing = require(handle);
  if (!thing.is(kind)) misuse(handle, "use as something else of");
  return static_cast<T&>(thing);
}

// Handles as elements of arrays and as arguments and results of calls.
inline std::uint64_t wordOf(const void* handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}
template <typename Handle>
Handle* handleFrom(std::uint64_t word) {
  return std::bit_cast<Handle*>(static_cast<std::uintptr_t>(word));
}

inline REALobjectStruct* objectHandle(Thing* thing) {
  return reinterpret_cast<REALobjectStruct*>(thing);
}
inline REALstringStruct* stringHandle(Thing* thing) {
  return reinterpret_cast<REALstringStruct*>(thing);
}

/// A new thing with one reference, with `extra` zero bytes behind T. std::bad_alloc.
template <typename T = Thing>
T* makeThing(const ThingClass& type, std::size_t extra = 0) {
  void* memory = std::calloc(1, sizeof(T) + extra);
  if (memory == nullptr) throw std::bad_alloc();
  T* thing = new (memory) T();
  ledger().enter(*thing, type, sizeof(T) + extra);
  return thing;
}

}  // namespace vornik::host

#endif  // VORNIK_HOST_THING_H
