#include "tests/support/failures_memory.h"

#include <dlfcn.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unordered_set>
#include <utility>

#include "host/host.h"

namespace vornik::behaviour {
namespace {

struct {
  int untilFailure = 0;  // 0: none is due
  bool lasts = false;
  int failures = 0;
} shortage;

// What the library holds, once somebody wants to know. What the list itself allocates is not the library's.
bool accountIsOpen = false;
bool accountIsBeingWritten = false;
using Held = std::unordered_set<void*>;
/// Never destroyed, since static objects still free memory at the very end.
Held& held() {
  alignas(Held) static std::byte room[sizeof(Held)];
  static Held* const held = new (room) Held;
  return *held;
}

template <typename Entry>
void* entered(void* memory, Entry enter) noexcept {
  if (!accountIsOpen || memory == nullptr || accountIsBeingWritten) return memory;
  accountIsBeingWritten = true;
  enter(held());
  accountIsBeingWritten = false;
  return memory;
}

void* take(std::size_t size, std::size_t alignment) noexcept {
  if (size == 0) size = 1;
  void* const memory = alignment == 0
                           ? std::malloc(size)
                           : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  // Nobody may rely on what new memory holds.
  return memory != nullptr ? std::memset(memory, 0xA5, size) : nullptr;
}

void give(void* memory) noexcept {
  std::free(entered(memory, [&](Held& all) { all.erase(memory); }));
}

bool isForLibrary() noexcept {
  return host::Host::insidePlugin() && !accountIsBeingWritten;
}

/// Whether this allocation of the library's is to fail.
bool failsNow() noexcept {
  if (shortage.untilFailure == 0) return false;
  if (shortage.untilFailure > 1) {
    --shortage.untilFailure;
    return false;
  }
  if (!shortage.lasts) shortage.untilFailure = 0;
  ++shortage.failures;
  return true;
}

void* allocate(std::size_t size, std::size_t alignment = 0) noexcept {
  if (!isForLibrary()) return take(size, alignment);
  if (failsNow()) return nullptr;
  void* const memory = take(size, alignment);
  return entered(memory, [&](Held& all) { all.insert(memory); });
}

void* allocateOrThrow(std::size_t size, std::size_t alignment = 0) {
  void* memory = allocate(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

void limitMemory(int nth, Shortage kind) {
  shortage = {nth, kind == Shortage::kFromThenOn, 0};
}
int unlimitMemory() {
  shortage.untilFailure = 0;
  return shortage.failures;
}

void countLibraryMemory() {
  accountIsOpen = true;
}
std::size_t libraryAllocations() {
  return held().size();
}
void freeLibraryMemory() {
  for (void* const memory : std::exchange(held(), {})) std::free(memory);
}

}  // namespace vornik::behaviour

using vornik::behaviour::allocate;
using vornik::behaviour::allocateOrThrow;
using vornik::behaviour::give;

// The library's allocation functions are these too: it takes them from the executable, which exports them.
// clang-format off
#define VORNIK_ALLOCATION_FUNCTIONS(form)                                                                  \
  void* operator new form(std::size_t size) { return allocateOrThrow(size); }                              \
  void* operator new form(std::size_t size, std::align_val_t alignment) {                                  \
    return allocateOrThrow(size, static_cast<std::size_t>(alignment));                                     \
  }                                                                                                        \
  void* operator new form(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }     \
  void operator delete form(void* memory) noexcept { give(memory); }                                  \
  void operator delete form(void* memory, std::size_t) noexcept { give(memory); }                     \
  void operator delete form(void* memory, const std::nothrow_t&) noexcept { give(memory); }           \
  void operator delete form(void* memory, std::align_val_t) noexcept { give(memory); }                \
  void operator delete form(void* memory, std::size_t, std::align_val_t) noexcept { give(memory); }
// clang-format on
VORNIK_ALLOCATION_FUNCTIONS()
VORNIK_ALLOCATION_FUNCTIONS([])

// Arrays that grow in place are the C library's, and fail like all others; only the sanitizer keeps account of
// them. It stands before the C library, if it is there.
extern "C" [[gnu::weak]] void* __interceptor_realloc(void* memory, std::size_t size);  // NOLINT
extern "C" void* realloc(void* memory, std::size_t size) noexcept {
  using Realloc = void*(void*, std::size_t);
  static Realloc* const real = __interceptor_realloc != nullptr
                                   ? __interceptor_realloc
                                   : reinterpret_cast<Realloc*>(dlsym(RTLD_NEXT, "realloc"));
  using namespace vornik::behaviour;
  return isForLibrary() && failsNow() ? nullptr : real(memory, size);
}
