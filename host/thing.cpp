#include "host/thing.h"

#include <cstdio>
#include <cstring>
#include <limits>

#include "fmt/format.h"

namespace vornik::host {

namespace {

// Far enough back to catch a handle that outlives its thing by a few calls, small enough to stay out of
// the way.
constexpr std::size_t kQuarantinedThings = 1 << 16;
constexpr std::size_t kQuarantinedBytes = std::size_t{32} << 20;

// Keeps orphans reachable, so that leak checkers leave them to the ledger of the host that they belonged to.
Thing* orphans = nullptr;

}  // namespace

bool ThingClass::isA(const ThingClass& other) const {
  for (const ThingClass* type = this; type != nullptr; type = type->superclass) {
    if (type == &other) return true;
  }
  return false;
}

Ledger::Ledger() {
  head_.next = head_.previous = &head_;
}

Ledger::~Ledger() {
  while (oldestEnded_ != nullptr) freeOldest();
  while (head_.next != &head_) {
    Thing* thing = head_.next;
    head_.next = thing->next;
    thing->mark = Mark::kOrphan;
    thing->next = orphans;
    orphans = thing;
  }
}

void Ledger::enter(Thing& thing, const ThingClass& type, std::size_t size) {
  constexpr std::size_t kMost = std::numeric_limits<std::uint32_t>::max();
  thing.dispatch = &type;
  thing.definition = type.definition;
  thing.mark = Mark::kLive;
  thing.size = static_cast<std::uint32_t>(size < kMost ? size : kMost);
  thing.references = 1;
  thing.serial = ++lastSerial_;
  thing.next = &head_;
  thing.previous = head_.previous;
  head_.previous->next = &thing;
  head_.previous = &thing;
}

void Ledger::end(Thing& thing) {
  const Kind& kind = *thing.dispatch->kind;
  thing.mark = Mark::kEnding;
  if (kind.finalize != nullptr) {
    kind.finalize(thing);
    if (thing.references != 0) misuse(&thing, "a destructor kept a reference to");
  }
  thing.previous->next = thing.next;
  thing.next->previous = thing.previous;
  thing.mark = Mark::kEnded;
  if (kind.release != nullptr) kind.release(thing);
  quarantine(thing);
}

void Ledger::quarantine(Thing& thing) {
  thing.next = nullptr;
  (newestEnded_ != nullptr ? newestEnded_->next : oldestEnded_) = &thing;
  newestEnded_ = &thing;
  endedBytes_ += thing.size;
  if (++endedCount_ > kQuarantinedThings) freeOldest();
  while (endedBytes_ > kQuarantinedBytes && oldestEnded_ != nullptr) freeOldest();
}

void Ledger::freeOldest() {
  Thing* thing = oldestEnded_;
  oldestEnded_ = thing->next;
  if (oldestEnded_ == nullptr) newestEnded_ = nullptr;
  --endedCount_;
  endedBytes_ -= thing->size;
  std::free(thing);
}

std::string describe(const Thing& thing) {
  if (thing.mark == Mark::kOrphan) return fmt::format("thing #{} of a host that has ended", thing.serial);
  const Kind& kind = *thing.dispatch->kind;
  // What a thing held is gone with it; only a string still has its text.
  const bool tells = kind.describe != nullptr && (thing.mark != Mark::kEnded || &kind == &kStringKind);
  return fmt::format("{} {} #{}", kind.noun, tells ? kind.describe(thing) : thing.dispatch->name,
                     thing.serial);
}

void fault(const std::string& message) noexcept {
  std::fprintf(stderr, "vornik host: %s\n", message.c_str());
  std::abort();
}

namespace {

std::string subject(const void* handle) {
  if (handle != nullptr && reinterpret_cast<std::uintptr_t>(handle) % alignof(Thing) == 0) {
    const auto& thing = *static_cast<const Thing*>(handle);
    switch (thing.mark) {
      case Mark::kLive:
      case Mark::kOrphan:
        return describe(thing);
      case Mark::kEnding:
        return describe(thing) + ", whose destructor is running";
      case Mark::kEnded:
        return describe(thing) + ", which has ended";
    }
  }
  return fmt::format("{}, which is no handle of this host", handle);
}

}  // namespace

void misuse(const void* handle, const char* what) noexcept {
  try {
    fault(fmt::format("{} {}", what, subject(handle)));
  } catch (const std::exception&) {
    fault(what);  // a thing in ruins cannot even be described
  }
}

namespace {

// Orphans are counted in silence: their class and their ledger went with their host.
bool isOrphan(const void* handle) {
  return reinterpret_cast<std::uintptr_t>(handle) % alignof(Thing) == 0 &&
         static_cast<const Thing*>(handle)->mark == Mark::kOrphan;
}

void checkFlavour(Thing& thing, bool asString) {
  if (thing.is(kStringKind) != asString) {
    misuse(&thing, asString ? "counting as a string of" : "counting as an object of");
  }
}

void add(void* handle, bool asString) {
  if (isOrphan(handle)) {
    ++static_cast<Thing*>(handle)->references;
    return;
  }
  Thing& thing = require(handle);
  checkFlavour(thing, asString);
  ++thing.references;
}

void drop(void* handle, bool asString) {
  if (isOrphan(handle)) {
    --static_cast<Thing*>(handle)->references;
    return;
  }
  auto& thing = *static_cast<Thing*>(handle);
  if (!isLive(handle)) misuse(handle, "giving back");
  checkFlavour(thing, asString);
  if (thing.references <= 0) misuse(handle, "giving back once too often");
  if (--thing.references == 0 && thing.mark == Mark::kLive) ledger().end(thing);
}

}  // namespace

void addReference(REALobjectStruct* handle) {
  add(handle, false);
}
void addReference(REALstringStruct* handle) {
  add(handle, true);
}
void dropReference(REALobjectStruct* handle) noexcept {
  drop(handle, false);
}
void dropReference(REALstringStruct* handle) noexcept {
  drop(handle, true);
}

}  // namespace vornik::host
